// SPDX-License-Identifier: MIT
// PrintJob prints laid-out pages on the printer of the process and leaves the printer's settings as they were.
#pragma once

#include <QPageLayout>
#include <QString>

#include "datareport/layout.h"

class QPrinter;
class QWidget;

namespace datareport {

class PrintJob {
    Q_DISABLE_COPY_MOVE(PrintJob)
 public:
    // Throws error 482, with a text that says why, when no printer can be used.
    PrintJob(const QString& title, Orientation orientation);
    // Gives the printer its orientation back, and drops what the dialog said about this job.
    ~PrintJob();

    // The print dialog; false after Cancel.
    bool ask(QWidget* owner);
    [[nodiscard]] Paper paper() const;
    // The pages, and as many copies of them, as the dialog said. Error 482 when the printer fails.
    // `progress` is told of each page; it cannot end the work.
    void print(const Pages& pages, const Progress& progress = {});

 private:
    [[nodiscard]] std::vector<std::size_t> pagesToPrint(std::size_t count) const;

    QPrinter& m_printer;
    Orientation m_orientation;
    QPageLayout m_layout;
    QString m_name;
    QString m_outputFile;
    int m_copies;
    bool m_collate;
};

// The printer's paper, turned as the report is.
Paper printerPaper(Orientation orientation);

}  // namespace datareport
