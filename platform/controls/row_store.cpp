// SPDX-License-Identifier: MIT
#include "controls/row_store.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>

namespace controls {

namespace {

constexpr std::size_t kChunkSize = std::size_t{256} * 1024;

// Reads the lengths at the start of a run, behind the byte that says how many they are.
class Lengths {
 public:
    explicit Lengths(const char* text) : m_at(text + 1), m_left(static_cast<unsigned char>(*text)) {}

    [[nodiscard]] std::size_t left() const { return m_left; }
    std::size_t next() {
        --m_left;
        std::size_t length = 0;
        for (unsigned shift = 0;; shift += 7) {
            const auto byte = static_cast<unsigned char>(*m_at++);
            length |= static_cast<std::size_t>(byte & 0x7F) << shift;
            if (byte < 0x80)
                return length;
        }
    }
    // Reads what is left; the texts begin where the lengths end.
    const char* skip(std::size_t& sum) {
        while (m_left > 0)
            sum += next();
        return m_at;
    }

 private:
    const char* m_at;
    std::size_t m_left;
};

std::size_t runSize(const char* text) {
    std::size_t sum = 0;
    const char* const texts = Lengths(text).skip(sum);
    return static_cast<std::size_t>(texts - text) + sum;
}

std::size_t lengthBytes(std::size_t length) {
    std::size_t bytes = 1;
    while (length >>= 7)
        ++bytes;
    return bytes;
}

}  // namespace

void RowStore::insert(std::size_t row, std::span<const std::string_view> cells, std::int32_t tag,
                      std::uint32_t redCells) {
    m_rows.insert(m_rows.begin() + static_cast<std::ptrdiff_t>(row), Row{store(cells), tag, redCells});
}

void RowStore::remove(std::size_t row) {
    const char* text = m_rows[row].text;
    m_rows.erase(m_rows.begin() + static_cast<std::ptrdiff_t>(row));
    discard(text);
}

void RowStore::clear() {
    *this = RowStore();
}

void RowStore::reorder(std::span<const std::uint32_t> order) {
    assert(order.size() == m_rows.size());
    std::vector<Row> rows;
    rows.reserve(order.size());
    for (const std::uint32_t from : order)
        rows.push_back(m_rows[from]);
    m_rows = std::move(rows);
}

std::string_view RowStore::text(std::size_t row, std::size_t cell) const {
    Lengths lengths(m_rows[row].text);
    if (cell >= lengths.left())
        return {};
    std::size_t before = 0;
    for (std::size_t i = 0; i < cell; ++i)
        before += lengths.next();
    const std::size_t length = lengths.next();
    std::size_t after = 0;
    return {lengths.skip(after) + before, length};
}

void RowStore::setText(std::size_t row, std::size_t cell, std::string_view text) {
    assert(cell < kMaxCells);
    const char* const old = m_rows[row].text;
    const std::size_t count = Lengths(old).left();
    std::array<std::string_view, kMaxCells> cells;
    for (std::size_t i = 0; i < count; ++i)
        cells[i] = this->text(row, i);
    cells[cell] = text;
    m_rows[row].text = store(std::span(cells).first(std::max(count, cell + 1)));
    discard(old);
}

bool RowStore::isRed(std::size_t row, std::size_t cell) const {
    return (m_rows[row].redCells >> cell & 1U) != 0;
}

void RowStore::setRed(std::size_t row, std::size_t cell, bool red) {
    const std::uint32_t bit = std::uint32_t{1} << cell;
    m_rows[row].redCells = red ? m_rows[row].redCells | bit : m_rows[row].redCells & ~bit;
}

std::size_t RowStore::bytesAllocated() const {
    return m_rows.capacity() * sizeof(Row) + m_allocated;
}

char* RowStore::allocate(std::size_t size) {
    if (m_chunks.empty() || m_chunks.back().size - m_used < size) {
        const std::size_t chunkSize = std::max(size, kChunkSize);
        m_chunks.push_back({std::make_unique_for_overwrite<char[]>(chunkSize), chunkSize});
        m_allocated += chunkSize;
        m_used = 0;
    }
    char* bytes = m_chunks.back().bytes.get() + m_used;
    m_used += size;
    m_live += size;
    return bytes;
}

const char* RowStore::store(std::span<const std::string_view> cells) {
    assert(cells.size() <= kMaxCells);
    std::size_t size = 1;
    for (const std::string_view cell : cells)
        size += lengthBytes(cell.size()) + cell.size();
    char* const run = allocate(size);
    char* to = run;
    *to++ = static_cast<char>(cells.size());
    for (const std::string_view cell : cells) {
        std::size_t length = cell.size();
        for (; length >= 0x80; length >>= 7)
            *to++ = static_cast<char>(length | 0x80);
        *to++ = static_cast<char>(length);
    }
    for (const std::string_view cell : cells)
        to = std::copy(cell.begin(), cell.end(), to);
    return run;
}

void RowStore::discard(const char* text) {
    m_live -= runSize(text);
    if (m_allocated <= 4 * kChunkSize || m_live > m_allocated / 2)
        return;
    const std::vector<Chunk> old = std::move(m_chunks);  // kept until its rows have moved
    m_chunks.clear();
    m_allocated = m_used = m_live = 0;
    for (Row& row : m_rows) {
        const std::size_t size = runSize(row.text);
        row.text = static_cast<const char*>(std::memcpy(allocate(size), row.text, size));
    }
}

}  // namespace controls
