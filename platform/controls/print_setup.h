// SPDX-License-Identifier: MIT
// PrintSetup: the dialog that chooses printer, paper and orientation. It changes the given printer on OK alone.
#pragma once

#include <QDialog>

class QComboBox;
class QPrinter;
class QRadioButton;

namespace controls {

class PrintSetup : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PrintSetup)

 public:
    // The printer must outlive the dialog. REQUIRES: at least one printer is installed.
    explicit PrintSetup(QPrinter& printer, QWidget* parent = nullptr);
    void accept() override;

 private:
    void fillPapers();

    QPrinter& m_printer;
    QComboBox* cboPrinter;
    QComboBox* cboPaper;
    QRadioButton* optPortrait;
    QRadioButton* optLandscape;
};

}  // namespace controls
