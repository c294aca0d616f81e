// SPDX-License-Identifier: MIT
#include "jetsql/lexer.h"

#include "vbrt/ascii.h"
#include "vbrt/convert.h"

#include <algorithm>
#include <charconv>

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

    void skipDigits() {
        while (isDigit(peek()))
            ++m_at;
    }

    void readNumber(Token& token) {
        skipDigits();
        const bool whole = peek() != '.';
        if (!whole) {
            ++m_at;
            skipDigits();
        }
        bool exponent = false;
        if (vbrt::toLower(peek()) == 'e') {
            const std::size_t sign = peek(1) == '+' || peek(1) == '-' ? 1 : 0;
            exponent = isDigit(peek(1 + sign));
            if (exponent) {
                m_at += 1 + sign;
                skipDigits();
            }
        }
        token.kind = Kind::Literal;
        const char* first = m_sql.data() + token.begin;
        const char* last = m_sql.data() + m_at;
        std::int32_t integer = 0;
        if (whole && !exponent && std::from_chars(first, last, integer).ec == std::errc()) {
            token.value = integer;
            return;
        }
        double number = 0;
        const auto result = std::from_chars(first, last, number);
        if (result.ec == std::errc())
            token.value = number;
        else if (isTooSmall(first, last))
            token.value = 0.0;
        else
            token.kind = Kind::BadNumber;
    }

    // from_chars says "out of range" for 1e-400 as it does for 1e400.
    static bool isTooSmall(const char* first, const char* last) {
        const char* e = std::find_if(first, last, [](char c) { return vbrt::toLower(c) == 'e'; });
        return e != last && e + 1 != last && e[1] == '-';
    }

    void readHex(Token& token) {
        m_at += 2;
        const std::size_t digits = m_at;
        while (isHexDigit(peek()))
            ++m_at;
        std::uint32_t bits = 0;
        const auto result = std::from_chars(m_sql.data() + digits, m_sql.data() + m_at, bits, 16);
        token.kind = result.ec == std::errc() ? Kind::Literal : Kind::BadNumber;
        token.value = static_cast<std::int32_t>(bits);
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

std::vector<Token> tokenize(std::string_view sql) {
    std::vector<Token> tokens;
    Lexer lexer(sql);
    do {
        tokens.push_back(lexer.next());
    } while (tokens.back().kind != Kind::End);
    return tokens;
}

}  // namespace jetsql
