// SPDX-License-Identifier: MIT
// CommonDialog: the file-open, file-save and printer dialogs as one object whose properties stay between uses.
//
// The owner sets the properties it cares about and calls one of the show functions; every other property has the value
// of its last use. Tests answer through controls/testing.h, without a window.
#pragma once

#include <QString>
#include <optional>

class QPageSize;
class QPrinter;
class QPrinterInfo;
class QWidget;

namespace controls {

// Bits of CommonDialog::flags.
inline constexpr int kOverwritePrompt = 2;
inline constexpr int kHideReadOnly = 4;  // there is no read-only box, so always in effect
inline constexpr int kPathMustExist = 2048;
inline constexpr int kFileMustExist = 4096;
inline constexpr int kPrintSetup = 64;

class CommonDialog {
 public:
    explicit CommonDialog(QWidget* parent = nullptr) : m_parent(parent) {}

    QString dialogTitle;  // empty: "Open", "Save As"
    QString fileName;     // the whole path chosen last, offered again by the next dialog; kept after Cancel
    QString fileTitle;    // its last part; empty after Cancel
    QString filter;       // "Description|*.ext;*.ext|Description|*.ext"
    QString defaultExt;   // added to a name without one; with or without its dot
    QString initDir;      // where the dialog starts when fileName names no folder
    int filterIndex = 1;  // from 1; the user's choice afterwards
    int flags = 0;

    // True when a file was chosen: fileName, fileTitle and filterIndex are set. False after Cancel: fileTitle is empty,
    // fileName and filterIndex are unchanged.
    bool showOpen();
    bool showSave();
    // With kPrintSetup the choice of printer, paper and orientation, else the print dialog; both on printer(). False
    // after Cancel, and, with a message, when no printer is installed.
    bool showPrinter();

 private:
    bool showFile(bool save);
    std::optional<QString> askForFile(const QString& title, bool save);

    QWidget* m_parent;
};

// The one printer of the process: what Print Setup chose, made on first use with ownPaper().
QPrinter& printer();
// The paper that the system says is in a printer; without a printer Letter or A4, by country.
QPageSize ownPaper(const QPrinterInfo& info);

}  // namespace controls
