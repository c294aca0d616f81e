// SPDX-License-Identifier: MIT
#include "jetsql/lexer.h"

#include "jetsql/error.h"
#include "vbrt/ascii.h"
#include "vbrt/convert.h"
#include "vbrt/decimal.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace jetsql {

namespace {

using Kind = Token::Kind;

using vbrt::isDigit;

bool isHexDigit(char c) {
    return isDigit(c) || (vbrt::toLower(c) >= 'a' && vbrt::toLower(c) <= 'f');
}

bool isLetter(char c) {
    return vbrt::isLetter(c) || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v';
}

class Lexer {
 public:
    explicit Lexer(std::string_view sql) : m_sql(sql) {}

    Token next() {
        while (m_at < m_sql.size() && isBlank(m_sql[m_at]))
            ++m_at;
        Token token;
        token.begin = m_at;
        if (m_at < m_sql.size())
            read(token);
        token.end = m_at;
        return token;
    }

 private:
    [[nodiscard]] char peek(std::size_t ahead = 0) const {
        return m_at + ahead < m_sql.size() ? m_sql[m_at + ahead] : '\0';
    }

    void read(Token& token) {
        const char c = peek();
        if (isLetter(c)) {
            readWord(token);
        } else if (isDigit(c) || (c == '.' && isDigit(peek(1)))) {
            readNumber(token);
        } else if (c == '&' && vbrt::toLower(peek(1)) == 'h' && isHexDigit(peek(2))) {
            readHex(token);
        } else if (c == '\'' || c == '"') {
            readString(token, c);
        } else if (c == '#') {
            readDate(token);
        } else if (c == '[') {
            readName(token, ']');
        } else if (c == '`') {
            readName(token, '`');
        } else {
            readSymbol(token);
        }
    }

    void readWord(Token& token) {
        while (m_at < m_sql.size() && (isLetter(m_sql[m_at]) || isDigit(m_sql[m_at])))
            ++m_at;
        token.kind = Kind::Word;
        token.text = m_sql.substr(token.begin, m_at - token.begin);
    }

    void readNumber(Token& token) {
        const auto number = vbrt::readDecimal(m_sql, m_at, vbrt::Commas::None);
        m_at = number->end;  // a digit is there
        token.kind = std::isinf(number->value) ? Kind::BadNumber : Kind::Literal;
        if (number->whole && number->value <= std::numeric_limits<std::int32_t>::max())
            token.value = static_cast<std::int32_t>(number->value);
        else
            token.value = number->value;
    }

    void readHex(Token& token) {
        const auto number = vbrt::readRadix(m_sql.substr(m_at));
        m_at += number->end;
        const bool fits = number->value <= std::numeric_limits<std::uint32_t>::max() && !number->tooLarge;
        token.kind = fits ? Kind::Literal : Kind::BadNumber;
        token.value = static_cast<std::int32_t>(static_cast<std::uint32_t>(number->value));
    }

    void readString(Token& token, char quote) {
        std::string text;
        for (++m_at; m_at < m_sql.size(); ++m_at) {
            if (m_sql[m_at] == quote) {
                if (peek(1) != quote) {
                    ++m_at;
                    token.kind = Kind::Literal;
                    token.value = std::move(text);
                    return;
                }
                ++m_at;
            }
            text += m_sql[m_at];
        }
        token.kind = Kind::BadString;
    }

    void readDate(Token& token) {
        token.kind = Kind::BadDate;
        const std::size_t close = m_sql.find('#', m_at + 1);
        if (close == std::string_view::npos) {
            m_at = m_sql.size();
            return;
        }
        const std::string_view text = m_sql.substr(m_at + 1, close - m_at - 1);
        m_at = close + 1;
        if (!vbrt::IsDate(text))
            return;
        token.kind = Kind::Literal;
        token.value = jet::Date{vbrt::CDate(text).serial};
    }

    void readName(Token& token, char closing) {
        const std::size_t close = m_sql.find(closing, m_at + 1);
        token.kind = Kind::BadName;
        if (close == std::string_view::npos) {
            m_at = m_sql.size();
            return;
        }
        token.text = m_sql.substr(m_at + 1, close - m_at - 1);
        m_at = close + 1;
        if (!token.text.empty())
            token.kind = Kind::Name;
    }

    void readSymbol(Token& token) {
        static constexpr std::string_view kPairs[] = {"<>", "<=", ">="};
        static constexpr std::string_view kSingles = "=<>+-*/\\^&(),.;!";
        token.kind = Kind::Symbol;
        for (const std::string_view pair : kPairs) {
            if (m_sql.substr(m_at, 2) == pair) {
                token.text = pair;
                m_at += 2;
                return;
            }
        }
        const char c = m_sql[m_at++];
        token.text = c;
        if (kSingles.find(c) == std::string_view::npos)
            token.kind = Kind::BadByte;
    }

    std::string_view m_sql;
    std::size_t m_at = 0;
};

}  // namespace

std::vector<Token> tokenize(std::string_view sql, std::size_t most) {
    std::vector<Token> tokens;
    Lexer lexer(sql);
    do {
        tokens.push_back(lexer.next());
    } while (tokens.back().kind != Kind::End && tokens.size() <= most);
    return tokens;
}

Script splitStatements(std::string_view text) {
    Script script;
    Lexer lexer(text);
    std::size_t begin = 0;
    bool empty = true;
    for (;;) {
        const Token token = lexer.next();
        const bool end = token.kind == Kind::End;
        if (end || (token.kind == Kind::Symbol && token.text == ";")) {
            if (!empty)
                script.statements.push_back(text.substr(begin, token.begin - begin));
            if (end)
                return script;
            begin = token.end;
            empty = true;
            continue;
        }
        empty = false;
        const char opening = text[token.begin];
        const char closing = opening == '[' ? ']' : opening;
        const bool badName =
            token.kind == Kind::BadName && text.find(closing, token.begin + 1) == std::string_view::npos;
        if (token.kind == Kind::BadString || badName)
            script.open = closing;
    }
}

TokenReader::TokenReader(std::string_view sql) : m_sql(sql), m_tokens(tokenize(sql, kMostTokens)) {
    if (m_tokens.back().kind != Kind::End)
        throw Error(Errc::UnsupportedSql, "more than " + std::to_string(kMostTokens) + " words and signs",
                    m_tokens.back().begin);
}

const Token& TokenReader::peek(std::size_t ahead) const {
    return m_tokens[std::min(m_at + ahead, m_tokens.size() - 1)];
}

bool TokenReader::isWord(std::string_view word, std::size_t ahead) const {
    return peek(ahead).kind == Kind::Word && vbrt::equalsIgnoringCase(peek(ahead).text, word);
}

bool TokenReader::isSymbol(std::string_view symbol, std::size_t ahead) const {
    const Token& token = peek(ahead);
    return (token.kind == Kind::Symbol || token.kind == Kind::BadByte) && token.text == symbol;
}

bool TokenReader::acceptWord(std::string_view word) {
    const bool found = isWord(word);
    m_at += found ? 1 : 0;
    return found;
}

bool TokenReader::acceptSymbol(std::string_view symbol) {
    const bool found = isSymbol(symbol);
    m_at += found ? 1 : 0;
    return found;
}

}  // namespace jetsql
