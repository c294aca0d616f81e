// SPDX-License-Identifier: MIT
// A value of a column, as callers of the engine see it. Text is UTF-8 here and code page 1252 in the file.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "jet/values/types.h"

namespace jet {

using Null = std::monostate;

// Money in units of 1/10,000.
struct Currency {
    std::int64_t units = 0;
    bool operator==(const Currency&) const = default;
};

// Days since 1899-12-30; the fraction is the time of day and counts forward on negative days too.
struct Date {
    double serial = 0;
    bool operator==(const Date&) const = default;
};

// The 16 bytes in the order of the file: u32, u16, u16 little-endian, then 8 bytes.
struct Guid {
    std::array<std::uint8_t, 16> bytes{};
    bool operator==(const Guid&) const = default;
};

// The alternatives belong to the column types one to one, but that Text and Memo are both std::string and Binary and
// Ole both Bytes.
using Value = std::variant<Null, bool, std::uint8_t, std::int16_t, std::int32_t, Currency, float, double, Date,
                           std::string, Bytes, Guid>;

// One value a column, in the order of TableDef::columns.
using Row = std::vector<Value>;

inline bool isNull(const Value& v) {
    return std::holds_alternative<Null>(v);
}

// "-12.5": all that the number has, without zeros at the end.
std::string toText(Currency money);

// A readable form for dumps and test failures: Null, true, 12, "text" with escapes, hex for bytes.
std::string toDebugString(const Value& v);

}  // namespace jet
