// SPDX-License-Identifier: MIT
#include "controls/list_view.h"

#include "controls/list_model.h"
#include "controls/pane_focus.h"

#include <QAccessible>
#include <QApplication>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QPainter>
#include <QProxyStyle>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QToolTip>
#include <QtMath>
#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <numeric>

namespace controls {

namespace {

constexpr int kMargin = 6;            // pixels on each side of a cell's text, so that columns stand apart
constexpr int kRowMargin = 2;         // pixels above and below it
constexpr int kArrowGap = 4;          // pixels between a header's text and its arrow
constexpr int kMostDigits = 24;       // a column of figures that is never cut is no wider than so many
constexpr int kReadable = 6;          // letters that a text keeps while the columns fit
constexpr qsizetype kPainted = 1024;  // characters; no column is wider, and a memo may be very long

}  // namespace

// Draws one column's arrow right of its text.
class ListHeader : public QHeaderView {
 public:
    explicit ListHeader(QWidget* parent) : QHeaderView(Qt::Horizontal, parent) {
        setSectionsMovable(false);
        setHighlightSections(false);
        setStretchLastSection(false);
        setMinimumSectionSize(2 * kMargin);
    }

    std::array<QIcon, 2> images;
    int keyColumn = -1;  // chosen by keys
    int arrowColumn = -1;
    bool descending = false;

    [[nodiscard]] int bareWidth(int section) const { return sectionSizeFromContents(section).width(); }
    [[nodiscard]] int widthWithArrow(int section) const {
        return sectionSizeFromContents(section).width() + kArrowGap + arrowSize();
    }

 protected:
    void paintSection(QPainter* painter, const QRect& rect, int section) const override;
    bool viewportEvent(QEvent* event) override;

 private:
    void paintContents(QPainter* painter, const QRect& rect, int section) const;
    [[nodiscard]] int arrowSize() const { return style()->pixelMetric(QStyle::PM_HeaderMarkSize, nullptr, this); }
};

void ListHeader::paintSection(QPainter* painter, const QRect& rect, int section) const {
    painter->save();
    paintContents(painter, rect, section);
    painter->restore();
    if (section != keyColumn || !parentWidget()->hasFocus())
        return;
    painter->setPen(QPen(palette().color(QPalette::Highlight), 2));
    painter->drawRect(rect.adjusted(1, 1, -2, -2));
}

// The whole of a heading that is cut.
bool ListHeader::viewportEvent(QEvent* event) {
    if (event->type() != QEvent::ToolTip)
        return QHeaderView::viewportEvent(event);
    const auto* help = static_cast<QHelpEvent*>(event);
    const int section = logicalIndexAt(help->pos());
    const bool cut = section >= 0 && sectionSize(section) < bareWidth(section);
    QToolTip::showText(help->globalPos(), cut ? model()->headerData(section, Qt::Horizontal).toString() : QString(),
                       this);
    return true;
}

void ListHeader::paintContents(QPainter* painter, const QRect& rect, int section) const {
    const bool sorted = section == arrowColumn;
    if (!sorted && rect.width() >= bareWidth(section))
        return QHeaderView::paintSection(painter, rect, section);

    QStyleOptionHeaderV2 option;
    initStyleOption(&option);
    initStyleOptionForIndex(&option, section);
    option.rect = rect;
    style()->drawControl(QStyle::CE_HeaderSection, &option, painter, this);

    // Text and arrow are aligned together; the text gives way when there is not room for both.
    const QRect room = style()->subElementRect(QStyle::SE_HeaderLabel, &option, this);
    const int arrow = sorted ? arrowSize() : 0;
    const int gap = sorted ? kArrowGap : 0;
    const int textWidth =
        std::clamp(option.fontMetrics.horizontalAdvance(option.text) + 1, 0, std::max(0, room.width() - gap - arrow));
    const QSize group(std::min(room.width(), textWidth + gap + arrow), room.height());
    const QRect at = QStyle::alignedRect(layoutDirection(), option.textAlignment, group, room);
    option.text = option.fontMetrics.elidedText(option.text, Qt::ElideRight, textWidth);
    option.rect = QRect(at.left(), at.top(), textWidth, at.height());
    option.textAlignment = Qt::AlignLeft | Qt::AlignVCenter;
    style()->drawControl(QStyle::CE_HeaderLabel, &option, painter, this);
    if (!sorted)
        return;
    const QRect arrowRect(at.right() + 1 - arrow, at.center().y() - arrow / 2, arrow, arrow);
    images[descending ? 1 : 0].paint(painter, arrowRect, Qt::AlignCenter,
                                     isEnabled() ? QIcon::Normal : QIcon::Disabled);
}

namespace {

// Most styles set cells closer together than a table of figures can bear.
class ListStyle : public QProxyStyle {
 public:
    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override {
        if (metric == PM_FocusFrameHMargin)
            return kMargin - 1;  // the style adds one
        if (metric == PM_HeaderMargin)
            return kMargin;
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
};

// From 1, none, to 21, black on white; as the accessibility guidelines count it.
double contrast(const QColor& one, const QColor& other) {
    const auto luminance = [](const QColor& color) {
        const auto linear = [](double part) {
            return part <= 0.04 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF()) + 0.05;
    };
    const double ratio = luminance(one) / luminance(other);
    return std::max(ratio, 1 / ratio);
}

class CellDelegate : public QStyledItemDelegate {
 public:
    using QStyledItemDelegate::QStyledItemDelegate;

    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        return QStyledItemDelegate::sizeHint(option, index).grownBy({0, kRowMargin, 0, kRowMargin});
    }

