// SPDX-License-Identifier: MIT
#include "mainwindow/frmMain.h"

#include <QApplication>
#include <QCloseEvent>
#include <QLabel>
#include <QProcess>
#include <QScreen>
#include <QShortcut>
#include <QStandardPaths>

#include "controls/twips.h"
#include "db/basMain.h"
#include "mainwindow/basLayout.h"
#include "vbrt/error.h"

namespace {

struct ToolbarButton {
    const char* strKey;
    const char* strToolTip;
    const char* strImage;
};

// Kept: the spelling "Caclulator" is the program's own.
constexpr ToolbarButton tlbButtons[] = {
    {"New", "Create a New Budget", "new"},
    {"Open", "Open an Existing Budget", "open"},
    {"Save As", "Save As", "save_as"},
    {"Print", "Print Report", "print"},
    {"Preview", "Preview Report", "preview"},
    {"Calculator", "Caclulator", "calculator"},
    {"Find", "Find Item", "find"},
    {"Reports", "Reports Menu", "reports"},
    {"About", "About", "about"},
    {"Help", "Help", "help"},
    {"Exit", "Exit", "exit"},
};

// A thin line after these keeps related buttons together.
bool EndsGroup(const QString& strKey) {
    return strKey == "Save As" || strKey == "Preview" || strKey == "Reports" || strKey == "Help";
}

QIcon Image(const QString& strName) {
    return QIcon(":/images/" + strName + ".svg");
}

}  // namespace

frmMain::frmMain() : dlgFile(this) {
    setupUi(this);

    // A name that is being typed in the tree is taken before any command sees it, as by a click elsewhere.
    for (QAction* objAction : findChildren<QAction*>()) {
        connect(objAction, &QAction::triggered, tvwEnvelopes, &controls::TreeView::commitLabelEdit);
        if (objAction->objectName().startsWith("mnu"))
            hshCommands.insert(objAction->objectName(), objAction);
    }
    for (const ToolbarButton& btn : tlbButtons)
        AddToolbarButton(btn.strKey, btn.strToolTip, btn.strImage);
    connect(tlbMain, &QToolBar::actionTriggered, this, &frmMain::tlbMain_ButtonClick);
    ConnectMenus();

    for (const char* strKey : {"folder_closed", "folder_open", "env_closed", "env_open"})
        tvwEnvelopes->setImage(strKey, Image(strKey));
    connect(tvwEnvelopes, &controls::TreeView::nodeClick, this, &frmMain::tvwEnvelopes_NodeClick);
    connect(tvwEnvelopes, &controls::TreeView::nodeCollapsed, this, &frmMain::tvwEnvelopes_Collapse);
    connect(tvwEnvelopes, &controls::TreeView::keyDown, this, &frmMain::tvwEnvelopes_KeyDown);
    connect(tvwEnvelopes, &controls::TreeView::rightMouseUp, this, &frmMain::tvwEnvelopes_MouseUp);
    connect(tvwEnvelopes, &controls::TreeView::beforeLabelEdit, this, &frmMain::tvwEnvelopes_BeforeLabelEdit);
    connect(tvwEnvelopes, &controls::TreeView::afterLabelEdit, this, &frmMain::tvwEnvelopes_AfterLabelEdit);

    using controls::ColumnAlignment;
    lvwItems->addColumn("Date", "item_date", 10);
    lvwItems->addColumn("Num", "item_num", 7);
    lvwItems->addColumn("Payee", "payee", 18);
    lvwItems->addColumn("R", "reconciled", 3, ColumnAlignment::Center);
    lvwItems->addColumn("Amount", "amount", 11, ColumnAlignment::Right);
    lvwItems->addColumn("Comment", "comment", 14);
    lvwItems->addColumn("Envelope", "envelope", 12);
    lvwItems->setElasticColumns({2, 5}, {1, 6});
    lvwItems->setHeaderImages(Image("sort_ascending"), Image("sort_descending"));
    connect(lvwItems, &controls::ListView::columnClicked, this, &frmMain::lvwItems_ColumnClick);
    connect(lvwItems, &controls::ListView::rowDoubleClicked, this, &frmMain::lvwItems_DblClick);
    connect(lvwItems, &controls::ListView::keyDown, this, &frmMain::lvwItems_KeyDown);
    connect(lvwItems, &controls::ListView::rightMouseUp, this, &frmMain::lvwItems_MouseUp);

    lblPanel1 = new QLabel("Press F1 for help", stbMain);
    lblPanel2 = new QLabel("0 Envelope(s)", stbMain);
    lblPanel3 = new QLabel("0 Item(s)", stbMain);
    int intPanel = 1;
    for (QLabel* lblPanel : {lblPanel1, lblPanel2, lblPanel3}) {
        lblPanel->setObjectName("stbMainPanel" + QString::number(intPanel));
        lblPanel->setMargin(2);
        stbMain->addPermanentWidget(lblPanel, intPanel == 1 ? 1 : 0);
        ++intPanel;
    }
    // Behind the tree, which covers it when the toolbar is hidden.
    lblEnvelopes->lower();
    setContextMenuPolicy(Qt::NoContextMenu);

    const QSize sizScreen = QGuiApplication::primaryScreen()->geometry().size();
    sizStart = QSize(sizScreen.width() * 65 / 100, sizScreen.height() * 6 / 10);
    resize(sizStart);
    strSortOrder = "asc";
    // Kept: not the name of a column; opening a budget sets one before the first query.
    strSortField = "date";
    blnDatabaseOpen = false;
    SetAppState();
}

