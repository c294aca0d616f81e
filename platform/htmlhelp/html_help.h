// SPDX-License-Identifier: MIT
// HtmlHelp: the call that opens a page of a compiled help file, and the one help window behind it.
//
//     HtmlHelp(this, "/usr/lib/coinvale/Coinvale.chm::/html/Item.htm>Main", HH_DISPLAY_TOC, 0);
//
// The window stays open beside the program, also while dialogs are modal, and shows what the last call asked for.
#pragma once

#include <QString>
#include <QtGlobal>

class QWidget;

namespace htmlhelp {

inline constexpr int HH_DISPLAY_TOPIC = 0;
inline constexpr int HH_DISPLAY_TOC = 1;    // the page named, with the contents beside it
inline constexpr int HH_DISPLAY_INDEX = 2;  // the index beside the page

// `file` is a path, then the page within the file ("::/html/Item.htm"; none: the file's own first page), then the
// window type (">Main"; none: the file's own). Letter case of pages does not count. `data` is unused by these commands.
// False, and no window, when the file is missing or damaged or has no such page; a window that is open stays as it is.
bool HtmlHelp(QWidget* caller, const QString& file, int command, quintptr data);

// Closes the help window, if there is one: the program is ending.
void closeHelp();

}  // namespace htmlhelp
