// SPDX-License-Identifier: MIT
#include "jet/pages/data_page.h"

#include "jet/values/bytes.h"
#include "jet/values/error.h"

namespace jet {
namespace {

constexpr std::size_t kFreeSpaceAt = 2;
constexpr std::size_t kOwnerAt = 4;
constexpr std::size_t kSlotCountAt = 8;
constexpr std::size_t kDirectoryAt = 10;
constexpr std::size_t kSlotSize = 2;
constexpr std::uint16_t kOffsetBits = 0x1FFF;

constexpr std::size_t directoryEnd(std::size_t slots) {
    return kDirectoryAt + kSlotSize * slots;
}

std::uint16_t slotWord(ByteView page, std::size_t slot) {
    return getU16(page, kDirectoryAt + kSlotSize * slot);
}

std::size_t slotStart(ByteView page, std::size_t slot) {
    return slotWord(page, slot) & kOffsetBits;
}

// Where the row of `slot` ends: where the one before it starts.
std::size_t slotEnd(ByteView page, std::size_t slot) {
    return slot == 0 ? kPageSize : slotStart(page, slot - 1);
}

constexpr std::uint16_t slotFlags(SlotKind kind) {
    return static_cast<std::uint16_t>(static_cast<unsigned>(kind) << 14U);
}

}  // namespace

DataPageView::DataPageView(ByteView page, PageNo number)
    : m_page(page), m_number(number), m_slots(getU16(page, kSlotCountAt)) {
    if (page[0] != 1 || page[1] != 1)
        corrupt(number, "not a data page");
    if (m_slots > kMaxSlots)
        corrupt(number, "more rows than a page can number");
}

std::uint32_t DataPageView::owner() const {
    return getU32(m_page, kOwnerAt);
}

std::size_t DataPageView::freeSpace() const {
    const std::size_t lowest = slotEnd(m_page, m_slots);
    if (lowest > kPageSize || lowest < directoryEnd(m_slots))
        corrupt(m_number, "rows reach into the slot directory");
    return lowest - directoryEnd(m_slots);
}

SlotKind DataPageView::kind(std::size_t slot) const {
    if (slot >= m_slots)
        corrupt(m_number, "no such row on the page");
    return static_cast<SlotKind>(slotWord(m_page, slot) >> 14U);
}

ByteView DataPageView::row(std::size_t slot) const {
    const SlotKind rowKind = kind(slot);
    const std::size_t start = slotStart(m_page, slot);
    const std::size_t end = slotEnd(m_page, slot);
    if (start > end || end > kPageSize || start < directoryEnd(m_slots))
        corrupt(m_number, "a row lies outside its page");
    if (rowKind == SlotKind::Pointer && end - start != 4)
        corrupt(m_number, "the pointer of a moved row has a wrong length");
    return m_page.subspan(start, end - start);
}

bool DataPageView::hasRoom(std::size_t length) const {
    return m_slots < kMaxSlots && freeSpace() >= length + kSlotSize;
}

std::size_t DataPageView::liveSlots() const {
    std::size_t live = 0;
    for (std::size_t slot = 0; slot < m_slots; ++slot)
        live += kind(slot) != SlotKind::Deleted;
    return live;
}

void DataPageEditor::format(std::uint32_t owner) {
    *m_page = Page{};
    putU16(m_page->span(), 0, 0x0101);
    putU16(m_page->span(), kFreeSpaceAt, kPageSize - kDirectoryAt);
    putU32(m_page->span(), kOwnerAt, owner);
}

std::uint8_t DataPageEditor::append(ByteView row, SlotKind kind) {
    assert(view().hasRoom(row.size()));
    const std::size_t slot = view().slotCount();
    const std::size_t start = slotEnd(m_page->view(), slot) - row.size();
    const auto bytes = m_page->span();
    if (!row.empty())
        std::memcpy(bytes.data() + start, row.data(), row.size());
    putU16(bytes, kDirectoryAt + kSlotSize * slot, static_cast<std::uint16_t>(start | slotFlags(kind)));
    putU16(bytes, kSlotCountAt, static_cast<std::uint16_t>(slot + 1));
    putU16(bytes, kFreeSpaceAt, static_cast<std::uint16_t>(start - directoryEnd(slot + 1)));
    return static_cast<std::uint8_t>(slot);
}

bool DataPageEditor::replace(std::size_t slot, ByteView row, SlotKind kind) {
    const DataPageView before = view();
    if (before.kind(slot) == SlotKind::Deleted)
        corrupt(m_number, "the row was deleted");
    // Every row that moves is looked at first, so that a broken directory is left alone.
    for (std::size_t i = slot; i < before.slotCount(); ++i)
        (void)before.row(i);
    const std::size_t oldLength = before.row(slot).size();
    const std::size_t room = before.freeSpace();
    if (row.size() > oldLength + room)
        return false;

    const auto bytes = m_page->span();
    const std::size_t slots = before.slotCount();
    const std::size_t start = slotStart(bytes, slot);
    const std::size_t lowest = slotStart(bytes, slots - 1);
    const std::size_t newLowest = lowest + oldLength - row.size();
    std::memmove(bytes.data() + newLowest, bytes.data() + lowest, start - lowest);
    for (std::size_t i = slot; i < slots; ++i) {
        const std::uint16_t word = slotWord(bytes, i);
        const std::size_t moved = (word & kOffsetBits) + oldLength - row.size();
        const unsigned flags = i == slot ? slotFlags(kind) : word & ~unsigned{kOffsetBits};
        putU16(bytes, kDirectoryAt + kSlotSize * i, static_cast<std::uint16_t>(moved | flags));
    }
    if (!row.empty())
        std::memcpy(bytes.data() + start + oldLength - row.size(), row.data(), row.size());
    putU16(bytes, kFreeSpaceAt, static_cast<std::uint16_t>(room + oldLength - row.size()));
    return true;
}

void DataPageEditor::erase(std::size_t slot) {
    replace(slot, {}, SlotKind::Deleted);
}

}  // namespace jet
