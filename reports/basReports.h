// SPDX-License-Identifier: MIT
// What the Reports window decides, without the window: which reports there are, the sort fields of each, the date
// presets, and the text of each report's query.
#pragma once

#include <QDate>
#include <QString>
#include <QStringList>
#include <optional>
#include <utility>

#include "datareport/design.h"

inline constexpr char strAllEnvelopes[] = "All Envelopes";
inline constexpr char strAllDates[] = "All Dates";
inline constexpr char strCustomDates[] = "Custom Dates";

// What the user has chosen. Captions as the lists show them.
struct ReportCriteria {
    QString strReport = "Envelope";  // "Envelope", "Items", "Stuffer" or "Summary"
    QString strEnvelope = strAllEnvelopes;
    QString strDateRange = strAllDates;
    QDate dtmFrom{};
    QDate dtmTo{};
    QString strSort1{};  // empty: not sorted
    QString strSort2{};
    bool blnSort1Asc = true;
    bool blnSort2Asc = true;
};

// The names of the reports, in the order of the list.
QStringList ReportCaptions();
datareport::Design ReportDesign(const QString& strReport);

// Sort fields offered for a report, the empty one first.
QStringList SortCaptions(const QString& strReport);
// The fields chosen at first, primary and secondary.
std::pair<QString, QString> DefaultSorts(const QString& strReport);
// The column of the query that a caption stands for; empty for none.
QString SortColumn(const QString& strCaption);

QStringList DateRangeCaptions();
// First and last day of a preset; nothing for the entries that leave the dates alone.
std::optional<std::pair<QDate, QDate>> DateRange(const QString& strCaption, QDate dtmToday);

// The pieces of a query, each empty or with a blank in front.
QString WhereClause(const ReportCriteria& crt);
QString OrderByClause(const ReportCriteria& crt);
// The whole query. Of "Envelope" it is a shape: an outer row an envelope, its items in the column cmdEnvelope.
QString ReportSql(const ReportCriteria& crt);

// Items grouped by envelope: a shape over "select * from tbl_items" and what follows.
QString EnvelopeShapeSql(const QString& strClauses);
