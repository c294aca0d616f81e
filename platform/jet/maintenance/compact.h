// SPDX-License-Identifier: MIT
// Compaction: a fresh copy of a database without free space, rows in primary-key order.
//
// Every table, row, index, relationship, query, property and foreign object (forms, modules) is carried over, counters
// and dates kept. The new file is verified and flushed before this returns; the source is not changed.
#pragma once

#include <string>

#include "jet/database.h"

namespace jet {

struct CompactOptions {
    std::string password = {};  // of the source; the copy gets it too unless newPassword is given
    std::optional<std::string> newPassword = {};
    Disk* disk = nullptr;
};

// REQUIRES: `to` does not exist. Throws what Database::open throws for `from`, and Errc::Corrupt when the copy does
// not verify (the copy is then removed).
void compactDatabase(const std::string& from, const std::string& to, const CompactOptions& options);

}  // namespace jet
