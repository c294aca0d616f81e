// SPDX-License-Identifier: MIT
#include "htmlhelp/find_bar.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QTextDocument>
#include <QTextEdit>
#include <QToolButton>

namespace htmlhelp {

namespace {

constexpr int kMostPlaces = 2000;

QToolButton* addButton(QHBoxLayout* row, const char* objectName, Qt::ArrowType arrow, const QString& text,
                       const QString& keys) {
    auto* button = new QToolButton;
    button->setObjectName(objectName);
    button->setArrowType(arrow);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::StrongFocus);
    button->setAccessibleName(text);
    button->setToolTip(text + " (" + keys + ")");
    row->addWidget(button);
    return button;
}

}  // namespace

FindBar::FindBar(QTextEdit* page, QWidget* parent)
    : QWidget(parent), m_page(page), m_text(new QLineEdit), m_place(new QLabel) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(6, 3, 6, 3);
    auto* label = new QLabel("Find in &page:");
    label->setBuddy(m_text);
    row->addWidget(label);
    m_text->setObjectName("txtFind");
    m_text->setAccessibleName("Find in page");
    m_text->setClearButtonEnabled(true);
    m_text->setMaximumWidth(260);
    row->addWidget(m_text, 1);
    const QToolButton* previous = addButton(row, "cmdPrevious", Qt::UpArrow, "Previous", "Shift+F3");
    const QToolButton* next = addButton(row, "cmdNext", Qt::DownArrow, "Next", "F3");
    m_place->setObjectName("lblPlace");
    row->addWidget(m_place);
    row->addStretch(1);
    hide();

    connect(m_text, &QLineEdit::textChanged, this, &FindBar::findTyped);
    connect(m_text, &QLineEdit::returnPressed, this, &FindBar::findNext);
    connect(previous, &QToolButton::clicked, this, &FindBar::findPrevious);
    connect(next, &QToolButton::clicked, this, &FindBar::findNext);
}

void FindBar::open() {
    show();
    const QString selected = m_page->textCursor().selectedText();
    if (!selected.isEmpty() && !selected.contains(QChar::ParagraphSeparator))
        m_text->setText(selected);
    m_text->selectAll();
    m_text->setFocus(Qt::ShortcutFocusReason);
}

void FindBar::leave() {
    hide();
    m_page->setFocus(Qt::OtherFocusReason);
}

void FindBar::findNext() {
    isVisible() && !m_text->text().isEmpty() ? find(false) : open();
}

void FindBar::findPrevious() {
    isVisible() && !m_text->text().isEmpty() ? find(true) : open();
}

// While typing, the place found so far grows or moves on.
void FindBar::findTyped() {
    QTextCursor cursor = m_page->textCursor();
    cursor.setPosition(cursor.selectionStart());
    m_page->setTextCursor(cursor);
    if (m_text->text().isEmpty())
        m_place->clear();
    else
        find(false);
}

void FindBar::find(bool back) {
    const QTextDocument::FindFlags flags = back ? QTextDocument::FindBackward : QTextDocument::FindFlags();
    bool found = m_page->find(m_text->text(), flags);
    if (!found) {
        const QTextCursor before = m_page->textCursor();
        m_page->moveCursor(back ? QTextCursor::End : QTextCursor::Start);
        found = m_page->find(m_text->text(), flags);
        if (!found)
            m_page->setTextCursor(before);
    }
    showPlace(found);
}

void FindBar::showPlace(bool found) {
    int place = 0;
    int places = 0;
    for (QTextCursor at(m_page->document()); found && places < kMostPlaces;) {
        at = m_page->document()->find(m_text->text(), at);
        if (at.isNull())
            break;
        ++places;
        if (at.selectionStart() <= m_page->textCursor().selectionStart())
            place = places;
    }
    m_place->setText(found ? QString("%1 of %2").arg(place).arg(places) : "Not found");
}

}  // namespace htmlhelp
