// SPDX-License-Identifier: MIT
#include "datareport/page_view.h"

#include "datareport/painter.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QPaintEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

namespace datareport {

namespace {

constexpr int kSpace = 16;  // around the sheets
constexpr int kShadow = 4;
constexpr double kPointsPerInch = 72;

// The pages as a document, whose text is that of the current page.
class AccessiblePages : public QAccessibleWidget, public QAccessibleTextInterface {
 public:
    explicit AccessiblePages(PageView* view) : QAccessibleWidget(view, QAccessible::Document), m_view(view) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::TextInterface)
            return static_cast<QAccessibleTextInterface*>(this);
        return QAccessibleWidget::interface_cast(type);
    }
    [[nodiscard]] QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Value ? m_view->currentText() : QAccessibleWidget::text(kind);
    }
    [[nodiscard]] QString text(int start, int end) const override {
        return m_view->currentText().mid(start, end < 0 ? -1 : end - start);
    }
    [[nodiscard]] int characterCount() const override { return static_cast<int>(m_view->currentText().size()); }

    // There is neither a cursor nor a selection.
    [[nodiscard]] int cursorPosition() const override { return m_cursor; }
    void setCursorPosition(int position) override { m_cursor = position; }
    void selection(int /*index*/, int* start, int* end) const override { *start = *end = 0; }
    [[nodiscard]] int selectionCount() const override { return 0; }
    void addSelection(int /*start*/, int /*end*/) override {}
    void removeSelection(int /*index*/) override {}
    void setSelection(int /*index*/, int /*start*/, int /*end*/) override {}
    [[nodiscard]] QRect characterRect(int /*offset*/) const override { return rect(); }
    [[nodiscard]] int offsetAtPoint(const QPoint& /*point*/) const override { return 0; }
    void scrollToSubstring(int /*start*/, int /*end*/) override {}
    [[nodiscard]] QString attributes(int /*offset*/, int* start, int* end) const override {
        *start = 0;
        *end = characterCount();
        return {};
    }

 private:
    PageView* m_view;
    int m_cursor = 0;  // where a screen reader reads
};

QAccessibleInterface* makeAccessible(const QString& /*name*/, QObject* object) {
    auto* view = qobject_cast<PageView*>(object);
    return view != nullptr ? new AccessiblePages(view) : nullptr;
}

}  // namespace

QString PageView::currentText() const {
    return m_pages != nullptr ? pageText(m_pages->pages[static_cast<std::size_t>(m_current)]) : QString();
}

PageView::PageView(QWidget* parent) : QAbstractScrollArea(parent) {
    [[maybe_unused]] static const bool installed = [] {
        QAccessible::installFactory(makeAccessible);
        return true;
    }();
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::StrongFocus);
    // Always there, so that fitting a sheet does not change the room that it is fitted into.
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
}

void PageView::setPages(const Pages& pages) {
    m_pages = &pages;
    m_current = std::min(m_current, pageCount() - 1);
    setFit(m_fit);
    emit currentPageChanged(m_current);
}

int PageView::pageCount() const {
    return m_pages != nullptr ? static_cast<int>(m_pages->pages.size()) : 0;
}

double PageView::pixelsPerPoint() const {
    return m_zoom * logicalDpiX() / kPointsPerInch;
}

QSize PageView::sheetSize() const {
    return m_pages != nullptr ? (m_pages->paper.size * pixelsPerPoint()).toSize() : QSize();
}

int PageView::step() const {
    return sheetSize().height() + kSpace;
}

QPoint PageView::sheetTopLeft(int page) const {
    const int spare = viewport()->width() - sheetSize().width();
    const int left = spare >= 2 * kSpace ? spare / 2 : kSpace - horizontalScrollBar()->value();
    return {left, kSpace + page * step() - verticalScrollBar()->value()};
}

void PageView::setZoom(double zoom) {
    m_fit = Fit::None;
    applyZoom(zoom);
}

void PageView::setFit(Fit fit) {
    m_fit = fit;
    arrange();
}

// Keeps what is in the middle of the window in the middle.
void PageView::applyZoom(double zoom) {
    const double oldHeight = std::max(1, sheetSize().height());
    const double middle = (viewport()->height() / 2.0 - sheetTopLeft(m_current).y()) / oldHeight;
    m_zoom = zoom;
    const int current = m_current;
    arrange();
    if (middle >= 0 && middle <= 1) {
        const QScopedValueRollback guard(m_arranging, true);
        const double top = kSpace + current * step() + middle * sheetSize().height() - viewport()->height() / 2.0;
        verticalScrollBar()->setValue(static_cast<int>(top));
        horizontalScrollBar()->setValue((horizontalScrollBar()->maximum()) / 2);
    }
    viewport()->update();
}

