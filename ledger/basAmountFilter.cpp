// SPDX-License-Identifier: MIT
#include "ledger/basAmountFilter.h"

#include <QKeyEvent>
#include <QLineEdit>

#include "db/basMain.h"
#include "vbrt/qstring.h"

namespace {

constexpr int kBackspace = 8;
constexpr int kPoint = 46;

}  // namespace

int FilterAmountKey(int intKeyAscii, const QString& strText) {
    const QChar chrKey = QChar(intKeyAscii);
    // Kept: "." is let through twice over, by its character and by its code; one of the two would do.
    if (chrKey != '.' && intKeyAscii != kBackspace && intKeyAscii != kPoint) {
        const double dblKey = vbrt::qt::CDbl(QString(chrKey));
        if (dblKey < 0 || dblKey > 9)
            return 0;
    }
    // Kept: a "." that is selected and would be replaced by the typing counts too.
    if (chrKey == '.' && strText.contains('.'))
        return 0;
    return intKeyAscii;
}

clsAmountFilter::clsAmountFilter(QLineEdit* txtBox) : QObject(txtBox), txtAmount(txtBox) {
    txtBox->installEventFilter(this);
}

bool clsAmountFilter::eventFilter(QObject* objWatched, QEvent* evt) {
    if (evt->type() != QEvent::KeyPress)
        return QObject::eventFilter(objWatched, evt);
    const auto* evtKey = static_cast<QKeyEvent*>(evt);
    const QString strTyped = evtKey->text();
    // Enter, Esc, Tab and Delete are commands, not characters typed into the box.
    if (strTyped.isEmpty() || (strTyped[0] < u' ' && strTyped[0] != QChar(kBackspace)) || strTyped[0] == QChar(127))
        return false;
    // So are shortcuts (copy, paste). One with Alt that nobody has answered to would be typed. Ctrl and Alt together
    // are AltGr on some systems, with which characters are typed.
    const auto fctModifiers = evtKey->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    if (fctModifiers != 0 && fctModifiers != (Qt::ControlModifier | Qt::AltModifier))
        return !fctModifiers.testFlag(Qt::ControlModifier) && strTyped[0] != QChar(kBackspace);
    try {
        return FilterAmountKey(strTyped[0].unicode(), txtAmount->text()) == 0;
    } catch (...) {
        ShowError();
        return false;
    }
}
