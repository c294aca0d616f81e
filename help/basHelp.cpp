// SPDX-License-Identifier: MIT
#include "help/basHelp.h"

#include <QAbstractButton>
#include <QShortcut>

#include "htmlhelp/html_help.h"

QString strHelpFile;

namespace {

// The window type that the help file defines.
const QString strWindowType = ">Main";

void OpenHelp(QWidget* frmCaller, const QString& strFile, int intCommand) {
    try {
        htmlhelp::HtmlHelp(frmCaller, strFile, intCommand, 0);
    } catch (...) {
        // Kept: help that cannot be shown is not worth a message.
    }
}

}  // namespace

void ShowHelpContents(QWidget* frmCaller) {
    OpenHelp(frmCaller, strHelpFile + strWindowType, htmlhelp::HH_DISPLAY_TOC);
}

void ShowHelpIndex(QWidget* frmCaller) {
    OpenHelp(frmCaller, strHelpFile + strWindowType, htmlhelp::HH_DISPLAY_INDEX);
}

void ShowHelpTopic(QWidget* frmCaller, const QString& strPage) {
    OpenHelp(frmCaller, strHelpFile + "::/html/" + strPage + strWindowType, htmlhelp::HH_DISPLAY_TOC);
}

void ConnectHelp(QWidget* frm, QAbstractButton* cmdHelp, const QString& strPage) {
    const auto ShowPage = [frm, strPage] { ShowHelpTopic(frm, strPage); };
    QObject::connect(cmdHelp, &QAbstractButton::clicked, frm, ShowPage);
    QObject::connect(new QShortcut(Qt::Key_F1, frm), &QShortcut::activated, frm, ShowPage);
}