    [[nodiscard]] QString displayText(const QVariant& value, const QLocale& /*locale*/) const override {
        return value.toString().left(kPainted);
    }

    // The whole of a text that is cut.
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override {
        if (event->type() != QEvent::ToolTip)
            return QStyledItemDelegate::helpEvent(event, view, option, index);
        const QString text = index.data().toString();
        const bool cut = view->fontMetrics().horizontalAdvance(text.left(kPainted)) + 2 * kMargin > option.rect.width();
        QToolTip::showText(event->globalPos(), cut ? "<p>" + text.toHtmlEscaped() + "</p>" : QString(), view);
        return true;
    }

 protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        const QColor background = option->palette.color(QPalette::Base);
        QStyledItemDelegate::initStyleOption(option, index);
        if (!index.data(Qt::ForegroundRole).isValid())
            return;
        // Pure red is hard to read on a dark theme, and on the colour of the selection.
        if (background.lightness() < 128)
            option->palette.setColor(QPalette::Text, QColor(255, 128, 128));
        const QColor selection = option->palette.color(QPalette::Active, QPalette::Highlight);
        const QColor pale(255, 224, 224);
        const QColor deep(110, 0, 0);
        option->palette.setColor(QPalette::HighlightedText,
                                 contrast(pale, selection) > contrast(deep, selection) ? pale : deep);
    }
};

}  // namespace

ListView::ListView(QWidget* parent) : QTreeView(parent), m_model(new ListModel(this)), m_header(new ListHeader(this)) {
    setModel(m_model);
    setHeader(m_header);
    m_header->setSectionsClickable(true);  // only now: setHeader() turns it off
    setItemDelegate(new CellDelegate(this));
    auto* const listStyle = new ListStyle;
    listStyle->setParent(this);
    setStyle(listStyle);
    m_header->setStyle(listStyle);
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setExpandsOnDoubleClick(false);
    setUniformRowHeights(true);
    setAllColumnsShowFocus(true);
    setEditTriggers(NoEditTriggers);
    setSelectionMode(SingleSelection);
    setSelectionBehavior(SelectRows);
    setTextElideMode(Qt::ElideRight);
    setHorizontalScrollMode(ScrollPerPixel);
    setTabKeyNavigation(false);

    connect(m_header, &QHeaderView::sectionClicked, this, &ListView::columnClicked);
    connect(m_header, &QHeaderView::sectionResized, this, [this](int column) {
        if (m_sharing)
            return;
        m_widths.at(static_cast<std::size_t>(column)).chosen = true;
        shareWidth();
    });
    connect(m_model, &QAbstractItemModel::modelReset, this, &ListView::reportSelection);
    connect(m_model, &QAbstractItemModel::modelReset, this, [this] {
        for (Width& width : m_widths)
            width.content = 0;
        measureRows(0, rowCount() - 1);
        shareWidth();
    });
    const auto measure = [this](int first, int last) {
        measureRows(first, last);
        shareWidth();
    };
    connect(m_model, &QAbstractItemModel::rowsInserted, this,
            [measure](const QModelIndex&, int first, int last) { measure(first, last); });
    connect(m_model, &QAbstractItemModel::dataChanged, this,
            [measure](const QModelIndex& first, const QModelIndex& last) { measure(first.row(), last.row()); });
}

