// SPDX-License-Identifier: MIT
// Conversions between text, numbers and dates, with US settings whatever the machine's locale.
//
// Text is UTF-8. A text that is no number or date is error 13, a number that is too large error 6.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "vbrt/date.h"

namespace vbrt {

// Accepts blanks and tabs around the number, one sign in front or behind, "$", "(5)" for -5, commas between
// thousands, an exponent, &H and &O. "", "-", ".", "12abc" and "12,50" are error 13, "1e400" is error 6, too small is
// 0.
double CDbl(std::string_view text);
// Rounds halves to even; error 6 outside 32 (16) bits.
std::int32_t CLng(double value);
std::int32_t CLng(std::string_view text);
std::int16_t CInt(double value);
// True exactly when CDbl accepts the text.
bool IsNumeric(std::string_view text);
// Reads as much of the text as makes a number, and never fails: Val(" 2 45 7") is 2457, Val("$5") is 0.
double Val(std::string_view text);

// Month/day/year first, then year-month-day, then day-month-year; English month names; times; a plain number is a
// date serial. docs/conversions.md has the table.
Date CDate(std::string_view text);
bool IsDate(std::string_view text);

// At most 15 significant digits, no trailing zeros, a leading zero, "1E+15" from sixteen integer digits on.
std::string CStr(double value);
std::string CStr(float value);
std::string CStr(std::int32_t value);
std::string CStr(std::int64_t value);
// "1/2/2026", "6:00:00 AM" when the day is 0, or both.
std::string CStr(Date value);
std::string CStr(bool value);  // True, False

// Banker's rounding of the double: multiply by 10^digits, round halves to even, divide. Error 5 for digits < 0.
double Round(double value, int digits = 0);

}  // namespace vbrt
