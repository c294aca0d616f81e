// SPDX-License-Identifier: MIT
// A data page: rows of a table, map rows or long values, behind one slot directory.
//
//   OFFSET  SIZE  DESCRIPTION
//   0       2     01 01
//   2       2     free space in bytes, exact
//   4       4     owner: definition page of the table; "LVAL"; 0 = map rows; 1 = page 1
//   8       2     number of slots n
//   10      2n    slot: offset of the row (bits 0-12) and flags (bits 14-15)
//
// Rows grow down from the end of the page without gaps: row 0 ends at 2,048, row i where row i-1 starts. Slots are
// never reused while the page lives.
#pragma once

#include <optional>

#include "jet/values/types.h"

namespace jet {

inline constexpr std::uint32_t kOwnerLongValues = 0x4C41564C;  // "LVAL"
inline constexpr std::uint32_t kOwnerMapRows = 0;
inline constexpr std::size_t kMaxSlots = 255;       // a row number fits a byte
inline constexpr std::size_t kMaxRowOnPage = 2036;  // one row and its slot on an empty page

enum class SlotKind : std::uint8_t {
    Row,      // 0x0000
    Pointer,  // 0x4000: 4 bytes, where the row moved to
    Moved,    // 0x8000: the whole row, reachable through its pointer only
    Deleted,  // 0xC000: length 0
};

// Reads a page without owning it: the bytes must outlive the view. Throws Corrupt for anything outside the rules.
class DataPageView {
 public:
    // `number` is only for error messages.
    DataPageView(ByteView page, PageNo number);

    [[nodiscard]] std::uint32_t owner() const;
    [[nodiscard]] std::size_t freeSpace() const;
    [[nodiscard]] std::size_t slotCount() const { return m_slots; }
    [[nodiscard]] SlotKind kind(std::size_t slot) const;
    [[nodiscard]] ByteView row(std::size_t slot) const;
    // True when a row of `length` bytes and its slot fit.
    [[nodiscard]] bool hasRoom(std::size_t length) const;
    // Rows, pointers and moved rows.
    [[nodiscard]] std::size_t liveSlots() const;

 private:
    ByteView m_page;
    PageNo m_number;
    std::size_t m_slots;
};

// Changes a page in place, keeping the directory and the free-space field exact.
class DataPageEditor {
 public:
    DataPageEditor(Page& page, PageNo number) : m_page(&page), m_number(number) {}

    // Makes an empty page for `owner`.
    void format(std::uint32_t owner);
    [[nodiscard]] DataPageView view() const { return {m_page->view(), m_number}; }

    // REQUIRES: view().hasRoom(row.size()).
    std::uint8_t append(ByteView row, SlotKind kind = SlotKind::Row);
    // False, and nothing changed, when the new bytes do not fit.
    bool replace(std::size_t slot, ByteView row, SlotKind kind);
    // The slot stays as Deleted; the rows after it close the gap.
    void erase(std::size_t slot);

 private:
    Page* m_page;
    PageNo m_number;
};

}  // namespace jet