ListView::~ListView() = default;

void ListView::addColumn(const QString& header, const QString& tag, int widthChars, ColumnAlignment alignment) {
    assert(columnCount() < static_cast<int>(RowStore::kMaxCells));
    m_model->addColumn({header, tag, alignment});
    m_widths.emplace_back();
    m_widthChars.push_back(widthChars);
    measureFont();
    shareWidth();
}

int ListView::columnCount() const {
    return m_model->columnCount();
}
QString ListView::columnHeader(int column) const {
    return m_model->columns.at(static_cast<std::size_t>(column)).header;
}
QString ListView::columnTag(int column) const {
    return m_model->columns.at(static_cast<std::size_t>(column)).tag;
}
ColumnAlignment ListView::columnAlignment(int column) const {
    return m_model->columns.at(static_cast<std::size_t>(column)).alignment;
}

void ListView::setElasticColumns(const QList<int>& first, const QList<int>& second) {
    m_first = first;
    m_second = second;
    shareWidth();
}

void ListView::setLeastWidth(int column, int width) {
    m_widths.at(static_cast<std::size_t>(column)).least = width;
    shareWidth();
}

// Called for every column of a new font; the cells are measured anew as well.
void ListView::measureFont() {
    const QFontMetricsF metrics(font());
    for (std::size_t c = 0; c < m_advances.size(); ++c)
        m_advances[c] = qCeil(metrics.horizontalAdvance(c < u' ' ? u' ' : QChar(static_cast<char16_t>(c))) * 64);
    for (int column = 0; column < columnCount(); ++column) {
        Width& width = m_widths[static_cast<std::size_t>(column)];
        width.heading = m_header->widthWithArrow(column);
        width.content = 0;
    }
    measureRows(0, rowCount() - 1);
}

int ListView::cellWidth(std::string_view text) const {
    if (text.empty())
        return 0;
    text = text.substr(0, kPainted);
    int units = 0;
    for (const char c : text) {
        if (static_cast<unsigned char>(c) >= m_advances.size()) {
            const QString shown = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
            units = fontMetrics().horizontalAdvance(shown) * 64;
            break;
        }
        units += m_advances[static_cast<unsigned char>(c)];
    }
    return units / 64 + 2 + 2 * kMargin;  // what rounding may lose
}

void ListView::measureRows(int first, int last) {
    for (int row = first; row <= last; ++row)
        for (int column = 0; column < columnCount(); ++column) {
            Width& width = m_widths[static_cast<std::size_t>(column)];
            width.content = std::max(width.content, cellWidth(utf8(row, column)));
        }
}

// Takes `missing` pixels from the widest of the columns first, none below its floor; returns what is still missing.
template <typename Share>
static int takeFrom(const QList<int>& columns, std::vector<int>& widths, const std::vector<Share>& shares,
                    int Share::*floor, int missing) {
    while (missing > 0) {
        int widest = -1;
        for (const int column : columns) {
            const auto c = static_cast<std::size_t>(column);
            if (widths[c] > shares[c].*floor && (widest < 0 || widths[c] > widths[static_cast<std::size_t>(widest)]))
                widest = column;
        }
        if (widest < 0)
            break;
        --widths[static_cast<std::size_t>(widest)];
        --missing;
    }
    return missing;
}

// What a column gives up: the room of its arrow and all blank space, then texts beyond its comfortable width, then all
// but a few letters, at last these.
ListView::Share ListView::shareOf(int column) const {
    const Width& width = m_widths[static_cast<std::size_t>(column)];
    const int comfortable = m_widthChars[static_cast<std::size_t>(column)] * m_advances['0'] / 64 + 2 * kMargin;
    const int letter = fontMetrics().averageCharWidth();
    const bool sorted = column == m_header->arrowColumn;
    const int heading = std::max(width.least, sorted ? width.heading : m_header->bareWidth(column));
    // Not more than is reasonable: a file may hold an amount of 300 digits.
    const int most = m_first.contains(column) ? viewport()->width() : kMostDigits * m_advances['0'] / 64;
    const int content = std::min(width.content, most);
    Share share;
    share.plenty = std::max({width.heading, width.least, content, comfortable});
    share.whole = std::max(heading, content);
    share.shared = std::max(heading, std::min(content, comfortable));
    share.readable = std::min(share.shared, kReadable * letter + 2 * kMargin);
    share.least = std::min(share.readable, 2 * letter + 2 * kMargin);
    return share;
}

