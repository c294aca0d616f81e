// SPDX-License-Identifier: MIT
// What is wrong with a statement. Errors of the file come through as jet::Error, of conversions as vbrt::Error.
#pragma once

#include <stdexcept>
#include <string>

namespace jetsql {

enum class Errc {
    SyntaxInsert,           // Syntax error in INSERT INTO statement.
    SyntaxUpdate,           // Syntax error in UPDATE statement.
    SyntaxDelete,           // Syntax error in DELETE statement.
    SyntaxFrom,             // Syntax error in FROM clause.
    SyntaxSelect,           // The SELECT statement includes a reserved word ...
    SyntaxMissingOperator,  // Syntax error (missing operator) in query expression '<subject>'.
    SyntaxString,           // Syntax error in string in query expression '<subject>'.
    SyntaxDate,             // Syntax error in date in query expression '<subject>'.
    SyntaxOther,            // Invalid SQL statement; expected 'DELETE', 'INSERT', 'SELECT', or 'UPDATE'.
    UnsupportedSql,         // outside the supported grammar; `subject` names the place
    MissingParameter,       // a name that is no column: No value given for one or more required parameters.
    AmbiguousColumn,        // `subject` may refer to more than one table
    UnknownInsertColumn,    // `subject`
    ValueCount,             // Number of query values and destination fields are not the same.
    UnknownTable,           // `subject`
    NotAggregated,          // `subject`
    CircularAlias,          // `subject`
    DuplicateOutput,        // `subject`: an alias or destination given twice
    AggregateMisplaced,     // an aggregate in WHERE and the like; `subject`
    UndefinedFunction,      // `subject`
    WrongArgumentCount,     // `subject`
    TypeMismatch,           // Data type mismatch in criteria expression.
    DivisionByZero,
    Overflow,
    InvalidNull,   // CDbl(Null) and the like
    NotUpdatable,  // Operation must use an updateable query.
};

class Error : public std::runtime_error {
 public:
    // `position` is the offset in the statement where the trouble starts.
    explicit Error(Errc code, std::string subject = {}, std::size_t position = 0)
        : std::runtime_error("SQL error: " + subject),
          m_code(code),
          m_subject(std::move(subject)),
          m_position(position) {}

    [[nodiscard]] Errc code() const { return m_code; }
    [[nodiscard]] const std::string& subject() const { return m_subject; }
    [[nodiscard]] std::size_t position() const { return m_position; }

 private:
    Errc m_code;
    std::string m_subject;
    std::size_t m_position;
};

}  // namespace jetsql
