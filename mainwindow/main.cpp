// SPDX-License-Identifier: MIT
// Starts the program: the process-wide settings, then the main window.
#include <QApplication>
#include <QIcon>
#include <QLocale>

#include "db/basMain.h"
#include "mainwindow/frmMain.h"

int main(int argc, char* argv[]) {
    // Dates and numbers look the same on every machine, as they do in the files.
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    QApplication app(argc, argv);
    QApplication::setApplicationName("Coinvale");
    QApplication::setApplicationVersion("2.0");
    QApplication::setDesktopFileName("coinvale");
    QApplication::setWindowIcon(QIcon(":/images/coinvale.svg"));
    strPassword = "kqlmz47";
    strUserName = "admin";

    frmMain frm;
    frm.show();
    const int intResult = QApplication::exec();
    objDatabase.reset();
    return intResult;
}
