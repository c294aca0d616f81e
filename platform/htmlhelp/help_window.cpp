// SPDX-License-Identifier: MIT
#include "htmlhelp/help_window.h"

#include "htmlhelp/find_bar.h"
#include "htmlhelp/page_view.h"
#include "htmlhelp/side_pane.h"

#include <QAction>
#include <QGuiApplication>
#include <QPrintDialog>
#include <QPrinter>
#include <QPrinterInfo>
#include <QScreen>
#include <QShortcut>
#include <QSplitter>
#include <QStatusBar>
#include <QStyle>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>

namespace htmlhelp {

namespace {

constexpr QSize kUsualSize(880, 640);
constexpr QSize kLeastSize(480, 320);
constexpr int kUsualPane = 240;
constexpr int kZoomStep = 10;
constexpr int kLeastZoom = 50;
constexpr int kMostZoom = 300;
constexpr int kMessageTime = 6000;  // milliseconds

QString text(const std::string& utf8) {
    return QString::fromStdString(utf8);
}

}  // namespace

HelpWindow::HelpWindow()
    : m_splitter(new QSplitter(this)), m_side(new SidePane), m_page(new PageView), m_findBar(nullptr) {
    setAttribute(Qt::WA_QuitOnClose, false);
    setObjectName("frmHelp");
    setWindowIcon(QIcon(":/htmlhelp/help.svg"));
    setMinimumSize(kLeastSize);

    auto* right = new QWidget;
    m_findBar = new FindBar(m_page, right);
    auto* column = new QVBoxLayout(right);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_page);
    column->addWidget(m_findBar);
    m_page->setObjectName("txtPage");
    m_page->setAccessibleName("Page");
    m_splitter->addWidget(m_side);
    m_splitter->addWidget(right);
    m_splitter->setStretchFactor(1, 1);
    m_splitter->setChildrenCollapsible(false);
    setCentralWidget(m_splitter);
    statusBar()->setSizeGripEnabled(false);
    makeToolBar();

    connect(m_side, &SidePane::pageChosen, this, &HelpWindow::openChosen);
    connect(m_page, &PageView::zoomWanted, this, &HelpWindow::changeZoom);
    connect(m_page, &QTextBrowser::historyChanged, this, [this] { m_side->markPlace(m_page->place()); });
    connect(m_page, &PageView::pageMissing, this, [this](const QString& path) {
        statusBar()->showMessage("The help file has no page " + path, kMessageTime);
    });
    connect(m_page, &QTextBrowser::highlighted, this, [this](const QUrl& link) {
        statusBar()->showMessage(link.scheme() == "chm" ? QString() : link.toDisplayString());
    });
}

QAction* HelpWindow::addCommand(const QString& name, const QString& text, const QString& icon,
                                const QList<QKeySequence>& keys) {
    auto* action = new QAction(text, this);
    action->setObjectName(name);
    action->setShortcuts(keys);
    if (!icon.isEmpty())
        action->setIcon(QIcon(":/htmlhelp/" + icon + ".svg"));
    if (!keys.isEmpty())
        action->setToolTip(text + " (" + keys.first().toString(QKeySequence::NativeText) + ")");
    addAction(action);
    return action;
}

void HelpWindow::makeToolBar() {
    auto* bar = addToolBar("Help");
    bar->setObjectName("tlbHelp");
    bar->setMovable(false);
    bar->setIconSize({20, 20});
    bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    bar->setContextMenuPolicy(Qt::PreventContextMenu);

    QAction* back = addCommand("cmdBack", "Back", "back", {QKeySequence("Alt+Left"), QKeySequence("Back")});
    QAction* forward =
        addCommand("cmdForward", "Forward", "forward", {QKeySequence("Alt+Right"), QKeySequence("Forward")});
    QAction* home = addCommand("cmdHome", "Home", "home", {QKeySequence("Alt+Home")});
    QAction* find = addCommand("cmdFind", "Find in Page", "find", {QKeySequence::Find});
    QAction* in = addCommand("cmdZoomIn", "Zoom In", "zoom_in", {QKeySequence("Ctrl++"), QKeySequence("Ctrl+=")});
    QAction* out = addCommand("cmdZoomOut", "Zoom Out", "zoom_out", {QKeySequence("Ctrl+-")});
    QAction* usual = addCommand("cmdZoomReset", "Usual Size", {}, {QKeySequence("Ctrl+0")});
    QAction* print = addCommand("cmdPrint", "Print", {}, {QKeySequence::Print});
    QAction* next = addCommand("cmdFindNext", "Find Next", {}, {QKeySequence("F3")});
    QAction* previous = addCommand("cmdFindPrevious", "Find Previous", {}, {QKeySequence("Shift+F3")});
    QAction* searchAll = addCommand("cmdSearch", "Search All Pages", {}, {QKeySequence("Ctrl+Shift+F")});
    QAction* other = addCommand("cmdOtherSide", "Other Side", {}, {QKeySequence("F6")});
    QAction* escape = addCommand("cmdClose", "Close", {}, {QKeySequence("Esc"), QKeySequence("Ctrl+W")});

    bar->addActions({back, forward, home});
    bar->addSeparator();
    bar->addActions({find, print});
    bar->addSeparator();
    bar->addActions({out, in});
    for (QAction* small : {out, in})
        static_cast<QToolButton*>(bar->widgetForAction(small))->setToolButtonStyle(Qt::ToolButtonIconOnly);
    for (QToolButton* button : bar->findChildren<QToolButton*>())
        button->setFocusPolicy(Qt::TabFocus);

    back->setEnabled(false);
    forward->setEnabled(false);
    connect(m_page, &QTextBrowser::backwardAvailable, back, &QAction::setEnabled);
    connect(m_page, &QTextBrowser::forwardAvailable, forward, &QAction::setEnabled);
    connect(back, &QAction::triggered, m_page, &QTextBrowser::backward);
    connect(forward, &QAction::triggered, m_page, &QTextBrowser::forward);
    connect(home, &QAction::triggered, this, &HelpWindow::goHome);
    connect(find, &QAction::triggered, m_findBar, &FindBar::open);
    connect(print, &QAction::triggered, this, &HelpWindow::printPage);
    connect(next, &QAction::triggered, m_findBar, &FindBar::findNext);
    connect(previous, &QAction::triggered, m_findBar, &FindBar::findPrevious);
    connect(in, &QAction::triggered, this, [this] { changeZoom(1); });
    connect(out, &QAction::triggered, this, [this] { changeZoom(-1); });
    connect(usual, &QAction::triggered, this, [this] { changeZoom(0); });
    connect(searchAll, &QAction::triggered, m_side, &SidePane::showSearch);
    connect(other, &QAction::triggered, this, &HelpWindow::switchSide);
    connect(escape, &QAction::triggered, this, &HelpWindow::escape);
}

