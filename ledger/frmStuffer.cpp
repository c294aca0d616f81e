// SPDX-License-Identifier: MIT
#include "ledger/frmStuffer.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QScreen>
#include <QScrollBar>
#include <cmath>

#include "controls/entry_rules.h"
#include "controls/hourglass.h"
#include "controls/message_box.h"
#include "db/basMain.h"
#include "help/basHelp.h"
#include "ledger/frmBudget.h"
#include "mainwindow/basListView.h"
#include "mainwindow/clsListView.h"
#include "mainwindow/frmMain.h"
#include "vbrt/exact_sum.h"
#include "vbrt/qstring.h"

namespace {
constexpr int intMargin = 6;  // pixels between a cell's text and the edge of its column
constexpr int intGap = 12;    // between captions
constexpr int intLettersAbreast = 80;
constexpr int intEnvelopeLetters = 20;
}  // namespace

QString StufferListSql(const QString& strSortField, const QString& strSortOrder) {
    return "select * from qry_stuffer order by " + SqlQuote(strSortField) + " " + strSortOrder;
}

QString StuffSql(const QString& strDate) {
    return "insert into tbl_items (amount, envelope, item_date, payee) select budget, envelope,  '" + strDate +
           "', 'Budget Allocation' from tbl_envelopes where budget > 0";
}

QString UndoStuffSql(const QString& strDate) {
    return "delete * from tbl_items where item_date = CDate('" + strDate + "') and payee = 'Budget Allocation'";
}

double ShownAmount(const QString& strCell) {
    return strCell.isEmpty() ? 0 : vbrt::qt::CDbl(strCell);
}

double AddAmounts(double dblFirst, double dblSecond) {
    const double dblSum = dblFirst + dblSecond;
    if (!std::isfinite(dblSum))
        vbrt::raise(vbrt::kOverflow);
    return dblSum;
}

frmStuffer::frmStuffer(frmMain& frmOwner) : QDialog(&frmOwner), objMain(frmOwner), mnuBudget(new QMenu(this)) {
    setupUi(this);
    mnuBudget->setObjectName("mnuBudget");
    mnuBudget->setTitle("&Budget");
    QAction* mnuBudgetEdit = mnuBudget->addAction("&Edit Budget...");
    mnuBudgetEdit->setObjectName("mnuBudgetEdit");

    using controls::ColumnAlignment;
    lvwStuffer->addColumn("Envelope", "envelope", 18);
    lvwStuffer->addColumn("Budget", "budget", 12, ColumnAlignment::Right);
    lvwStuffer->addColumn("Current Bal", "current_balance", 12, ColumnAlignment::Right);
    lvwStuffer->addColumn("New Bal", "new_balance", 12, ColumnAlignment::Right);
    lvwStuffer->setElasticColumns({0});
    lvwStuffer->setHeaderImages(QIcon(":/images/sort_ascending.svg"), QIcon(":/images/sort_descending.svg"));
    // Where the letters are large for the screen, the captions of the totals take two lines.
    const int intScreen = screen()->availableGeometry().width();
    const bool blnLarge = intScreen < intLettersAbreast * fontMetrics().averageCharWidth();
    QLabel* const lblCaptions[] = {lblLabels_2, lblLabels_3, lblLabels_4};
    for (const int intColumn : {colBudget, colCurrentBal, colNewBal}) {
        QLabel* const lblCaption = lblCaptions[intColumn - colBudget];
        lblCaption->setContentsMargins(intGap, 0, 0, 0);
        lblCaption->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);  // as wide as the column
        lblCaption->setWordWrap(blnLarge);
        lvwStuffer->setLeastWidth(intColumn, blnLarge ? 0 : lblCaption->sizeHint().width());
    }
    connect(lvwStuffer->header(), &QHeaderView::geometriesChanged, this, &frmStuffer::AlignTotals);
    connect(lvwStuffer->header(), &QHeaderView::sectionResized, this, &frmStuffer::AlignTotals);

    connect(cmdStuff, &QPushButton::clicked, this, &frmStuffer::cmdStuff_Click);
    connect(cmdUndoStuff, &QPushButton::clicked, this, &frmStuffer::cmdUndoStuff_Click);
    connect(cmdEdit, &QPushButton::clicked, this, &frmStuffer::cmdEdit_Click);
    connect(cmdClose, &QPushButton::clicked, this, &frmStuffer::cmdClose_Click);
    ConnectHelp(this, cmdHelp, "Stuffer.htm");
    controls::applyEntryRules(this);
    dtpBudgetDate->lineEdit()->selectAll();
    connect(mnuBudgetEdit, &QAction::triggered, this, &frmStuffer::cmdEdit_Click);
    connect(lvwStuffer, &controls::ListView::columnClicked, this, &frmStuffer::lvwStuffer_ColumnClick);
    connect(lvwStuffer, &controls::ListView::rowDoubleClicked, this, &frmStuffer::cmdEdit_Click);
    connect(lvwStuffer, &controls::ListView::keyDown, this, &frmStuffer::lvwStuffer_KeyDown);
    connect(lvwStuffer, &controls::ListView::rightMouseUp, this, &frmStuffer::lvwStuffer_MouseUp);
    Form_Load();
    // Wide enough for the amounts that it opens with, and most names.
    int intWidth = intEnvelopeLetters * fontMetrics().averageCharWidth() +
                   lvwStuffer->verticalScrollBar()->sizeHint().width() + 2 * lvwStuffer->frameWidth();
    for (const int intColumn : {colBudget, colCurrentBal, colNewBal})
        intWidth += lvwStuffer->columnWidth(intColumn);
    lvwStuffer->setMinimumWidth(intWidth);
    if (const int intTooWide = minimumSizeHint().width() + intGap - intScreen; intTooWide > 0)
        lvwStuffer->setMinimumWidth(intWidth - intTooWide);
}

