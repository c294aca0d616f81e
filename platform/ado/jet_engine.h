// SPDX-License-Identifier: MIT
// JetEngine compacts databases: a fresh copy without the space that deleted rows leave behind.
#pragma once

#include <QString>

namespace ado {

class JetEngine {
 public:
    // Writes a compact copy of the database that `source` names to the file that `destination` names; both are
    // connection strings. The destination gives the copy's password, and Jet OLEDB:Engine Type=4, the only format
    // written. The copy is verified and on the disk when this returns; the source is not changed. After an error there
    // is no copy. Errors: -2147217897 the destination exists; -2147467259 the source is missing, damaged, or open in
    // this process or another ("file already in use"); -2147217843 wrong password; 3706 no such provider.
    void CompactDatabase(const QString& source, const QString& destination);
};

}  // namespace ado