void ListView::shareWidth() {
    if (m_sharing || columnCount() == 0)
        return;
    m_sharing = true;
    setHorizontalScrollBarPolicy(rowCount() == 0 ? Qt::ScrollBarAlwaysOff : Qt::ScrollBarAsNeeded);
    std::vector<int> widths;
    std::vector<Share> shares;
    QList<int> all;
    QList<int> first;
    QList<int> second;
    int lastWhole = columnCount() - 1;  // the last of the columns that are never cut
    for (int column = 0; column < columnCount(); ++column) {
        const bool chosen = m_widths[static_cast<std::size_t>(column)].chosen;
        const bool isFirst = m_first.contains(column);
        const bool isSecond = m_second.contains(column);
        shares.push_back(shareOf(column));
        widths.push_back(chosen ? columnWidth(column) : shares.back().plenty);
        if (!isFirst && !isSecond)
            lastWhole = column;
        if (chosen)
            continue;
        all += column;
        if (isFirst)
            first += column;
        if (isSecond)
            second += column;
    }
    const int room = viewport()->width();
    int missing = std::accumulate(widths.begin(), widths.end(), -room);
    const auto take = [&](const QList<int>& columns, int Share::*floor) {
        missing = takeFrom(columns, widths, shares, floor, missing);
    };
    if (!m_first.isEmpty()) {
        take(all, &Share::whole);
        take(first, &Share::shared);
        take(second, &Share::shared);
        take(first + second, &Share::readable);
        if (rowCount() == 0)  // nothing but headings
            take(all, &Share::readable);
    }
    if (missing > 0 && !m_first.isEmpty()) {
        // There is a scroll bar, so what stands behind the columns that are never cut need not be narrow, and what
        // stands before them fills the list.
        missing = -room;
        for (int column = 0; column < columnCount(); ++column) {
            const auto c = static_cast<std::size_t>(column);
            if (all.contains(column))
                widths[c] = column <= lastWhole ? shares[c].whole : shares[c].shared;
            missing += column <= lastWhole ? widths[c] : 0;
        }
        const auto isBehind = [lastWhole](int column) { return column > lastWhole; };
        first.removeIf(isBehind);
        second.removeIf(isBehind);
        take(first + second, &Share::readable);
        take(first + second, &Share::least);
    }
    for (qsizetype i = 0, spare = -missing; spare > 0 && i < first.size(); ++i)
        widths[static_cast<std::size_t>(first[i])] +=
            static_cast<int>(spare / first.size() + (i < spare % first.size() ? 1 : 0));
    for (int column = 0; column < columnCount(); ++column)
        setColumnWidth(column, widths[static_cast<std::size_t>(column)]);
    m_sharing = false;
}

void ListView::setHeaderImages(const QIcon& ascending, const QIcon& descending) {
    m_header->images = {ascending, descending};
    m_header->viewport()->update();
}

void ListView::setHeaderArrow(int column, bool descending) {
    m_model->arrowColumn = column;
    m_model->arrowDescending = descending;
    m_header->arrowColumn = column;
    m_header->descending = descending;
    m_header->viewport()->update();
    shareWidth();
}

void ListView::clearHeaderArrow() {
    setHeaderArrow(-1, false);
}

int ListView::headerImage(int column) const {
    if (column < 0 || column != m_header->arrowColumn)
        return -1;
    return m_header->descending ? 1 : 0;
}

ListView::Loading::Loading(ListView& list) : m_list(list) {
    m_list.m_model->beginLoad();
}
ListView::Loading::~Loading() {
    m_list.m_model->endLoad();
}

int ListView::addRow(std::span<const std::string_view> cells, qint32 tag, quint32 redCells) {
    return m_model->addRow(cells, tag, redCells);
}