void frmMain::AddToolbarButton(const QString& strKey, const QString& strToolTip, const QString& strImage) {
    QAction* objButton = tlbMain->addAction(Image(strImage), strKey);
    objButton->setObjectName("tlbMain_" + QString(strKey).remove(' '));
    objButton->setToolTip(strToolTip);
    objButton->setData(strKey);
    hshCommands.insert(strKey, objButton);
    if (EndsGroup(strKey))
        tlbMain->addSeparator();
}

void frmMain::ConnectMenus() {
    connect(mnuFileNew, &QAction::triggered, this, &frmMain::mnuFileNew_Click);
    connect(mnuFileOpen, &QAction::triggered, this, &frmMain::mnuFileOpen_Click);
    connect(mnuFileClose, &QAction::triggered, this, &frmMain::mnuFileClose_Click);
    connect(mnuFileSaveAs, &QAction::triggered, this, &frmMain::mnuFileSaveAs_Click);
    connect(mnuFilePrintSetup, &QAction::triggered, this, &frmMain::mnuFilePrintSetup_Click);
    connect(mnuFilePreview, &QAction::triggered, this, &frmMain::mnuFilePreview_Click);
    connect(mnuFilePrint, &QAction::triggered, this, &frmMain::mnuFilePrint_Click);
    connect(mnuFileExit, &QAction::triggered, this, &frmMain::mnuFileExit_Click);
    connect(mnuEnvelopeAdd, &QAction::triggered, this, &frmMain::mnuEnvelopeAdd_Click);
    connect(mnuEnvelopeDelete, &QAction::triggered, this, &frmMain::mnuEnvelopeDelete_Click);
    connect(mnuEnvelopeRename, &QAction::triggered, this, &frmMain::mnuEnvelopeRename_Click);
    connect(mnuItemAdd, &QAction::triggered, this, &frmMain::mnuItemAdd_Click);
    connect(mnuItemEdit, &QAction::triggered, this, &frmMain::mnuItemEdit_Click);
    connect(mnuItemDelete, &QAction::triggered, this, &frmMain::mnuItemDelete_Click);
    connect(mnuItemFind, &QAction::triggered, this, &frmMain::mnuItemFind_Click);
    connect(mnuItemReconcile, &QAction::triggered, this, &frmMain::mnuItemReconcile_Click);
    connect(mnuViewToolbar, &QAction::triggered, this, &frmMain::mnuViewToolbar_Click);
    connect(mnuViewStatusBar, &QAction::triggered, this, &frmMain::mnuViewStatusBar_Click);
    connect(mnuToolsCalculator, &QAction::triggered, this, &frmMain::mnuToolsCalculator_Click);
    connect(mnuToolsCompact, &QAction::triggered, this, &frmMain::mnuToolsCompact_Click);
    connect(mnuToolsStuffer, &QAction::triggered, this, &frmMain::mnuToolsStuffer_Click);
    connect(mnuToolsReports, &QAction::triggered, this, &frmMain::mnuToolsReports_Click);
    connect(mnuHelpContents, &QAction::triggered, this, &frmMain::mnuHelpContents_Click);
    connect(mnuHelpIndex, &QAction::triggered, this, &frmMain::mnuHelpIndex_Click);
    connect(mnuHelpLicense, &QAction::triggered, this, &frmMain::mnuHelpLicense_Click);
    connect(mnuHelpAbout, &QAction::triggered, this, &frmMain::mnuHelpAbout_Click);
    // A key of its own and not the entry's: the menus show no shortcuts.
    connect(new QShortcut(Qt::Key_F1, this), &QShortcut::activated, this, &frmMain::ShowHelp);
}

