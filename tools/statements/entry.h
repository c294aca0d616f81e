// SPDX-License-Identifier: MIT
// An entry is one line of an account: what a statement has of it, and what an item of a budget keeps.
//
// Readers make entries of a file, all of it or nothing: see reader.h. Writers make a file of them: see writer.h.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "vbrt/date.h"

namespace statements {

struct Entry {
    std::size_t line = 0;            // in the file, from 1; 0 for an item of a budget
    std::string account;             // of the bank, or the envelope in a file that was written here
    std::optional<vbrt::Date> date;  // may have a time of day
    std::int64_t cents = 0;          // positive deposit, negative payment
    std::string payee;
    std::string number;  // of the check
    std::string id;      // the bank's own
    std::string comment;
    std::string transfer;  // the account or envelope of the other half; empty for no transfer
    bool reconciled = false;
};

// An account that a file tells of without its entries: an envelope and its budget.
struct Account {
    std::string name;
    std::int64_t budget = 0;  // in cents
};

struct Statement {
    std::vector<Account> accounts;
    std::vector<Entry> entries;
    std::vector<std::string> remarks;  // what was left out, in words
};

// What is wrong with a file, and where: `line` from 1, 0 for the file as a whole.
class Error : public std::runtime_error {
 public:
    Error(std::size_t line, const std::string& what) : std::runtime_error(what), m_line(line) {}
    [[nodiscard]] std::size_t line() const { return m_line; }

 private:
    std::size_t m_line;
};

// "-12.50"
std::string centsText(std::int64_t cents);
// "2026-01-02", with "T06:30:00" behind it when there is a time; empty for no date.
std::string isoText(const std::optional<vbrt::Date>& date);

}  // namespace statements
