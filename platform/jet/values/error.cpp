// SPDX-License-Identifier: MIT
#include "jet/values/error.h"

#include "jet/values/bytes.h"

namespace jet {

namespace {

const char* nameOf(Errc code) {
    switch (code) {
        case Errc::Io:
            return "disk error";
        case Errc::DiskFull:
            return "disk full";
        case Errc::FileNotFound:
            return "file not found";
        case Errc::PathNotFound:
            return "path not found";
        case Errc::AccessDenied:
            return "access denied";
        case Errc::Busy:
            return "file in use";
        case Errc::Displaced:
            return "the file was moved, deleted or replaced";
        case Errc::Unfinished:
            return "changes are in the log alone";
        case Errc::Rescued:
            return "the file was moved, deleted or replaced; a copy was made";
        case Errc::NotRescued:
            return "the file was moved, deleted or replaced; no copy could be made";
        case Errc::NotADatabase:
            return "not a database";
        case Errc::UnsupportedVersion:
            return "unsupported version of the format";
        case Errc::WrongPassword:
            return "wrong password";
        case Errc::Corrupt:
            return "file is damaged";
        case Errc::ReadOnly:
            return "file is open for reading only";
        case Errc::UnsupportedSortOrder:
            return "unsupported sort order";
        case Errc::UnsupportedFeature:
            return "unsupported feature";
        case Errc::NoSuchTable:
            return "no such table";
        case Errc::NoSuchColumn:
            return "no such column";
        case Errc::DuplicateKey:
            return "duplicate key";
        case Errc::ParentRequired:
            return "no related row in the referenced table";
        case Errc::ChildrenExist:
            return "related rows exist";
        case Errc::CascadeDuplicate:
            return "cascade would make a duplicate";
        case Errc::NullInKey:
            return "Null in a key";
        case Errc::RequiredNull:
            return "Null in a required column";
        case Errc::ZeroLength:
            return "empty text not allowed";
        case Errc::TooLong:
            return "value too long";
        case Errc::RowTooLarge:
            return "row too large";
        case Errc::NotRepresentable:
            return "character not in code page 1252";
        case Errc::TypeMismatch:
            return "type mismatch";
        case Errc::OutOfRange:
            return "number out of range";
    }
    return "unknown error";
}

}  // namespace

std::string Error::describe(Errc code, const std::string& subject, const std::string& table, PageNo page) {
    std::string text = nameOf(code);
    if (!table.empty())
        text += ", table " + table;
    if (page != 0)
        text += ", page " + std::to_string(page);
    if (!subject.empty())
        text += ": " + subject;
    return text;
}

void corrupt(PageNo page, const std::string& why) {
    throw Error(Errc::Corrupt, why, {}, page);
}

void outOfBounds() {
    throw Error(Errc::Corrupt, "a length or offset leads outside");
}

}  // namespace jet
