// SPDX-License-Identifier: MIT
#include "controls/message_box.h"

#include "controls/testing.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>

namespace controls {

namespace {

QMessageBox::StandardButtons standardButtons(MsgButtons buttons) {
    switch (buttons) {
        case MsgButtons::OkCancel:
            return QMessageBox::Ok | QMessageBox::Cancel;
        case MsgButtons::YesNoCancel:
            return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
        case MsgButtons::YesNo:
            return QMessageBox::Yes | QMessageBox::No;
        case MsgButtons::Ok:
            break;
    }
    return QMessageBox::Ok;
}

QMessageBox::Icon standardIcon(MsgIcon icon) {
    switch (icon) {
        case MsgIcon::Critical:
            return QMessageBox::Critical;
        case MsgIcon::Question:
            return QMessageBox::Question;
        case MsgIcon::Exclamation:
            return QMessageBox::Warning;
        case MsgIcon::Information:
            return QMessageBox::Information;
        case MsgIcon::None:
            break;
    }
    return QMessageBox::NoIcon;
}

MsgAnswer answerOf(int button) {
    switch (button) {
        case QMessageBox::Yes:
            return MsgAnswer::Yes;
        case QMessageBox::No:
            return MsgAnswer::No;
        case QMessageBox::Cancel:
            return MsgAnswer::Cancel;
        default:
            return MsgAnswer::Ok;
    }
}

// The hourglass of a running operation must not hover over the question it asks.
class NormalPointer {
    Q_DISABLE_COPY_MOVE(NormalPointer)
 public:
    NormalPointer() : m_needed(QApplication::overrideCursor() != nullptr) {
        if (m_needed)
            QApplication::setOverrideCursor(Qt::ArrowCursor);
    }
    ~NormalPointer() {
        if (m_needed)
            QApplication::restoreOverrideCursor();
    }

 private:
    bool m_needed;
};

}  // namespace

MsgAnswer MsgBox(QWidget* parent, const QString& text, MsgIcon icon, MsgButtons buttons, const QString& title) {
    const QString caption = title.isEmpty() ? QApplication::applicationDisplayName() : title;
    if (DialogQueue* queue = DialogQueue::current())
        return queue->show(ShownMessage{icon, caption, text, buttons, MsgAnswer::Ok});

    QString shown = text;
    shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(u'\r', u'\n');

    QMessageBox box(standardIcon(icon), caption, {}, standardButtons(buttons),
                    parent != nullptr ? parent : QApplication::activeWindow());
    box.setTextFormat(Qt::PlainText);
    box.setText(shown);
    // The first of them is the default, the last one answers to Esc.
    const bool asks = buttons == MsgButtons::YesNo || buttons == MsgButtons::YesNoCancel;
    box.setDefaultButton(asks ? QMessageBox::Yes : QMessageBox::Ok);
    if (buttons == MsgButtons::YesNo)
        box.setEscapeButton(QMessageBox::No);
    for (QAbstractButton* button : box.buttons())
        button->setIcon({});  // as in the dialogs
    const NormalPointer pointer;
    return answerOf(box.exec());
}

}  // namespace controls
