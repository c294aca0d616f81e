// SPDX-License-Identifier: MIT
// The decimal digits of a number, which CStr and Format arrange in their own ways.
#pragma once

#include <array>
#include <cstddef>

namespace vbrt {

// digits[0].digits[1]digits[2]... x 10^exponent, without trailing zeros; a count of 0 is the number zero.
struct Digits {
    std::array<char, 15> digits{};  // '0' to '9'
    int count = 0;
    int exponent = 0;

    // The digit that stands for 10^place, '0' outside the digits kept.
    [[nodiscard]] char at(int place) const {
        const int index = exponent - place;
        return index >= 0 && index < count ? digits[static_cast<std::size_t>(index)] : '0';
    }
    void dropTrailingZeros();
};

// The digits of |value|, correctly rounded to `precision` (1 to 15) significant ones. REQUIRES: value is finite.
Digits digitsOf(double value, int precision = 15);

}  // namespace vbrt
