// SPDX-License-Identifier: MIT
// A report of many items: laying it out, its PDF beside the same texts painted with bare QPainter, its preview.
//
//   bench_reports [ITEMS]     10,000 unless given; run with QT_QPA_PLATFORM=offscreen; files go into the current folder
#include <QApplication>
#include <QPainter>
#include <QPdfWriter>
#include <cstdlib>
#include <filesystem>

#include "datareport/content.h"
#include "datareport/data_report.h"
#include "datareport/preview.h"
#include "sample_budget.h"
#include "vbrt/date.h"

namespace {

using datareport::Align;
using datareport::Band;
using datareport::label;
using datareport::rule;
using datareport::Style;
using datareport::textBox;

// Made-up items, the same in every run.
class Items : public datareport::Rows {
 public:
    explicit Items(int count) : m_count(count) {}
    int column(const QString& name) override {
        return static_cast<int>(
            QStringList{"item_date", "item_num", "payee", "reconciled", "amount", "comment", "envelope"}.indexOf(name));
    }
    bool next() override { return ++m_row < m_count; }
    QVariant value(int column) override {
        switch (column) {
            case 0:
                return QVariant::fromValue(vbrt::Date{43831.0 + m_row % 2500});
            case 1:
                return m_row % 2 == 0 ? QVariant(QString::number(1000 + m_row)) : QVariant();
            case 2:
                return QStringLiteral("Payee %1 & Sons").arg(m_row % 700);
            case 3:
                return m_row % 2 == 0 ? QVariant(QStringLiteral("*")) : QVariant();
            case 4:
                return (m_row * 7919 % 400000 - 300000) / 100.0;
            case 5:
                return m_row % 3 == 0 ? QVariant(QStringLiteral("A note about item %1").arg(m_row)) : QVariant();
            default:
                return QStringLiteral("Envelope %1").arg(m_row % 50);
        }
    }
    std::unique_ptr<Rows> children(int) override { return nullptr; }

 private:
    int m_count;
    int m_row = -1;
};

datareport::Design design() {
    const Style title = {.size = 16, .bold = true};
    const Style heading = {.bold = true};
    const Style money = {.align = Align::Right};
    const Style moneyHeading = {.align = Align::Right, .bold = true};
    const Style twoLines = {.lines = 2};
    const char* dollars = "\"$\"#,##0.00";
    return {
        .name = "rptItems",
        .title = "Items Report",
        .orientation = datareport::Orientation::Landscape,
        .width = 720,
        .bands = {
            {Band::PageHeader,
             70,
             {label("lblDate", "%d", {0, 0, 200}), label("lblPage", "Page %p of %P", {520, 0, 200}, money),
              label("lblTitle", "%i", {0, 14, 720}, title), label("lblDateHead", "Date", {0, 50, 60}, heading),
              label("lblNumber", "Number", {60, 50, 60}, heading), label("lblPayee", "Payee", {120, 50, 170}, heading),
              label("lblR", "R", {290, 50, 20}, heading), label("lblAmount", "Amount", {310, 50, 80}, moneyHeading),
              label("lblComment", "Comment", {390, 50, 200}, heading),
              label("lblEnvelope", "Envelope", {590, 50, 130}, heading), rule("rule", {0, 64, 720})}},
            {Band::Detail,
             14,
             {textBox("txtDate", "item_date", "MM/dd/yyyy", {0, 0, 60}),
              textBox("txtNumber", "item_num", "", {60, 0, 60}), textBox("txtPayee", "payee", "", {120, 0, 170}),
              textBox("txtR", "reconciled", "", {290, 0, 20}),
              textBox("txtAmount", "amount", dollars, {310, 0, 80}, money),
              textBox("txtComment", "comment", "", {390, 0, 200}, twoLines),
              textBox("txtEnvelope", "envelope", "", {590, 0, 130})}},
            {Band::ReportFooter,
             24,
             {rule("rule", {310, 2, 80}), label("lblTotal", "Total", {0, 6, 100}, heading),
              sum("Function1", "amount", dollars, {290, 6, 100}, moneyHeading)}},
        }};
}

// The same texts in the same places, with the font that a program would take.
void paintBare(const datareport::Pages& pages, const QString& path) {
    QPdfWriter writer(path);
    writer.setPageSize(QPageSize(pages.paper.size, QPageSize::Point));
    QPainter painter(&writer);
    const double scale = writer.resolution() / 72.0;
    QFont font("Arial", 9);
    painter.setFont(font);
    bool first = true;
    for (const datareport::Page& page : pages.pages) {
        if (!first)
            writer.newPage();
        first = false;
        for (const datareport::Item& item : page.items)
            if (item.typeface >= 0)
                painter.drawText(QPointF(item.left * scale, item.baseline * scale), item.text);
    }
}

}  // namespace

int main(int argc, char* argv[]) {
    const int items = argc > 1 ? std::atoi(argv[1]) : 10000;
    const QApplication app(argc, argv);
    bench::printMachine(std::filesystem::current_path().string());
    bench::print("items", items, "");

    const auto ready = [&](datareport::DataReport& report) { report.setDataSource(std::make_unique<Items>(items)); };
    datareport::Content content;
    bench::print("reading and formatting the rows",
                 bench::best(3,
                             [&] {
                                 Items rows(items);
                                 content = datareport::readContent(design(), rows);
                             }),
                 "s");
    datareport::Pages pages;
    bench::print("laying them out",
                 bench::best(3,
                             [&] {
                                 pages = datareport::layOut(design(), content, {.size = {792, 612}});
                             }),
                 "s");
    bench::print("pages", static_cast<double>(pages.pages.size()), "");

    const double ours = bench::best(3, [&] {
        datareport::DataReport report(design());
        ready(report);
        report.ExportPdf("bench.pdf");
    });
    const double bare = bench::best(3, [&] { paintBare(pages, "bare.pdf"); });
    bench::print("rows to PDF", ours, "s");
    bench::print("the same texts to PDF with bare QPainter", bare, "s");
    bench::print("ratio", ours / bare, "");

    bench::print("rows to the first page of the preview",
                 bench::best(3,
                             [&] {
                                 datareport::DataReport report(design());
                                 ready(report);
                                 datareport::Preview preview(report, nullptr);
                                 preview.show();
                                 QApplication::processEvents();
                             }),
                 "s");
    std::filesystem::remove("bench.pdf");
    std::filesystem::remove("bare.pdf");
    return 0;
}