void frmMain::tlbMain_ButtonClick(QAction* objButton) {
    tvwEnvelopes->commitLabelEdit();
    static const QHash<QString, void (frmMain::*)()> hshHandlers = {
        {"New", &frmMain::mnuFileNew_Click},         {"Open", &frmMain::mnuFileOpen_Click},
        {"Save As", &frmMain::mnuFileSaveAs_Click},  {"Print", &frmMain::mnuFilePrint_Click},
        {"Preview", &frmMain::mnuFilePreview_Click}, {"Calculator", &frmMain::mnuToolsCalculator_Click},
        {"Find", &frmMain::mnuItemFind_Click},       {"Reports", &frmMain::mnuToolsReports_Click},
        {"About", &frmMain::mnuHelpAbout_Click},     {"Help", &frmMain::mnuHelpContents_Click},
        {"Exit", &frmMain::mnuFileExit_Click},
    };
    if (const auto fncHandler = hshHandlers.value(objButton->data().toString()))
        (this->*fncHandler)();
}

bool frmMain::RootSelected() const {
    return tvwEnvelopes->nodeCount() > 0 && tvwEnvelopes->selectedNode() == 1;
}

AppState frmMain::CurrentState() const {
    AppState state;
    state.blnOpen = blnDatabaseOpen;
    state.blnHasEnvelopes = tvwEnvelopes->nodeCount() - 1 > 0;
    state.blnRootSelected = RootSelected();
    state.blnEnvelopeSelected = blnEnvelope;
    state.blnHasItems = lvwItems->rowCount() > 0;
    return state;
}

void frmMain::SetAppState() try {
    const AppState state = CurrentState();
    for (const QString& strCommand : RuledCommands())
        if (QAction* objAction = hshCommands.value(strCommand))
            objAction->setEnabled(CommandEnabled(strCommand, state));
} catch (...) {
    ShowError();
}

