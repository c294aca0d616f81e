// SPDX-License-Identifier: MIT
#include "vbrt/digits.h"

#include <cassert>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

#include "vbrt/ascii.h"

namespace vbrt {

namespace {

using Buffer = std::array<char, 32>;

// Reads "1.25e+03". Returns false when there are more digits than `precision`.
bool readDigits(const char* begin, const char* end, int precision, Digits& result) {
    const char* c = begin;
    for (; *c != 'e'; ++c) {
        if (*c == '.')
            continue;
        if (result.count == precision)
            return false;
        result.digits[static_cast<std::size_t>(result.count++)] = *c;
    }
    c += c[1] == '+' ? 2 : 1;
    std::from_chars(c, end, result.exponent);
    return true;
}

}  // namespace

void Digits::dropTrailingZeros() {
    while (count > 0 && digits[static_cast<std::size_t>(count - 1)] == '0')
        --count;
    if (count == 0)
        exponent = 0;
}

Digits digitsOf(double value, int precision) {
    assert(std::isfinite(value) && precision >= 1 && precision <= 15);
    value = std::abs(value);
    if (value == 0)
        return {};
    Buffer buffer;
    char* const begin = buffer.data();
    char* const limit = begin + buffer.size();
    // The shortest text that reads back as this double costs a fraction of an exact rounding. Where it has no more
    // than 15 digits it is the rounding to 15, because such texts lie further apart than neighbouring doubles do;
    // not so below the smallest normal number.
    if (precision == 15 && value >= std::numeric_limits<double>::min()) {
        Digits shortest;
        const auto written = std::to_chars(begin, limit, value, std::chars_format::scientific);
        if (readDigits(begin, written.ptr, precision, shortest)) {
            shortest.dropTrailingZeros();
            return shortest;
        }
    }
    Digits rounded;
    const auto written = std::to_chars(begin, limit, value, std::chars_format::scientific, precision - 1);
    readDigits(begin, written.ptr, precision, rounded);
    rounded.dropTrailingZeros();
    return rounded;
}

}  // namespace vbrt
