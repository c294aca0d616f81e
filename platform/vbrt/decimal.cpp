// SPDX-License-Identifier: MIT
#include "vbrt/decimal.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>
#include <system_error>

#include "vbrt/ascii.h"

namespace vbrt {

namespace {

std::size_t appendDigits(std::string_view text, std::size_t at, std::string& digits) {
    for (; at < text.size() && isDigit(text[at]); ++at)
        digits += text[at];
    return at;
}

// Reads ",234,567" behind the first digits. Nothing when a comma separates anything but thousands.
std::optional<std::size_t> appendThousands(std::string_view text, std::size_t at, std::string& digits) {
    if (at < text.size() && text[at] == ',' && digits.size() > 3)
        return std::nullopt;
    while (at < text.size() && text[at] == ',') {
        const std::size_t end = appendDigits(text, at + 1, digits);
        if (end != at + 4)
            return std::nullopt;
        at = end;
    }
    return at;
}

// `digits` is what std::from_chars reads, with that exponent.
double valueOf(const std::string& digits, std::int64_t exponent) {
    double value = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (result.ec != std::errc::result_out_of_range)
        return value;
    const auto first = static_cast<std::int64_t>(digits.find_first_not_of("0."));
    const auto point = static_cast<std::int64_t>(std::min(digits.find_first_of(".e"), digits.size()));
    return point - first + exponent > 0 ? std::numeric_limits<double>::infinity() : 0;
}

}  // namespace

std::optional<Decimal> readDecimal(std::string_view text, std::size_t at, Commas commas) {
    constexpr std::int64_t kLargestExponent = 1'000'000'000;
    std::string digits;
    at = appendDigits(text, at, digits);
    if (commas == Commas::BetweenThousands && !digits.empty()) {
        const auto end = appendThousands(text, at, digits);
        if (!end)
            return std::nullopt;
        at = *end;
    }
    bool whole = true;
    if (at < text.size() && text[at] == '.') {
        whole = false;
        digits += '.';
        at = appendDigits(text, at + 1, digits);
    }
    if (digits.empty() || digits == ".")
        return std::nullopt;

    std::int64_t exponent = 0;
    if (at < text.size() && toLower(text[at]) == 'e') {
        std::size_t first = at + 1;
        const bool negative = first < text.size() && text[first] == '-';
        if (first < text.size() && (text[first] == '-' || text[first] == '+'))
            ++first;
        std::size_t last = first;
        for (; last < text.size() && isDigit(text[last]); ++last)
            exponent = std::min(exponent * 10 + (text[last] - '0'), kLargestExponent);
        if (last > first) {
            exponent = negative ? -exponent : exponent;
            whole = false;
            digits += 'e' + std::to_string(exponent);
            at = last;
        }
    }
    return Decimal{valueOf(digits, exponent), whole, at};
}

std::optional<Radix> readRadix(std::string_view text) {
    if (text.size() < 3 || text[0] != '&' || (toLower(text[1]) != 'h' && toLower(text[1]) != 'o'))
        return std::nullopt;
    Radix number;
    const int base = toLower(text[1]) == 'h' ? 16 : 8;
    const auto result = std::from_chars(text.data() + 2, text.data() + text.size(), number.value, base);
    if (result.ec == std::errc::invalid_argument)
        return std::nullopt;
    number.end = static_cast<std::size_t>(result.ptr - text.data());
    number.tooLarge = result.ec == std::errc::result_out_of_range;
    return number;
}

}  // namespace vbrt
