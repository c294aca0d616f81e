// SPDX-License-Identifier: MIT
// Preview is the window that shows a report page by page and can print it or save it as PDF.
#pragma once

#include <QDialog>

#include "controls/common_dialog.h"

class QComboBox;
class QLabel;
class QSpinBox;
class QToolBar;

namespace datareport {

class DataReport;
class PageView;

class Preview : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Preview)

 public:
    // Lays the report out, and throws what that throws. The report must outlive the window.
    Preview(DataReport& report, QWidget* owner);

 private slots:
    void print();
    void showPages();
    void savePdf();
    void showPageNumber();
    void chooseZoom();
    void zoomIn();
    void zoomOut();

 private:
    QAction* addAction(const QString& name, const QString& text, const QList<QKeySequence>& keys);
    void addNavigation();
    void addZoom();
    void makeReachable();
    void zoomBy(int direction);

    DataReport& m_report;
    controls::CommonDialog m_saveDialog;
    QToolBar* m_bar;
    PageView* m_view;
    QSpinBox* m_page;
    QLabel* m_pageCount;
    QComboBox* m_zoom;
    QAction* m_first;
    QAction* m_previous;
    QAction* m_next;
    QAction* m_last;
};

}  // namespace datareport
