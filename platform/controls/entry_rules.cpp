// SPDX-License-Identifier: MIT
#include "controls/entry_rules.h"

#include "controls/date_picker.h"

#include <QEvent>
#include <QFocusEvent>
#include <QLineEdit>
#include <QPlainTextEdit>

namespace controls {

namespace {

bool hasSelection(const QWidget* box) {
    const auto* line = qobject_cast<const QLineEdit*>(box);
    return line != nullptr ? line->hasSelectedText()
                           : qobject_cast<const QPlainTextEdit*>(box)->textCursor().hasSelection();
}

void selectAll(QWidget* box) {
    if (auto* line = qobject_cast<QLineEdit*>(box))
        line->selectAll();
    else
        qobject_cast<QPlainTextEdit*>(box)->selectAll();
}

// Watches one box. All happens within the event that brings the focus: a key that is already waiting finds the text
// selected.
class SelectOnFocus : public QObject {
 public:
    SelectOnFocus(QWidget* box, QWidget* clicked) : QObject(box), m_box(box) {
        box->installEventFilter(this);
        if (clicked != box)
            clicked->installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::FocusIn && watched == m_box) {
            const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
            m_clicked = reason == Qt::MouseFocusReason;
            if (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason || reason == Qt::ShortcutFocusReason)
                selectAll(m_box);
        } else if (event->type() == QEvent::MouseButtonRelease && m_clicked) {
            m_clicked = false;
            if (!hasSelection(m_box))
                selectAll(m_box);
        }
        return false;
    }

 private:
    QWidget* m_box;
    bool m_clicked = false;  // the click that brought the focus is not over
};

class WheelNeedsFocus : public QObject {
 public:
    explicit WheelNeedsFocus(QComboBox* box) : QObject(box) {
        box->setFocusPolicy(Qt::StrongFocus);
        box->installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::Wheel || static_cast<QWidget*>(watched)->hasFocus())
            return false;
        event->ignore();
        return true;
    }
};

}  // namespace

void applyEntryRules(QWidget* form) {
    for (auto* line : form->findChildren<QLineEdit*>())
        if (qobject_cast<QComboBox*>(line->parent()) == nullptr)
            new SelectOnFocus(line, line);
    for (auto* text : form->findChildren<QPlainTextEdit*>())
        new SelectOnFocus(text, text->viewport());
    for (auto* box : form->findChildren<QComboBox*>())
        new WheelNeedsFocus(box);
}

}  // namespace controls
