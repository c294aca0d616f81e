// SPDX-License-Identifier: MIT
// The small words of the Jet 3.x file: page numbers, places of rows, column types.
//
// A file is a sequence of 2,048-byte pages numbered from 0. A row lives at (page, row number) for its whole life; that
// pair is written in two ways, as a little-endian pointer `page << 8 | row` in maps, long values and moved rows, and
// big-endian in index entries. All integers in the file are little-endian unless a comment says otherwise.
#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace jet {

inline constexpr std::size_t kPageSize = 2048;

using PageNo = std::uint32_t;
using ByteView = std::span<const std::uint8_t>;
using Bytes = std::vector<std::uint8_t>;

// One page. Aligned so that it can be handed to the disk as it is.
struct alignas(64) Page {
    std::array<std::uint8_t, kPageSize> bytes{};

    [[nodiscard]] ByteView view() const { return bytes; }
    [[nodiscard]] std::span<std::uint8_t> span() { return bytes; }
};

// The place of a row. Ordered as index entries order equal keys: by page, then row.
struct RowId {
    PageNo page = 0;
    std::uint8_t row = 0;

    auto operator<=>(const RowId&) const = default;
};

// The u32 form of a RowId; 0 stands for "none" wherever the format allows it.
constexpr std::uint32_t toPointer(RowId id) {
    return id.page << 8U | id.row;
}
constexpr RowId fromPointer(std::uint32_t p) {
    return {p >> 8U, static_cast<std::uint8_t>(p & 0xFFU)};
}

// The codes stored in a column descriptor.
enum class ColumnType : std::uint8_t {
    Boolean = 1,
    Byte = 2,
    Integer = 3,
    Long = 4,
    Currency = 5,
    Single = 6,
    Double = 7,
    DateTime = 8,
    Binary = 9,
    Text = 10,
    Ole = 11,
    Memo = 12,
    Guid = 15,
};

}  // namespace jet
