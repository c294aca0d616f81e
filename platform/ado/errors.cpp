// SPDX-License-Identifier: MIT
#include "ado/errors.h"

#include <cstdint>
#include <cstdio>
#include <new>
#include <string_view>

#include "jet/values/error.h"
#include "jetsql/error.h"

namespace ado {
namespace {

// Sentences in the texts of the database are two blanks apart, as they have always been.
// %t stands for the table, %s for the subject (a column, path, expression, ...), %p for the page.
struct Wording {
    long number;
    const char* text;
};

constexpr long kCommandError = -2147217900;
constexpr long kNoParameterValue = -2147217904;
constexpr long kCannotConvert = -2147217913;
constexpr long kValueTooLarge = -2147217833;
constexpr long kNoSuchTable = -2147217865;

constexpr long kOutOfMemory = 7;
constexpr long kInternalError = 51;

Wording wordingOf(jet::Errc code) {
    using enum jet::Errc;
    switch (code) {
        case Io:
            return {kJetError, "Disk or network error."};
        case DiskFull:
            return {kJetError, "Not enough space on disk."};
        case FileNotFound:
            return {kJetError, "Could not find file '%s'."};
        case PathNotFound:
            return {kJetError,
                    "'%s' is not a valid path.  Make sure that the path name is spelled correctly and that you are "
                    "connected to the server on which the file resides."};
        case AccessDenied:
            return {kJetError,
                    "The Microsoft Jet database engine cannot open the file '%s'.  It is already opened exclusively by "
                    "another user, or you need permission to view its data."};
        case Busy:
            return {kJetError, "Could not use '%s'; file already in use."};
        case Displaced:
            return {kJetError,
                    "The file '%s' was moved, deleted or replaced by another program while it was open.  Nothing was "
                    "changed.  Save a copy to keep what is open."};
        case Unfinished:
            return {kJetError,
                    "Some changes could not be written into '%s'.  They are safe in the file beside it whose name ends "
                    "in -log.  Leave both where they are, and open the database again."};
        case Rescued:
            return {kJetError,
                    "The file '%t' was moved, deleted or replaced by another program while it was open.  What was open "
                    "has been saved as '%s'."};
        case NotRescued:
            return {kJetError,
                    "The file '%s' was moved, deleted or replaced by another program while it was open, and what was "
                    "open could not be saved beside it."};
        case NotADatabase:
        case UnsupportedVersion:
            return {kJetError, "Unrecognized database format '%s'."};
        case WrongPassword:
            return {kBadAccount, "Not a valid password."};
        case Corrupt:
            return {kJetError, "The database file is damaged (page %p): %s."};
        case ReadOnly:
            return {kJetError, "Operation must use an updateable query."};
        case UnsupportedSortOrder:
            return {kJetError, "Table '%t' cannot be changed, because its sort order is not General."};
        case UnsupportedFeature:
            return {kJetError, "This change of the database is not supported: %s."};
        case NoSuchTable:
            return {kNoSuchTable,
                    "The Microsoft Jet database engine cannot find the input table or query '%t'.  Make sure it exists "
                    "and that its name is spelled correctly."};
        case NoSuchColumn:
            return {kNoParameterValue, "No value given for one or more required parameters."};
        case DuplicateKey:
            return {kJetError,
                    "The changes you requested to the table were not successful because they would create duplicate "
                    "values in the index, primary key, or relationship.  Change the data in the field or fields that "
                    "contain duplicate data, remove the index, or redefine the index to permit duplicate entries and "
                    "try again."};
        case ParentRequired:
            return {kJetError, "You cannot add or change a record because a related record is required in table '%t'."};
        case ChildrenExist:
            return {kJetError, "The record cannot be deleted or changed because table '%t' includes related records."};
        case CascadeDuplicate:
            return {kJetError,
                    "Cannot perform cascading operation.  It would result in a duplicate key in table '%t'."};
        case NullInKey:
            return {kJetError, "Index or primary key cannot contain a Null value."};
        case RequiredNull:
            return {kJetError,
                    "The field '%t.%s' cannot contain a Null value because the Required property for this field is set "
                    "to True.  Enter a value in this field."};
        case ZeroLength:
            return {kJetError, "Field '%t.%s' cannot be a zero-length string."};
        case TooLong:
            return {kValueTooLarge,
                    "The field is too small to accept the amount of data you attempted to add.  Try inserting or "
                    "pasting less data."};
        case RowTooLarge:
            return {kJetError, "Record is too large."};
        case NotRepresentable:
            return {kCannotConvert,
                    "The character '%s' (%u) cannot be stored: the database has the characters of code page 1252 "
                    "only."};
        case TypeMismatch:
            return {kCannotConvert, "Data type mismatch in criteria expression."};
        case OutOfRange:
            return {kValueTooLarge, "Numeric field overflow."};
    }
    return {kInternalError, "Internal error"};
}

Wording wordingOf(jetsql::Errc code) {
    using enum jetsql::Errc;
    switch (code) {
        case SyntaxInsert:
            return {kCommandError, "Syntax error in INSERT INTO statement."};
        case SyntaxUpdate:
            return {kCommandError, "Syntax error in UPDATE statement."};
        case SyntaxDelete:
            return {kCommandError, "Syntax error in DELETE statement."};
        case SyntaxFrom:
            return {kCommandError, "Syntax error in FROM clause."};
        case SyntaxSelect:
            return {kCommandError,
                    "The SELECT statement includes a reserved word or an argument name that is misspelled or missing, "
                    "or the punctuation is incorrect."};
        case SyntaxMissingOperator:
            return {kCommandError, "Syntax error (missing operator) in query expression '%s'."};
        case SyntaxString:
            return {kCommandError, "Syntax error in string in query expression '%s'."};
        case SyntaxDate:
            return {kCommandError, "Syntax error in date in query expression '%s'."};
        case SyntaxOther:
            return {kCommandError, "Invalid SQL statement; expected 'DELETE', 'INSERT', 'SELECT', or 'UPDATE'."};
        case UnsupportedSql:
            return {kCommandError, "Syntax error in query expression '%s'."};
        case MissingParameter:
            return {kNoParameterValue, "No value given for one or more required parameters."};
        case AmbiguousColumn:
            return {kCommandError,
                    "The specified field '%s' could refer to more than one table listed in the FROM clause of your SQL "
                    "statement."};
        case UnknownInsertColumn:
            return {kCommandError,
                    "The INSERT INTO statement contains the following unknown field name: '%s'.  Make sure you have "
                    "typed the name correctly, and try the operation again."};
        case ValueCount:
            return {kCommandError, "Number of query values and destination fields are not the same."};
        case UnknownTable:
            return {kNoSuchTable,
                    "The Microsoft Jet database engine cannot find the input table or query '%s'.  Make sure it exists "
                    "and that its name is spelled correctly."};
        case NotAggregated:
            return {-2147217887,
                    "You tried to execute a query that does not include the specified expression '%s' as part of an "
                    "aggregate function."};
        case CircularAlias:
            return {kCommandError, "Circular reference caused by alias '%s' in query definition's SELECT list."};
        case DuplicateOutput:
            return {kCommandError, "Duplicate output destination '%s'."};
        case AggregateMisplaced:
            return {kCommandError, "Cannot have aggregate function in expression (%s)."};
        case UndefinedFunction:
            return {kCommandError, "Undefined function '%s' in expression."};
        case WrongArgumentCount:
            return {kCommandError, "Wrong number of arguments used with function in query expression '%s'."};
        case TypeMismatch:
            return {kCannotConvert, "Data type mismatch in criteria expression."};
        case DivisionByZero:
            return {vbrt::kDivisionByZero, "Division by zero"};
        case Overflow:
            return {vbrt::kOverflow, "Overflow"};
        case InvalidNull:
            return {vbrt::kInvalidNull, "Invalid use of Null"};
        case NotUpdatable:
            return {kJetError, "Operation must use an updateable query."};
    }
    return {kInternalError, "Internal error"};
}

const char* ownText(long number) {
    switch (number) {
        case kWrongArgument:
            return "Arguments are of the wrong type, are out of acceptable range, or are in conflict with one another.";
        case kNoCurrentRecord:
            return "Either BOF or EOF is True, or the current record has been deleted. Requested operation requires a "
                   "current record.";
        case kNotAllowedHere:
            return "Operation is not allowed in this context.";
        case kNoSuchItem:
            return "Item cannot be found in the collection corresponding to the requested name or ordinal.";
        case kObjectClosed:
            return "Operation is not allowed when the object is closed.";
        case kObjectOpen:
            return "Operation is not allowed when the object is open.";
        case kNoProvider:
            return "Provider cannot be found. It may not be properly installed.";
        case kInvalidConnection:
            return "The connection cannot be used to perform this operation. It is either closed or invalid in this "
                   "context.";
        case kDatabaseExists:
            return "Database already exists.";
        case kOnlyForward:
            return "Rowset does not support fetching backward.";
        case kBadConnectionString:
            return "The format of the connection string is not valid.";
        case kBadConnectionValue:
            return "Multiple-step OLE DB operation generated errors. Check each OLE DB status value, if available. No "
                   "work was done.";
        case kBadAccount:
            return "Not a valid account name or password.";
        default:
            return nullptr;
    }
}

// "U+2713" for the first character of a UTF-8 text.
std::string codePointName(std::string_view utf8) {
    if (utf8.empty())
        return "U+0000";
    const auto lead = static_cast<unsigned char>(utf8[0]);
    std::uint32_t code = lead;
    if (lead >= 0xF0)
        code = lead & 0x07U;
    else if (lead >= 0xE0)
        code = lead & 0x0FU;
    else if (lead >= 0xC0)
        code = lead & 0x1FU;
    for (std::size_t i = 1; i < utf8.size() && (static_cast<unsigned char>(utf8[i]) & 0xC0U) == 0x80U; ++i)
        code = code << 6U | (static_cast<unsigned char>(utf8[i]) & 0x3FU);
    char name[16];
    std::snprintf(name, sizeof name, "U+%04X", code);
    return name;
}

vbrt::Error worded(const Wording& wording, const std::string& subject, const std::string& table, jet::PageNo page) {
    std::string text;
    for (const char* p = wording.text; *p != '\0'; ++p) {
        if (*p != '%') {
            text += *p;
            continue;
        }
        switch (*++p) {
            case 's':
                text += subject;
                break;
            case 't':
                text += table;
                break;
            case 'p':
                text += std::to_string(page);
                break;
            case 'u':
                text += codePointName(subject);
                break;
        }
    }
    return {wording.number, text};
}

}  // namespace

void raise(long number) {
    if (const char* text = ownText(number))
        throw vbrt::Error(number, text);
    vbrt::raise(number);
}

vbrt::Error currentError() {
    try {
        throw;
    } catch (const vbrt::Error& e) {
        return e;
    } catch (const jet::Error& e) {
        return worded(wordingOf(e.code()), e.subject(), e.table(), e.page());
    } catch (const jetsql::Error& e) {
        return worded(wordingOf(e.code()), e.subject(), {}, 0);
    } catch (const std::bad_alloc&) {
        return {kOutOfMemory, "Out of memory"};
    } catch (const std::exception& e) {
        return {kInternalError, std::string("Internal error: ") + e.what()};
    } catch (...) {
        return {kInternalError, "Internal error"};
    }
}

}  // namespace ado
