// SPDX-License-Identifier: MIT
// Splits the text of a statement into tokens.
//
// Nothing here throws: what cannot be read becomes a token of a Bad kind, so that the parser, which knows the clause
// that it is in, says what is wrong. Offsets are bytes of the statement; any byte from 80 hex on counts as a letter.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "jet/values/value.h"

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

// The last token is End, unless there are more than `most`.
std::vector<Token> tokenize(std::string_view sql, std::size_t most = static_cast<std::size_t>(-1));

// A text cut at the semicolons that stand outside quotes and brackets, without them; empty statements are left out.
struct Script {
    std::vector<std::string_view> statements;
    char open = 0;  // what would close the quote or bracket that the last one leaves open, if any
};
Script splitStatements(std::string_view text);

// Goes through the tokens of one statement; a parser adds what the tokens mean. Borrows the text.
class TokenReader {
 public:
    // What is longer takes many times its size in memory before it turns out to mean nothing.
    static constexpr std::size_t kMostTokens = 50'000;

    // Throws UnsupportedSql for more tokens than that.
    explicit TokenReader(std::string_view sql);

    // End from the last token on.
    [[nodiscard]] const Token& peek(std::size_t ahead = 0) const;
    [[nodiscard]] bool isWord(std::string_view word, std::size_t ahead = 0) const;
    // Also a character that means nothing in SQL, such as a brace.
    [[nodiscard]] bool isSymbol(std::string_view symbol, std::size_t ahead = 0) const;
    bool acceptWord(std::string_view word);
    bool acceptSymbol(std::string_view symbol);

 protected:
    std::string_view m_sql;
    std::vector<Token> m_tokens;
    std::size_t m_at = 0;
};

}  // namespace jetsql
