// SPDX-License-Identifier: MIT
#include "controls/print_setup.h"

#include "controls/common_dialog.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QPageSize>
#include <QPrinter>
#include <QPrinterInfo>
#include <QPushButton>
#include <QRadioButton>

namespace controls {

PrintSetup::PrintSetup(QPrinter& printer, QWidget* parent)
    : QDialog(parent),
      m_printer(printer),
      cboPrinter(new QComboBox),
      cboPaper(new QComboBox),
      optPortrait(new QRadioButton(QStringLiteral("P&ortrait"))),
      optLandscape(new QRadioButton(QStringLiteral("&Landscape"))) {
    setWindowTitle(QStringLiteral("Print Setup"));
    cboPrinter->setObjectName(QStringLiteral("cboPrinter"));
    cboPaper->setObjectName(QStringLiteral("cboPaper"));
    optPortrait->setObjectName(QStringLiteral("optPortrait"));
    optLandscape->setObjectName(QStringLiteral("optLandscape"));

    auto* orientation = new QHBoxLayout;
    orientation->addWidget(optPortrait);
    orientation->addWidget(optLandscape);
    orientation->addStretch();
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    for (QAbstractButton* button : buttons->buttons())
        button->setIcon({});  // as in the other dialogs
    auto* form = new QFormLayout(this);
    form->addRow(QStringLiteral("&Printer:"), cboPrinter);
    form->addRow(QStringLiteral("P&aper:"), cboPaper);
    form->addRow(QStringLiteral("Orientation:"), orientation);
    form->addRow(buttons);

    cboPrinter->addItems(QPrinterInfo::availablePrinterNames());
    const QString current =
        m_printer.printerName().isEmpty() ? QPrinterInfo::defaultPrinterName() : m_printer.printerName();
    cboPrinter->setCurrentText(current);
    fillPapers();
    const bool landscape = m_printer.pageLayout().orientation() == QPageLayout::Landscape;
    (landscape ? optLandscape : optPortrait)->setChecked(true);

    connect(cboPrinter, &QComboBox::currentIndexChanged, this, &PrintSetup::fillPapers);
    connect(buttons, &QDialogButtonBox::accepted, this, &PrintSetup::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &PrintSetup::reject);
}

void PrintSetup::fillPapers() {
    // Another printer has other paper in it.
    const QPrinterInfo info = QPrinterInfo::printerInfo(cboPrinter->currentText());
    const QPageSize wanted = cboPaper->count() > 0 ? ownPaper(info) : m_printer.pageLayout().pageSize();
    cboPaper->clear();
    QList<QPageSize> papers = info.supportedPageSizes();
    if (papers.isEmpty())
        papers = {QPageSize(QPageSize::Letter), QPageSize(QPageSize::Legal), QPageSize(QPageSize::A4)};
    for (const QPageSize& paper : papers) {
        cboPaper->addItem(paper.name(), QVariant::fromValue(paper));
        if (paper.isEquivalentTo(wanted))
            cboPaper->setCurrentIndex(cboPaper->count() - 1);
    }
}

void PrintSetup::accept() {
    m_printer.setPrinterName(cboPrinter->currentText());
    m_printer.setPageSize(cboPaper->currentData().value<QPageSize>());
    m_printer.setPageOrientation(optLandscape->isChecked() ? QPageLayout::Landscape : QPageLayout::Portrait);
    QDialog::accept();
}

}  // namespace controls
