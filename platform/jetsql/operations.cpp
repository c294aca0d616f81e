// SPDX-License-Identifier: MIT
#include "jetsql/operations.h"

#include "jet/rows/table_def.h"
#include "jet/values/codepage.h"
#include "jet/values/error.h"
#include "jet/values/text_order.h"
#include "jetsql/error.h"
#include "vbrt/ascii.h"
#include "vbrt/convert.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace jetsql {

namespace {

constexpr std::int64_t kCurrencyUnit = 10'000;

[[noreturn]] void mismatch() {
    throw Error(Errc::TypeMismatch);
}
[[noreturn]] void overflow() {
    throw Error(Errc::Overflow);
}

bool isIntegerValue(const Value& v) {
    return std::holds_alternative<std::int32_t>(v) || std::holds_alternative<std::int16_t>(v) ||
           std::holds_alternative<std::uint8_t>(v) || std::holds_alternative<bool>(v);
}

// REQUIRES: isIntegerValue(v).
std::int32_t integerOf(const Value& v) {
    if (const auto* i = std::get_if<std::int32_t>(&v))
        return *i;
    if (const auto* s = std::get_if<std::int16_t>(&v))
        return *s;
    if (const auto* b = std::get_if<std::uint8_t>(&v))
        return *b;
    return std::get<bool>(v) ? -1 : 0;
}

bool isExact(const Value& v) {
    return isIntegerValue(v) || std::holds_alternative<jet::Currency>(v);
}

// Units of a Currency or a whole number.
std::int64_t unitsOf(const Value& v) {
    const auto* c = std::get_if<jet::Currency>(&v);
    return c ? c->units : integerOf(v) * kCurrencyUnit;
}

template <typename T>
Value checkedInteger(std::int64_t n) {
    if (n < std::numeric_limits<T>::min() || n > std::numeric_limits<T>::max())
        overflow();
    return static_cast<T>(n);
}

double finite(double d) {
    if (!std::isfinite(d))
        overflow();
    return d;
}

jet::Date checkedDate(double serial) {
    if (!vbrt::isInRange({serial}))
        overflow();
    return {serial};
}

template <typename T>
Value inRange(double d) {
    const double whole = std::nearbyint(d);  // halves to even
    if (!(whole >= std::numeric_limits<T>::min() && whole <= std::numeric_limits<T>::max()))
        overflow();
    return static_cast<T>(whole);
}

Value multiply(const Value& a, const Value& b) {
    if (isIntegerValue(a) && isIntegerValue(b))
        return checkedInteger<std::int32_t>(std::int64_t{integerOf(a)} * integerOf(b));
    if (isExact(a) && isExact(b))
        return toCurrency(toDouble(a) * toDouble(b));
    return finite(toDouble(a) * toDouble(b));
}

Value addOrSubtract(bool subtract, const Value& a, const Value& b) {
    const bool dateA = std::holds_alternative<jet::Date>(a);
    const bool dateB = std::holds_alternative<jet::Date>(b);
    if (!dateA && !dateB && isExact(a) && isExact(b)) {
        if (isIntegerValue(a) && isIntegerValue(b)) {
            const std::int64_t right = integerOf(b);
            return checkedInteger<std::int32_t>(integerOf(a) + (subtract ? -right : right));
        }
        std::int64_t units = 0;
        const bool lost = subtract ? __builtin_sub_overflow(unitsOf(a), unitsOf(b), &units)
                                   : __builtin_add_overflow(unitsOf(a), unitsOf(b), &units);
        if (lost)
            overflow();
        return jet::Currency{units};
    }
    const double result = finite(subtract ? toDouble(a) - toDouble(b) : toDouble(a) + toDouble(b));
    if ((dateA || dateB) && !(dateA && dateB && subtract))
        return checkedDate(result);
    return result;
}

Value divide(const Value& a, const Value& b) {
    const double divisor = toDouble(b);
    if (divisor == 0)
        throw Error(Errc::DivisionByZero);
    return finite(toDouble(a) / divisor);
}

Value divideIntegers(Op op, const Value& a, const Value& b) {
    const std::int64_t dividend = toLong(a);
    const std::int64_t divisor = toLong(b);
    if (divisor == 0)
        throw Error(Errc::DivisionByZero);
    return checkedInteger<std::int32_t>(op == Op::Mod ? dividend % divisor : dividend / divisor);
}

Value power(const Value& a, const Value& b) {
    const double base = toDouble(a);
    const double exponent = toDouble(b);
    if (base == 0 && exponent < 0)
        throw Error(Errc::DivisionByZero);
    const double result = std::pow(base, exponent);
    if (std::isnan(result))
        vbrt::raise(vbrt::kInvalidCall);
    return finite(result);
}

template <typename T>
int threeWay(const T& a, const T& b) {
    return a < b ? -1 : int{b < a};
}

bool isOperand(MaybeType t) {
    return !t || isNumber(*t) || isText(*t) || *t == ColumnType::DateTime;
}

}  // namespace

