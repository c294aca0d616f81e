// SPDX-License-Identifier: MIT
#include "jetsql/functions.h"

#include "jet/values/text_order.h"
#include "jetsql/error.h"
#include "vbrt/ascii.h"
#include "vbrt/convert.h"
#include "vbrt/format.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace jetsql {

namespace {

using Arguments = std::span<const Value>;

vbrt::Date vbDate(const Value& v) {
    return {toDate(v).serial};
}

// --- numbers

// `f` on a Double; Currency goes the same way and whole numbers stay as they are.
template <typename F>
Value keepingType(const Value& v, F f) {
    if (const auto* c = std::get_if<jet::Currency>(&v))
        return toCurrency(f(toDouble(*c)));
    if (const auto* date = std::get_if<jet::Date>(&v))
        return toDate(f(date->serial));
    if (std::holds_alternative<double>(v) || std::holds_alternative<float>(v) || std::holds_alternative<std::string>(v))
        return f(toDouble(v));
    return toLong(v);
}

Value absolute(Arguments a) {
    const Value v = keepingType(a[0], [](double d) { return std::fabs(d); });
    const auto* whole = std::get_if<std::int32_t>(&v);
    return whole && *whole < 0 ? negated(v) : v;
}

Value sign(Arguments a) {
    const double d = toDouble(a[0]);
    return static_cast<std::int16_t>(d < 0 ? -1 : int{d > 0});
}

Value roundTo(Arguments a) {
    const std::int32_t digits = a.size() > 1 ? toLong(a[1]) : 0;
    return keepingType(a[0], [&](double d) { return vbrt::Round(d, digits); });
}

// --- texts

std::size_t characters(std::string_view text) {
    std::size_t count = 0;
    for (; !text.empty(); text.remove_prefix(characterLength(text)))
        ++count;
    return count;
}

// The bytes of the first `count` characters.
std::size_t bytesOf(std::string_view text, std::size_t count) {
    std::size_t at = 0;
    for (; count > 0 && at < text.size(); --count)
        at += characterLength(text.substr(at));
    return at;
}

std::size_t countArgument(const Value& v, std::int32_t least) {
    const std::int32_t n = toLong(v);
    if (n < least)
        vbrt::raise(vbrt::kInvalidCall);
    return static_cast<std::size_t>(n);
}

Value leftOf(Arguments a) {
    const std::string text = toText(a[0]);
    return text.substr(0, bytesOf(text, countArgument(a[1], 0)));
}

Value rightOf(Arguments a) {
    const std::string text = toText(a[0]);
    const std::size_t length = characters(text);
    return text.substr(bytesOf(text, length - std::min(length, countArgument(a[1], 0))));
}

Value middle(Arguments a) {
    const std::string text = toText(a[0]);
    const std::string rest = text.substr(bytesOf(text, countArgument(a[1], 1) - 1));
    return a.size() < 3 ? rest : rest.substr(0, bytesOf(rest, countArgument(a[2], 0)));
}

std::string trimmed(std::string text, bool front, bool back) {
    if (back)
        text.erase(text.find_last_not_of(' ') + 1);
    if (front)
        text.erase(0, std::min(text.find_first_not_of(' '), text.size()));
    return text;
}

// The capital or small form of the letters that code page 1252 has in pairs, as code points.
char32_t changedCase(char32_t c, bool upper) {
    static constexpr std::pair<char32_t, char32_t> kOthers[] = {
        {U'\u0152', U'\u0153'}, {U'\u0160', U'\u0161'}, {U'\u0178', U'\u00FF'}, {U'\u017D', U'\u017E'}};
    for (const auto& [capital, small] : kOthers) {
        if (c == (upper ? small : capital))
            return upper ? capital : small;
    }
    const char32_t from = upper ? 0xE0 : 0xC0;
    if (c >= from && c <= from + 0x1E && c != from + 0x17)  // neither × nor ÷
        return upper ? c - 0x20 : c + 0x20;
    return c;
}

std::string changedCase(std::string text, bool upper) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (vbrt::isLetter(c)) {
            const char small = vbrt::toLower(c);
            text[i] = upper ? static_cast<char>(small - 'a' + 'A') : small;
        } else if (characterLength(std::string_view(text).substr(i)) == 2) {
            const auto lead = static_cast<unsigned char>(c) & 0x1FU;
            const auto tail = static_cast<unsigned char>(text[i + 1]) & 0x3FU;
            const char32_t changed = changedCase(char32_t{lead << 6U | tail}, upper);
            text[i] = static_cast<char>(0xC0U | changed >> 6U);
            text[i + 1] = static_cast<char>(0x80U | (changed & 0x3FU));
            ++i;
        }
    }
    return text;
}

