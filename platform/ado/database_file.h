// SPDX-License-Identifier: MIT
// Writing, deleting, replacing and copying database files, each with the log that may lie beside it.
//
// A log ("<file>-log") holds what a crash may have kept from its file; left behind, it would lie beside a file that it
// does not belong to. Nothing here changes a file that is open, in this process or another: error 70. Other errors: 53
// file not found, 76 folder not found, 75 no permission, 61 disk full, 57 the disk failed. Everything is on the medium
// when the call returns.
#pragma once

#include <QByteArray>
#include <QString>

namespace ado {

// Whether a database is open, in this process or another. False for a file that is missing or write-protected.
bool isDatabaseOpen(const QString& path);

// Writes the bytes at the start of the file, which is made if missing; a longer one keeps its tail. After an error a
// file that was not there before is gone again.
void writeDatabaseFile(const QString& path, const QByteArray& bytes);

void deleteDatabaseFile(const QString& path);

// Moves the file `from` to the place of the file `to`, if there is one, in a single step even across file systems: at
// every moment one of the two is complete there. The permissions of the old file are kept.
void replaceDatabaseFile(const QString& from, const QString& to);

// Copies a database over the file at `to`, if there is one, in a single step as above. One that is open in this process
// is copied as its connections see it, even when its file is gone by now; one that is not, with what a log beside it
// has. A file that is no database is copied as it is. Error 70 also for a destination that is write-protected or a
// folder, and for a database that another process has open.
void copyDatabaseFile(const QString& from, const QString& to);

}  // namespace ado