int ListView::addRow(const QStringList& cells, qint32 tag) {
    std::vector<QByteArray> bytes;
    std::vector<std::string_view> views;
    bytes.reserve(static_cast<std::size_t>(cells.size()));
    for (const QString& cell : cells) {
        const QByteArray& text = bytes.emplace_back(cell.toUtf8());
        views.emplace_back(text.constData(), static_cast<std::size_t>(text.size()));
    }
    return m_model->addRow(views, tag, 0);
}

void ListView::removeRow(int row) {
    assert(row >= 0 && row < rowCount());
    if (row != selectedRow())
        return m_model->removeRow(row);
    m_reports = false;  // of the rows that Qt selects on the way
    m_model->removeRow(row);
    selectRow(std::min(row, rowCount() - 1));
    m_reports = true;
    reportSelection();
}

void ListView::clear() {
    m_model->clear();
}
int ListView::rowCount() const {
    return m_model->rowCount();
}

QString ListView::text(int row, int column) const {
    return m_model->cellText(row, column);
}

QString ListView::shownText(int row, int column) const {
    return m_model->index(row, column).data().toString();
}

std::string_view ListView::utf8(int row, int column) const {
    assert(row >= 0 && row < rowCount());
    return m_model->store.text(static_cast<std::size_t>(row), static_cast<std::size_t>(column));
}

void ListView::setText(int row, int column, const QString& text) {
    assert(row >= 0 && row < rowCount());
    const QByteArray bytes = text.toUtf8();
    m_model->store.setText(static_cast<std::size_t>(row), static_cast<std::size_t>(column),
                           {bytes.constData(), static_cast<std::size_t>(bytes.size())});
    m_model->touch(row, column);
}

int ListView::foreColor(int row, int column) const {
    assert(row >= 0 && row < rowCount());
    return m_model->store.isRed(static_cast<std::size_t>(row), static_cast<std::size_t>(column)) ? kRed : kBlack;
}

void ListView::setForeColor(int row, int column, int color) {
    assert(row >= 0 && row < rowCount());
    m_model->store.setRed(static_cast<std::size_t>(row), static_cast<std::size_t>(column), color == kRed);
    m_model->touch(row, column);
}

qint32 ListView::tag(int row) const {
    assert(row >= 0 && row < rowCount());
    return m_model->store.tag(static_cast<std::size_t>(row));
}

void ListView::setTag(int row, qint32 tag) {
    assert(row >= 0 && row < rowCount());
    m_model->store.setTag(static_cast<std::size_t>(row), tag);
}

int ListView::rowOfTag(qint32 tag) const {
    int row = rowCount() - 1;
    while (row >= 0 && this->tag(row) != tag)
        --row;
    return row;
}

int ListView::selectedRow() const {
    if (m_model->loading())
        return -1;
    const QItemSelection selection = selectionModel()->selection();
    return selection.isEmpty() ? -1 : selection.first().top();
}

void ListView::selectRow(int row) {
    if (row < 0 || row >= rowCount()) {
        selectionModel()->clear();
        return;
    }
    setCurrentIndex(m_model->index(row, 0));
}

void ListView::ensureVisible(int row) {
    if (row >= 0 && row < rowCount())
        scrollTo(m_model->index(row, 0));
}

void ListView::sortRows(int column, Qt::SortOrder order) {
    assert(column >= 0 && column < columnCount());
    m_model->sortKey = column;
    m_model->sortOrder = order;
    setSorted(true);
}

void ListView::setSorted(bool sorted) {
    m_model->sorted = sorted;
    if (sorted) {
        m_model->sortRows();
        reportSelection();
    }
}

bool ListView::isSorted() const {
    return m_model->sorted;
}
int ListView::sortKey() const {
    return m_model->sortKey;
}
Qt::SortOrder ListView::sortOrder() const {
    return m_model->sortOrder;
}

// Type-ahead looks in the column with the arrow, by which the rows are in order, else in the first.
void ListView::keyboardSearch(const QString& search) {
    const int column = std::max(0, m_header->arrowColumn);
    const QModelIndex current = currentIndex();
    if (current.isValid() && current.column() != column)
        selectionModel()->setCurrentIndex(current.siblingAtColumn(column), QItemSelectionModel::NoUpdate);
    QTreeView::keyboardSearch(search);
}

