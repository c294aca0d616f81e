// SPDX-License-Identifier: MIT
// Reads a bank statement: OFX 1 and 2 (QFX too), QIF, camt.053, CSV.
//
// Strict: a file that is damaged, or that leaves open how it is meant, gives an Error and no entries.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "statements/entry.h"

namespace statements {

enum class Format { Csv, Qif, Ofx, Camt };
enum class DateOrder { Find, MonthDayYear, DayMonthYear, YearMonthDay };

struct Options {
    std::string encoding;  // empty: what the file declares, else UTF-8
    char decimal = 0;      // '.' or ','; 0: the one that fits the whole file
    DateOrder order = DateOrder::Find;
    std::vector<std::string> columns;  // of CSV: date, payee, amount, num, comment, envelope, ...; "" for one to skip.
                                       // None: the first line names them
    std::size_t skip = 0;              // lines of CSV in front
    char separator = 0;                // of CSV; 0: the comma
};

// By what is in the file; CSV is what is nothing else.
Format formatOf(std::string_view bytes);
Statement read(std::string_view bytes, Format format, const Options& options);

// The readers by themselves. Text is UTF-8, see decode(); that of CSV keeps its returns.
Statement readCsv(std::string_view text, const Options& options);
Statement readQif(std::string_view text, const Options& options);
Statement readOfx(std::string_view bytes, const Options& options);
Statement readCamt(std::string_view bytes, const Options& options);

}  // namespace statements
