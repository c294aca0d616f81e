// SPDX-License-Identifier: MIT
// The English names in dates; the short form of each is its first three letters.
#pragma once

#include <array>
#include <string_view>

namespace vbrt {

inline constexpr std::array<std::string_view, 12> kMonthNames{"January",   "February", "March",    "April",
                                                              "May",       "June",     "July",     "August",
                                                              "September", "October",  "November", "December"};
inline constexpr std::array<std::string_view, 7> kDayNames{"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                           "Thursday", "Friday", "Saturday"};

}  // namespace vbrt