// Designed places of what resizing does not move: the toolbar at the top, below it the captions, below them tree and
// list, which end where the status bar begins. The captions take whatever the frame and the menu bar of this system
// leave of the height that the layout reserves for all of them together; where a large font needs more, tree and list
// have less.
void frmMain::LayOut() {
    const int intToolbar = tlbMain->sizeHint().height();
    const int intStatusBar = stbMain->sizeHint().height();
    const int intRest = frameGeometry().height() - height() + mnuBar->height() + intToolbar + intStatusBar;
    const int intTaken = qMax(controls::twips(intUsuallyTaken), intRest + fontMetrics().height() + 2);
    const int intCaption = intTaken - intRest;
    const int intLeft = 4;

    LayoutInput in;
    in.intHeight = controls::toTwips(frameGeometry().height());
    in.intWidth = controls::toTwips(frameGeometry().width());
    in.blnToolbar = !tlbMain->isHidden();
    in.blnStatusBar = !stbMain->isHidden();
    in.intTaken = controls::toTwips(intTaken);
    in.intToolbarHeight = controls::toTwips(intToolbar);
    in.intStatusBarHeight = controls::toTwips(intStatusBar);
    in.intEnvelopesLeft = controls::toTwips(intLeft);
    const LayoutResult out = LayoutFor(in);

    // Kept: hiding the toolbar moves everything but the caption of the envelopes, which the tree then covers.
    const int intTop = in.blnToolbar ? intToolbar : 0;
    const int intTreeWidth = controls::twips(out.intTreeWidth);
    const int intItemsLeft = controls::twips(out.intItemsLeft);
    const int intItemsWidth = controls::twips(out.intItemsWidth);
    const int intListHeight = controls::twips(out.intListHeight);
    tlbMain->setGeometry(0, 0, fraClient->width(), intToolbar);
    lblEnvelopes->setGeometry(intLeft, intToolbar, intTreeWidth, intCaption);
    lblItems->setGeometry(intItemsLeft, intTop, intItemsWidth, intCaption);
    tvwEnvelopes->setGeometry(intLeft, intTop + intCaption, intTreeWidth, intListHeight);
    lvwItems->setGeometry(intItemsLeft, intTop + intCaption, intItemsWidth, intListHeight);
}

void frmMain::resizeEvent(QResizeEvent* evt) try {
    QMainWindow::resizeEvent(evt);
    LayOut();
} catch (...) {
    ShowError();
}

// The size of the frame is known only once the window manager has placed the window. It is part of the start size,
// unless the window manager chose another one.
void frmMain::moveEvent(QMoveEvent* evt) try {
    QMainWindow::moveEvent(evt);
    const QSize sizFrame = frameGeometry().size() - size();
    if (!sizStart.isEmpty() && !sizFrame.isNull()) {
        if (size() == sizStart && !(windowState() & (Qt::WindowMaximized | Qt::WindowFullScreen)))
            resize(sizStart - sizFrame);
        sizStart = QSize();
    }
    LayOut();
} catch (...) {
    ShowError();
}

void frmMain::closeEvent(QCloseEvent* evt) try {
    tvwEnvelopes->commitLabelEdit();
    QMainWindow::closeEvent(evt);
} catch (...) {
    ShowError();
}

void frmMain::mnuFileExit_Click() try { close(); } catch (...) {
    ShowError();
}

void frmMain::mnuFilePrintSetup_Click() try {
    dlgFile.flags = controls::kPrintSetup;
    dlgFile.showPrinter();
} catch (...) {
    ShowError();
}

void frmMain::mnuViewToolbar_Click() try {
    tlbMain->setVisible(tlbMain->isHidden());
    LayOut();
} catch (...) {
    ShowError();
}

void frmMain::mnuViewStatusBar_Click() try {
    const int intStatusBar = stbMain->sizeHint().height();
    const bool blnShow = stbMain->isHidden();
    stbMain->setVisible(blnShow);
    resize(width(), height() + (blnShow ? intStatusBar : -intStatusBar));
    LayOut();
} catch (...) {
    ShowError();
}

void frmMain::mnuToolsCalculator_Click() try {
#ifdef Q_OS_WIN
    const QStringList lstCalculators = {"calc.exe"};
#else
    const QStringList lstCalculators = {"gnome-calculator", "kcalc",        "mate-calc", "galculator",
                                        "qalculate-gtk",    "qalculate-qt", "xcalc"};
#endif
    for (const QString& strName : lstCalculators) {
        const QString strProgram = QStandardPaths::findExecutable(strName);
        if (!strProgram.isEmpty() && QProcess::startDetached(strProgram, {}))
            return;
    }
    vbrt::raise(vbrt::kFileNotFound);
} catch (...) {
    ShowError();
}
