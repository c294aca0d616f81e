// SPDX-License-Identifier: MIT
#include "datareport/data_report.h"

#include "controls/hourglass.h"
#include "datareport/content.h"
#include "datareport/pdf.h"
#include "datareport/preview.h"
#include "datareport/print_job.h"
#include "vbrt/error.h"

#include <QCoreApplication>
#include <QProgressDialog>
#include <QShortcut>
#include <algorithm>
#include <optional>
#include <utility>

namespace datareport {

namespace {
constexpr long kInvalidProperty = 380;
enum class Cancel { Yes, No };
}  // namespace

// A dialog that comes up when the work will take longer than a second.
static Progress progressOver(QWidget* owner, const QString& what, Cancel cancel = Cancel::Yes) {
    if (owner == nullptr)
        return {};
    auto dialog = std::make_shared<QProgressDialog>(what, QStringLiteral("Cancel"), 0, 0, owner);
    dialog->setWindowTitle(QCoreApplication::applicationName());
    dialog->setWindowModality(Qt::WindowModal);
    dialog->setMinimumDuration(1000);
    if (cancel == Cancel::No)
        dialog->setCancelButton(nullptr);
    return [dialog](std::size_t done, std::size_t whole) {
        dialog->setMaximum(static_cast<int>(whole));
        dialog->setValue(static_cast<int>(done));
        return !dialog->wasCanceled();
    };
}

class DataReport::Impl {
 public:
    explicit Impl(Design design) : m_design(std::move(design)) {}

    void setRows(std::unique_ptr<Rows> rows) {
        m_rows = std::move(rows);
        m_content.reset();
        m_pages.reset();
    }
    // Of a design that is about to change.
    Design& changeDesign() {
        m_pages.reset();
        return m_design;
    }
    [[nodiscard]] const Design& design() const { return m_design; }

    const Pages& pagesFor(const Paper& paper, QWidget* owner) {
        const Content& read = content();
        if (!m_pages || m_pages->paper != paper)
            m_pages = layOut(m_design, read, paper, progressOver(owner, QStringLiteral("Laying out the pages...")));
        return *m_pages;
    }

 private:
    const Content& content() {
        if (!m_content) {
            const std::unique_ptr<Rows> rows = std::exchange(m_rows, nullptr);
            if (!rows)
                vbrt::raise(vbrt::kObjectNotSet);
            m_content = readContent(m_design, *rows);
        }
        return *m_content;
    }

    Design m_design;
    std::unique_ptr<Rows> m_rows;  // until they are read
    std::optional<Content> m_content;
    std::optional<Pages> m_pages;
};

DataReport::DataReport(Design design) : m_impl(std::make_unique<Impl>(std::move(design))) {}
DataReport::~DataReport() = default;

void DataReport::setDataSource(std::unique_ptr<Rows> rows) {
    m_impl->setRows(std::move(rows));
}

void DataReport::setOrientation(Orientation orientation) {
    m_impl->changeDesign().orientation = orientation;
}

void DataReport::setCaption(Band band, const QString& name, const QString& caption) {
    for (BandDesign& one : m_impl->changeDesign().bands) {
        const auto isIt = [&](const Control& control) {
            return control.kind == Control::Kind::Label && control.name == name;
        };
        const auto found = std::ranges::find_if(one.controls, isIt);
        if (one.band == band && found != one.controls.end()) {
            found->caption = QString(caption).replace(u'%', QLatin1String("%%"));
            return;
        }
    }
    vbrt::raise(kInvalidProperty);
}

const Design& DataReport::design() const {
    return m_impl->design();
}

const Pages& DataReport::pages(QWidget* owner) {
    return m_impl->pagesFor(printerPaper(design().orientation), owner);
}

void DataReport::setHelp(std::function<void(QWidget*)> help) {
    m_help = std::move(help);
}

void DataReport::Show(QWidget* owner) try {
    Preview preview(*this, owner);
    if (m_help)
        QObject::connect(new QShortcut(Qt::Key_F1, &preview), &QShortcut::activated, &preview,
                         [this, &preview] { m_help(&preview); });
    preview.exec();
} catch (const Cancelled&) {
}

void DataReport::PrintReport(QWidget* owner, bool dialog) try {
    PrintJob job(design().title, design().orientation);
    if (dialog && !job.ask(owner))
        return;
    const controls::Hourglass hourglass;
    const Pages& pages = m_impl->pagesFor(job.paper(), owner);
    // Pages that a printer has been given cannot be taken back.
    job.print(pages, progressOver(owner, QStringLiteral("Printing the pages..."), Cancel::No));
} catch (const Cancelled&) {
}

void DataReport::ExportPdf(const QString& path, QWidget* owner) try {
    const controls::Hourglass hourglass;
    writePdf(pages(owner), design().title, path, progressOver(owner, QStringLiteral("Saving the pages...")));
} catch (const Cancelled&) {
}

}  // namespace datareport
