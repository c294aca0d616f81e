// SPDX-License-Identifier: MIT
// Rows put aside in compact form, for sorting, joining and changes that are found before they are made.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "jet/values/value.h"

namespace jetsql {

// Memory that is given back all at once. Nothing in it moves.
class Arena {
 public:
    std::uint8_t* take(std::size_t size);

 private:
    std::vector<std::unique_ptr<std::uint8_t[]>> m_blocks;
    std::size_t m_left = 0;
    std::uint8_t* m_next = nullptr;
};

// The bytes that packRow() needs.
std::size_t packedSize(std::span<const jet::Value> row);
// Returns the end of what it wrote.
std::uint8_t* packRow(std::span<const jet::Value> row, std::uint8_t* to);
// Fills `row`, which has as many values as were packed; returns the end of what it read.
const std::uint8_t* unpackRow(const std::uint8_t* from, std::span<jet::Value> row);

// Sorts rows by keys made with appendSortKey(). Rows with equal keys keep the order in which they were added.
class Sorter {
 public:
    explicit Sorter(std::size_t width) : m_row(width) {}

    void add(const jet::Bytes& key, std::span<const jet::Value> row);
    void sort();
    // Drops all rows but the first of each key. REQUIRES: sorted.
    void dropDuplicates();
    // Keeps the first `count` rows, and those that follow with the key of the last one. REQUIRES: sorted.
    void keepTop(std::size_t count);

    [[nodiscard]] std::size_t size() const { return m_entries.size(); }
    void read(std::size_t index, jet::Row& row) const;

 private:
    struct Entry {
        std::uint64_t prefix = 0;              // the first eight bytes of the key
        const std::uint8_t* record = nullptr;  // length of the key, key, row
    };

    static int compareKeys(const Entry& a, const Entry& b);

    std::size_t m_row;
    Arena m_arena;
    std::vector<Entry> m_entries;
};

}  // namespace jetsql