void PageView::arrange() {
    if (m_pages == nullptr)
        return;
    const QScopedValueRollback guard(m_arranging, true);
    const QSizeF paper = m_pages->paper.size * logicalDpiX() / kPointsPerInch;
    const QSize room = viewport()->size() - QSize(2 * kSpace, 2 * kSpace);
    if (m_fit == Fit::Page)
        m_zoom = std::min(room.width() / paper.width(), room.height() / paper.height());
    else if (m_fit == Fit::Width)
        m_zoom = room.width() / paper.width();
    m_zoom = std::clamp(m_zoom, 0.05, 8.0);
    const QSize sheet = sheetSize();
    horizontalScrollBar()->setPageStep(viewport()->width());
    horizontalScrollBar()->setSingleStep(40);
    horizontalScrollBar()->setRange(0, std::max(0, sheet.width() + 2 * kSpace - viewport()->width()));
    verticalScrollBar()->setPageStep(viewport()->height());
    verticalScrollBar()->setSingleStep(40);
    verticalScrollBar()->setRange(0, std::max(0, pageCount() * step() + kSpace - viewport()->height()));
    if (m_fit != Fit::None)
        verticalScrollBar()->setValue(m_current * step());
    viewport()->update();
}

void PageView::goTo(int page) {
    if (m_pages == nullptr)
        return;
    page = std::clamp(page, 0, pageCount() - 1);
    {
        const QScopedValueRollback guard(m_arranging, true);
        verticalScrollBar()->setValue(page * step());
    }
    setCurrent(page);
    viewport()->update();
}

void PageView::pageDown() {
    const int below = sheetTopLeft(m_current).y() + sheetSize().height() - viewport()->height();
    if (below > 0 && verticalScrollBar()->value() < verticalScrollBar()->maximum())
        verticalScrollBar()->setValue(verticalScrollBar()->value() +
                                      std::min(below + kSpace, viewport()->height() * 9 / 10));
    else
        goTo(m_current + 1);
}

void PageView::pageUp() {
    const int above = kSpace - sheetTopLeft(m_current).y();
    if (above > 0)
        verticalScrollBar()->setValue(verticalScrollBar()->value() - std::min(above, viewport()->height() * 9 / 10));
    else if (m_current > 0) {
        goTo(m_current - 1);
        if (const int below = sheetSize().height() + 2 * kSpace - viewport()->height(); below > 0)
            verticalScrollBar()->setValue(verticalScrollBar()->value() + below);
    }
}

void PageView::setCurrent(int page) {
    if (page == m_current)
        return;
    m_current = page;
    QAccessibleValueChangeEvent news(this, currentText());
    QAccessible::updateAccessibility(&news);
    emit currentPageChanged(page);
}

void PageView::scrollContentsBy(int, int) {
    // Where the user has scrolled to: the page in the middle of the window.
    if (!m_arranging && m_pages != nullptr) {
        const int middle = verticalScrollBar()->value() + viewport()->height() / 2;
        setCurrent(std::clamp(middle / std::max(1, step()), 0, pageCount() - 1));
    }
    viewport()->update();
}

void PageView::resizeEvent(QResizeEvent*) {
    arrange();
}

void PageView::wheelEvent(QWheelEvent* event) {
    if ((event->modifiers() & Qt::ControlModifier) == 0)
        return QAbstractScrollArea::wheelEvent(event);
    if (event->angleDelta().y() != 0)
        emit zoomWheel(event->angleDelta().y());
    event->accept();
}

void PageView::paintEvent(QPaintEvent* event) {
    QPainter painter(viewport());
    const bool dark = palette().color(QPalette::Window).lightness() < 128;
    painter.fillRect(event->rect(), dark ? QColor(0x3b, 0x3f, 0x43) : QColor(0xb4, 0xba, 0xc0));
    if (m_pages == nullptr)
        return;
    const QSize size = sheetSize();
    const int first = std::max(0, (verticalScrollBar()->value() - kSpace) / step());
    for (int page = first; page < pageCount(); ++page) {
        const QRect sheet(sheetTopLeft(page), size);
        if (sheet.top() > event->rect().bottom())
            break;
        for (int i = kShadow; i > 0; --i)
            painter.fillRect(sheet.translated(i / 2, i / 2).adjusted(-i / 2, -i / 2, i / 2, i / 2),
                             QColor(0, 0, 0, 18));
        painter.fillRect(sheet, Qt::white);
        painter.save();
        painter.setClipRect(sheet & event->rect());
        painter.translate(sheet.topLeft());
        painter.scale(pixelsPerPoint(), pixelsPerPoint());
        painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
        paintPage(painter, *m_pages, static_cast<std::size_t>(page));
        painter.restore();
    }
}

}  // namespace datareport