// Each total stands below its column, beside a scroll bar too.
void frmStuffer::AlignTotals() {
    for (const int intColumn : {colBudget, colCurrentBal, colNewBal})
        lytTotals->setColumnMinimumWidth(intColumn, lvwStuffer->columnWidth(intColumn));
    const int intRight = lvwStuffer->viewport()->geometry().left() + lvwStuffer->header()->length();
    lytTotals->setContentsMargins(0, 0, qMax(0, lvwStuffer->width() - intRight) + intMargin, 0);
}

void frmStuffer::Form_Load() try {
    dtpBudgetDate->setDate(vbrt::qt::Today());
    strSortField = "envelope";
    strSortOrder = "asc";
    LoadList();
    ShowHeaderArrow(*lvwStuffer, 0, false);
} catch (...) {
    ShowError();
}

void frmStuffer::LoadList() {
    clsListView objList;
    objList.AddColumn().strFieldName = lvwStuffer->columnTag(0);
    for (const int intColumn : {colBudget, colCurrentBal, colNewBal}) {
        clsLvwColumn& col = objList.AddColumn();
        col.strFieldName = lvwStuffer->columnTag(intColumn);
        col.strFormat = strMoneyFormat;
        col.blnRedNegative = true;
    }
    objList.SetConnection(objDatabase->objCnn());
    objList.SetListView(lvwStuffer);
    objList.strSql = StufferListSql(strSortField, strSortOrder);
    objList.LoadListView();
    ShowTotals();
}

// Kept: the totals are those of the amounts as shown, rounded to cents, and not of the file. Rows are counted in 16
// bits: a list of more than 32,767 is error 6.
void frmStuffer::ShowTotals() {
    const int intRows = vbrt::qt::CInt(static_cast<double>(lvwStuffer->rowCount()));
    const auto ShowTotal = [&](int intColumn, QLabel* lblTotal, const QLabel* lblCaption) {
        vbrt::ExactSum sum;
        for (int intRow = 0; intRow < intRows; ++intRow)
            sum.add(ShownAmount(lvwStuffer->text(intRow, intColumn)));
        const double dblTotal = AddAmounts(sum.result(), 0);  // error 6 when it is too large
        lblTotal->setText(vbrt::qt::Format(dblTotal, strMoneyFormat));
        lblTotal->setAccessibleName(lblCaption->text() + " " + lblTotal->text());
    };
    ShowTotal(colBudget, lblTotBud, lblLabels_2);
    ShowTotal(colCurrentBal, lblTotCurBal, lblLabels_3);
    ShowTotal(colNewBal, lblTotNewBal, lblLabels_4);
}

