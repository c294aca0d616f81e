// SPDX-License-Identifier: MIT
// PageView shows laid-out pages as sheets one below the other, at any size.
//
// It borrows the pages. Pages count from 0. The sheets that are visible are painted straight from the layout. Not a
// QPrintPreviewWidget, because that needs a printer to work with and paints every page into a record before it shows
// the first: for 300 pages half a second more and a third more memory.
#pragma once

#include <QAbstractScrollArea>
#include <QPointer>

#include "datareport/layout.h"

namespace datareport {

class PageView : public QAbstractScrollArea {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PageView)

 public:
    enum class Fit { None, Page, Width };

    explicit PageView(QWidget* parent = nullptr);

    // The pages must stay until others are set.
    void setPages(const Pages& pages);
    [[nodiscard]] int pageCount() const;
    [[nodiscard]] int currentPage() const { return m_current; }
    // What the current page says; a screen reader is told.
    [[nodiscard]] QString currentText() const;
    // 1 shows a point as 1/72 inch of the screen.
    [[nodiscard]] double zoom() const { return m_zoom; }
    void setZoom(double zoom);
    void setFit(Fit fit);

 public slots:
    // Shows the page from its top. Numbers beyond the ends mean the first and the last.
    void goTo(int page);
    // A screenful on, and at the end of a page to the next one; and back.
    void pageDown();
    void pageUp();

 signals:
    void currentPageChanged(int page);
    // Ctrl and the wheel: more than 0 to enlarge.
    void zoomWheel(int direction);

 protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void wheelEvent(QWheelEvent* event) override;

 private:
    [[nodiscard]] double pixelsPerPoint() const;
    [[nodiscard]] QSize sheetSize() const;
    [[nodiscard]] QPoint sheetTopLeft(int page) const;  // in the viewport
    [[nodiscard]] int step() const;                     // from the top of a sheet to the next
    void applyZoom(double zoom);
    void arrange();
    void setCurrent(int page);

    const Pages* m_pages = nullptr;
    Fit m_fit = Fit::Page;
    double m_zoom = 1;
    int m_current = 0;
    bool m_arranging = false;
};

}  // namespace datareport