bool ListView::columnKey(QKeyEvent* event) {
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
    const bool narrower = event->key() == Qt::Key_Left;
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (columnCount() == 0 || !modifiers.testFlag(Qt::ControlModifier) ||
        !(enter || narrower || event->key() == Qt::Key_Right))
        return false;
    const int column = m_header->keyColumn;
    if (modifiers == Qt::ControlModifier && !enter)
        chooseColumn(column < 0 ? 0 : std::clamp(column + (narrower ? -1 : 1), 0, columnCount() - 1));
    else if (modifiers == Qt::ControlModifier && column >= 0) {
        emit columnClicked(column);
        chooseColumn(column);  // told anew, with its order
    } else if (modifiers == (Qt::ControlModifier | Qt::ShiftModifier) && !enter && column >= 0)
        setColumnWidth(column, std::max(2 * kMargin,
                                        columnWidth(column) + (narrower ? -1 : 1) * fontMetrics().averageCharWidth()));
    event->accept();
    return true;
}

void ListView::chooseColumn(int column) {
    m_header->keyColumn = column;
    m_header->viewport()->update();
    const int left = m_header->sectionViewportPosition(column);
    if (left < 0 || left + columnWidth(column) > viewport()->width())
        horizontalScrollBar()->setValue(m_header->sectionPosition(column));
    QAccessibleEvent heading(this, QAccessible::Focus);
    heading.setChild(column);
    QAccessible::updateAccessibility(&heading);
}

// The selection is pale in a list that does not have the focus.
void ListView::initViewItemOption(QStyleOptionViewItem* option) const {
    QTreeView::initViewItemOption(option);
    showPaneFocus(*option, hasFocus());
}

void ListView::keyPressEvent(QKeyEvent* event) {
    if (columnKey(event))
        return;
    event->ignore();
    emit keyDown(event);
    if (!event->isAccepted())
        QTreeView::keyPressEvent(event);
}

void ListView::mouseReleaseEvent(QMouseEvent* event) {
    QTreeView::mouseReleaseEvent(event);
    if (event->button() == Qt::RightButton)
        emit rightMouseUp(event->globalPosition().toPoint());
}

void ListView::mouseDoubleClickEvent(QMouseEvent* event) {
    QTreeView::mouseDoubleClickEvent(event);
    const QModelIndex index = indexAt(event->position().toPoint());
    if (event->button() == Qt::LeftButton && index.isValid())
        emit rowDoubleClicked(index.row());
}

// The menu key; the mouse has its own way in mouseReleaseEvent.
void ListView::contextMenuEvent(QContextMenuEvent* event) {
    if (event->reason() != QContextMenuEvent::Keyboard)
        return;
    const QRect row = visualRect(currentIndex());
    const QPoint at = viewport()->rect().contains(row.bottomLeft()) ? row.bottomLeft() : QPoint();
    emit rightMouseUp(viewport()->mapToGlobal(at));
}

// Qt would make the first row current without selecting it.
void ListView::focusInEvent(QFocusEvent* event) {
    const bool none = !currentIndex().isValid();
    QTreeView::focusInEvent(event);
    if (none)
        selectionModel()->clearCurrentIndex();
}

void ListView::resizeEvent(QResizeEvent* event) {
    shareWidth();  // before the view asks whether it needs a scroll bar
    QTreeView::resizeEvent(event);
}

void ListView::changeEvent(QEvent* event) {
    QTreeView::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        measureFont();
        shareWidth();
    }
}

void ListView::selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) {
    QTreeView::selectionChanged(selected, deselected);
    reportSelection();
}

void ListView::reportSelection() {
    if (!m_reports)
        return;
    const int row = selectedRow();
    if (row != -1 || m_anyReported)
        emit selectedRowChanged(row);
    m_anyReported = row != -1;
}

QItemSelectionModel::SelectionFlags ListView::selectionCommand(const QModelIndex& index, const QEvent* event) const {
    const auto command = QTreeView::selectionCommand(index, event);
    // The selected row stays selected, with the Ctrl key too.
    return command.testFlag(QItemSelectionModel::Deselect) ? QItemSelectionModel::NoUpdate : command;
}

}  // namespace controls