void HelpWindow::setFile(std::shared_ptr<const chm::File> file, const chm::WindowType& type) {
    const QString title = text(type.title.empty() ? file->title() : type.title);
    setWindowTitle(title.isEmpty() ? QString("Help") : title);
    m_home = text(!type.homePage.empty() ? type.homePage : file->defaultPage());
    m_size = kUsualSize;
    if (type.width >= kLeastSize.width() && type.height >= kLeastSize.height())
        m_size = {type.width, type.height};
    if (!m_placed) {
        const int pane = type.paneWidth >= 100 && type.paneWidth < m_size.width() / 2 ? type.paneWidth : kUsualPane;
        m_splitter->setSizes({pane, m_size.width() - pane});
    }
    m_page->setFile(file);
    m_side->setFile(std::move(file));
}

bool HelpWindow::showPage(const QString& path) {
    return m_page->showPage(path);
}

void HelpWindow::showContents() {
    m_side->showContents();
    m_page->setFocus();
}

void HelpWindow::showIndex() {
    m_side->showIndex();
}

void HelpWindow::present(const QWidget* caller) {
    if (!m_placed) {
        const QScreen* screen = caller != nullptr ? caller->screen() : QGuiApplication::primaryScreen();
        const QRect room = screen->availableGeometry();
        if (caller != nullptr)
            setGeometry(placeBeside(caller->window()->frameGeometry(), m_size, room));
        else
            setGeometry(QStyle::alignedRect(layoutDirection(), Qt::AlignCenter, m_size.boundedTo(room.size()), room));
        m_placed = true;
    }
    if (isMinimized())
        showNormal();
    else
        show();
    raise();
    activateWindow();
}

void HelpWindow::openChosen(const QString& path, const QStringList& words) {
    if (m_page->showPage(path))
        m_page->highlight(words);
    else
        statusBar()->showMessage("The help file has no page " + path, kMessageTime);
}

// No steps: back to the usual size.
void HelpWindow::changeZoom(int steps) {
    const int zoom = steps == 0 ? 100 : std::clamp(m_page->zoom() + steps * kZoomStep, kLeastZoom, kMostZoom);
    m_page->setZoom(zoom);
    statusBar()->showMessage(QString("%1 %").arg(zoom), kMessageTime);
}

void HelpWindow::printPage() {
    QPrinter printer(QPrinter::HighResolution);
    if (const QPageSize own = QPrinterInfo(printer).defaultPageSize(); own.isValid())
        printer.setPageSize(own);
    if (QPrintDialog(&printer, this).exec() == QDialog::Accepted)
        m_page->print(&printer);
}

void HelpWindow::goHome() {
    m_page->showPage(m_home);
}

void HelpWindow::switchSide() {
    if (m_page->hasFocus())
        m_side->currentWidget()->setFocus();
    else
        m_page->setFocus(Qt::ShortcutFocusReason);
}

void HelpWindow::escape() {
    if (m_findBar->isVisible())
        m_findBar->leave();
    else
        close();
}

QRect placeBeside(const QRect& caller, QSize size, const QRect& screen) {
    constexpr int kGap = 8;
    constexpr int kTitleBar = 32;
    size = size.boundedTo({screen.width(), screen.height() - kTitleBar});
    const int right = screen.right() - caller.right() - kGap;
    const int left = caller.left() - screen.left() - kGap;
    const int least = size.width() * 2 / 3;
    int x = screen.right() + 1 - size.width();
    if (right >= size.width() || (right >= least && right >= left)) {
        size.setWidth(std::min(size.width(), right));
        x = caller.right() + 1 + kGap;
    } else if (left >= least) {
        size.setWidth(std::min(size.width(), left));
        x = caller.left() - kGap - size.width();
    }
    x = std::clamp(x, screen.left(), screen.right() + 1 - size.width());
    const int lowest = screen.bottom() + 1 - size.height();
    const int y =
        std::clamp(caller.top() + kTitleBar, screen.top() + kTitleBar, std::max(lowest, screen.top() + kTitleBar));
    return {QPoint(x, y), size};
}

}  // namespace htmlhelp
