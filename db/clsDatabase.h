// SPDX-License-Identifier: MIT
// The open budget: its connection, and the compaction of its file.
//
// Creating one opens the file named by strDatabasePath and sets blnDatabaseOpen. Any failure shows one message, empties
// strDatabasePath and strDatabaseTitle, and leaves an instance without an open connection: test blnDatabaseOpen, not
// the object. Destroying it closes the connection. basMain holds the one instance.
#pragma once

#include <QString>
#include <memory>

#include "ado/connection.h"
#include "ado/recordset.h"

class clsDatabase {
 public:
    clsDatabase();
    clsDatabase(const clsDatabase&) = delete;
    clsDatabase& operator=(const clsDatabase&) = delete;
    ~clsDatabase();

    // Error 91 when there is none, as after a compaction that failed.
    [[nodiscard]] const std::shared_ptr<ado::Connection>& objCnn() const;

    // Whether the budget was left unfinished the last time and can only be looked at now, as it cannot be put in order.
    [[nodiscard]] bool Unrepaired() const { return m_objCnn && m_objCnn->Unrepaired(); }

    // Closes, compacts through Tempdata.mdb in the program's folder, and opens again. False after an error, which has
    // then been shown; the budget is closed then, and its file complete at its place whatever happens.
    bool CompactDatabase();

    // All rows of a query, disconnected: they can be read after the budget is closed. Empty after an error, which has
    // then been shown. The application passes adOpenStatic, adLockReadOnly, adCmdText.
    std::shared_ptr<ado::Recordset> OpenRecordset(const QString& strSource, int intCursorType, int intLockType,
                                                  int intCmdType);

 private:
    void OpenDatabase();
    bool CloseDatabase();

    std::shared_ptr<ado::Connection> m_objCnn;  // shared with the lists that load from it
};
