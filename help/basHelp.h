// SPDX-License-Identifier: MIT
// Opens the help file at its contents, its index or one page. What goes wrong there is ignored: a missing help file
// must not keep anyone from working.
#pragma once

#include <QString>

class QAbstractButton;
class QWidget;

extern QString strHelpFile;  // full path of Coinvale.chm; set at start-up

void ShowHelpContents(QWidget* frmCaller);
void ShowHelpIndex(QWidget* frmCaller);
// `strPage` is a page's name, "Item.htm"; letter case does not count.
void ShowHelpTopic(QWidget* frmCaller, const QString& strPage);

// Opens a page with the Help button of a dialog and with F1 in it.
void ConnectHelp(QWidget* frm, QAbstractButton* cmdHelp, const QString& strPage);
