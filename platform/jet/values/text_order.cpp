// SPDX-License-Identifier: MIT
#include "jet/values/text_order.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "jet/values/codepage.h"

namespace jet {

namespace {

constexpr std::size_t kKeyCharacters = 255;
constexpr std::uint8_t kUnaccented = 2;

// The codes of the 256 characters, 16 a line. Four digits stand for two codes: ligatures count as their two letters.
// Codes begin at 0x10, so that the accent part behind them, which begins below, orders a text before its extensions.
constexpr std::array<std::uint16_t, 256> kCodes = {
    0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10,   0x10, 0x10, 0x11, 0x10, 0x10, 0x10,   0x10, 0x10, 0x10,    //
    0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10,   0x10, 0x10, 0x10, 0x10, 0x10, 0x10,   0x10, 0x10, 0x10,    //
    0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17,   0x18, 0x19, 0x1A, 0x1B, 0x1C, 0x1D,   0x1E, 0x1F, 0x20,    //
    0x56, 0x57, 0x58, 0x59, 0x5A, 0x5B, 0x5C,   0x5D, 0x5E, 0x5F, 0x21, 0x22, 0x23,   0x24, 0x25, 0x26,    //
    0x27, 0x60, 0x61, 0x62, 0x64, 0x66, 0x67,   0x68, 0x69, 0x6A, 0x6B, 0x6C, 0x6D,   0x6F, 0x70, 0x72,    //
    0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x7A,   0x7B, 0x7C, 0x7D, 0x7E, 0x28, 0x29,   0x2A, 0x2B, 0x2C,    //
    0x2D, 0x60, 0x61, 0x62, 0x64, 0x66, 0x67,   0x68, 0x69, 0x6A, 0x6B, 0x6C, 0x6D,   0x6F, 0x70, 0x72,    //
    0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x7A,   0x7B, 0x7C, 0x7D, 0x7E, 0x2E, 0x2F,   0x30, 0x31, 0x10,    //
    0x10, 0x10, 0x18, 0x32, 0x13, 0x33, 0x34,   0x35, 0x36, 0x37, 0x76, 0x18, 0x7266, 0x10, 0x10, 0x10,    //
    0x10, 0x18, 0x18, 0x13, 0x13, 0x38, 0x1E,   0x1E, 0x39, 0x3A, 0x76, 0x18, 0x7266, 0x10, 0x10, 0x7D,    //
    0x11, 0x3B, 0x3C, 0x3D, 0x3E, 0x3F, 0x40,   0x41, 0x42, 0x43, 0x44, 0x13, 0x45,   0x1E, 0x46, 0x47,    //
    0x48, 0x49, 0x58, 0x59, 0x4A, 0x4B, 0x4C,   0x4D, 0x4E, 0x57, 0x4F, 0x13, 0x50,   0x51, 0x52, 0x53,    //
    0x60, 0x60, 0x60, 0x60, 0x60, 0x60, 0x6066, 0x62, 0x66, 0x66, 0x66, 0x66, 0x6A,   0x6A, 0x6A, 0x6A,    //
    0x65, 0x70, 0x72, 0x72, 0x72, 0x72, 0x72,   0x54, 0x81, 0x78, 0x78, 0x78, 0x78,   0x7D, 0x7F, 0x7676,  //
    0x60, 0x60, 0x60, 0x60, 0x60, 0x60, 0x6066, 0x62, 0x66, 0x66, 0x66, 0x66, 0x6A,   0x6A, 0x6A, 0x6A,    //
    0x65, 0x70, 0x72, 0x72, 0x72, 0x72, 0x72,   0x55, 0x81, 0x78, 0x78, 0x78, 0x78,   0x7D, 0x7F, 0x7D,    //
};

// The accents of the characters from 0x80: 3 grave, 4 acute, 5 circumflex, 6 diaeresis, 7 tilde, 8 ring, 9 cedilla,
// 10 caron.
constexpr std::array<std::uint8_t, 128> kAccents = {
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0,  //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 10, 0, 0, 0, 0, 6,  //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  0, 0, 0, 0, 0,  //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  0, 0, 0, 0, 0,  //
    3, 4, 5, 7, 6, 8, 0, 9, 3, 4, 5,  6, 3, 4, 5, 6,  //
    0, 7, 3, 4, 5, 7, 6, 0, 0, 3, 4,  5, 6, 4, 0, 0,  //
    3, 4, 5, 7, 6, 8, 0, 9, 3, 4, 5,  6, 3, 4, 5, 6,  //
    0, 7, 3, 4, 5, 7, 6, 0, 0, 3, 4,  5, 6, 4, 0, 6,  //
};

// a c e i n o s u y: the letters that have an accented form. Each takes a place in the accent part.
constexpr bool isMarked(unsigned code) {
    switch (code) {
        case 0x60:
        case 0x62:
        case 0x66:
        case 0x6A:
        case 0x70:
        case 0x72:
        case 0x76:
        case 0x78:
        case 0x7D:
            return true;
        default:
            return false;
    }
}

struct Character {
    std::uint8_t first = 0;
    std::uint8_t second = 0;  // 0 = none
    std::uint8_t places = 0;  // in the accent part
    std::uint8_t accent = 0;  // of each of them
};

constexpr std::array<Character, 256> kCharacters = [] {
    std::array<Character, 256> all{};
    for (std::size_t c = 0; c < all.size(); ++c) {
        const unsigned code = kCodes[c];
        const bool two = code > 0xFF;
        all[c].first = static_cast<std::uint8_t>(two ? code >> 8U : code);
        all[c].second = static_cast<std::uint8_t>(two ? code & 0xFFU : 0);
        all[c].places = static_cast<std::uint8_t>(two ? 2 : isMarked(code));
        const std::uint8_t accent = c < 0x80 ? std::uint8_t{0} : kAccents[c - 0x80];
        all[c].accent = accent != 0 ? accent : kUnaccented;
    }
    return all;
}();

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && text.back() == ' ')
        text.remove_suffix(1);
    return text;
}