bool isText(ColumnType type) {
    return type == ColumnType::Text || type == ColumnType::Memo;
}

bool isInteger(ColumnType type) {
    return type == ColumnType::Boolean || type == ColumnType::Byte || type == ColumnType::Integer ||
           type == ColumnType::Long;
}

bool isNumber(ColumnType type) {
    return isInteger(type) || type == ColumnType::Currency || type == ColumnType::Single || type == ColumnType::Double;
}

void raiseInStatement(const vbrt::Error& e) {
    switch (e.number()) {
        case vbrt::kTypeMismatch:
            mismatch();
        case vbrt::kOverflow:
            overflow();
        case vbrt::kInvalidNull:
            throw Error(Errc::InvalidNull);
        default:
            throw e;
    }
}

double toDouble(const Value& v) {
    if (const auto* d = std::get_if<double>(&v))
        return *d;
    if (isIntegerValue(v))
        return integerOf(v);
    if (const auto* date = std::get_if<jet::Date>(&v))
        return date->serial;
    if (const auto* f = std::get_if<float>(&v))
        return static_cast<double>(*f);
    if (const auto* c = std::get_if<jet::Currency>(&v))
        return static_cast<double>(c->units) / kCurrencyUnit;
    if (const auto* text = std::get_if<std::string>(&v))
        return inStatement([&] { return vbrt::CDbl(*text); });
    mismatch();
}

std::int32_t toLong(const Value& v) {
    return isIntegerValue(v) ? integerOf(v) : std::get<std::int32_t>(inRange<std::int32_t>(toDouble(v)));
}

jet::Date toDate(const Value& v) {
    if (const auto* text = std::get_if<std::string>(&v))
        return {inStatement([&] { return vbrt::CDate(*text).serial; })};
    return checkedDate(toDouble(v));
}

std::string toText(const Value& v) {
    if (const auto* text = std::get_if<std::string>(&v))
        return *text;
    if (isIntegerValue(v))
        return vbrt::CStr(integerOf(v));
    if (const auto* c = std::get_if<jet::Currency>(&v))
        return jet::toText(*c);
    if (const auto* f = std::get_if<float>(&v))
        return vbrt::CStr(*f);
    if (const auto* date = std::get_if<jet::Date>(&v))
        return inStatement([&] { return vbrt::CStr(vbrt::Date{date->serial}); });
    return vbrt::CStr(toDouble(v));
}

bool toBoolean(const Value& v) {
    if (const auto* text = std::get_if<std::string>(&v)) {
        if (vbrt::equalsIgnoringCase(*text, "true"))
            return true;
        if (vbrt::equalsIgnoringCase(*text, "false"))
            return false;
    }
    return toDouble(v) != 0;
}

jet::Currency toCurrency(const Value& v) {
    if (isExact(v))
        return {unitsOf(v)};
    const double units = std::nearbyint(toDouble(v) * kCurrencyUnit);
    if (!(std::fabs(units) < 9.2e18))
        overflow();
    return {static_cast<std::int64_t>(units)};
}

Value convert(const Value& v, ColumnType type) {
    if (jet::isNull(v))
        return v;
    switch (type) {
        case ColumnType::Boolean:
            return toBoolean(v);
        case ColumnType::Byte:
            return inRange<std::uint8_t>(toDouble(v));
        case ColumnType::Integer:
            return inRange<std::int16_t>(toDouble(v));
        case ColumnType::Long:
            return toLong(v);
        case ColumnType::Currency:
            return toCurrency(v);
        case ColumnType::Single: {
            const auto single = static_cast<float>(toDouble(v));
            if (!std::isfinite(single))
                overflow();
            return single;
        }
        case ColumnType::Double:
            return toDouble(v);
        case ColumnType::DateTime:
            return toDate(v);
        case ColumnType::Text:
        case ColumnType::Memo:
            return toText(v);
        case ColumnType::Binary:
        case ColumnType::Ole:
            if (std::holds_alternative<jet::Bytes>(v))
                return v;
            break;
        case ColumnType::Guid:
            if (std::holds_alternative<jet::Guid>(v))
                return v;
            break;
    }
    mismatch();
}

Value convertFor(const Value& v, const jet::ColumnDef& column, const std::string& table) {
    if (jet::isNull(v))
        return column.type == ColumnType::Boolean ? Value(false) : v;
    try {
        return convert(v, column.type);
    } catch (const Error& e) {
        if (e.code() != Errc::Overflow)
            throw;
        throw jet::Error(jet::Errc::OutOfRange, column.name, table);
    }
}

