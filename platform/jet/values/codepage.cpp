// SPDX-License-Identifier: MIT
#include "jet/values/codepage.h"

#include <algorithm>
#include <array>

#include "jet/values/error.h"

namespace jet {

namespace {

// Unicode for the bytes 80-9F; every other byte is its own code point.
constexpr std::array<char16_t, 32> kHighControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  //
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,  //
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  //
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

struct Decoded {
    char32_t codePoint = 0;
    std::size_t length = 0;  // 0 = malformed
};

// The character at the start of `text`. Refuses overlong forms, surrogates and what lies past U+10FFFF.
Decoded decodeUtf8(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
    const std::uint8_t lead = byte(0);
    if (lead < 0x80)
        return {lead, 1};
    std::size_t length = 0;
    char32_t smallest = 0;
    char32_t codePoint = 0;
    if ((lead & 0xE0U) == 0xC0) {
        length = 2, smallest = 0x80, codePoint = lead & 0x1FU;
    } else if ((lead & 0xF0U) == 0xE0) {
        length = 3, smallest = 0x800, codePoint = lead & 0x0FU;
    } else if ((lead & 0xF8U) == 0xF0) {
        length = 4, smallest = 0x10000, codePoint = lead & 0x07U;
    }
    if (length == 0 || length > text.size())
        return {};
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80)
            return {};
        codePoint = codePoint << 6U | (byte(i) & 0x3FU);
    }
    if (codePoint < smallest || codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint <= 0xDFFF))
        return {};
    return {codePoint, length};
}

// The byte for a character, or -1.
int toByte(char32_t codePoint) {
    if (codePoint < 0x80 || (codePoint >= 0xA0 && codePoint <= 0xFF))
        return static_cast<int>(codePoint);
    const auto it = std::find(kHighControls.begin(), kHighControls.end(), codePoint);
    return it == kHighControls.end() ? -1 : static_cast<int>(0x80 + (it - kHighControls.begin()));
}

// Converts until the end or the first character that has no byte; returns the place of that.
std::size_t convert(std::string_view utf8, Bytes& out) {
    std::size_t at = 0;
    while (at < utf8.size()) {
        const auto [codePoint, length] = decodeUtf8(utf8.substr(at));
        const int byte = length == 0 ? -1 : toByte(codePoint);
        if (byte < 0)
            return at;
        out.push_back(static_cast<std::uint8_t>(byte));
        at += length;
    }
    return at;
}

}  // namespace

void appendFromCodePage(ByteView bytes, std::string& out) {
    for (const auto b : bytes) {
        if (b < 0x80) {
            out += static_cast<char>(b);
            continue;
        }
        const char16_t c = b < 0xA0 ? kHighControls[b - 0x80U] : b;
        if (c < 0x800) {
            out += static_cast<char>(0xC0U | c >> 6U);
        } else {
            out += static_cast<char>(0xE0U | c >> 12U);
            out += static_cast<char>(0x80U | (c >> 6U & 0x3FU));
        }
        out += static_cast<char>(0x80U | (c & 0x3FU));
    }
}

std::string fromCodePage(ByteView bytes) {
    std::string out;
    out.reserve(bytes.size());
    appendFromCodePage(bytes, out);
    return out;
}

Bytes toCodePage(std::string_view utf8) {
    Bytes out;
    out.reserve(utf8.size());
    const auto at = convert(utf8, out);
    if (at < utf8.size()) {
        const auto length = decodeUtf8(utf8.substr(at)).length;
        // U+FFFD stands for bytes that are no character.
        throw Error(Errc::NotRepresentable, length == 0 ? "\xEF\xBF\xBD" : std::string(utf8.substr(at, length)));
    }
    return out;
}

bool tryToCodePage(std::string_view utf8, Bytes& out) {
    out.clear();
    return convert(utf8, out) == utf8.size();
}

}  // namespace jet
