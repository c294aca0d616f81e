// SPDX-License-Identifier: MIT
// Splits the text of a statement into tokens.
//
// Nothing here throws: what cannot be read becomes a token of a Bad kind, so that the parser, which knows the clause
// that it is in, says what is wrong. Offsets are bytes of the statement; any byte from 80 hex on counts as a letter.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "jet/value.h"

namespace jetsql {

struct Token {
    enum class Kind {
        End,
        Word,       // a bare name or keyword; `text` as written
        Name,       // [name] or `name`; `text` without the brackets
        Literal,    // a number, text or date; `value`
        Symbol,     // an operator or punctuation; `text`
        BadString,  // a quote that is never closed
        BadDate,    // # that is never closed, or no date inside
        BadNumber,  // a number too large for a double
        BadName,    // [ that is never closed, or nothing inside
        BadByte,    // a character that means nothing here
    };

    Kind kind = Kind::End;
    std::size_t begin = 0;
    std::size_t end = 0;
    std::string text;
    jet::Value value;
};

// The last token is always End.
std::vector<Token> tokenize(std::string_view sql);

}  // namespace jetsql
