// SPDX-License-Identifier: MIT
// The error that a user is shown: a number and a description.
//
// Everything from platform/ado upwards throws this type and nothing else; the numbers and texts of the run-time errors
// (6 Overflow, 13 Type mismatch, 94 Invalid use of Null, ...) are listed in docs/errors.md.
#pragma once

#include <exception>
#include <string>

namespace vbrt {

class Error : public std::exception {
 public:
    Error(long number, std::string description) : m_number(number), m_description(std::move(description)) {}

    [[nodiscard]] long number() const { return m_number; }
    [[nodiscard]] const std::string& description() const { return m_description; }
    [[nodiscard]] const char* what() const noexcept override { return m_description.c_str(); }

 private:
    long m_number;
    std::string m_description;  // UTF-8
};

inline constexpr long kInvalidCall = 5;
inline constexpr long kOverflow = 6;
inline constexpr long kDivisionByZero = 11;
inline constexpr long kTypeMismatch = 13;
inline constexpr long kFileNotFound = 53;
inline constexpr long kDiskFull = 61;
inline constexpr long kPermissionDenied = 70;
inline constexpr long kPathFileAccess = 75;
inline constexpr long kPathNotFound = 76;
inline constexpr long kObjectNotSet = 91;
inline constexpr long kInvalidNull = 94;

// Throws the run-time error of that number with its standard text ("Application-defined or object-defined error" for
// numbers without one).
[[noreturn]] void raise(long number);
// The standard text of a run-time error.
std::string standardText(long number);

}  // namespace vbrt
