// SPDX-License-Identifier: MIT
#include "datareport/preview.h"

#include "controls/hourglass.h"
#include "controls/message_box.h"
#include "datareport/data_report.h"
#include "datareport/page_view.h"
#include "vbrt/qstring.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QScreen>
#include <QShortcut>
#include <QSpinBox>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>
#include <array>
#include <iterator>
#include <new>

namespace datareport {

namespace {

constexpr std::array kPercents{50, 75, 100, 125, 150, 200, 300, 400};
constexpr int kFitPage = -1;  // data of the entries of the zoom list, beside the percents
constexpr int kFitWidth = -2;
const QStringList kWithText = {QStringLiteral("print"), QStringLiteral("save_pdf"), QStringLiteral("close")};
constexpr long kOutOfMemory = 7;
constexpr long kInternalError = 51;

// The exception in flight, shown; the window goes on.
void showError(QWidget* window) {
    vbrt::Error error(kInternalError, "Internal error");
    try {
        throw;
    } catch (const vbrt::Error& e) {
        error = e;
    } catch (const std::bad_alloc&) {
        error = vbrt::Error(kOutOfMemory, "Out of memory");
    } catch (const std::exception& e) {
        error = vbrt::Error(kInternalError, std::string("Internal error: ") + e.what());
    }
    controls::restorePointer();
    controls::MsgBox(window, QStringLiteral("Error #: %1\r").arg(error.number()) + vbrt::qt::description(error),
                     controls::MsgIcon::Exclamation, controls::MsgButtons::Ok, QStringLiteral("Error"));
}

// The title of a report as the name of a file.
QString fileNameFor(QString title) {
    for (QChar& c : title)
        if (QStringLiteral("\\/:*?\"<>|.").contains(c) || c.category() == QChar::Other_Control)
            c = u'-';
    return title;
}

}  // namespace

Preview::Preview(DataReport& report, QWidget* owner)
    : QDialog(owner, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowMinMaxButtonsHint |
                         Qt::WindowCloseButtonHint),
      m_report(report),
      m_saveDialog(this),
      m_bar(new QToolBar(this)),
      m_view(new PageView(this)) {
    const controls::Hourglass hourglass;
    setObjectName("datareport_preview");
    setWindowTitle(report.design().title);
    // Not modal for the application: the help stays usable.
    setWindowModality(Qt::WindowModal);
    const QScreen* screen = owner != nullptr ? owner->screen() : QApplication::primaryScreen();
    setGeometry(screen->availableGeometry());
    setWindowState(Qt::WindowMaximized);

    m_saveDialog.dialogTitle = QStringLiteral("Save as PDF");
    m_saveDialog.filter = QStringLiteral("PDF files (*.pdf)|*.pdf");
    m_saveDialog.defaultExt = QStringLiteral(".pdf");
    m_saveDialog.flags = controls::kOverwritePrompt | controls::kPathMustExist | controls::kHideReadOnly;
    m_saveDialog.fileName = fileNameFor(report.design().title) + QStringLiteral(".pdf");

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->setSpacing(0);
    layout->addWidget(m_bar);
    layout->addWidget(m_view);
    m_bar->setMovable(false);
    m_bar->setIconSize({20, 20});
    m_view->setObjectName("view");
    m_view->setAccessibleName(QStringLiteral("Pages of the report"));

    connect(addAction("print", "Print", {QKeySequence(Qt::CTRL | Qt::Key_P)}), &QAction::triggered, this,
            &Preview::print);
    connect(addAction("save_pdf", "Save as PDF", {QKeySequence(Qt::CTRL | Qt::Key_S)}), &QAction::triggered, this,
            &Preview::savePdf);
    m_bar->addSeparator();
    addNavigation();
    m_bar->addSeparator();
    addZoom();
    m_bar->addSeparator();
    connect(addAction("close", "Close", {QKeySequence(Qt::Key_Escape)}), &QAction::triggered, this, &Preview::reject);
    makeReachable();

    m_view->setPages(report.pages(owner));
    showPageNumber();
    m_view->setFocus();
}

QAction* Preview::addAction(const QString& name, const QString& text, const QList<QKeySequence>& keys) {
    QAction* action = m_bar->addAction(QIcon(QStringLiteral(":/datareport/images/%1.svg").arg(name)), text);
    action->setObjectName(name);
    action->setShortcuts(keys);
    action->setToolTip(QStringLiteral("%1 (%2)").arg(text, keys.first().toString()));
    return action;
}

void Preview::addNavigation() {
    m_first = addAction("first", "First Page", {QKeySequence(Qt::Key_Home)});
    m_previous = addAction("previous", "Previous Page", {QKeySequence(Qt::Key_Left)});
    connect(m_first, &QAction::triggered, this, [this] { m_view->goTo(0); });
    connect(m_previous, &QAction::triggered, this, [this] { m_view->goTo(m_view->currentPage() - 1); });

    m_page = new QSpinBox;
    m_page->setObjectName("page");
    m_page->setAccessibleName(QStringLiteral("Page"));
    m_page->setToolTip(QStringLiteral("Number of the page (Alt+G)"));
    m_page->setKeyboardTracking(false);
    m_pageCount = new QLabel;
    m_pageCount->setObjectName("pageCount");
    auto* caption = new QLabel(QStringLiteral("Pa&ge"));
    caption->setBuddy(m_page);
    auto* box = new QWidget;
    auto* row = new QHBoxLayout(box);
    row->setContentsMargins(6, 0, 6, 0);
    for (QWidget* widget :
         {static_cast<QWidget*>(caption), static_cast<QWidget*>(m_page), static_cast<QWidget*>(m_pageCount)})
        row->addWidget(widget);
    m_bar->addWidget(box);
    connect(m_page, &QSpinBox::valueChanged, this, [this](int page) { m_view->goTo(page - 1); });
    connect(m_view, &PageView::currentPageChanged, this, &Preview::showPageNumber);

    m_next = addAction("next", "Next Page", {QKeySequence(Qt::Key_Right)});
    m_last = addAction("last", "Last Page", {QKeySequence(Qt::Key_End)});
    connect(m_next, &QAction::triggered, this, [this] { m_view->goTo(m_view->currentPage() + 1); });
    connect(m_last, &QAction::triggered, this, [this] { m_view->goTo(m_view->pageCount() - 1); });
    connect(new QShortcut(Qt::Key_PageDown, this), &QShortcut::activated, m_view, &PageView::pageDown);
    connect(new QShortcut(Qt::Key_PageUp, this), &QShortcut::activated, m_view, &PageView::pageUp);
}

void Preview::addZoom() {
    connect(addAction("zoom_out", "Zoom Out", {QKeySequence(Qt::CTRL | Qt::Key_Minus)}), &QAction::triggered, this,
            &Preview::zoomOut);
    m_zoom = new QComboBox;
    m_zoom->setObjectName("zoom");
    m_zoom->setAccessibleName(QStringLiteral("Zoom"));
    m_zoom->setToolTip(QStringLiteral("Size of the page on the screen"));
    m_zoom->addItem(QStringLiteral("Fit Page"), kFitPage);
    m_zoom->addItem(QStringLiteral("Fit Width"), kFitWidth);
    for (const int percent : kPercents)
        m_zoom->addItem(QStringLiteral("%1 %").arg(percent), percent);
    m_bar->addWidget(m_zoom);
    connect(m_zoom, &QComboBox::currentIndexChanged, this, &Preview::chooseZoom);
    connect(addAction("zoom_in", "Zoom In",
                      {QKeySequence(Qt::CTRL | Qt::Key_Plus), QKeySequence(Qt::CTRL | Qt::Key_Equal)}),
            &QAction::triggered, this, &Preview::zoomIn);
    connect(m_view, &PageView::zoomWheel, this, &Preview::zoomBy);
}

// Tool buttons take no focus of their own accord; here every one can be reached with Tab.
void Preview::makeReachable() {
    QWidget* last = m_view;
    for (QAction* action : m_bar->actions()) {
        auto* button = qobject_cast<QToolButton*>(m_bar->widgetForAction(action));
        if (button != nullptr) {
            button->setFocusPolicy(Qt::TabFocus);
            button->setAccessibleName(action->text());
            if (kWithText.contains(action->objectName()))
                button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        }
        QWidget* widget = button != nullptr ? button : m_bar->widgetForAction(action);
        if (widget != nullptr && widget->isAncestorOf(m_page))
            widget = m_page;
        if (widget != nullptr && widget->focusPolicy() != Qt::NoFocus) {
            setTabOrder(last, widget);
            last = widget;
        }
    }
}

void Preview::showPageNumber() {
    const int page = m_view->currentPage();
    const int count = m_view->pageCount();
    const QSignalBlocker quiet(m_page);
    m_page->setRange(1, count);
    m_page->setValue(page + 1);
    m_pageCount->setText(QStringLiteral("of %1").arg(count));
    m_first->setEnabled(page > 0);
    m_previous->setEnabled(page > 0);
    m_next->setEnabled(page < count - 1);
    m_last->setEnabled(page < count - 1);
}

void Preview::chooseZoom() {
    const int zoom = m_zoom->currentData().toInt();
    if (zoom == kFitPage)
        m_view->setFit(PageView::Fit::Page);
    else if (zoom == kFitWidth)
        m_view->setFit(PageView::Fit::Width);
    else
        m_view->setZoom(zoom / 100.0);
}

void Preview::zoomIn() {
    zoomBy(1);
}

void Preview::zoomOut() {
    zoomBy(-1);
}

// To the next size of the list that differs from the present one, which may be a fitted one.
void Preview::zoomBy(int direction) {
    const double now = m_view->zoom() * 100;
    int chosen = -1;
    for (const int percent : kPercents) {
        if (direction < 0 && percent < now - 1)
            chosen = percent;
        if (direction > 0 && percent > now + 1 && chosen < 0)
            chosen = percent;
    }
    if (chosen > 0)
        m_zoom->setCurrentIndex(m_zoom->findData(chosen));
}

void Preview::print() {
    try {
        m_report.PrintReport(this, true);
    } catch (...) {
        showError(this);
    }
    showPages();
}

// Again after printing: the paper may be another one.
void Preview::showPages() try { m_view->setPages(m_report.pages(this)); } catch (const Cancelled&) {
} catch (...) {
    showError(this);
}

void Preview::savePdf() try {
    if (m_saveDialog.showSave())
        m_report.ExportPdf(m_saveDialog.fileName, this);
} catch (...) {
    showError(this);
}

}  // namespace datareport
