// SPDX-License-Identifier: MIT
// FindBar finds text in the page that is shown: a line to type into, on to the next place and back, around the ends.
#pragma once

#include <QWidget>

class QLabel;
class QLineEdit;
class QTextEdit;

namespace htmlhelp {

class FindBar : public QWidget {
    Q_OBJECT

 public:
    // Finds in `page`, which must outlive the bar.
    FindBar(QTextEdit* page, QWidget* parent);

    // Shows itself, with the page's selection as text when there is one.
    void open();
    // Hides itself and gives the page the focus.
    void leave();

    void findNext();
    void findPrevious();

 private:
    void findTyped();
    void find(bool back);
    void showPlace(bool found);

    QTextEdit* m_page;
    QLineEdit* m_text;
    QLabel* m_place;
};

}  // namespace htmlhelp
