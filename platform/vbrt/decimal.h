// SPDX-License-Identifier: MIT
// The one reader of unsigned numbers, for the conversions of text and for the literals of SQL.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace vbrt {

struct Decimal {
    double value = 0;     // infinity when it is too large, 0 when it is too small
    bool whole = false;   // digits alone, without a point or an exponent
    std::size_t end = 0;  // where the number ends in the text
};

// BetweenThousands: "1,234" and "12,345.6", and no other comma; a text with one has no number there.
enum class Commas { None, BetweenThousands };

// The number that begins at `at`. An exponent without digits is not part of it. Nothing when there is no digit.
std::optional<Decimal> readDecimal(std::string_view text, std::size_t at, Commas commas);

// "&H1F" or "&O17" at the front of the text, as much of it as there are digits.
struct Radix {
    std::uint64_t value = 0;
    std::size_t end = 0;
    bool tooLarge = false;
};
std::optional<Radix> readRadix(std::string_view text);

}  // namespace vbrt
