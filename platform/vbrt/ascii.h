// SPDX-License-Identifier: MIT
// Character tests that know ASCII alone and never ask the locale.
#pragma once

#include <algorithm>
#include <string_view>

namespace vbrt {

constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
constexpr bool isBlank(char c) {
    return c == ' ' || c == '\t';
}
constexpr char toLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}
constexpr bool isLetter(char c) {
    return toLower(c) >= 'a' && toLower(c) <= 'z';
}
constexpr bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, {}, toLower, toLower);
}

}  // namespace vbrt
