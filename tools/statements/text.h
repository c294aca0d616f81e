// SPDX-License-Identifier: MIT
// What the readers share: text in the encoding of its file, amounts and dates as statements write them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "statements/entry.h"
#include "statements/reader.h"

namespace statements {

enum class Encoding { Utf8, CodePage1252, Latin1, Utf16Little, Utf16Big };

// By the names that people and files use (UTF-8, WINDOWS-1252, 1252, ISO-8859-1, US-ASCII, ...). Throws Error.
Encoding encodingOf(std::string_view name);
// As UTF-8, without a byte-order mark, lines ended by \n alone unless returns are kept. A byte-order mark goes before
// `encoding`. Where none is given, UTF-8. Throws Error with the line for bytes that mean nothing in the encoding.
std::string decode(std::string_view bytes, std::optional<Encoding> encoding, bool keepReturns = false);

// Lines ended by \n, without it.
class Lines {
 public:
    explicit Lines(std::string_view text) : m_left(text) {}
    bool next(std::string_view& line);
    [[nodiscard]] std::size_t number() const { return m_number; }  // of the line that next() gave, from 1

 private:
    std::string_view m_left;
    std::size_t m_number = 0;
};

std::string_view trimmed(std::string_view text);
// Runs of white space as one blank, none at the ends.
std::string simplified(std::string_view text);

// Decimal text as whole cents: a sign on either side or parentheses, "$", groups of three digits between the sign that
// is not the decimal one (a blank or ' too), at most two decimals. Nothing for anything else. `zeros` lets more
// decimals pass that are zeros.
std::optional<std::int64_t> readCents(std::string_view text, char decimal, bool zeros = false);
// 'decimal' as given; else the sign that all texts are amounts with. Throws Error with the line of the one that is
// none.
struct AmountText {
    std::string_view text;
    std::size_t line = 0;
};
std::vector<std::int64_t> readAmounts(const std::vector<AmountText>& texts, char decimal);

// The dates of a whole file. Four digits are always the year; years of two digits are 1930 to 2029. Where `order` is
// Find, it is the order in which all of them are dates; two orders that give different dates are an Error, which names
// the option.
using DateText = AmountText;
std::vector<vbrt::Date> readDates(const std::vector<DateText>& texts, DateOrder order);

}  // namespace statements
