// SPDX-License-Identifier: MIT
// The one place that turns what the engine throws into the numbers and texts that a user sees.
//
// docs/errors.md lists them. Whatever leaves platform/ado is a vbrt::Error.
#pragma once

#include <utility>

#include "vbrt/error.h"

namespace ado {

inline constexpr long kWrongArgument = 3001;      // Arguments are of the wrong type, ...
inline constexpr long kNoCurrentRecord = 3021;    // Either BOF or EOF is True, ...
inline constexpr long kNotAllowedHere = 3219;     // Operation is not allowed in this context.
inline constexpr long kNoSuchItem = 3265;         // Item cannot be found in the collection ...
inline constexpr long kObjectClosed = 3704;       // Operation is not allowed when the object is closed.
inline constexpr long kObjectOpen = 3705;         // Operation is not allowed when the object is open.
inline constexpr long kNoProvider = 3706;         // Provider cannot be found. ...
inline constexpr long kInvalidConnection = 3709;  // The connection cannot be used to perform this operation. ...

inline constexpr long kJetError = -2147467259;        // the number that most errors of the database have
inline constexpr long kDatabaseExists = -2147217897;  // Database already exists.
inline constexpr long kOnlyForward = -2147217884;     // Rowset does not support fetching backward.
inline constexpr long kBadConnectionString = -2147217805;
inline constexpr long kBadConnectionValue = -2147217887;
inline constexpr long kBadAccount = -2147217843;

// Throws one of the errors above with its text; other numbers as vbrt::raise does.
[[noreturn]] void raise(long number);

// The exception being handled as number and description, of whatever type it is.
// REQUIRES: called while an exception is being handled.
vbrt::Error currentError();

// Calls `work` and lets nothing but vbrt::Error out.
template <class Work>
decltype(auto) guarded(Work&& work) {
    try {
        return std::forward<Work>(work)();
    } catch (...) {
        throw currentError();
    }
}

}  // namespace ado
