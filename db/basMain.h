// SPDX-License-Identifier: MIT
// The process-wide settings and the routines that every form uses.
#pragma once

#include <QString>
#include <memory>

#include "db/clsDatabase.h"

extern std::unique_ptr<clsDatabase> objDatabase;  // empty when no budget is open
extern QString strDatabasePath;                   // full path of the current budget file, or empty
extern QString strDatabaseTitle;                  // its name without folder, or empty
extern QString strPassword;                       // of every budget; set at start-up
extern QString strUserName;                       // set at start-up; Kept: no connection string uses it
extern bool blnDatabaseOpen;

// Doubles every "'". The caller writes the quotes around it: "where envelope = '" + SqlQuote(strName) + "'".
QString SqlQuote(const QString& strText);

// Without the blanks at both ends. Tabs, line ends and no-break spaces are no blanks.
QString TrimBlanks(const QString& strText);

// Executes a statement on the open budget that has to change one row, or at least one. Error intGone, "The item is no
// longer in the budget.", when there was none to change; `strWhat` is "item" or "envelope".
enum class Rows { One, OneOrMore };
void ExecuteChange(const QString& strSql, const QString& strWhat = "item", Rows rows = Rows::One);
inline constexpr long intGone = 3021;

// Writes the resource (":/<type>/<name>", for instance :/CUSTOM/NEWDB) at the start of a file.
// True, or an error: 53 no such resource, 61 disk full, 70 the file is open, 75 and 76 as for any file.
bool WriteResource(const QString& strName, const QString& strType, const QString& strPath);

// The string that opens a budget through the data-shaping provider, which the connection must name.
QString ShapeConnectionString();

// Shows the error being handled: "Error #: ", its number, a carriage return, its description. The normal pointer is
// restored first. REQUIRES: called in a catch block.
void ShowError();
