// SPDX-License-Identifier: MIT
#include "controls/sort_text.h"

#include <QChar>
#include <QList>
#include <QString>
#include <algorithm>
#include <array>

namespace controls {

namespace {

// First bytes of the primary weights. ASCII characters need no more than this byte.
constexpr unsigned kControl = 0x10;
constexpr unsigned kBlank = 0x11;
constexpr unsigned kPunctuation = 0x12;  // ASCII, in its own order
constexpr unsigned kSymbol = 0x40;       // + three bytes of code point
constexpr unsigned kDigit = 0x50;
constexpr unsigned kLetter = 0x60;       // a, b, ...; every other one, so that ð and þ find a place
constexpr unsigned kOtherLetter = 0xA0;  // + three bytes of code point

constexpr std::array<unsigned char, 128> asciiWeights() {
    std::array<unsigned char, 128> weights{};
    unsigned punctuation = kPunctuation;
    for (unsigned c = 0; c < 128; ++c) {
        unsigned weight = 0;
        if (c >= '0' && c <= '9')
            weight = kDigit + (c - '0');
        else if (c >= 'a' && c <= 'z')
            weight = kLetter + 2 * (c - 'a');
        else if (c >= 'A' && c <= 'Z')
            weight = kLetter + 2 * (c - 'A');
        else if (c == ' ' || (c >= '\t' && c <= '\r'))
            weight = kBlank;
        else if (c < ' ' || c == 127)
            weight = kControl;
        else
            weight = punctuation++;
        weights[c] = static_cast<unsigned char>(weight);
    }
    return weights;
}
constexpr auto kAscii = asciiWeights();

// Letters that Unicode does not take apart, with what they sort as.
struct Spelling {
    char32_t letter;  // case folded
    const char* as;
    bool accented;
};
constexpr Spelling kSpellings[] = {
    {U'ß', "ss", false}, {U'æ', "ae", false}, {U'œ', "oe", false},
    {U'ø', "o", true},   {U'ł', "l", true},   {U'đ', "d", true},
};

class KeyWriter {
 public:
    explicit KeyWriter(std::string& key) : m_key(key) {}

    void add(char32_t c) {
        if (c < 128)
            return primary(kAscii[c]);
        if (QChar::isNonCharacter(c) || QChar::isSurrogate(c))
            return coded(kSymbol, c);
        if (QChar::category(c) == QChar::Mark_NonSpacing)
            return accent(c);
        if (const QString parts = QChar::decomposition(c); !parts.isEmpty()) {
            for (const char32_t part : parts.toUcs4())
                add(part);
            return;
        }
        addWhole(QChar::toCaseFolded(c));
    }

    void finish() {
        if (m_accents.empty())
            return;
        m_key += '\0';
        m_key += m_accents;
    }

 private:
    void addWhole(char32_t c) {
        for (const Spelling& spelling : kSpellings) {
            if (spelling.letter != c)
                continue;
            for (const char* as = spelling.as; *as != 0; ++as)
                primary(kAscii[static_cast<unsigned char>(*as)]);
            if (spelling.accented)
                accent(U'\u0338');
            return;
        }
        if (c == U'ð')
            primary(kLetter + 2 * ('d' - 'a') + 1);
        else if (c == U'þ')
            primary(kLetter + 2 * ('z' - 'a') + 1);
        else if (QChar::isSpace(c))
            primary(kBlank);
        else if (QChar::isLetter(c))
            coded(kOtherLetter, c);
        else if (QChar::isDigit(c))
            primary(kDigit + static_cast<unsigned>(QChar::digitValue(c)));
        else
            coded(kSymbol, c);
    }

    void primary(unsigned weight) {
        m_key += static_cast<char>(weight);
        ++m_characters;
    }
    // Three bytes, none of which is 0: that byte parts the characters from their accents.
    void coded(unsigned weight, char32_t c) {
        primary(weight);
        for (const unsigned shift : {14U, 7U, 0U})
            m_key += static_cast<char>((c >> shift & 0x7F) + 1);
    }
    // Accent bytes stand in the place of their characters, 1 for none, up to the last accent.
    void accent(char32_t mark) {
        if (m_characters == 0)
            return;
        m_accents.resize(std::max(m_accents.size(), m_characters - 1), '\x01');
        m_accents += static_cast<char>(2 + (mark & 0x7F));
    }

    std::string& m_key;
    std::string m_accents;
    std::size_t m_characters = 0;
};

}  // namespace

void appendSortKey(std::string_view utf8, std::string& key) {
    const bool ascii =
        std::all_of(utf8.begin(), utf8.end(), [](char c) { return static_cast<unsigned char>(c) < 128; });
    if (ascii) {
        for (const char c : utf8)
            key += static_cast<char>(kAscii[static_cast<unsigned char>(c)]);
        return;
    }
    KeyWriter writer(key);
    for (const char32_t c : QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size())).toUcs4())
        writer.add(c);
    writer.finish();
}

}  // namespace controls
