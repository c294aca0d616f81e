// SPDX-License-Identifier: MIT
#include "datareport/print_job.h"

#include "controls/common_dialog.h"
#include "datareport/painter.h"
#include "vbrt/qstring.h"

#include <QPainter>
#include <QPrinter>
#include <QPrinterInfo>
#include <algorithm>

namespace datareport {

namespace {

constexpr long kPrinterError = 482;
constexpr double kPointsPerInch = 72;
constexpr double kLeastMargin = kPointsPerInch / 2;

[[noreturn]] void fail(const QString& why) {
    vbrt::qt::raiseError(kPrinterError, why);
}

QPrinter& usablePrinter() {
    const QStringList names = QPrinterInfo::availablePrinterNames();
    QPrinter& printer = controls::printer();
    if (!printer.outputFileName().isEmpty())  // it prints into a file
        return printer;
    if (names.isEmpty())
        fail(QStringLiteral("No printer is installed. Install a printer, or save the report as a PDF file."));
    if (printer.printerName().isEmpty()) {  // it was made before any was installed
        printer.setPrinterName(QPrinterInfo::defaultPrinterName());
        printer.setPageSize(controls::ownPaper(QPrinterInfo(printer)));
    }
    if (!names.contains(printer.printerName()) || !printer.isValid())
        fail(QStringLiteral("The printer \"%1\" cannot be reached. Choose another one in Print Setup.")
                 .arg(printer.printerName()));
    return printer;
}

QPageLayout::Orientation turned(Orientation orientation) {
    return orientation == Orientation::Landscape ? QPageLayout::Landscape : QPageLayout::Portrait;
}

}  // namespace

Paper printerPaper(Orientation orientation) {
    QPageLayout layout = controls::printer().pageLayout();
    layout.setUnits(QPageLayout::Point);
    layout.setOrientation(turned(orientation));
    const QMarginsF least = layout.minimumMargins();
    return {layout.fullRect().size(),
            std::max({kLeastMargin, least.left(), least.top(), least.right(), least.bottom()})};
}

PrintJob::PrintJob(const QString& title, Orientation orientation)
    : m_printer(usablePrinter()),
      m_orientation(orientation),
      m_layout(m_printer.pageLayout()),
      m_name(m_printer.printerName()),
      m_outputFile(m_printer.outputFileName()),
      m_copies(m_printer.copyCount()),
      m_collate(m_printer.collateCopies()) {
    m_printer.setDocName(title);
    m_printer.setPageOrientation(turned(orientation));
}

PrintJob::~PrintJob() {
    m_printer.setFullPage(m_layout.mode() == QPageLayout::FullPageMode);
    m_printer.setPageOrientation(m_layout.orientation());
    m_printer.setPrintRange(QPrinter::AllPages);
    m_printer.setFromTo(0, 0);
    m_printer.setCopyCount(m_copies);
    m_printer.setCollateCopies(m_collate);
    if (m_printer.outputFileName() != m_outputFile) {
        m_printer.setOutputFileName(m_outputFile);
        if (m_outputFile.isEmpty() && !m_name.isEmpty())
            m_printer.setPrinterName(m_name);  // that took the default one
    }
}

bool PrintJob::ask(QWidget* owner) {
    return controls::CommonDialog(owner).showPrinter();
}

Paper PrintJob::paper() const {
    return printerPaper(m_orientation);
}

std::vector<std::size_t> PrintJob::pagesToPrint(std::size_t count) const {
    const QPageRanges ranges = m_printer.printRange() == QPrinter::PageRange ? m_printer.pageRanges() : QPageRanges();
    std::vector<std::size_t> one;
    for (std::size_t page = 0; page < count; ++page)
        if (ranges.isEmpty() || ranges.contains(static_cast<int>(page) + 1))
            one.push_back(page);
    if (m_printer.pageOrder() == QPrinter::LastPageFirst)
        std::ranges::reverse(one);
    const int copies = m_printer.supportsMultipleCopies() ? 1 : std::max(1, m_printer.copyCount());
    std::vector<std::size_t> all;
    for (int copy = 0; copy < copies; ++copy)
        all.insert(all.end(), one.begin(), one.end());
    if (!m_printer.collateCopies() && copies > 1)
        for (std::size_t i = 0; i < all.size(); ++i)
            all[i] = one[i / static_cast<std::size_t>(copies)];
    return all;
}

void PrintJob::print(const Pages& pages, const Progress& progress) {
    m_printer.setPageOrientation(turned(m_orientation));  // whatever the dialog said: the pages are laid out for it
    m_printer.setFullPage(true);
    const std::vector<std::size_t> order = pagesToPrint(pages.pages.size());
    if (order.empty())
        fail(QStringLiteral("The report has %1 pages, none of them among those chosen.").arg(pages.pages.size()));
    const QString failure =
        QStringLiteral("The printer \"%1\" does not take the report. Check the printer and try again.")
            .arg(m_printer.printerName());
    QPainter painter;
    if (!painter.begin(&m_printer))
        fail(failure);
    const double scale = m_printer.resolution() / kPointsPerInch;
    painter.scale(scale, scale);
    for (std::size_t i = 0; i < order.size(); ++i) {
        if (i > 0 && !m_printer.newPage())
            fail(failure);
        paintPage(painter, pages, order[i]);
        if (progress)
            progress(i, order.size());
    }
    if (!painter.end() || m_printer.printerState() == QPrinter::Error)
        fail(failure);
}

}  // namespace datareport
