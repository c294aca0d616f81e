// SPDX-License-Identifier: MIT
// What the operators of the dialect do with values, and which type comes out.
//
// Types: whole numbers calculate as Long, "/" and "^" give Double, Currency stays Currency with whole numbers, a date
// plus a number is a date, text meets a number as a number. Null makes the result Null, but "&" takes it for an empty
// text. The type found beforehand and the type of the value agree. Throws jetsql::Error: TypeMismatch,
// DivisionByZero, Overflow, InvalidNull.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "jet/values/value.h"
#include "jetsql/ast.h"
#include "vbrt/error.h"

namespace jet {
struct ColumnDef;
}

namespace jetsql {

using jet::ColumnType;
using jet::Value;

// Nothing is the type of a bare Null.
using MaybeType = std::optional<ColumnType>;

bool isText(ColumnType type);     // Text, Memo
bool isInteger(ColumnType type);  // Boolean, Byte, Integer, Long
bool isNumber(ColumnType type);   // those, Currency, Single, Double

// --- conversions; none of them takes Null

double toDouble(const Value& v);           // text as CDbl, a date as its serial, True as -1
std::int32_t toLong(const Value& v);       // halves to even
jet::Date toDate(const Value& v);          // text as CDate, a number as the serial
std::string toText(const Value& v);        // CStr, but True is -1
bool toBoolean(const Value& v);            // a number other than 0
jet::Currency toCurrency(const Value& v);  // halves to even
// `v` as that type; Null stays Null. For texts that the user typed, numbers that are assigned, branches of IIf.
Value convert(const Value& v, ColumnType type);
// As stored in this column. Throws jet::Error OutOfRange, naming it.
Value convertFor(const Value& v, const jet::ColumnDef& column, const std::string& table);
// The value to look up in an index of this column; nothing when no row can equal `v`.
std::optional<Value> keyValue(const Value& v, const jet::ColumnDef& column);

// --- operators

// The type of an arithmetic operator or "&". Throws TypeMismatch.
MaybeType arithmeticType(Op op, MaybeType a, MaybeType b);
Value arithmetic(Op op, const Value& a, const Value& b);
MaybeType negatedType(MaybeType type);
Value negated(const Value& v);

// Throws TypeMismatch for types that cannot be compared, such as text with a number.
void requireComparable(MaybeType a, MaybeType b);
// Negative, 0, positive; text by the order of the file, a text as a date where the other side is one. REQUIRES: no
// Null.
int compare(const Value& a, const Value& b);

// The longest pattern of LIKE, in bytes: it may be compared once for each character of a text.
inline constexpr std::size_t kMaxPattern = 4096;
// * any text, ? a character, # a digit, [a-c] one of, [!a-c] none of. Ignores case. Throws UnsupportedSql.
bool like(std::string_view text, std::string_view pattern);

// The type that holds values of both, for the branches of IIf.
MaybeType commonType(MaybeType a, MaybeType b);

enum class Truth { False, True, Unknown };
Truth truthOf(const Value& v);
inline Truth truth(bool b) {
    return b ? Truth::True : Truth::False;
}
Value toValue(Truth t);

// Throws what a statement says instead of the errors 6, 13 and 94; others go on as they are.
[[noreturn]] void raiseInStatement(const vbrt::Error& e);

// Calls `f`, which converts, and words its errors as those of a statement.
template <typename F>
auto inStatement(F&& f) {
    try {
        return f();
    } catch (const vbrt::Error& e) {
        raiseInStatement(e);
    }
}

// --- UTF-8

// The bytes of the character at the beginning; 1 for a byte that begins none. REQUIRES: text is not empty.
std::size_t characterLength(std::string_view text);

}  // namespace jetsql
