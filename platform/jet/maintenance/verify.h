// SPDX-License-Identifier: MIT
// verify() checks every rule of the format on a whole file and reports each breach as one line of text.
//
// It reads the pages on its own, without the code that writes them, wherever that is reasonable: page ownership, slot
// directories, rows, long values, definitions, index order and completeness, uniqueness, relationships, references.
// docs/jet3.md lists the rules. Nothing is changed.
#pragma once

#include <string>
#include <vector>

#include "jet/database.h"

namespace jet {

// Never throws for what is in the file, only when the disk fails. At most `limit` problems are reported. `remarks`
// takes what is unusual but breaks no rule, as many lines at most.
std::vector<std::string> verify(Database& db, std::size_t limit = 1000, std::vector<std::string>* remarks = nullptr);
// The same for a file that is open as pages alone.
std::vector<std::string> verify(Pager& pager, std::size_t limit = 1000, std::vector<std::string>* remarks = nullptr);

}  // namespace jet