// The first place of `part`, which is not empty, in bytes; npos when it is not there. After Knuth, Morris and Pratt.
std::size_t search(std::string_view text, std::string_view part) {
    std::vector<std::size_t> begun(part.size(), 0);  // how much of the front each front of `part` ends with
    const auto extended = [&](std::size_t length, char c) {
        while (length > 0 && part[length] != c)
            length = begun[length - 1];
        return part[length] == c ? length + 1 : length;
    };
    for (std::size_t i = 1; i < part.size(); ++i)
        begun[i] = extended(begun[i - 1], part[i]);
    std::size_t length = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        length = extended(length, text[i]);
        if (length == part.size())
            return i + 1 - length;
    }
    return std::string_view::npos;
}

// Place of `part` from character `start` on, both counted from 1; 0 when it is not there. In a time that grows with
// the sum of the lengths, whatever they are made of.
Value placeOf(std::string_view text, const std::string& part, std::size_t start) {
    const std::string_view rest = text.substr(bytesOf(text, start - 1));
    if (rest.empty() && (start > 1 || text.empty()))
        return std::int32_t{0};
    const std::size_t found = part.empty() ? 0 : search(rest, part);
    if (found == std::string_view::npos)
        return std::int32_t{0};
    return static_cast<std::int32_t>(start + characters(rest.substr(0, found)));
}

// InStr([start,] text, part [, compare]): the start may only be left out together with `compare`.
Value inStr(Arguments a) {
    const bool started = a.size() > 2;
    const std::size_t start = started ? countArgument(a[0], 1) : 1;
    const bool ignoreCase = a.size() < 4 || toLong(a[3]) != 0;
    std::string text = toText(a[started ? 1 : 0]);
    std::string part = toText(a[started ? 2 : 1]);
    if (!ignoreCase)
        return placeOf(text, part, start);
    return placeOf(changedCase(std::move(text), false), changedCase(std::move(part), false), start);
}

// --- conversions and dates

template <ColumnType type>
Value convertTo(Arguments a) {
    return convert(a[0], type);
}

template <int vbrt::DateParts::*part>
Value partOf(Arguments a) {
    return inStatement([&] { return Value(static_cast<std::int16_t>(vbrt::partsOf(vbDate(a[0])).*part)); });
}

Value dateSerial(Arguments a) {
    return jet::Date{inStatement([&] { return vbrt::DateSerial(toLong(a[0]), toLong(a[1]), toLong(a[2])).serial; })};
}

Value timeOfDay(Arguments) {
    const double now = vbrt::Now().serial;
    return jet::Date{now - std::floor(now)};
}

Value format(Arguments a) {
    if (jet::isNull(a[0]))
        return std::string();
    const std::string picture = a.size() > 1 && !jet::isNull(a[1]) ? toText(a[1]) : std::string();
    if (picture.empty())
        return toText(a[0]);
    return inStatement([&]() -> Value {
        if (const auto* text = std::get_if<std::string>(&a[0]))
            return vbrt::Format(*text, picture);
        if (std::holds_alternative<jet::Date>(a[0]))
            return vbrt::Format(vbDate(a[0]), picture);
        return vbrt::Format(toDouble(a[0]), picture);
    });
}

using Nulls = Function::Nulls;