ByteView trimmed(ByteView text) {
    while (!text.empty() && text.back() == ' ')
        text = text.first(text.size() - 1);
    return text;
}

bool isAscii(std::string_view text) {
    std::uint64_t seen = 0;
    std::size_t at = 0;
    for (std::uint64_t word = 0; at + sizeof word <= text.size(); at += sizeof word) {
        std::memcpy(&word, text.data() + at, sizeof word);
        seen |= word;
    }
    for (; at < text.size(); ++at)
        seen |= static_cast<std::uint8_t>(text[at]);
    return (seen & 0x8080808080808080U) == 0;
}

std::uint8_t codeOf(char ascii) {
    return kCharacters[static_cast<std::uint8_t>(ascii)].first;
}

void appendCodes(ByteView text, Bytes& key) {
    bool accented = false;
    for (const std::uint8_t c : text) {
        const Character& ch = kCharacters[c];
        key.push_back(ch.first);
        if (ch.second != 0)
            key.push_back(ch.second);
        accented = accented || ch.accent > kUnaccented;
    }
    if (!accented) {
        key.push_back(0);
        return;
    }
    while (kCharacters[text.back()].accent == kUnaccented)
        text = text.first(text.size() - 1);
    unsigned high = 0;  // the nibbles are: 0, one per place, 0, and another 0 if that makes them even
    bool half = true;
    for (const std::uint8_t c : text) {
        const Character& ch = kCharacters[c];
        for (unsigned place = 0; place < ch.places; ++place) {
            if (half)
                key.push_back(static_cast<std::uint8_t>(high << 4U | ch.accent));
            high = ch.accent;
            half = !half;
        }
    }
    key.push_back(static_cast<std::uint8_t>(half ? high << 4U : 0));
}

// The codes of a text, one after the other.
class CodeReader {
 public:
    explicit CodeReader(ByteView text) : m_text(text) {}

    // Moves on; false at the end.
    bool next() {
        if (m_second != 0) {
            m_code = m_second;
            m_second = 0;
            return true;
        }
        if (m_at == m_text.size())
            return false;
        const Character& ch = kCharacters[m_text[m_at++]];
        m_code = ch.first;
        m_second = ch.second;
        m_accent = ch.accent;
        return true;
    }
    [[nodiscard]] int code() const { return m_code; }
    [[nodiscard]] int accent() const { return m_accent; }

 private:
    ByteView m_text;
    std::size_t m_at = 0;
    std::uint8_t m_code = 0;
    std::uint8_t m_second = 0;
    std::uint8_t m_accent = 0;
};

// The first difference in the codes decides, else the first one in the accents: equal codes have equal places.
int compareCodes(ByteView a, ByteView b) {
    CodeReader left(a);
    CodeReader right(b);
    int byAccent = 0;
    for (;;) {
        const bool moreLeft = left.next();
        const bool moreRight = right.next();
        if (!moreLeft || !moreRight)
            return moreLeft != moreRight ? int{moreLeft} - int{moreRight} : byAccent;
        if (left.code() != right.code())
            return left.code() - right.code();
        if (byAccent == 0)
            byAccent = left.accent() - right.accent();
    }
}

}  // namespace

void appendTextKey(ByteView text, Bytes& key) {
    appendCodes(trimmed(text.first(std::min(text.size(), kKeyCharacters))), key);
}

int compareText(std::string_view a, std::string_view b) {
    a = trimmed(a);
    b = trimmed(b);
    if (isAscii(a) && isAscii(b)) {
        const std::size_t common = std::min(a.size(), b.size());
        for (std::size_t i = 0; i < common; ++i) {
            const int difference = codeOf(a[i]) - codeOf(b[i]);
            if (difference != 0)
                return difference;
        }
        return a.size() < b.size() ? -1 : int{a.size() > b.size()};
    }
    // Kept between calls: sorting asks a million times.
    thread_local Bytes left;
    thread_local Bytes right;
    const bool knownLeft = tryToCodePage(a, left);
    const bool knownRight = tryToCodePage(b, right);
    if (knownLeft && knownRight)
        return compareCodes(left, right);
    if (knownLeft != knownRight)
        return knownLeft ? -1 : 1;
    return a.compare(b);  // bytes of UTF-8 order as the characters do
}

void appendSortKey(std::string_view utf8, Bytes& key) {
    utf8 = trimmed(utf8);
    if (isAscii(utf8)) {
        const std::size_t at = key.size();
        key.resize(at + utf8.size() + 1);
        std::transform(utf8.begin(), utf8.end(), key.begin() + static_cast<std::ptrdiff_t>(at), codeOf);
        return;
    }
    thread_local Bytes text;
    if (tryToCodePage(utf8, text)) {
        appendCodes(text, key);
        return;
    }
    key.push_back(0xFF);  // above all codes
    key.insert(key.end(), utf8.begin(), utf8.end());
    key.push_back(0);
}

}  // namespace jet