std::optional<Value> keyValue(const Value& v, const jet::ColumnDef& column) {
    if (jet::isNull(v))
        return std::nullopt;
    try {
        Value key = convert(v, column.type);
        if (compare(key, v) != 0)  // 5.5 for a column of whole numbers
            return std::nullopt;
        const auto* text = std::get_if<std::string>(&key);
        jet::Bytes stored;
        if (text && !jet::tryToCodePage(*text, stored))
            return std::nullopt;
        return key;
    } catch (const Error& e) {
        if (e.code() != Errc::Overflow)
            throw;
        return std::nullopt;
    }
}

MaybeType arithmeticType(Op op, MaybeType a, MaybeType b) {
    if (!isOperand(a) || !isOperand(b))
        mismatch();
    if (op == Op::Concatenate)
        return ColumnType::Text;
    if (op == Op::IntegerDivide || op == Op::Mod)
        return ColumnType::Long;
    if (op == Op::Divide || op == Op::Power)
        return ColumnType::Double;
    const bool textA = a && isText(*a);
    const bool textB = b && isText(*b);
    if (op == Op::Add && textA && textB)
        return ColumnType::Text;
    const bool dateA = a == ColumnType::DateTime;
    const bool dateB = b == ColumnType::DateTime;
    if (op != Op::Multiply && (dateA || dateB))
        return dateA && dateB && op == Op::Subtract ? ColumnType::Double : ColumnType::DateTime;
    const auto exact = [](MaybeType t) { return !t || isInteger(*t) || *t == ColumnType::Currency; };
    if (!exact(a) || !exact(b))
        return ColumnType::Double;
    return a == ColumnType::Currency || b == ColumnType::Currency ? ColumnType::Currency : ColumnType::Long;
}

Value arithmetic(Op op, const Value& a, const Value& b) {
    const bool nullA = jet::isNull(a);
    const bool nullB = jet::isNull(b);
    if (nullA && nullB)
        return {};
    if (op == Op::Concatenate)
        return (nullA ? std::string() : toText(a)) + (nullB ? std::string() : toText(b));
    if (nullA || nullB)
        return {};
    switch (op) {
        case Op::Add:
            if (std::holds_alternative<std::string>(a) && std::holds_alternative<std::string>(b))
                return std::get<std::string>(a) + std::get<std::string>(b);
            return addOrSubtract(false, a, b);
        case Op::Subtract:
            return addOrSubtract(true, a, b);
        case Op::Multiply:
            return multiply(a, b);
        case Op::Divide:
            return divide(a, b);
        case Op::Power:
            return power(a, b);
        default:
            return divideIntegers(op, a, b);
    }
}

MaybeType negatedType(MaybeType type) {
    return type ? arithmeticType(Op::Subtract, ColumnType::Long,
                                 *type == ColumnType::DateTime ? ColumnType::Double : *type)
                : type;
}

Value negated(const Value& v) {
    if (jet::isNull(v))
        return v;
    if (isExact(v))
        return addOrSubtract(true, Value(std::int32_t{0}), v);
    return 0 - toDouble(v);  // never -0
}

void requireComparable(MaybeType a, MaybeType b) {
    if (!a || !b)
        return;
    const auto family = [](ColumnType t) {
        if (isNumber(t))
            return ColumnType::Double;
        if (isText(t))
            return ColumnType::Text;
        return t == ColumnType::Ole ? ColumnType::Binary : t;
    };
    const ColumnType x = family(*a);
    const ColumnType y = family(*b);
    const bool dateMeets = (x == ColumnType::DateTime && (y == ColumnType::Text || y == ColumnType::Double)) ||
                           (y == ColumnType::DateTime && (x == ColumnType::Text || x == ColumnType::Double));
    if (x != y && !dateMeets)
        mismatch();
}

int compare(const Value& a, const Value& b) {
    const auto* textA = std::get_if<std::string>(&a);
    const auto* textB = std::get_if<std::string>(&b);
    if (textA && textB)
        return jet::compareText(*textA, *textB);
    if (textA && std::holds_alternative<jet::Date>(b))
        return compare(toDate(a), b);
    if (textB && std::holds_alternative<jet::Date>(a))
        return compare(a, toDate(b));
    if (textA || textB)
        mismatch();
    if (isExact(a) && isExact(b))
        return threeWay(unitsOf(a), unitsOf(b));
    if (a.index() == b.index()) {
        if (const auto* bytes = std::get_if<jet::Bytes>(&a))
            return threeWay(*bytes, std::get<jet::Bytes>(b));
        if (const auto* guid = std::get_if<jet::Guid>(&a))
            return threeWay(guid->bytes, std::get<jet::Guid>(b).bytes);
    }
    return threeWay(toDouble(a), toDouble(b));
}

