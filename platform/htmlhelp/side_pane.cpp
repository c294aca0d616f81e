// SPDX-License-Identifier: MIT
#include "htmlhelp/side_pane.h"

#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>
#include <QVBoxLayout>

namespace htmlhelp {

namespace {

constexpr int kPath = Qt::UserRole;

QString text(const std::string& utf8) {
    return QString::fromStdString(utf8);
}

bool samePage(const QString& a, const QString& b) {
    return a.section('#', 0, 0).compare(b.section('#', 0, 0), Qt::CaseInsensitive) == 0;
}

// The same in a selected line, which styles would tint otherwise.
QIcon entryIcon(const QString& picture) {
    QIcon icon(picture);
    icon.addFile(picture, {}, QIcon::Selected);
    return icon;
}

QString pathOf(const QTreeWidgetItem* item) {
    return item->data(0, kPath).toString();
}

}  // namespace

SidePane::SidePane(QWidget* parent)
    : QTabWidget(parent),
      m_contents(new QTreeWidget),
      m_indexText(new QLineEdit),
      m_indexList(new QListWidget),
      m_searchText(new QLineEdit),
      m_searchList(new QListWidget),
      m_searchCount(new QLabel) {
    setObjectName("tabHelp");
    setDocumentMode(true);
    m_contents->setObjectName("tvwContents");
    m_contents->setAccessibleName("Contents");
    m_contents->setHeaderHidden(true);
    addTab(m_contents, "&Contents");
    addTab(makeIndex(), "&Index");
    addTab(makeSearch(), "&Search");

    // A click opens a page, so does Enter; the arrow keys only move.
    connect(m_contents, &QTreeWidget::itemClicked, this, &SidePane::openContentsItem);
    connect(m_contents, &QTreeWidget::itemActivated, this, &SidePane::openContentsItem);
    for (QListWidget* list : {m_indexList, m_searchList}) {
        connect(list, &QListWidget::itemClicked, this, &SidePane::openListItem);
        connect(list, &QListWidget::itemActivated, this, &SidePane::openListItem);
    }
    for (QLineEdit* line : {m_indexText, m_searchText}) {
        line->setClearButtonEnabled(true);
        line->installEventFilter(this);
        connect(line, &QLineEdit::returnPressed, this, &SidePane::openFirst);
    }
    connect(m_indexText, &QLineEdit::textChanged, this, &SidePane::filterIndex);
    connect(m_searchText, &QLineEdit::textChanged, this, &SidePane::searchPages);
}

QWidget* SidePane::makeIndex() {
    auto* tab = new QWidget;
    auto* column = new QVBoxLayout(tab);
    column->setContentsMargins(6, 6, 6, 6);
    m_indexText->setObjectName("txtIndex");
    m_indexText->setAccessibleName("Filter the index");
    m_indexText->setPlaceholderText("Type a keyword");
    m_indexList->setObjectName("lstIndex");
    m_indexList->setAccessibleName("Index");
    column->addWidget(m_indexText);
    column->addWidget(m_indexList);
    return tab;
}

QWidget* SidePane::makeSearch() {
    auto* tab = new QWidget;
    auto* column = new QVBoxLayout(tab);
    column->setContentsMargins(6, 6, 6, 6);
    m_searchText->setObjectName("txtSearch");
    m_searchText->setAccessibleName("Search all pages");
    m_searchText->setPlaceholderText("Type words to search for");
    m_searchList->setObjectName("lstSearch");
    m_searchList->setAccessibleName("Pages found");
    m_searchList->setWordWrap(true);
    m_searchList->setTextElideMode(Qt::ElideRight);
    m_searchList->setSpacing(2);
    m_searchCount->setObjectName("lblFound");
    column->addWidget(m_searchText);
    column->addWidget(m_searchList);
    column->addWidget(m_searchCount);
    return tab;
}

void SidePane::setFile(std::shared_ptr<const chm::File> file) {
    m_file = std::move(file);
    m_pages.reset();
    m_contents->clear();
    m_indexList->clear();
    m_indexText->clear();
    m_searchText->clear();
    fillContents(m_contents->invisibleRootItem(), m_file->contents());
    m_contents->expandAll();
    fillIndex({}, m_file->index());
    m_indexList->sortItems();
}

void SidePane::fillContents(QTreeWidgetItem* parent, const std::vector<chm::Entry>& entries) {
    for (const chm::Entry& entry : entries) {
        auto* item = new QTreeWidgetItem(parent, {text(entry.name)});
        item->setData(0, kPath, text(entry.local));
        item->setIcon(0, entryIcon(entry.children.empty() ? ":/htmlhelp/page.svg" : ":/htmlhelp/book.svg"));
        fillContents(item, entry.children);
    }
}

// An entry below another one reads "envelopes, adding".
void SidePane::fillIndex(const QString& parent, const std::vector<chm::Entry>& entries) {
    for (const chm::Entry& entry : entries) {
        const QString name = parent.isEmpty() ? text(entry.name) : parent + ", " + text(entry.name);
        if (!entry.local.empty()) {
            auto* item = new QListWidgetItem(name, m_indexList);
            item->setData(kPath, text(entry.local));
        }
        fillIndex(name, entry.children);
    }
}

void SidePane::showContents() {
    setCurrentIndex(0);
    m_contents->setFocus();
}

void SidePane::showIndex() {
    setCurrentIndex(1);
    m_indexText->setFocus();
    m_indexText->selectAll();
}

void SidePane::showSearch() {
    setCurrentIndex(2);
    m_searchText->setFocus();
    m_searchText->selectAll();
}

void SidePane::markPlace(const QString& path) {
    QTreeWidgetItem* current = m_contents->currentItem();
    QTreeWidgetItem* best = current != nullptr && samePage(pathOf(current), path) ? current : nullptr;
    for (QTreeWidgetItemIterator it(m_contents); *it != nullptr; ++it) {
        const bool exact = pathOf(*it).compare(path, Qt::CaseInsensitive) == 0;
        if (exact || (best == nullptr && samePage(pathOf(*it), path)))
            best = *it;
        if (exact)
            break;
    }
    m_contents->setCurrentItem(best);
}

void SidePane::openContentsItem(QTreeWidgetItem* item) {
    const QString path = pathOf(item);
    if (!path.isEmpty())
        emit pageChosen(path, {});
}

void SidePane::openListItem(QListWidgetItem* item) {
    const bool searched = item->listWidget() == m_searchList;
    emit pageChosen(item->data(kPath).toString(), searched ? splitWords(m_searchText->text()) : QStringList());
}

// Enter in a line opens the entry that is selected in the list below it.
void SidePane::openFirst() {
    const QListWidget* list = sender() == m_indexText ? m_indexList : m_searchList;
    if (QListWidgetItem* item = list->currentItem(); item != nullptr && !item->isHidden())
        openListItem(item);
}

// An entry that begins with the text is selected before one that has it within.
void SidePane::filterIndex(const QString& text) {
    const QString wanted = text.trimmed();
    QListWidgetItem* best = nullptr;
    for (int row = 0; row < m_indexList->count(); ++row) {
        QListWidgetItem* item = m_indexList->item(row);
        item->setHidden(!item->text().contains(wanted, Qt::CaseInsensitive));
        const auto begins = [&wanted](const QListWidgetItem* entry) {
            return entry->text().startsWith(wanted, Qt::CaseInsensitive);
        };
        if (!item->isHidden() && (best == nullptr || (begins(item) && !begins(best))))
            best = item;
    }
    m_indexList->setCurrentItem(wanted.isEmpty() ? nullptr : best);
}

void SidePane::searchPages(const QString& text) {
    m_searchList->clear();
    const QStringList words = splitWords(text);
    if (words.isEmpty()) {
        m_searchCount->clear();
        return;
    }
    if (!m_pages)
        m_pages = readPages(*m_file);
    const QList<Found> found = search(*m_pages, words);
    for (const Found& page : found) {
        auto* item = new QListWidgetItem(page.title + '\n' + page.excerpt, m_searchList);
        item->setData(kPath, page.path);
    }
    m_searchList->setCurrentRow(0);
    m_searchCount->setText(found.isEmpty()     ? QString("No page has these words.")
                           : found.size() == 1 ? QString("1 page")
                                               : QString("%1 pages").arg(found.size()));
}

// Up and down in a line move through the list below it.
bool SidePane::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress) {
        const auto* press = static_cast<QKeyEvent*>(event);
        const int step = press->key() == Qt::Key_Down ? 1 : press->key() == Qt::Key_Up ? -1 : 0;
        QListWidget* list = watched == m_indexText ? m_indexList : m_searchList;
        for (int row = list->currentRow() + step; step != 0 && row >= 0 && row < list->count(); row += step) {
            if (!list->item(row)->isHidden()) {
                list->setCurrentRow(row);
                return true;
            }
        }
    }
    return QTabWidget::eventFilter(watched, event);
}

}  // namespace htmlhelp
