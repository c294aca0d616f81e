// SPDX-License-Identifier: MIT
// The functions that an expression can call, IIf and the aggregates aside.
//
// Null gives Null, but IsNull and Format take it and the conversions (CDbl, CDate, Val, ...) refuse it with
// InvalidNull. Texts count in characters.
#pragma once

#include <span>
#include <string_view>

#include "jetsql/operations.h"

namespace jetsql {

struct Function {
    std::string_view name;  // lower case
    std::size_t minArguments;
    std::size_t maxArguments;
    // The type of the result; nothing when it is that of the first argument as a number (Abs, Int, ...).
    MaybeType type;
    enum class Nulls { GiveNull, Refused, Taken } nulls;
    Value (*call)(std::span<const Value> arguments);
};

inline constexpr std::size_t kMaxArguments = 4;

// By name, ignoring case; nothing when there is none.
const Function* findFunction(std::string_view name);
// Throws jetsql::Error and, for arguments that make no sense such as Left('a', -1), vbrt::Error.
Value callFunction(const Function& function, std::span<const Value> arguments);
// The type of Abs, Int, ... for an argument of that type.
MaybeType numericType(MaybeType argument);

}  // namespace jetsql
