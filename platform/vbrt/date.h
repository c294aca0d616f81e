// SPDX-License-Identifier: MIT
// Dates as numbers: days since 1899-12-30, the fraction being the time of day.
//
// On negative days the fraction still counts forward: -1.25 is 1899-12-29 06:00. The range is 1/1/100 to 12/31/9999.
#pragma once

#include <optional>

namespace vbrt {

struct Date {
    double serial = 0;
    bool operator==(const Date&) const = default;
};

struct DateParts {
    int year = 1899;
    int month = 12;
    int day = 30;
    int hour = 0;
    int minute = 0;
    int second = 0;
};

// Rounds to the nearest second. Throws error 6 outside the range.
DateParts partsOf(Date date);
// Month 13 is January of the next year, day 0 the last day of the month before, and so on. Years 0-29 are 2000-2029,
// 30-99 are 1930-1999. Throws error 5 when the result is outside the range.
Date DateSerial(int year, int month, int day);

// That moment, or nothing where the calendar has no such day or the day no such second. The year is a full one.
std::optional<Date> makeDate(int year, int month, int day, int secondOfDay = 0);
// 0-29 as 2000-2029, 30-99 as 1930-1999, any other year as it is.
int fullYear(int year);
// True exactly when partsOf does not throw.
bool isInRange(Date date);

// Today, without a time. Tests set it; nothing (std::nullopt) goes back to the clock of the machine.
Date Today();
// The present moment in local time; with a date set by setToday, that date at midnight.
Date Now();
void setToday(std::optional<Date> today);

}  // namespace vbrt
