// SPDX-License-Identifier: MIT
#include "statements/entry.h"

#include <cstdio>

namespace statements {

std::string centsText(std::int64_t cents) {
    // The lowest number has no opposite.
    const auto size = cents < 0 ? 0 - static_cast<std::uint64_t>(cents) : static_cast<std::uint64_t>(cents);
    char text[32];
    std::snprintf(text, sizeof text, "%s%llu.%02llu", cents < 0 ? "-" : "", static_cast<unsigned long long>(size / 100),
                  static_cast<unsigned long long>(size % 100));
    return text;
}

std::string isoText(const std::optional<vbrt::Date>& date) {
    if (!date)
        return {};
    const vbrt::DateParts p = vbrt::partsOf(*date);
    char text[80];
    int length = std::snprintf(text, sizeof text, "%04d-%02d-%02d", p.year, p.month, p.day);
    if (p.hour != 0 || p.minute != 0 || p.second != 0)
        length += std::snprintf(text + length, sizeof text - static_cast<std::size_t>(length), "T%02d:%02d:%02d",
                                p.hour, p.minute, p.second);
    return {text, static_cast<std::size_t>(length)};
}

}  // namespace statements
