// SPDX-License-Identifier: MIT
#include "reports/basReports.h"

#include "db/basMain.h"
#include "vbrt/qstring.h"

namespace {

// These two join the tables, so that the column needs the name of one.
bool JoinsTables(const QString& strReport) {
    return strReport == "Stuffer" || strReport == "Summary";
}

// Kept: the replacement runs over the whole clause, a quoted name with the word "envelope" in it included.
QString Qualified(QString strClause) {
    return strClause.replace("envelope", "tbl_envelopes.envelope", Qt::CaseInsensitive);
}

}  // namespace

QStringList SortCaptions(const QString& strReport) {
    if (strReport == "Items")
        return {"", "Amount", "Comment", "Date", "Envelope", "Number", "Payee", "Reconciled"};
    if (strReport == "Envelope")
        return {"", "Amount", "Comment", "Date", "Number", "Payee", "Reconciled"};
    if (strReport == "Summary")
        return {"", "Balance", "Budget", "Deposits", "Envelope", "Payments"};
    return {"", "Budget", "Current Balance", "Envelope", "New Balance"};
}

std::pair<QString, QString> DefaultSorts(const QString& strReport) {
    if (strReport == "Items")
        return {"Envelope", "Date"};
    if (strReport == "Envelope")
        return {"Date", "Number"};
    return {"Envelope", ""};
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
        if (JoinsTables(crt.strReport))
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
    return JoinsTables(crt.strReport) ? Qualified(strOrderBy) : strOrderBy;
}

QString ReportSql(const ReportCriteria& crt) {
    const QString strWhere = WhereClause(crt);
    const QString strOrderBy = OrderByClause(crt);
    if (crt.strReport == "Items")
        return "select * from tbl_items" + strWhere + strOrderBy;
    if (crt.strReport == "Envelope")
        return EnvelopeShapeSql(strWhere + strOrderBy);
    const QString strSums = crt.strReport == "Summary" ? " sum(iif([tbl_items]![amount]>0,"
                                                         " [tbl_items]![amount], 0)) as deposits,"
                                                         " sum(iif([tbl_items]![amount] < 0,"
                                                         " [tbl_items]![amount], 0)) as payments,"
                                                         " sum(tbl_items.amount) as balance"
                                                       : " sum(tbl_items.amount) as current_balance,"
                                                         " [current_balance] + [budget] as new_balance";
    return "select tbl_envelopes.envelope, tbl_envelopes.budget," + strSums +
           " from tbl_envelopes inner join tbl_items on"
           " tbl_envelopes.envelope = tbl_items.envelope" +
           strWhere + " group by tbl_envelopes.envelope, tbl_envelopes.budget" + strOrderBy;
}

QString EnvelopeShapeSql(const QString& strClauses) {
    return "shape {select * from tbl_items" + strClauses + "} as cmdEnvelope compute cmdEnvelope by envelope";
}
