// SPDX-License-Identifier: MIT
#include "jet/values/value.h"

#include <charconv>

namespace jet {

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

template <typename T>
std::string number(T value) {
    char buffer[32];
    return {buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr};
}

std::string hex(ByteView bytes) {
    std::string text;
    for (const auto b : bytes) {
        text += kHexDigits[b >> 4U];
        text += kHexDigits[b & 15U];
    }
    return text;
}

// With its four decimals.
std::string fullText(Currency money) {
    const bool negative = money.units < 0;
    // Unsigned, so that the smallest number has an opposite.
    const std::uint64_t units =
        negative ? 0 - static_cast<std::uint64_t>(money.units) : static_cast<std::uint64_t>(money.units);
    std::string fraction = number(10000 + units % 10000);
    fraction.front() = '.';
    return (negative ? "-" : "") + number(units / 10000) + fraction;
}

struct Printer {
    std::string operator()(Null) const { return "Null"; }
    std::string operator()(bool v) const { return v ? "true" : "false"; }
    std::string operator()(std::uint8_t v) const { return number(v); }
    std::string operator()(std::int16_t v) const { return number(v); }
    std::string operator()(std::int32_t v) const { return number(v); }
    std::string operator()(float v) const { return number(v); }
    std::string operator()(double v) const { return number(v); }
    std::string operator()(Date v) const { return "#" + number(v.serial) + "#"; }
    std::string operator()(const Bytes& v) const { return "x" + hex(v); }

    std::string operator()(Currency v) const { return "$" + fullText(v); }

    std::string operator()(const std::string& v) const {
        std::string text = "\"";
        for (const char c : v) {
            const auto byte = static_cast<std::uint8_t>(c);
            if (c == '"' || c == '\\')
                text += {'\\', c};
            else if (c == '\n')
                text += "\\n";
            else if (c == '\r')
                text += "\\r";
            else if (c == '\t')
                text += "\\t";
            else if (byte < 0x20 || byte == 0x7F)
                text += "\\x" + hex({&byte, 1});
            else
                text += c;
        }
        return text + '"';
    }

    std::string operator()(const Guid& v) const {
        const auto& b = v.bytes;
        const std::array<std::uint8_t, 8> head = {b[3], b[2], b[1], b[0], b[5], b[4], b[7], b[6]};
        const ByteView front = head;
        const ByteView back = ByteView(b).subspan(8);
        return "{" + hex(front.first(4)) + "-" + hex(front.subspan(4, 2)) + "-" + hex(front.subspan(6)) + "-" +
               hex(back.first(2)) + "-" + hex(back.subspan(2)) + "}";
    }
};

}  // namespace

std::string toText(Currency money) {
    std::string text = fullText(money);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.')
        text.pop_back();
    return text;
}

std::string toDebugString(const Value& v) {
    return std::visit(Printer{}, v);
}

}  // namespace jet
