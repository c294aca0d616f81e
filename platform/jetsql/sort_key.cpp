// SPDX-License-Identifier: MIT
#include "jetsql/sort_key.h"

#include "jet/values/text_order.h"
#include "jetsql/operations.h"

#include <bit>

namespace jetsql {

namespace {

void appendNumber(std::uint64_t ordered, jet::Bytes& key) {
    for (int shift = 56; shift >= 0; shift -= 8)
        key.push_back(static_cast<std::uint8_t>(ordered >> static_cast<unsigned>(shift)));
}

// The bits of a double, changed so that they compare as numbers without a sign. 0 is left for Null: only an
// unthinkable NaN would come out as that.
std::uint64_t orderedBits(double d) {
    constexpr std::uint64_t kSign = std::uint64_t{1} << 63U;
    const auto bits = std::bit_cast<std::uint64_t>(d == 0 ? 0.0 : d);
    return (bits & kSign) != 0 ? ~bits : bits | kSign;
}

// Bytes of any kind after a 1, with an end that is lower than any continuation: 00 is written as 00 FF, the end is
// 00 00.
void appendEscaped(jet::ByteView bytes, jet::Bytes& key) {
    key.push_back(1);
    for (const std::uint8_t b : bytes) {
        key.push_back(b);
        if (b == 0)
            key.push_back(0xFF);
    }
    key.push_back(0);
    key.push_back(0);
}

}  // namespace

void appendSortKey(const jet::Value& v, bool descending, jet::Bytes& key) {
    const std::size_t begin = key.size();
    if (const auto* text = std::get_if<std::string>(&v)) {
        thread_local jet::Bytes order;  // kept between calls: sorting asks a million times
        order.clear();
        jet::appendSortKey(*text, order);
        appendEscaped(order, key);
    } else if (const auto* bytes = std::get_if<jet::Bytes>(&v)) {
        appendEscaped(*bytes, key);
    } else if (const auto* guid = std::get_if<jet::Guid>(&v)) {
        appendEscaped(guid->bytes, key);
    } else if (const auto* money = std::get_if<jet::Currency>(&v)) {
        appendNumber(static_cast<std::uint64_t>(money->units) ^ (std::uint64_t{1} << 63U), key);
    } else if (jet::isNull(v)) {
        appendNumber(0, key);
    } else {
        appendNumber(orderedBits(toDouble(v)), key);
    }
    if (!descending)
        return;
    for (std::size_t i = begin; i < key.size(); ++i)
        key[i] = static_cast<std::uint8_t>(~key[i]);
}

}  // namespace jetsql