constexpr Function kFunctions[] = {
    {"abs", 1, 1, {}, Nulls::GiveNull, absolute},
    {"cbool", 1, 1, ColumnType::Boolean, Nulls::Refused, convertTo<ColumnType::Boolean>},
    {"ccur", 1, 1, ColumnType::Currency, Nulls::Refused, convertTo<ColumnType::Currency>},
    {"cdate", 1, 1, ColumnType::DateTime, Nulls::Refused, convertTo<ColumnType::DateTime>},
    {"cdbl", 1, 1, ColumnType::Double, Nulls::Refused, convertTo<ColumnType::Double>},
    {"cint", 1, 1, ColumnType::Integer, Nulls::Refused, convertTo<ColumnType::Integer>},
    {"clng", 1, 1, ColumnType::Long, Nulls::Refused, convertTo<ColumnType::Long>},
    {"cstr", 1, 1, ColumnType::Text, Nulls::Refused, convertTo<ColumnType::Text>},
    {"date", 0, 0, ColumnType::DateTime, Nulls::Taken,
     [](Arguments) -> Value { return jet::Date{vbrt::Today().serial}; }},
    {"dateserial", 3, 3, ColumnType::DateTime, Nulls::Refused, dateSerial},
    {"day", 1, 1, ColumnType::Integer, Nulls::GiveNull, partOf<&vbrt::DateParts::day>},
    {"fix",
     1,
     1,
     {},
     Nulls::GiveNull,
     [](Arguments a) { return keepingType(a[0], [](double d) { return std::trunc(d); }); }},
    {"format", 1, 2, ColumnType::Text, Nulls::Taken, format},
    {"instr", 2, 4, ColumnType::Long, Nulls::GiveNull, inStr},
    {"int",
     1,
     1,
     {},
     Nulls::GiveNull,
     [](Arguments a) { return keepingType(a[0], [](double d) { return std::floor(d); }); }},
    {"isnull", 1, 1, ColumnType::Boolean, Nulls::Taken, [](Arguments a) { return Value(jet::isNull(a[0])); }},
    {"lcase", 1, 1, ColumnType::Text, Nulls::GiveNull,
     [](Arguments a) { return Value(changedCase(toText(a[0]), false)); }},
    {"left", 2, 2, ColumnType::Text, Nulls::GiveNull, leftOf},
    {"len", 1, 1, ColumnType::Long, Nulls::GiveNull,
     [](Arguments a) { return Value(static_cast<std::int32_t>(characters(toText(a[0])))); }},
    {"ltrim", 1, 1, ColumnType::Text, Nulls::GiveNull,
     [](Arguments a) { return Value(trimmed(toText(a[0]), true, false)); }},
    {"mid", 2, 3, ColumnType::Text, Nulls::GiveNull, middle},
    {"month", 1, 1, ColumnType::Integer, Nulls::GiveNull, partOf<&vbrt::DateParts::month>},
    {"now", 0, 0, ColumnType::DateTime, Nulls::Taken, [](Arguments) -> Value { return jet::Date{vbrt::Now().serial}; }},
    {"right", 2, 2, ColumnType::Text, Nulls::GiveNull, rightOf},
    {"round", 1, 2, {}, Nulls::GiveNull, roundTo},
    {"rtrim", 1, 1, ColumnType::Text, Nulls::GiveNull,
     [](Arguments a) { return Value(trimmed(toText(a[0]), false, true)); }},
    {"sgn", 1, 1, ColumnType::Integer, Nulls::GiveNull, sign},
    {"time", 0, 0, ColumnType::DateTime, Nulls::Taken, timeOfDay},
    {"trim", 1, 1, ColumnType::Text, Nulls::GiveNull,
     [](Arguments a) { return Value(trimmed(toText(a[0]), true, true)); }},
    {"ucase", 1, 1, ColumnType::Text, Nulls::GiveNull,
     [](Arguments a) { return Value(changedCase(toText(a[0]), true)); }},
    {"val", 1, 1, ColumnType::Double, Nulls::Refused, [](Arguments a) { return Value(vbrt::Val(toText(a[0]))); }},
    {"year", 1, 1, ColumnType::Integer, Nulls::GiveNull, partOf<&vbrt::DateParts::year>},
};

}  // namespace

const Function* findFunction(std::string_view name) {
    const auto* found = std::find_if(std::begin(kFunctions), std::end(kFunctions),
                                     [&](const Function& f) { return vbrt::equalsIgnoringCase(f.name, name); });
    return found == std::end(kFunctions) ? nullptr : found;
}

Value callFunction(const Function& function, std::span<const Value> arguments) {
    if (function.nulls != Nulls::Taken && std::any_of(arguments.begin(), arguments.end(), jet::isNull)) {
        if (function.nulls == Nulls::Refused)
            throw Error(Errc::InvalidNull);
        return {};
    }
    return function.call(arguments);
}

MaybeType numericType(MaybeType argument) {
    if (!argument || isInteger(*argument))
        return argument ? ColumnType::Long : argument;
    if (*argument == ColumnType::Currency || *argument == ColumnType::DateTime)
        return argument;
    return arithmeticType(Op::Divide, argument, argument);
}

}  // namespace jetsql
