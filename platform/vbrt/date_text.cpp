// SPDX-License-Identifier: MIT
// Reading dates and times: CDate and IsDate.
#include <algorithm>
#include <array>
#include <initializer_list>
#include <optional>

#include "vbrt/ascii.h"
#include "vbrt/convert.h"
#include "vbrt/error.h"
#include "vbrt/names.h"

namespace vbrt {

namespace {

// Collects up to three numbers, a month name and a time, whatever their order, then finds the first meaning of them
// that is a day of the calendar.
class DateReader {
 public:
    explicit DateReader(std::string_view text) : m_rest(text) {}

    std::optional<Date> read() {
        if (!readPieces())
            return std::nullopt;
        if (m_month != 0)
            return dateWithMonthName();
        if (m_count == 0 && m_hasTime)
            return makeDate(1899, 12, 30, m_second);
        return dateOfNumbers();
    }

 private:
    bool readPieces() {
        skipBlanks();
        bool dateMustFollow = false;
        while (!m_rest.empty() || dateMustFollow) {
            if (!readPiece(dateMustFollow))
                return false;
            const bool blank = skipBlanks();
            dateMustFollow = readSeparator();
            if (!m_rest.empty() && !blank && !dateMustFollow)
                return false;
        }
        return true;
    }

    bool readPiece(bool dateMustFollow) {
        m_lastIsTime = false;
        if (m_rest.empty())
            return false;
        if (!isDigit(m_rest.front()))
            return readMonth();
        int number = 0;
        if (!readNumber(number))
            return false;
        if (timeSeparatorFollows() || meridiemLength() != 0)
            return !dateMustFollow && readTime(number);
        if (m_count == m_numbers.size())
            return false;
        m_numbers[m_count++] = number;
        return true;
    }

    // Five digits are more than any part of a date has.
    bool readNumber(int& number) {
        std::size_t length = 0;
        for (number = 0; length < m_rest.size() && isDigit(m_rest[length]); ++length) {
            if (length == 5)
                return false;
            number = number * 10 + (m_rest[length] - '0');
        }
        m_rest.remove_prefix(length);
        return length > 0;
    }

    bool readMonth() {
        const auto end = std::ranges::find_if_not(m_rest, isLetter);
        const std::string_view word = m_rest.substr(0, static_cast<std::size_t>(end - m_rest.begin()));
        const auto found = std::ranges::find_if(kMonthNames, [word](std::string_view name) {
            return equalsIgnoringCase(word, name) || equalsIgnoringCase(word, name.substr(0, 3));
        });
        if (m_month != 0 || found == kMonthNames.end())
            return false;
        m_month = static_cast<int>(found - kMonthNames.begin()) + 1;
        m_rest.remove_prefix(word.size());
        return true;
    }

    [[nodiscard]] bool timeSeparatorFollows() const {
        return !m_rest.empty() && (m_rest.front() == ':' || m_rest.front() == '.');
    }

    // The characters up to and with an AM or PM that comes next, or 0.
    [[nodiscard]] std::size_t meridiemLength() const {
        const std::size_t start = std::min(m_rest.find_first_not_of(" \t"), m_rest.size());
        const std::string_view word = m_rest.substr(start, 2);
        const bool ends = m_rest.size() == start + 2 || (m_rest.size() > start + 2 && !isLetter(m_rest[start + 2]));
        return ends && (equalsIgnoringCase(word, "AM") || equalsIgnoringCase(word, "PM")) ? start + 2 : 0;
    }

    bool readTime(int hour) {
        std::array<int, 3> fields{hour, 0, 0};
        for (std::size_t i = 1; i < fields.size() && timeSeparatorFollows(); ++i) {
            m_rest.remove_prefix(1);
            if (!readNumber(fields[i]))
                return false;
        }
        if (const std::size_t length = meridiemLength(); length != 0) {
            if (fields[0] > 12)
                return false;
            fields[0] = fields[0] % 12 + (toLower(m_rest[length - 2]) == 'p' ? 12 : 0);
            m_rest.remove_prefix(length);
        }
        if (m_hasTime || fields[0] > 23 || fields[1] > 59 || fields[2] > 59)
            return false;
        m_hasTime = m_lastIsTime = true;
        m_second = fields[0] * 3600 + fields[1] * 60 + fields[2];
        return true;
    }

    // A comma stands only in dates with a month name: "1,234" is a number.
    bool readSeparator() {
        if (m_rest.empty() || m_lastIsTime)
            return false;
        const char c = m_rest.front();
        if (c != '/' && c != '-' && (c != ',' || m_month == 0))
            return false;
        m_rest.remove_prefix(1);
        skipBlanks();
        return true;
    }

    bool skipBlanks() {
        const std::size_t blanks = std::min(m_rest.find_first_not_of(" \t"), m_rest.size());
        m_rest.remove_prefix(blanks);
        return blanks > 0;
    }

    struct Meaning {
        int year, month, day;
    };

    [[nodiscard]] std::optional<Date> firstValid(std::initializer_list<Meaning> meanings) const {
        for (const auto& [year, month, day] : meanings)
            if (const auto date = makeDate(fullYear(year), month, day, m_second))
                return date;
        return std::nullopt;
    }

    [[nodiscard]] std::optional<Date> dateWithMonthName() const {
        const auto [a, b, c] = m_numbers;
        switch (m_count) {
            case 1:
                return firstValid({{partsOf(Today()).year, m_month, a}, {a, m_month, 1}});
            case 2:
                return firstValid({{b, m_month, a}, {a, m_month, b}});
            default:
                return std::nullopt;
        }
    }

    [[nodiscard]] std::optional<Date> dateOfNumbers() const {
        const auto [a, b, c] = m_numbers;
        switch (m_count) {
            case 2: {
                const int thisYear = partsOf(Today()).year;
                return firstValid({{thisYear, a, b}, {thisYear, b, a}, {b, a, 1}, {a, b, 1}});
            }
            case 3:
                return firstValid({{c, a, b}, {a, b, c}, {c, b, a}});
            default:
                return std::nullopt;
        }
    }

    std::string_view m_rest;
    std::array<int, 3> m_numbers{};
    std::size_t m_count = 0;
    int m_month = 0;
    bool m_hasTime = false;
    bool m_lastIsTime = false;
    int m_second = 0;
};

}  // namespace

Date CDate(std::string_view text) {
    if (const auto date = DateReader(text).read())
        return *date;
    const Date serial{CDbl(text)};
    if (!isInRange(serial))
        raise(kOverflow);
    return serial;
}

bool IsDate(std::string_view text) {
    return DateReader(text).read().has_value();
}

}  // namespace vbrt
