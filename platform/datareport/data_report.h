// SPDX-License-Identifier: MIT
// DataReport is one report on its way to the reader: a design, the rows bound to it, and where it goes: the preview, a
// printer or a PDF file.
//
//     datareport::DataReport report(rptItems());
//     report.setDataSource(rows);
//     report.setCaption(Band::PageHeader, "lblEnvelope", "Rent");
//     report.Show(this);
//
// Everything throws vbrt::Error: 482 with a text of its own when no printer can be used, the usual numbers of files for
// a PDF that cannot be written, and whatever the rows throw.
#pragma once

#include <QString>
#include <functional>
#include <memory>

#include "datareport/design.h"
#include "datareport/layout.h"
#include "datareport/rows.h"

class QWidget;

namespace datareport {

class DataReport {
 public:
    explicit DataReport(Design design);
    DataReport(const DataReport&) = delete;
    DataReport& operator=(const DataReport&) = delete;
    ~DataReport();

    // The rows are read by the first of pages, Show, PrintReport and ExportPdf; error 91 when there are none.
    void setDataSource(std::unique_ptr<Rows> rows);
    void setOrientation(Orientation orientation);
    // The caption of a label, shown as it is: no codes, the text may be a user's. Error 380 when the band has no label
    // of that name.
    void setCaption(Band band, const QString& name, const QString& caption);
    [[nodiscard]] const Design& design() const;
    // Laid out for the printer's paper; valid until something is set or printed. With an owner, a dialog over it shows
    // the progress of what takes longer than a second; Cancel there throws Cancelled.
    const Pages& pages(QWidget* owner = nullptr);

    // What F1 does in the preview, whose window is passed on. It must not throw.
    void setHelp(std::function<void(QWidget*)> help);

    // The next three show their progress in the same way, and return after Cancel.
    // The preview, modal, over the whole screen; returns when it is closed.
    void Show(QWidget* owner);
    // Prints on controls::printer() in the report's orientation, without a dialog unless asked for one. What the dialog
    // says about this job (pages, copies, a file to print into) and the orientation are the printer's no longer when it
    // is done.
    void PrintReport(QWidget* owner, bool dialog = false);
    // Writes a PDF file on the printer's paper. A file of that name is replaced only when the new one is complete.
    void ExportPdf(const QString& path, QWidget* owner = nullptr);

 private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
    std::function<void(QWidget*)> m_help;
};

}  // namespace datareport
