// SPDX-License-Identifier: MIT
#include "jet/rows/long_value.h"

#include <algorithm>

#include "jet/pages/data_page.h"
#include "jet/values/bytes.h"

namespace jet {
namespace {

constexpr std::size_t kHeaderSize = 12;
constexpr std::size_t kMaxInline = 32;
constexpr std::size_t kMaxOneRow = 1731;
constexpr std::size_t kPieceSize = 2032;  // of a chain; with the pointer to the next one it fills its page
constexpr std::size_t kMaxLength = 0xFFFFFF;
constexpr std::size_t kUsefulRoom = 128;  // a page with less is not offered to the next value
constexpr std::size_t kMaxHints = 16;     // pages offered at most, so that a write looks at few

enum class Kind : std::uint8_t { Chain = 0x00, OneRow = 0x40, Inline = 0x80 };

struct ValueHeader {
    std::size_t length = 0;
    Kind kind = Kind::Inline;
    std::uint32_t pointer = 0;
};

ValueHeader parseHeader(ByteView field) {
    if (field.size() < kHeaderSize)
        corrupt(0, "a long value without its header");
    const std::uint8_t kind = field[3] & 0xC0U;
    if (kind == 0xC0U)
        corrupt(0, "a long value of an unknown kind");
    // The low bits of the kind byte extend the length.
    const std::size_t length = getU32(field, 0) & 0x3FFFFFFFU;
    return {length, static_cast<Kind>(kind), getU32(field, 4)};
}

Bytes makeField(std::size_t length, Kind kind, std::uint32_t pointer) {
    Bytes field(kHeaderSize);
    putU32(field, 0, static_cast<std::uint32_t>(length));
    putU8(field, 3, static_cast<std::uint8_t>(kind));
    putU32(field, 4, pointer);
    return field;
}

DataPageView longValuePage(const PageRef& page, PageNo number) {
    DataPageView view(page->view(), number);
    if (view.owner() != kOwnerLongValues)
        corrupt(number, "not a page of long values");
    return view;
}

// The bytes of one stored row, which `page` keeps alive.
ByteView storedRow(Pager& pager, RowId id, PageRef& page) {
    page = pager.read(id.page);
    const DataPageView view = longValuePage(page, id.page);
    if (view.kind(id.row) != SlotKind::Row)
        corrupt(id.page, "a long value was deleted");
    return view.row(id.row);
}

std::size_t roomOn(Pager& pager, PageNo number) {
    const PageRef page = pager.read(number);
    const DataPageView view = longValuePage(page, number);
    return view.hasRoom(0) ? view.freeSpace() : 0;
}

}  // namespace

LongValueStore::LongValueStore(Pager& pager, PageSpace& space, LongValueMaps maps)
    : m_pager(&pager), m_space(&space), m_maps(maps) {}

std::size_t LongValueStore::length(ByteView field) {
    return parseHeader(field).length;
}

bool LongValueStore::isInline(ByteView field) {
    return parseHeader(field).kind == Kind::Inline;
}

Bytes LongValueStore::read(ByteView field) const {
    const ValueHeader header = parseHeader(field);
    if (header.kind == Kind::Inline) {
        if (field.size() != kHeaderSize + header.length)
            corrupt(0, "a long value in the row has a wrong length");
        return {field.begin() + kHeaderSize, field.end()};
    }
    PageRef page;
    if (header.kind == Kind::OneRow) {
        const ByteView row = storedRow(*m_pager, fromPointer(header.pointer), page);
        const ByteView value = slice(row, 0, header.length);
        return {value.begin(), value.end()};
    }
    if (header.length > std::size_t{m_pager->pageCount()} * kPageSize)
        corrupt(header.pointer >> 8U, "a long value is longer than its file");
    Bytes value;
    value.reserve(header.length);
    for (std::uint32_t pointer = header.pointer; pointer != 0;) {
        const ByteView row = storedRow(*m_pager, fromPointer(pointer), page);
        if (row.size() <= 4 || row.size() - 4 > header.length - value.size())
            corrupt(pointer >> 8U, "the pieces of a long value do not add up");
        value.insert(value.end(), row.begin() + 4, row.end());
        pointer = getU32(row, 0);
    }
    if (value.size() != header.length)
        corrupt(header.pointer >> 8U, "the pieces of a long value do not add up");
    return value;
}

Bytes LongValueStore::write(ByteView value) {
    if (value.size() > kMaxLength)
        throw Error(Errc::TooLong);
    if (value.size() <= kMaxInline) {
        Bytes field = makeField(value.size(), Kind::Inline, 0);
        field.insert(field.end(), value.begin(), value.end());
        return field;
    }
    if (m_maps.freeSpace && value.size() <= kMaxOneRow)
        return makeField(value.size(), Kind::OneRow, toPointer(writeRow(value)));
    return makeField(value.size(), Kind::Chain, toPointer(writeChain(value)));
}

RowId LongValueStore::writeRow(ByteView value) {
    UsageMap hints(*m_pager, *m_maps.freeSpace);
    const UsageMap owned(*m_pager, m_maps.owned);
    PageNo target = 0;
    for (const PageNo page : hints.pages()) {
        if (owned.contains(page) && roomOn(*m_pager, page) >= value.size() + 2) {
            target = page;
            break;
        }
    }
    if (target == 0)
        target = newPage();
    const RowId id{target, DataPageEditor(m_pager->edit(target), target).append(value)};
    offer(target);
    return id;
}

RowId LongValueStore::writeChain(ByteView value) {
    // From the end, so that each piece knows where the next one is.
    RowId next;
    const std::size_t pieces = (value.size() + kPieceSize - 1) / kPieceSize;
    std::vector<PageNo> pages(pieces);
    for (PageNo& page : pages)
        page = newPage();
    for (std::size_t i = pieces; i-- > 0;) {
        const ByteView piece = value.subspan(i * kPieceSize, std::min(kPieceSize, value.size() - i * kPieceSize));
        Bytes row;
        appendLe<std::uint32_t>(row, toPointer(next));
        row.insert(row.end(), piece.begin(), piece.end());
        next = {pages[i], DataPageEditor(m_pager->edit(pages[i]), pages[i]).append(row)};
    }
    return next;
}

PageNo LongValueStore::newPage() {
    UsageMap owned(*m_pager, m_maps.owned);
    const PageNo page = m_space->allocate(owned);
    DataPageEditor(m_pager->edit(page), page).format(kOwnerLongValues);
    return page;
}

void LongValueStore::erase(ByteView field) {
    const ValueHeader header = parseHeader(field);
    if (header.kind == Kind::Inline)
        return;
    // A chain that meets itself finds its row deleted, so this ends.
    for (std::uint32_t pointer = header.pointer; pointer != 0;) {
        const RowId id = fromPointer(pointer);
        PageRef page;
        const ByteView row = storedRow(*m_pager, id, page);
        pointer = header.kind == Kind::Chain ? getU32(row, 0) : 0;
        eraseRow(id);
    }
}

void LongValueStore::eraseRow(RowId id) {
    UsageMap owned(*m_pager, m_maps.owned);
    if (!owned.contains(id.page))
        corrupt(id.page, "a long value on a page of another column");
    DataPageEditor editor(m_pager->edit(id.page), id.page);
    editor.erase(id.row);
    if (editor.view().liveSlots() > 0) {
        offer(id.page);
        return;
    }
    if (m_maps.freeSpace)
        UsageMap(*m_pager, *m_maps.freeSpace).remove(id.page);
    owned.remove(id.page);
    m_space->free(id.page);
}

// Keeps the list of pages worth trying: those with useful room, the roomiest when there are too many.
void LongValueStore::offer(PageNo changed) {
    if (!m_maps.freeSpace)
        return;
    UsageMap hints(*m_pager, *m_maps.freeSpace);
    if (roomOn(*m_pager, changed) < kUsefulRoom) {
        hints.remove(changed);
        return;
    }
    if (hints.contains(changed))
        return;
    hints.add(changed, *m_space);
    const std::vector<PageNo> pages = hints.pages();
    if (pages.size() > kMaxHints) {
        hints.remove(*std::min_element(pages.begin(), pages.end(),
                                       [&](PageNo a, PageNo b) { return roomOn(*m_pager, a) < roomOn(*m_pager, b); }));
    }
}

}  // namespace jet