MaybeType commonType(MaybeType a, MaybeType b) {
    if (!a || !b || a == b)
        return a ? a : b;
    const auto one = [&](ColumnType t) { return a == t || b == t; };
    if (!isOperand(a) || !isOperand(b))
        mismatch();
    if (isText(*a) || isText(*b))
        return one(ColumnType::Memo) ? ColumnType::Memo : ColumnType::Text;
    if (one(ColumnType::DateTime))
        return ColumnType::DateTime;
    if (isInteger(*a) && isInteger(*b))
        return one(ColumnType::Long) ? ColumnType::Long : ColumnType::Integer;
    const bool wholeOrCurrency =
        (isInteger(*a) || a == ColumnType::Currency) && (isInteger(*b) || b == ColumnType::Currency);
    return wholeOrCurrency ? ColumnType::Currency : ColumnType::Double;
}

Truth truthOf(const Value& v) {
    return jet::isNull(v) ? Truth::Unknown : truth(toBoolean(v));
}

Value toValue(Truth t) {
    return t == Truth::Unknown ? Value() : Value(t == Truth::True);
}

std::size_t characterLength(std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    const std::size_t length = first >= 0xF0 ? 4U : first >= 0xE0 ? 3U : first >= 0xC0 ? 2U : 1U;
    if (length > text.size())
        return 1;
    for (std::size_t i = 1; i < length; ++i) {
        if ((static_cast<unsigned char>(text[i]) & 0xC0U) != 0x80U)
            return 1;
    }
    return length;
}

namespace {

bool sameCharacter(std::string_view a, std::string_view b) {
    if (a.size() == 1 && b.size() == 1)
        return vbrt::toLower(a.front()) == vbrt::toLower(b.front());
    return a == b || (a.size() > 1 && b.size() > 1 && jet::equalText(a, b));
}

// Whether `c` is in the set that `pattern` begins with, such as [!a-c]; `length` gets the length of the set. Without a
// closing bracket "[" stands for itself; `lastClose` is the last of the whole pattern, or nullptr.
bool inSet(std::string_view c, std::string_view pattern, const char* lastClose, std::size_t& length) {
    const std::size_t close = lastClose > pattern.data() ? pattern.find(']', 1) : std::string_view::npos;
    if (close == std::string_view::npos) {
        length = 1;
        return c == "[";
    }
    length = close + 1;
    std::string_view set = pattern.substr(1, close - 1);
    const bool excluded = set.size() > 1 && set.front() == '!';
    if (excluded)
        set.remove_prefix(1);
    bool found = false;
    while (!set.empty() && !found) {
        const std::string_view first = set.substr(0, characterLength(set));
        set.remove_prefix(first.size());
        if (set.size() > 1 && set.front() == '-') {
            set.remove_prefix(1);
            const std::string_view last = set.substr(0, characterLength(set));
            set.remove_prefix(last.size());
            found = jet::compareText(first, c) <= 0 && jet::compareText(c, last) <= 0;
        } else {
            found = sameCharacter(first, c);
        }
    }
    return found != excluded;
}

// Whether one character of the pattern (which is not "*") takes the first of `text`; `length` gets its length.
bool matchesOne(std::string_view text, std::string_view pattern, const char* lastClose, std::size_t& length) {
    const std::string_view c = text.substr(0, characterLength(text));
    length = characterLength(pattern);
    switch (pattern.front()) {
        case '?':
            return true;
        case '#':
            return vbrt::isDigit(c.front());
        case '[':
            return inSet(c, pattern, lastClose, length);
        default:
            return sameCharacter(c, pattern.substr(0, length));
    }
}

}  // namespace

bool like(std::string_view text, std::string_view pattern) {
    if (pattern.size() > kMaxPattern)
        throw Error(Errc::UnsupportedSql, "LIKE with a pattern of more than " + std::to_string(kMaxPattern) + " bytes");
    const std::size_t close = pattern.rfind(']');
    const char* const lastClose = close == std::string_view::npos ? nullptr : pattern.data() + close;
    std::string_view retryText;  // where the last "*" stands: it may take one character more
    std::string_view retryPattern;
    bool starred = false;
    for (;;) {
        if (!pattern.empty() && pattern.front() == '*') {
            pattern.remove_prefix(1);
            starred = true;
            retryPattern = pattern;
            retryText = text;
            continue;
        }
        if (text.empty() && pattern.empty())
            return true;
        std::size_t length = 0;
        if (!text.empty() && !pattern.empty() && matchesOne(text, pattern, lastClose, length)) {
            text.remove_prefix(characterLength(text));
            pattern.remove_prefix(length);
            continue;
        }
        if (!starred || retryText.empty())
            return false;
        retryText.remove_prefix(characterLength(retryText));
        text = retryText;
        pattern = retryPattern;
    }
}

}  // namespace jetsql
