// SPDX-License-Identifier: MIT
#include "vbrt/date.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <initializer_list>
#include <limits>

#include "vbrt/error.h"

namespace vbrt {

namespace {

using std::chrono::days;
using std::chrono::sys_days;
using std::chrono::year_month_day;

constexpr sys_days kDayZero{std::chrono::year{1899} / 12 / 30};
constexpr std::int64_t kFirstDay = -657434;  // 1/1/100
constexpr std::int64_t kLastDay = 2958465;   // 12/31/9999
constexpr int kSecondsPerDay = 86400;

std::optional<Date> today;

struct Moment {
    std::int64_t day = 0;
    int second = 0;
};

// Nothing outside the range; a NaN is outside, too.
std::optional<Moment> momentOf(Date date) {
    if (!(date.serial > kFirstDay - 1 && date.serial < kLastDay + 1))
        return std::nullopt;
    const double whole = std::trunc(date.serial);
    Moment moment{static_cast<std::int64_t>(whole),
                  static_cast<int>(std::lround(std::abs(date.serial - whole) * kSecondsPerDay))};
    if (moment.second == kSecondsPerDay)
        moment = {moment.day + 1, 0};
    if (moment.day > kLastDay)
        return std::nullopt;
    return moment;
}

Date dateOf(Moment moment) {
    const double fraction = static_cast<double>(moment.second) / kSecondsPerDay;
    const auto whole = static_cast<double>(moment.day);
    return {moment.day < 0 ? whole - fraction : whole + fraction};
}

// The arguments of DateSerial are 16-bit numbers.
void require16Bits(std::initializer_list<int> arguments) {
    using Limits = std::numeric_limits<std::int16_t>;
    if (std::ranges::any_of(arguments, [](int value) { return value < Limits::min() || value > Limits::max(); }))
        raise(kOverflow);
}

}  // namespace

DateParts partsOf(Date date) {
    const auto moment = momentOf(date);
    if (!moment)
        raise(kOverflow);
    const year_month_day calendar{kDayZero + days{moment->day}};
    return {static_cast<int>(calendar.year()),
            static_cast<int>(static_cast<unsigned>(calendar.month())),
            static_cast<int>(static_cast<unsigned>(calendar.day())),
            moment->second / 3600,
            moment->second / 60 % 60,
            moment->second % 60};
}

bool isInRange(Date date) {
    return momentOf(date).has_value();
}

int fullYear(int year) {
    if (year < 0 || year > 99)
        return year;
    return year < 30 ? 2000 + year : 1900 + year;
}

std::optional<Date> makeDate(int year, int month, int day, int secondOfDay) {
    if (year < 100 || year > 9999 || month < 1 || month > 12 || day < 1 || day > 31 || secondOfDay < 0 ||
        secondOfDay >= kSecondsPerDay)
        return std::nullopt;
    const year_month_day calendar{std::chrono::year{year}, std::chrono::month{static_cast<unsigned>(month)},
                                  std::chrono::day{static_cast<unsigned>(day)}};
    if (!calendar.ok())
        return std::nullopt;
    return dateOf({(sys_days{calendar} - kDayZero).count(), secondOfDay});
}

Date DateSerial(int year, int month, int day) {
    require16Bits({year, month, day});
    const int months = fullYear(year) * 12 + month - 1;
    const int monthOfYear = (months % 12 + 12) % 12;
    const int carriedYear = (months - monthOfYear) / 12;
    if (carriedYear < 0 || carriedYear > 10'100)  // no day argument reaches back into the range from there
        raise(kInvalidCall);
    const year_month_day first{std::chrono::year{carriedYear},
                               std::chrono::month{static_cast<unsigned>(monthOfYear + 1)}, std::chrono::day{1}};
    const std::int64_t serial = (sys_days{first} - kDayZero).count() + day - 1;
    if (serial < kFirstDay || serial > kLastDay)
        raise(kInvalidCall);
    return {static_cast<double>(serial)};
}

Date Today() {
    return {std::trunc(Now().serial)};
}

Date Now() {
    if (today)
        return *today;
    const std::time_t clock = std::time(nullptr);
    const std::tm* local = std::localtime(&clock);
    if (local == nullptr)
        raise(kInvalidCall);
    const int second = std::min(local->tm_sec, 59);  // 60 is a leap second
    const auto now = makeDate(local->tm_year + 1900, local->tm_mon + 1, local->tm_mday,
                              local->tm_hour * 3600 + local->tm_min * 60 + second);
    if (!now)
        raise(kInvalidCall);
    return *now;
}

void setToday(std::optional<Date> date) {
    if (date)
        date->serial = std::trunc(date->serial);
    today = date;
}

}  // namespace vbrt
