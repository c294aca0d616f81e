// SPDX-License-Identifier: MIT
#include "chm/html_text.h"

#include "chm/container.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>

namespace chm {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

// 0x80 to 0x9F of code page 1252; the rest is as in Unicode.
constexpr std::array<char16_t, 32> kUpper1252 = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

struct Named {
    std::string_view name;
    char32_t character;
};
constexpr Named kEntities[] = {
    {"amp", '&'},      {"lt", '<'},       {"gt", '>'},       {"quot", '"'},     {"apos", '\''},     {"nbsp", 0xA0},
    {"copy", 0xA9},    {"reg", 0xAE},     {"middot", 0xB7},  {"ndash", 0x2013}, {"mdash", 0x2014},  {"lsquo", 0x2018},
    {"rsquo", 0x2019}, {"ldquo", 0x201C}, {"rdquo", 0x201D}, {"bull", 0x2022},  {"hellip", 0x2026}, {"trade", 0x2122},
};

void append(std::string& out, char32_t c) {
    const auto byte = [&out](char32_t value) { out.push_back(static_cast<char>(value)); };
    if (c < 0x80) {
        byte(c);
    } else if (c < 0x800) {
        byte(0xC0 | c >> 6);
        byte(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        byte(0xE0 | c >> 12);
        byte(0x80 | (c >> 6 & 0x3F));
        byte(0x80 | (c & 0x3F));
    } else {
        byte(0xF0 | c >> 18);
        byte(0x80 | (c >> 12 & 0x3F));
        byte(0x80 | (c >> 6 & 0x3F));
        byte(0x80 | (c & 0x3F));
    }
}

bool isCharacter(char32_t c) {
    return c != 0 && c < 0x110000 && (c < 0xD800 || c > 0xDFFF);
}

// The length of the sound UTF-8 sequence at `at`, 0 when there is none.
std::size_t sequenceAt(std::string_view text, std::size_t at) {
    const auto lead = static_cast<std::uint8_t>(text[at]);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    if (length < 2 || length > text.size() - at)
        return length < 2 ? length : 0;
    char32_t c = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<std::uint8_t>(text[at + i]);
        if ((next & 0xC0U) != 0x80)
            return 0;
        c = c << 6 | (next & 0x3FU);
    }
    constexpr std::array<char32_t, 5> kLeast = {0, 0, 0x80, 0x800, 0x10000};
    return isCharacter(c) && c >= kLeast[length] ? length : 0;
}

std::string soundUtf8(std::string_view bytes) {
    std::string result;
    result.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size();) {
        const std::size_t length = sequenceAt(bytes, i);
        if (length == 0)
            append(result, kReplacement);
        else
            result.append(bytes, i, length);
        i += std::max<std::size_t>(length, 1);
    }
    return result;
}

// What follows "charset=" near the beginning of a page, in lower case.
std::string charsetOf(std::string_view bytes) {
    const std::string head = lowered(bytes.substr(0, 2048));
    std::size_t at = head.find("charset");
    if (at == std::string::npos)
        return {};
    at = head.find_first_not_of(" \t\r\n=\"'", at + 7);
    if (at == std::string::npos)
        return {};
    return head.substr(at, head.find_first_of(" \t\r\n\"';>/", at) - at);
}

}  // namespace

std::string decode1252(std::string_view bytes) {
    std::string result;
    result.reserve(bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<std::uint8_t>(c);
        append(result, byte >= 0x80 && byte < 0xA0 ? kUpper1252[byte - 0x80U] : byte);
    }
    return result;
}

std::string decodeHtml(std::string_view bytes) {
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    if (bytes.starts_with(kMark))
        return soundUtf8(bytes.substr(kMark.size()));
    const std::string charset = charsetOf(bytes);
    return charset == "utf-8" || charset == "utf8" ? soundUtf8(bytes) : decode1252(bytes);
}

std::string unescape(std::string_view text) {
    constexpr std::size_t kLongest = 10;
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const std::size_t plain = std::min(text.find('&'), text.size());
        result.append(text.substr(0, plain));
        text.remove_prefix(plain);
        const std::size_t end = text.substr(0, kLongest).find(';');
        char32_t c = 0;
        if (end != std::string_view::npos && end > 1) {
            const std::string_view name = text.substr(1, end - 1);
            if (name[0] == '#') {
                const bool hex = name.size() > 1 && (name[1] == 'x' || name[1] == 'X');
                const std::string_view digits = name.substr(hex ? 2 : 1);
                std::uint32_t number = 0;
                const auto [rest, fault] =
                    std::from_chars(digits.data(), digits.data() + digits.size(), number, hex ? 16 : 10);
                if (fault == std::errc() && rest == digits.data() + digits.size())
                    c = number >= 0x80 && number < 0xA0 ? kUpper1252[number - 0x80] : number;
            } else if (const auto* found = std::ranges::find(kEntities, name, &Named::name);
                       found != std::end(kEntities)) {
                c = found->character;
            }
        }
        if (isCharacter(c)) {
            append(result, c);
            text.remove_prefix(end + 1);
        } else if (!text.empty()) {
            result.push_back(text[0]);
            text.remove_prefix(1);
        }
    }
    return result;
}

}  // namespace chm
