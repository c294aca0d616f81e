// SPDX-License-Identifier: MIT
#include "jet/indexes/index_key.h"

#include <algorithm>

#include "jet/values/bytes.h"
#include "jet/values/text_order.h"

namespace jet {

namespace {

constexpr std::uint8_t kNull = 0x00;
constexpr std::uint8_t kPresent = 0x7F;
constexpr std::size_t kGroup = 8;
constexpr std::uint8_t kMoreGroups = 9;

void complement(std::span<std::uint8_t> bytes) {
    for (auto& b : bytes)
        b = static_cast<std::uint8_t>(~b);
}

// Eight bytes, padded with zeros, then how many of them count, or 9 if more follow. That 9 is never complemented.
void appendGroups(ByteView bytes, bool ascending, Bytes& key) {
    while (!bytes.empty()) {
        const std::size_t n = std::min(bytes.size(), kGroup);
        const bool more = bytes.size() > kGroup;
        const std::size_t at = key.size();
        key.insert(key.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(n));
        key.resize(at + kGroup);
        key.push_back(more ? kMoreGroups : static_cast<std::uint8_t>(n));
        if (!ascending)
            complement(std::span(key).subspan(at, more ? kGroup : kGroup + 1));
        bytes = bytes.subspan(n);
    }
}

enum class Sign { None, Integer, Float };

// Most significant byte first, so that bytes order as the numbers do.
void appendNumber(ByteView bytes, std::size_t size, Sign sign, Bytes& key) {
    if (bytes.size() != size)
        corrupt(0, "a key field of " + std::to_string(bytes.size()) + " bytes");
    const std::size_t at = key.size();
    key.insert(key.end(), bytes.rbegin(), bytes.rend());
    if (sign == Sign::Float && (key[at] & 0x80U) != 0)
        complement(std::span(key).subspan(at));
    else if (sign != Sign::None)
        key[at] ^= 0x80U;
}

// The 16 bytes in the order of the text form.
void appendGuid(ByteView bytes, bool ascending, Bytes& key) {
    if (bytes.size() != 16)
        corrupt(0, "a GUID of " + std::to_string(bytes.size()) + " bytes");
    std::array<std::uint8_t, 16> g{};
    std::copy(bytes.begin(), bytes.end(), g.begin());
    std::reverse(g.begin(), g.begin() + 4);
    std::reverse(g.begin() + 4, g.begin() + 6);
    std::reverse(g.begin() + 6, g.begin() + 8);
    appendGroups(g, ascending, key);
}

void appendText(const ColumnDef& column, ByteView bytes, Bytes& key) {
    if (column.language != 0x0409 || column.codePage != 1252)
        throw Error(Errc::UnsupportedSortOrder, column.name);
    appendTextKey(bytes, key);
}

}  // namespace

void appendKey(const ColumnDef& column, bool ascending, std::optional<ByteView> stored, Bytes& key) {
    const std::size_t start = key.size();
    if (!stored) {
        key.push_back(ascending ? kNull : static_cast<std::uint8_t>(~kNull));
        return;
    }
    key.push_back(ascending ? kPresent : static_cast<std::uint8_t>(~kPresent));
    switch (column.type) {
        case ColumnType::Boolean:
            key.push_back(getU8(*stored, 0) != 0 ? 0x00 : 0xFF);
            break;
        case ColumnType::Byte:
            appendNumber(*stored, 1, Sign::None, key);
            break;
        case ColumnType::Integer:
            appendNumber(*stored, 2, Sign::Integer, key);
            break;
        case ColumnType::Long:
            appendNumber(*stored, 4, Sign::Integer, key);
            break;
        case ColumnType::Currency:
            appendNumber(*stored, 8, Sign::Integer, key);
            break;
        case ColumnType::Single:
            appendNumber(*stored, 4, Sign::Float, key);
            break;
        case ColumnType::Double:
        case ColumnType::DateTime:
            appendNumber(*stored, 8, Sign::Float, key);
            break;
        case ColumnType::Text:
            appendText(column, *stored, key);
            break;
        case ColumnType::Binary:
            appendGroups(*stored, ascending, key);
            return;
        case ColumnType::Guid:
            appendGuid(*stored, ascending, key);
            return;
        default:
            corrupt(0, "an index on a column of a type that has no keys: " + column.name);
    }
    if (!ascending)
        complement(std::span(key).subspan(start + 1));
}

}  // namespace jet
