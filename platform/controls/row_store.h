// SPDX-License-Identifier: MIT
// RowStore: the rows of a list in little more memory than their text.
//
// The text of a row is one run of bytes in an arena: the number of cells, for each cell the length of its UTF-8 text
// (seven bits a byte, low ones first), then the texts one after the other; missing cells at the end are empty. Beside
// it a row costs 16 bytes: where its text is, its tag, its red cells. A changed row is written anew; the arena is
// packed when half of it is waste. Rows and cells count from 0. REQUIRES, everywhere: row < size(), cell < kMaxCells.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace controls {

class RowStore {
 public:
    static constexpr std::size_t kMaxCells = 32;

    [[nodiscard]] std::size_t size() const { return m_rows.size(); }
    void insert(std::size_t row, std::span<const std::string_view> cells, std::int32_t tag, std::uint32_t redCells);
    void remove(std::size_t row);
    void clear();
    // Row n becomes what was row order[n]. REQUIRES: a permutation.
    void reorder(std::span<const std::uint32_t> order);

    [[nodiscard]] std::string_view text(std::size_t row, std::size_t cell) const;  // valid until the next change
    void setText(std::size_t row, std::size_t cell, std::string_view text);
    [[nodiscard]] std::int32_t tag(std::size_t row) const { return m_rows[row].tag; }
    void setTag(std::size_t row, std::int32_t tag) { m_rows[row].tag = tag; }
    [[nodiscard]] bool isRed(std::size_t row, std::size_t cell) const;
    void setRed(std::size_t row, std::size_t cell, bool red);

    [[nodiscard]] std::size_t bytesAllocated() const;

 private:
    struct Row {
        const char* text;
        std::int32_t tag;
        std::uint32_t redCells;
    };
    struct Chunk {
        std::unique_ptr<char[]> bytes;
        std::size_t size;
    };

    char* allocate(std::size_t size);
    const char* store(std::span<const std::string_view> cells);
    void discard(const char* text);

    std::vector<Row> m_rows;
    std::vector<Chunk> m_chunks;  // new text goes into the last one
    std::size_t m_used = 0;       // of the last chunk
    std::size_t m_live = 0;       // bytes that rows refer to
    std::size_t m_allocated = 0;
};

}  // namespace controls
