// SPDX-License-Identifier: MIT
// The one exception type of the engine: a code from a short closed list, and the names that a message needs.
//
// `what()` is for developers and the command line; the wording that a user reads is made elsewhere, from the code and
// the names. A failed operation leaves the file as it was before the statement: the caller rolls the transaction back.
#pragma once

#include <stdexcept>
#include <string>

#include "jet/values/types.h"

namespace jet {

enum class Errc {
    Io,                    // the disk failed
    DiskFull,              // no room left
    FileNotFound,          // `subject` is the path
    PathNotFound,          // a folder of the path is missing; `subject` is the path
    AccessDenied,          // the file exists but may not be read, or is a directory; `subject` is the path
    Busy,                  // another process holds the file; `subject` is the path
    Displaced,             // an open file was moved, replaced or overwritten by another program; `subject` is the path
    Unfinished,            // closed, but changes are in the log alone; `subject` is the path
    Rescued,               // Displaced found on closing; `subject` is the copy made, `table` the path
    NotRescued,            // the same, but no copy could be made; `subject` is the path
    NotADatabase,          // no Jet file at all; `subject` is the path
    UnsupportedVersion,    // a Jet file of another generation; `subject` is the path
    WrongPassword,         //
    Corrupt,               // the file breaks a rule of the format; `page` tells where
    ReadOnly,              // a change in a file opened for reading only
    UnsupportedSortOrder,  // a change in a table whose sort order is not General; `table`
    UnsupportedFeature,    // a change that the engine cannot make safely; `subject` says what
    NoSuchTable,           // `table`
    NoSuchColumn,          // `table`, `subject` is the column
    DuplicateKey,          // `table`, `subject` is the index
    ParentRequired,        // `table` is the referenced table that has no such row
    ChildrenExist,         // `table` is the referencing table that still has rows
    CascadeDuplicate,      // a cascade would make a duplicate; `table`
    NullInKey,             // Null in a primary key or required index; `table`, `subject` is the index
    RequiredNull,          // Null in a required column; `table`, `subject` is the column
    ZeroLength,            // '' where empty text is not allowed; `table`, `subject` is the column
    TooLong,               // text or binary longer than its column; `table`, `subject` is the column
    RowTooLarge,           // the row does not fit a page; `table`
    NotRepresentable,      // a character that code page 1252 lacks; `subject` is the character in UTF-8
    TypeMismatch,          // a value of the wrong type for its column; `table`, `subject` is the column
    OutOfRange,            // a number too large for its column; `table`, `subject` is the column
};

class Error : public std::runtime_error {
 public:
    explicit Error(Errc code, std::string subject = {}, std::string table = {}, PageNo page = 0)
        : std::runtime_error(describe(code, subject, table, page)),
          m_code(code),
          m_subject(std::move(subject)),
          m_table(std::move(table)),
          m_page(page) {}

    [[nodiscard]] Errc code() const { return m_code; }
    [[nodiscard]] const std::string& subject() const { return m_subject; }
    [[nodiscard]] const std::string& table() const { return m_table; }
    [[nodiscard]] PageNo page() const { return m_page; }

 private:
    static std::string describe(Errc code, const std::string& subject, const std::string& table, PageNo page);

    Errc m_code;
    std::string m_subject;
    std::string m_table;
    PageNo m_page;
};

// Throws Errc::Corrupt: `page` breaks the rule that `why` states.
[[noreturn]] void corrupt(PageNo page, const std::string& why);

}  // namespace jet
