// SPDX-License-Identifier: MIT
#include "statements/text.h"

#include <algorithm>
#include <array>

#include "jet/values/codepage.h"
#include "vbrt/ascii.h"

namespace statements {

namespace {

constexpr std::int64_t kMostCents = 99'999'999'999'999;  // a double holds them exactly, and their sums

std::size_t lineAt(std::string_view text, std::size_t at) {
    return 1 + static_cast<std::size_t>(std::ranges::count(text.substr(0, at), '\n'));
}

void appendUtf8(std::uint32_t c, std::string& out) {
    const auto add = [&out](std::uint32_t byte) { out += static_cast<char>(byte); };
    if (c < 0x80) {
        add(c);
    } else if (c < 0x800) {
        add(0xC0U | c >> 6U);
        add(0x80U | (c & 0x3FU));
    } else if (c < 0x10000) {
        add(0xE0U | c >> 12U);
        add(0x80U | (c >> 6U & 0x3FU));
        add(0x80U | (c & 0x3FU));
    } else {
        add(0xF0U | c >> 18U);
        add(0x80U | (c >> 12U & 0x3FU));
        add(0x80U | (c >> 6U & 0x3FU));
        add(0x80U | (c & 0x3FU));
    }
}

// The bytes of the character at the beginning; 0 for what is none: too long, a surrogate, beyond the last one.
std::size_t utf8Length(std::string_view text) {
    const auto byte = [text](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
    const unsigned lead = byte(0);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((byte(i) & 0xC0U) != 0x80U)
            return 0;
    if ((lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xED && byte(1) > 0x9F) || (lead == 0xF0 && byte(1) < 0x90) ||
        (lead == 0xF4 && byte(1) > 0x8F))
        return 0;
    return length;
}

std::string fromUtf16(std::string_view bytes, bool little) {
    std::string out;
    if (bytes.size() % 2 != 0)
        throw Error(0, "the file is cut off in the middle of a character");
    const auto unit = [&](std::size_t i) {
        const auto a = static_cast<unsigned char>(bytes[i]);
        const auto b = static_cast<unsigned char>(bytes[i + 1]);
        return static_cast<std::uint32_t>(little ? a | b << 8 : a << 8 | b);
    };
    for (std::size_t i = 0; i < bytes.size(); i += 2) {
        std::uint32_t c = unit(i);
        if (c >= 0xD800 && c < 0xE000) {
            const std::uint32_t low = i + 2 < bytes.size() ? unit(i + 2) : 0;
            if (c >= 0xDC00 || low < 0xDC00 || low >= 0xE000)
                throw Error(lineAt(out, out.size()), "half a character");
            c = 0x10000U + ((c - 0xD800U) << 10U) + (low - 0xDC00U);
            i += 2;
        }
        appendUtf8(c, out);
    }
    return out;
}

}  // namespace

Encoding encodingOf(std::string_view name) {
    std::string plain;
    for (const char c : name)
        if (c != '-' && c != '_' && c != ' ')
            plain += vbrt::toLower(c);
    for (const char* utf8 : {"utf8", "ascii", "usascii", "none", "unicode"})
        if (plain == utf8)
            return Encoding::Utf8;
    for (const char* page : {"1252", "cp1252", "windows1252", "ansi"})
        if (plain == page)
            return Encoding::CodePage1252;
    for (const char* latin : {"iso88591", "latin1", "88591"})
        if (plain == latin)
            return Encoding::Latin1;
    if (plain == "utf16" || plain == "utf16le")
        return Encoding::Utf16Little;
    if (plain == "utf16be")
        return Encoding::Utf16Big;
    throw Error(0, "the encoding " + std::string(name) + " is not known; --encoding takes UTF-8, 1252, Latin1, UTF-16");
}

std::string decode(std::string_view bytes, std::optional<Encoding> encoding, bool keepReturns) {
    if (bytes.starts_with("\xEF\xBB\xBF")) {
        encoding = Encoding::Utf8;
        bytes.remove_prefix(3);
    } else if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
        encoding = bytes[0] == '\xFF' ? Encoding::Utf16Little : Encoding::Utf16Big;
        bytes.remove_prefix(2);
    }
    std::string wide;
    switch (encoding.value_or(Encoding::Utf8)) {
        case Encoding::Utf8:
            break;
        case Encoding::Latin1:  // as everywhere, the code page is meant
        case Encoding::CodePage1252:
            wide = jet::fromCodePage({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
            bytes = wide;
            break;
        case Encoding::Utf16Little:
        case Encoding::Utf16Big:
            wide = fromUtf16(bytes, encoding == Encoding::Utf16Little);
            bytes = wide;
    }
    std::string out;
    out.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size();) {
        const std::size_t length = utf8Length(bytes.substr(i, 4));
        if (length == 0)
            throw Error(lineAt(bytes, i), "this is not UTF-8; --encoding names what it is, for instance 1252");
        if (bytes[i] == '\0')
            throw Error(lineAt(bytes, i), "a zero byte: this is no text");
        if (bytes[i] == '\r' && !keepReturns) {
            out += '\n';
            i += bytes.substr(i).starts_with("\r\n") ? 2 : 1;
        } else {
            out.append(bytes, i, length);
            i += length;
        }
    }
    return out;
}

bool Lines::next(std::string_view& line) {
    if (m_left.empty())
        return false;
    const std::size_t end = m_left.find('\n');
    line = m_left.substr(0, end);
    m_left.remove_prefix(end == std::string_view::npos ? m_left.size() : end + 1);
    ++m_number;
    return true;
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\n");
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(" \t\n") - first + 1);
}

std::string simplified(std::string_view text) {
    std::string out;
    for (const char c : text) {
        const bool blank = c == ' ' || c == '\t' || c == '\n';
        if (!blank)
            out += c;
        else if (!out.empty() && out.back() != ' ')
            out += ' ';
    }
    if (out.ends_with(' '))
        out.pop_back();
    return out;
}

std::optional<std::int64_t> readCents(std::string_view text, char decimal, bool zeros) {
    text = trimmed(text);
    bool negative = false;
    bool hasSign = false;
    const auto takeSign = [&](char c) {
        const bool sign = !hasSign && (c == '-' || c == '+');
        negative |= sign && c == '-';
        hasSign |= sign;
        return sign;
    };
    if (text.size() > 2 && text.front() == '(' && text.back() == ')') {
        negative = hasSign = true;
        text = trimmed(text.substr(1, text.size() - 2));
    }
    if (!text.empty() && takeSign(text.front()))
        text = trimmed(text.substr(1));
    else if (!text.empty() && takeSign(text.back()))
        text = trimmed(text.substr(0, text.size() - 1));
    if (text.starts_with('$')) {
        text = trimmed(text.substr(1));
        if (!text.empty() && takeSign(text.front()))
            text = trimmed(text.substr(1));
    }

    const std::size_t point = std::min(text.find(decimal), text.size());
    const std::string_view whole = text.substr(0, point);
    std::string_view cents = point == text.size() ? std::string_view() : text.substr(point + 1);
    if (whole.empty() && cents.empty())
        return std::nullopt;
    std::int64_t value = 0;
    char group = 0;
    std::size_t digits = 0;  // since the last separator
    for (std::size_t i = 0; i < whole.size(); ++i) {
        const char c = whole[i];
        if (vbrt::isDigit(c)) {
            value = value * 10 + (c - '0');
            ++digits;
            if (value > kMostCents / 100)
                return std::nullopt;
            continue;
        }
        const bool separates = (c == ',' || c == '.' || c == ' ' || c == '\'') && c != decimal;
        if (!separates || (group != 0 ? c != group || digits != 3 : digits == 0 || digits > 3))
            return std::nullopt;
        group = c;
        digits = 0;
    }
    if (group != 0 && digits != 3)
        return std::nullopt;
    while (zeros && cents.size() > 2 && cents.back() == '0')
        cents.remove_suffix(1);
    if (cents.size() > 2 || !std::ranges::all_of(cents, vbrt::isDigit))
        return std::nullopt;
    for (std::size_t i = 0; i < 2; ++i)
        value = value * 10 + (i < cents.size() ? cents[i] - '0' : 0);
    return negative ? -value : value;
}

std::vector<std::int64_t> readAmounts(const std::vector<AmountText>& texts, char decimal) {
    std::vector<std::int64_t> amounts;
    const auto wrong = [&](char sign) -> const AmountText* {
        amounts.clear();
        for (const AmountText& each : texts) {
            const auto cents = readCents(each.text, sign);
            if (!cents)
                return &each;
            amounts.push_back(*cents);
        }
        return nullptr;
    };
    const AmountText* first = wrong(decimal != 0 ? decimal : '.');
    if (first == nullptr)
        return amounts;
    if (decimal == 0) {
        const AmountText* other = wrong(',');
        if (other == nullptr)
            return amounts;
        // The one that is told is the first that is an amount with neither.
        first = other->line > first->line ? other : first;
    }
    throw Error(first->line, "'" + std::string(first->text.substr(0, 40)) + "' is no amount" +
                                 (decimal != 0 ? std::string(" with the decimal sign ") + decimal
                                               : std::string(" with the decimal sign of the rest")));
}

namespace {

struct DateNumbers {
    std::array<int, 3> numbers{};
    std::array<std::size_t, 3> digits{};
    int seconds = 0;
};

// Three numbers with one of the signs that stand in dates between them (Quicken writes 1/ 2'06), or eight digits.
std::optional<DateNumbers> dateNumbers(std::string_view text) {
    DateNumbers date;
    text = trimmed(text);
    const std::size_t time = text.find_first_of("T ");
    if (time != std::string_view::npos && time >= 8 && text.size() >= time + 9 && text[time + 3] == ':' &&
        text[time + 6] == ':') {
        const auto two = [&](std::size_t at) {
            const bool good = vbrt::isDigit(text[time + at]) && vbrt::isDigit(text[time + at + 1]);
            return good ? (text[time + at] - '0') * 10 + (text[time + at + 1] - '0') : 99;
        };
        if (two(1) > 23 || two(4) > 59 || two(7) > 59 || text.size() != time + 9)
            return std::nullopt;
        date.seconds = two(1) * 3600 + two(4) * 60 + two(7);
        text = text.substr(0, time);
    }
    if (text.size() == 8 && std::ranges::all_of(text, vbrt::isDigit)) {
        date.digits = {4, 2, 2};
        for (std::size_t i = 0; i < 8; ++i) {
            int& number = date.numbers[i < 4 ? 0 : i / 2 - 1];
            number = number * 10 + (text[i] - '0');
        }
        return date;
    }
    std::size_t part = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (vbrt::isDigit(c)) {
            if (++date.digits[part] > 4)
                return std::nullopt;
            date.numbers[part] = date.numbers[part] * 10 + (c - '0');
        } else if (c == '/' || c == '-' || c == '.' || c == '\'') {
            if (date.digits[part] == 0 || ++part > 2)
                return std::nullopt;
        } else if (c != ' ' || date.digits[part] != 0) {
            return std::nullopt;
        }
    }
    if (part != 2 || date.digits[2] == 0)
        return std::nullopt;
    return date;
}

std::optional<vbrt::Date> asDate(const DateNumbers& date, DateOrder order) {
    static constexpr std::array<std::array<std::size_t, 3>, 4> kPlaces{{{0, 0, 0}, {2, 0, 1}, {2, 1, 0}, {0, 1, 2}}};
    const auto [y, m, d] = kPlaces[static_cast<std::size_t>(order)];
    if (date.digits[m] > 2 || date.digits[d] > 2 || date.digits[y] == 3)
        return std::nullopt;
    int year = date.numbers[y];
    if (date.digits[y] <= 2)
        year = vbrt::fullYear(year);
    return vbrt::makeDate(year, date.numbers[m], date.numbers[d], date.seconds);
}

}  // namespace

