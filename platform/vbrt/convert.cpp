// SPDX-License-Identifier: MIT
#include "vbrt/convert.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>
#include <optional>

#include "vbrt/ascii.h"
#include "vbrt/decimal.h"
#include "vbrt/digits.h"
#include "vbrt/error.h"
#include "vbrt/format.h"

namespace vbrt {

namespace {

// The number that the whole text is, infinity when it is too large, nothing when it is none.
std::optional<double> parseNumber(std::string_view text) {
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);

    if (const auto number = readRadix(text)) {
        if (number->end < text.size())
            return std::nullopt;
        return number->tooLarge ? std::numeric_limits<double>::infinity() : static_cast<double>(number->value);
    }

    bool sign = false;
    bool negative = false;
    bool currency = false;
    bool open = false;
    std::size_t at = 0;
    for (; at < text.size(); ++at) {
        const char c = text[at];
        if ((c == '-' || c == '+') && !sign && !open) {
            sign = true;
            negative = c == '-';
        } else if (c == '$' && !currency) {
            currency = true;
        } else if (c == '(' && !sign && !open) {
            open = true;
        } else if (!isBlank(c)) {
            break;
        }
    }

    const auto number = readDecimal(text, at, Commas::BetweenThousands);
    if (!number)
        return std::nullopt;
    bool closed = false;
    for (at = number->end; at < text.size(); ++at) {
        const char c = text[at];
        if ((c == '-' || c == '+') && !sign && !open) {
            sign = true;
            negative = c == '-';
        } else if (c == ')' && open && !closed) {
            closed = true;
        } else if (!isBlank(c)) {
            return std::nullopt;
        }
    }
    if (open != closed)
        return std::nullopt;
    const double value = number->value;
    return negative || open ? 0 - value : value;  // 0 - 0 is not -0
}

// Infinity and NaN come out as nothing that CDbl would take for a number.
std::string numberText(double value, int precision) {
    if (std::isnan(value))
        return "1.#QNAN";
    if (std::isinf(value))
        return value < 0 ? "-1.#INF" : "1.#INF";
    const Digits number = digitsOf(value, precision);
    if (number.count == 0)
        return "0";

    std::string text = value < 0 ? "-" : "";
    const int decimals = number.count - 1 - number.exponent;
    const bool plain = number.exponent < precision && decimals <= precision;
    const int unit = plain ? 0 : number.exponent;  // the decimal point stands behind this place
    const int lastPlace = std::min(-decimals, unit);
    for (int place = std::max(number.exponent, unit); place >= lastPlace; --place) {
        text += number.at(place);
        if (place == unit && lastPlace < unit)
            text += '.';
    }
    if (!plain) {
        text += number.exponent < 0 ? "E-" : "E+";
        if (std::abs(number.exponent) < 10)
            text += '0';
        text += std::to_string(std::abs(number.exponent));
    }
    return text;
}

template <typename Integer>
Integer roundTo(double value) {
    const double rounded = std::nearbyint(value);
    if (!(rounded >= std::numeric_limits<Integer>::min() && rounded <= std::numeric_limits<Integer>::max()))
        raise(kOverflow);
    return static_cast<Integer>(rounded);
}

double powerOfTen(int exponent) {
    constexpr std::array kExact{1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    const auto index = static_cast<std::size_t>(exponent);
    return index < kExact.size() ? kExact[index] : std::pow(10.0, exponent);
}

}  // namespace

double CDbl(std::string_view text) {
    const auto value = parseNumber(text);
    if (!value)
        raise(kTypeMismatch);
    if (std::isinf(*value))
        raise(kOverflow);
    return *value;
}

std::int32_t CLng(double value) {
    return roundTo<std::int32_t>(value);
}
std::int32_t CLng(std::string_view text) {
    return CLng(CDbl(text));
}
std::int16_t CInt(double value) {
    return roundTo<std::int16_t>(value);
}

bool IsNumeric(std::string_view text) {
    const auto value = parseNumber(text);
    return value && !std::isinf(*value);
}

double Val(std::string_view text) {
    std::string dense;
    std::ranges::copy_if(text, std::back_inserter(dense), [](char c) { return !isBlank(c) && c != '\n' && c != '\r'; });

    if (const auto number = readRadix(dense)) {
        // Sixteen and thirty-two bits are signed: &HFFFF is -1.
        if (number->value <= std::numeric_limits<std::uint16_t>::max())
            return static_cast<std::int16_t>(number->value);
        if (number->value <= std::numeric_limits<std::uint32_t>::max())
            return static_cast<std::int32_t>(number->value);
        return static_cast<double>(number->value);
    }
    const bool sign = !dense.empty() && (dense[0] == '-' || dense[0] == '+');
    const auto number = readDecimal(dense, sign ? 1 : 0, Commas::None);
    if (!number)
        return 0;
    const double value = std::min(number->value, std::numeric_limits<double>::max());
    return dense[0] == '-' ? 0 - value : value;
}

std::string CStr(double value) {
    return numberText(value, 15);
}
std::string CStr(float value) {
    return numberText(static_cast<double>(value), 7);
}
std::string CStr(std::int32_t value) {
    return std::to_string(value);
}
std::string CStr(std::int64_t value) {
    return std::to_string(value);
}
std::string CStr(bool value) {
    return value ? "True" : "False";
}

std::string CStr(Date value) {
    const DateParts parts = partsOf(value);
    if (parts.year == 1899 && parts.month == 12 && parts.day == 30)
        return Format(value, "h:mm:ss AM/PM");
    const bool midnight = parts.hour == 0 && parts.minute == 0 && parts.second == 0;
    return Format(value, midnight ? "m/d/yyyy" : "m/d/yyyy h:mm:ss AM/PM");
}

double Round(double value, int digits) {
    constexpr double kWholeFromHere = 9007199254740992.0;  // 2^53: larger doubles have no fraction to round
    if (digits < 0)
        raise(kInvalidCall);
    const double power = powerOfTen(digits);
    const double scaled = value * power;
    if (!(std::abs(scaled) < kWholeFromHere))
        return value;
    return std::nearbyint(scaled) / power + 0.0;  // + 0.0 makes 0 of -0
}

}  // namespace vbrt
