// SPDX-License-Identifier: MIT
// Writes the envelopes and items of a budget for a spreadsheet, another program or plain-text accounting.
#pragma once

#include <string>

#include "statements/entry.h"

namespace statements {

// RFC 4180, UTF-8. First a row for each envelope, with its name and budget alone, then one for each item. readCsv()
// reads all of it again.
std::string writeCsv(const Statement& budget);
// An account for each envelope; dates month first. Lines of a comment become one, and a character that ends a line or
// account becomes a blank.
std::string writeQif(const Statement& budget);
// A journal that ledger and hledger read. A transfer is one transaction between two accounts Assets:ENVELOPE, other
// items are with Income or Expenses. What would mean something in a journal is replaced in the texts.
std::string writeLedger(const Statement& budget);

}  // namespace statements
