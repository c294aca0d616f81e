// SPDX-License-Identifier: MIT
// Format: a value shown by a picture such as "$#,##0.00;-$#,##0.00" or "mm/dd/yyyy".
//
// Up to four sections: positive, negative, zero, Null. The section is chosen by the value as rounded to the digits
// shown, so that a tiny negative remainder shows as $0.00. Halves are rounded away from zero on the 15-digit decimal
// text. Named formats: General Number, Currency, Fixed, Standard, Percent, Scientific, Yes/No, True/False, On/Off,
// General Date, Long Date, Medium Date, Short Date, Long Time, Medium Time, Short Time. Never throws for plain text:
// a text that is no number comes back unchanged.
#pragma once

#include <string>
#include <string_view>

#include "vbrt/date.h"

namespace vbrt {

std::string Format(double value, std::string_view picture);
std::string Format(Date value, std::string_view picture);
// With a numeric picture a numeric text is formatted as a number, with a date picture a date text as a date.
std::string Format(std::string_view text, std::string_view picture);

}  // namespace vbrt
