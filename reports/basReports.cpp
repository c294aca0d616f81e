// SPDX-License-Identifier: MIT
#include "reports/basReports.h"

#include <vector>

#include "db/basMain.h"
#include "reports/basDesigns.h"
#include "vbrt/qstring.h"

namespace {

// A report: one row of the table below, and its design.
struct ReportKind {
    QString strName;  // as the list shows it
    datareport::Design (*fnDesign)();
    QStringList lstSorts;  // the sort fields offered, and the two chosen at first
    std::pair<QString, QString> strDefaultSorts;
    QString strSelect;            // the query before its where clause
    QString strGroupBy{};         // and behind it
    bool blnJoinsTables = false;  // so that the column envelope needs the name of its table
    bool blnShape = false;        // grouped by envelope
};

const QString strJoined =
    " from tbl_envelopes inner join tbl_items on"
    " tbl_envelopes.envelope = tbl_items.envelope";
const QString strGrouped = " group by tbl_envelopes.envelope, tbl_envelopes.budget";

const std::vector<ReportKind>& ReportKinds() {
    static const std::vector<ReportKind> arrKinds = {
        {"Envelope",
         rptEnvelope,
         {"", "Amount", "Comment", "Date", "Number", "Payee", "Reconciled"},
         {"Date", "Number"},
         "select * from tbl_items",
         "",
         false,
         true},
        {"Items",
         rptItems,
         {"", "Amount", "Comment", "Date", "Envelope", "Number", "Payee", "Reconciled"},
         {"Envelope", "Date"},
         "select * from tbl_items"},
        {"Stuffer",
         rptStuffer,
         {"", "Budget", "Current Balance", "Envelope", "New Balance"},
         {"Envelope", ""},
         "select tbl_envelopes.envelope, tbl_envelopes.budget, sum(tbl_items.amount) as current_balance,"
         " [current_balance] + [budget] as new_balance" +
             strJoined,
         strGrouped,
         true},
        {"Summary",
         rptSummary,
         {"", "Balance", "Budget", "Deposits", "Envelope", "Payments"},
         {"Envelope", ""},
         "select tbl_envelopes.envelope, tbl_envelopes.budget,"
         " sum(iif([tbl_items]![amount]>0, [tbl_items]![amount], 0)) as deposits,"
         " sum(iif([tbl_items]![amount] < 0, [tbl_items]![amount], 0)) as payments,"
         " sum(tbl_items.amount) as balance" +
             strJoined,
         strGrouped,
         true},
    };
    return arrKinds;
}

const ReportKind& Kind(const QString& strReport) {
    for (const ReportKind& knd : ReportKinds())
        if (knd.strName == strReport)
            return knd;
    return ReportKinds().front();
}

// Kept: the replacement runs over the whole clause, a quoted name with the word "envelope" in it included.
QString Qualified(QString strClause) {
    return strClause.replace("envelope", "tbl_envelopes.envelope", Qt::CaseInsensitive);
}

}  // namespace

QStringList ReportCaptions() {
    QStringList lstNames;
    for (const ReportKind& knd : ReportKinds())
        lstNames += knd.strName;
    return lstNames;
}

datareport::Design ReportDesign(const QString& strReport) {
    return Kind(strReport).fnDesign();
}

QStringList SortCaptions(const QString& strReport) {
    return Kind(strReport).lstSorts;
}

std::pair<QString, QString> DefaultSorts(const QString& strReport) {
    return Kind(strReport).strDefaultSorts;
}

QString SortColumn(const QString& strCaption) {
    if (strCaption == "Date")
        return "item_date";
    if (strCaption == "Number")
        return "item_num";
    return strCaption.toLower().replace(' ', '_');
}

QStringList DateRangeCaptions() {
    return {strAllDates,     "Current Month",  "Previous Month", "Year To Date",
            "Previous Year", "Last 12 Months", strCustomDates};
}

std::optional<std::pair<QDate, QDate>> DateRange(const QString& strCaption, QDate dtmToday) {
    using vbrt::qt::DateSerial;  // month 0 is December of the year before, day 0 the last of the month before
    const int intYear = dtmToday.year();
    const int intMonth = dtmToday.month();
    if (strCaption == "Year To Date")
        return {{DateSerial(intYear, 1, 1), dtmToday}};
    if (strCaption == "Last 12 Months")  // whole months, without the current one
        return {{DateSerial(intYear - 1, intMonth, 1), DateSerial(intYear, intMonth, 0)}};
    if (strCaption == "Previous Year")
        return {{DateSerial(intYear - 1, 1, 1), DateSerial(intYear, 1, 0)}};
    if (strCaption == "Current Month")
        return {{DateSerial(intYear, intMonth, 1), DateSerial(intYear, intMonth + 1, 0)}};
    if (strCaption == "Previous Month")
        return {{DateSerial(intYear, intMonth - 1, 1), DateSerial(intYear, intMonth, 0)}};
    return {};
}

QString WhereClause(const ReportCriteria& crt) {
    QString strWhere;
    if (crt.strEnvelope != strAllEnvelopes) {
        strWhere = " envelope = '" + SqlQuote(crt.strEnvelope) + "'";
        if (Kind(crt.strReport).blnJoinsTables)
            strWhere = Qualified(strWhere);
    }
    if (crt.strDateRange != strAllDates) {
        if (!strWhere.isEmpty())
            strWhere += " and ";
        strWhere += "item_date between #" + vbrt::qt::CStr(crt.dtmFrom) + "# and #" + vbrt::qt::CStr(crt.dtmTo) + "#";
    }
    return strWhere.isEmpty() ? strWhere : " where " + strWhere;
}

QString OrderByClause(const ReportCriteria& crt) {
    QString strOrderBy;
    if (!crt.strSort1.isEmpty())
        strOrderBy = " order by " + SortColumn(crt.strSort1) + (crt.blnSort1Asc ? "" : " desc");
    if (!crt.strSort2.isEmpty())
        strOrderBy += ", " + SortColumn(crt.strSort2) + (crt.blnSort2Asc ? "" : " desc");
    return Kind(crt.strReport).blnJoinsTables ? Qualified(strOrderBy) : strOrderBy;
}

QString ReportSql(const ReportCriteria& crt) {
    const ReportKind& knd = Kind(crt.strReport);
    const QString strWhere = WhereClause(crt);
    if (knd.blnShape)
        return EnvelopeShapeSql(strWhere + OrderByClause(crt));
    return knd.strSelect + strWhere + knd.strGroupBy + OrderByClause(crt);
}

QString EnvelopeShapeSql(const QString& strClauses) {
    return "shape {select * from tbl_items" + strClauses + "} as cmdEnvelope compute cmdEnvelope by envelope";
}