std::vector<vbrt::Date> readDates(const std::vector<DateText>& texts, DateOrder order) {
    std::vector<DateNumbers> numbers;
    for (const DateText& each : texts) {
        const auto parts = dateNumbers(each.text);
        if (!parts)
            throw Error(each.line, "'" + std::string(each.text.substr(0, 40)) + "' is no date");
        numbers.push_back(*parts);
    }
    std::optional<std::vector<vbrt::Date>> found;
    std::size_t farthest = 0;
    for (const DateOrder each : {DateOrder::MonthDayYear, DateOrder::DayMonthYear, DateOrder::YearMonthDay}) {
        if (order != DateOrder::Find && order != each)
            continue;
        std::vector<vbrt::Date> dates;
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            const auto date = asDate(numbers[i], each);
            if (!date) {
                farthest = std::max(farthest, i);
                break;
            }
            dates.push_back(*date);
        }
        if (dates.size() != numbers.size())
            continue;
        if (found && *found != dates)
            throw Error(0, "the dates can be read in more than one order; --date-order mdy, dmy or ymd says which");
        found = std::move(dates);
    }
    if (!found)
        throw Error(texts[farthest].line,
                    "'" + std::string(texts[farthest].text.substr(0, 40)) + "' is no date" +
                        (order == DateOrder::Find ? " in the order of the rest" : " in that order"));
    return *found;
}

}  // namespace statements
