// SPDX-License-Identifier: MIT
// Starts the program: the report data source, the process-wide settings, then the main window.
#include <QApplication>
#include <QDir>
#include <QIcon>
#include <QLocale>
#include <QSettings>

#include "db/basMain.h"
#include "help/basHelp.h"
#include "mainwindow/frmMain.h"
#include "reports/datCoinvale.h"

int main(int argc, char* argv[]) {
    // Dates and numbers look the same on every machine, as they do in the files.
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    // The file dialogs would remember folders in a settings file; nothing is stored but budgets.
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, "/dev/null");
    QApplication app(argc, argv);
    QApplication::setApplicationName("Coinvale");
    QApplication::setApplicationVersion("2.0");
    QApplication::setDesktopFileName("coinvale");
    QApplication::setWindowIcon(QIcon(":/images/coinvale.svg"));
    objReportSource = std::make_unique<datCoinvale>();
    strHelpFile = QDir(QCoreApplication::applicationDirPath()).filePath("Coinvale.chm");
    strPassword = "kqlmz47";
    strUserName = "admin";

    frmMain frm;
    frm.show();
    const int intResult = QApplication::exec();
    objDatabase.reset();
    objReportSource.reset();
    return intResult;
}