void frmStuffer::lvwStuffer_ColumnClick(int intColumn) try {
    if (lvwStuffer->rowCount() == 0)
        return;
    const QString strTag = lvwStuffer->columnTag(intColumn);
    const bool blnDescending = ChangeSort(strTag, strSortField, strSortOrder);
    ShowHeaderArrow(*lvwStuffer, intColumn, blnDescending);
    // Amounts sort by value, which the database knows; names sort in place.
    if (strTag == "envelope")
        SortListView(*lvwStuffer, intColumn, blnDescending ? 1 : 0);
    else
        LoadList();
    lvwStuffer->selectRow(0);
    lvwStuffer->ensureVisible(0);
} catch (...) {
    ShowError();
}

void frmStuffer::cmdEdit_Click() try {
    const int intRow = lvwStuffer->selectedRow();
    if (intRow < 0)
        return;
    const QString strBefore = lvwStuffer->text(intRow, colBudget);
    frmBudget frm(this, *lvwStuffer);
    frm.exec();
    lvwStuffer->setFocus();
    if (lvwStuffer->text(intRow, colBudget) != strBefore)
        ShowTotals();
} catch (...) {
    ShowError();
}

QString frmStuffer::BudgetDate() const {
    return vbrt::qt::CStr(dtpBudgetDate->date());
}

void frmStuffer::ChangeItems(const QString& strSql, const QString& strDone, const QString& strTitle) {
    long lngCount = 0;
    {
        controls::Hourglass hourglass;
        objDatabase->objCnn()->Execute(strSql, &lngCount);
        if (lngCount > 0) {
            blnItemsChanged = true;
            LoadList();
            objMain.ReloadEnvelopes();
        }
    }
    controls::MsgBox(this, vbrt::qt::CStr(lngCount) + strDone, controls::MsgIcon::Information, controls::MsgButtons::Ok,
                     strTitle);
    lvwStuffer->setFocus();
}

// Kept: nothing is asked, and stuffing twice on one date allocates twice.
void frmStuffer::cmdStuff_Click() try {
    if (lvwStuffer->rowCount() > 0 && dtpBudgetDate->interpretText())
        ChangeItems(StuffSql(BudgetDate()), " budget items created.", "Do Budget");
} catch (...) {
    ShowError();
}

// Kept: nothing is asked, and an item that the user has typed with this date and payee goes too.
void frmStuffer::cmdUndoStuff_Click() try {
    if (lvwStuffer->rowCount() > 0 && dtpBudgetDate->interpretText())
        ChangeItems(UndoStuffSql(BudgetDate()), " budget items removed.", "Undo Budget");
} catch (...) {
    ShowError();
}

// No button is the default one: stuffing takes more than a stray Enter. On a button Enter presses it, in the date box
// it reads the date.
void frmStuffer::keyPressEvent(QKeyEvent* evt) try {
    if (evt->key() != Qt::Key_Return && evt->key() != Qt::Key_Enter)
        return QDialog::keyPressEvent(evt);
    evt->accept();
    if (auto* cmdFocused = qobject_cast<QPushButton*>(focusWidget()))
        cmdFocused->click();
    else if (dtpBudgetDate->hasFocus())
        dtpBudgetDate->interpretText();
} catch (...) {
    ShowError();
}

void frmStuffer::cmdClose_Click() {
    reject();
}

void frmStuffer::lvwStuffer_KeyDown(QKeyEvent* evt) {
    if (evt->key() == Qt::Key_F2 || evt->key() == Qt::Key_Return || evt->key() == Qt::Key_Enter) {
        evt->accept();
        cmdEdit_Click();
    }
}

void frmStuffer::lvwStuffer_MouseUp(const QPoint& pntGlobal) try { mnuBudget->popup(pntGlobal); } catch (...) {
    ShowError();
}

// Kept: no command calls this, and none may: a budget has no table of that name.
std::int32_t frmStuffer::HighestId() const {
    const auto rst = objDatabase->objCnn()->Execute("select max(id) from tbl_register");
    const std::int32_t lngId = vbrt::qt::CLng(rst->number(0));
    rst->Close();
    return lngId;
}
