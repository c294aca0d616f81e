// SPDX-License-Identifier: MIT
// The key filter of every box in which an amount of money is typed: the starting balance of an envelope, the amount of
// an item, the budget of an envelope.
//
// Digits, Backspace and the first "." pass. Any other character shows the error report and is typed all the same, so
// that nothing the user types is silently lost; a second "." is dropped.
#pragma once

#include <QObject>

class QLineEdit;
class QString;

// The character code to pass on, 0 to discard the key. `strText` is the text of the box before the key.
// Throws error 13 for a character that cannot be compared as a number; the key is then typed as it is.
int FilterAmountKey(int intKeyAscii, const QString& strText);

// Puts the filter on a box, which owns it.
class clsAmountFilter : public QObject {
    Q_OBJECT

 public:
    explicit clsAmountFilter(QLineEdit* txtBox);

 protected:
    bool eventFilter(QObject* objWatched, QEvent* evt) override;

 private:
    QLineEdit* txtAmount;
};
