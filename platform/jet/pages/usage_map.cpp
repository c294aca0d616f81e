// SPDX-License-Identifier: MIT
#include "jet/pages/usage_map.h"

#include <algorithm>

#include "jet/pages/data_page.h"
#include "jet/values/bytes.h"

namespace jet {
namespace {

// Inline row: u8 0, u32 start page, bitmap. List row: u8 1, u32 numbers of bitmap pages (0 = none).
// Bitmap page: 05 01 00 00, bitmap. Bits count from the lowest of the first byte.
constexpr std::size_t kInlineHeader = 5;
constexpr std::size_t kListHeader = 1;
constexpr std::size_t kFreshRowSize = 133;
constexpr std::size_t kMapPageHeader = 4;
constexpr std::uint32_t kMapPageMark = 0x0105;
constexpr PageNo kMapPageBits = (kPageSize - kMapPageHeader) * 8;
constexpr PageNo kMaxPage = 0xFFFFFF;  // a pointer has 24 bits for the page
constexpr RowId kFreePageMap{1, 0};
constexpr PageNo kFirstAllocatable = 2;

// A map row as it lies in its page, which `page` keeps alive.
struct MapRow {
    PageRef page;
    ByteView bytes;
    bool inlineMap = true;

    [[nodiscard]] PageNo start() const { return getU32(bytes, 1); }
    [[nodiscard]] ByteView bits() const { return bytes.subspan(kInlineHeader); }
    [[nodiscard]] std::size_t groups() const { return (bytes.size() - kListHeader) / 4; }
    [[nodiscard]] PageNo mapPage(std::size_t group) const { return getU32(bytes, kListHeader + 4 * group); }
    // True when an inline map has a bit for the page.
    [[nodiscard]] bool covers(PageNo n) const { return n >= start() && (n - start()) / 8 < bits().size(); }
};

MapRow loadRow(Pager& pager, RowId id) {
    MapRow map;
    map.page = pager.read(id.page);
    const DataPageView view(map.page->view(), id.page);
    if (view.owner() != kOwnerMapRows && !(id.page == 1 && view.owner() == 1))
        corrupt(id.page, "not a page of usage maps");
    if (view.kind(id.row) != SlotKind::Row)
        corrupt(id.page, "a usage map was deleted");
    map.bytes = view.row(id.row);
    if (map.bytes.size() < kInlineHeader || map.bytes[0] > 1)
        corrupt(id.page, "not a usage map");
    map.inlineMap = map.bytes[0] == 0;
    if (map.inlineMap && map.start() > kMaxPage)
        corrupt(id.page, "a usage map starts outside any file");
    return map;
}

ByteView mapPageBits(const PageRef& page, PageNo number) {
    if (getU32(page->view(), 0) != kMapPageMark)
        corrupt(number, "not a page of a usage map");
    return page->view().subspan(kMapPageHeader);
}

std::span<std::uint8_t> editMapPageBits(Pager& pager, PageNo number) {
    mapPageBits(pager.read(number), number);
    return pager.edit(number).span().subspan(kMapPageHeader);
}

std::span<std::uint8_t> editRow(Pager& pager, RowId id) {
    Page& page = pager.edit(id.page);
    const ByteView row = DataPageView(page.view(), id.page).row(id.row);
    return page.span().subspan(static_cast<std::size_t>(row.data() - page.bytes.data()), row.size());
}

bool replaceRow(Pager& pager, RowId id, ByteView bytes) {
    return DataPageEditor(pager.edit(id.page), id.page).replace(id.row, bytes, SlotKind::Row);
}

bool testBit(ByteView bits, std::size_t bit) {
    return (bits[bit / 8] >> (bit % 8) & 1U) != 0;
}

void putBit(std::span<std::uint8_t> bits, std::size_t bit, bool on) {
    const auto mask = static_cast<std::uint8_t>(1U << (bit % 8));
    bits[bit / 8] = static_cast<std::uint8_t>(on ? bits[bit / 8] | mask : bits[bit / 8] & ~mask);
}

void setBitsFrom(std::span<std::uint8_t> bits, std::size_t from) {
    for (; from < bits.size() * 8 && from % 8 != 0; ++from)
        putBit(bits, from, true);
    if (from < bits.size() * 8)
        std::memset(bits.data() + from / 8, 0xFF, bits.size() - from / 8);
}

// The lowest set bit >= `from`.
std::optional<std::size_t> nextBit(ByteView bits, std::size_t from) {
    for (std::size_t byte = from / 8; byte < bits.size(); ++byte) {
        while (bits.size() - byte > 8 && byte * 8 >= from && getLe<std::uint64_t>(bits, byte) == 0)
            byte += 8;
        unsigned value = bits[byte];
        if (byte == from / 8)
            value &= 0xFFU << (from % 8);
        if (value != 0)
            return byte * 8 + static_cast<std::size_t>(std::countr_zero(value));
    }
    return std::nullopt;
}

template <typename Visit>
void forEachBit(ByteView bits, Visit&& visit) {
    for (auto bit = nextBit(bits, 0); bit; bit = nextBit(bits, *bit + 1))
        visit(static_cast<PageNo>(*bit));
}

// Length of an inline row whose bitmap reaches `bit`; bitmaps grow by 4 bytes.
std::size_t inlineSize(std::size_t bit) {
    return kInlineHeader + 4 * (bit / 32 + 1);
}

// Makes the list long enough for `group` and puts `mapPage` there.
void setMapPage(Pager& pager, RowId id, std::size_t group, PageNo mapPage) {
    const MapRow map = loadRow(pager, id);
    if (group >= map.groups()) {
        Bytes longer(map.bytes.begin(), map.bytes.end());
        longer.resize(kListHeader + 4 * (group + 1));
        if (!replaceRow(pager, id, longer))
            throw Error(Errc::UnsupportedFeature, "a file of that size", {}, id.page);
    }
    putU32(editRow(pager, id), kListHeader + 4 * group, mapPage);
}

std::span<std::uint8_t> formatMapPage(Pager& pager, PageNo number) {
    Page& page = pager.edit(number);
    page = Page{};
    putU32(page.span(), 0, kMapPageMark);
    return page.span().subspan(kMapPageHeader);
}

// Puts `pages` (ascending, not empty) into an inline row from `start`; false when the page of the row has no room.
bool layOutInline(Pager& pager, RowId id, PageNo start, const std::vector<PageNo>& pages) {
    const std::size_t size = std::max(loadRow(pager, id).bytes.size(), inlineSize(pages.back() - start));
    if (size > kMaxRowOnPage)
        return false;
    Bytes row(size);
    putU32(row, 1, start);
    for (const PageNo page : pages)
        putBit(std::span(row).subspan(kInlineHeader), page - start, true);
    return replaceRow(pager, id, row);
}

}  // namespace

bool UsageMap::contains(PageNo page) const {
    const MapRow map = loadRow(*m_pager, m_row);
    if (map.inlineMap)
        return map.covers(page) && testBit(map.bits(), page - map.start());
    const std::size_t group = page / kMapPageBits;
    if (group >= map.groups() || map.mapPage(group) == 0)
        return false;
    const PageRef bitmap = m_pager->read(map.mapPage(group));
    return testBit(mapPageBits(bitmap, map.mapPage(group)), page % kMapPageBits);
}

std::vector<PageNo> UsageMap::pages(bool anywhere) const {
    const MapRow map = loadRow(*m_pager, m_row);
    std::vector<PageNo> found;
    const auto collect = [&](ByteView bits, PageNo first) {
        forEachBit(bits, [&](PageNo bit) { found.push_back(first + bit); });
        if (!anywhere && !found.empty() && found.back() >= m_pager->pageCount())
            corrupt(m_row.page, "a usage map names a page outside the file");
    };
    if (map.inlineMap) {
        collect(map.bits(), map.start());
        return found;
    }
    (void)mapPages();  // no bitmap page twice, so the answer is no larger than the file allows
    for (std::size_t group = 0; group < map.groups(); ++group) {
        if (const PageNo number = map.mapPage(group)) {
            const PageRef bitmap = m_pager->read(number);
            collect(mapPageBits(bitmap, number), static_cast<PageNo>(group) * kMapPageBits);
        }
    }
    return found;
}

std::optional<PageNo> UsageMap::next(PageNo from) const {
    const MapRow map = loadRow(*m_pager, m_row);
    const PageNo end = m_pager->pageCount();
    if (map.inlineMap) {
        const PageNo start = map.start();
        const auto bit = nextBit(map.bits(), from > start ? from - start : 0);
        return bit && start + *bit < end ? std::optional(static_cast<PageNo>(start + *bit)) : std::nullopt;
    }
    for (std::size_t group = from / kMapPageBits; group < map.groups() && group * kMapPageBits < end; ++group) {
        const PageNo number = map.mapPage(group);
        if (number == 0)
            continue;
        const auto first = static_cast<PageNo>(group) * kMapPageBits;
        const PageRef bitmap = m_pager->read(number);
        const auto bit = nextBit(mapPageBits(bitmap, number), from > first ? from - first : 0);
        if (bit)
            return first + *bit < end ? std::optional(static_cast<PageNo>(first + *bit)) : std::nullopt;
    }
    return std::nullopt;
}

void UsageMap::add(PageNo page, PageSpace& space) {
    assert(page <= kMaxPage);
    const MapRow map = loadRow(*m_pager, m_row);
    if (map.inlineMap && map.covers(page)) {
        putBit(editRow(*m_pager, m_row).subspan(kInlineHeader), page - map.start(), true);
        return;
    }
    if (map.inlineMap) {
        std::vector<PageNo> content = pages();
        const bool wasEmpty = content.empty();
        content.insert(std::lower_bound(content.begin(), content.end(), page), page);
        // An empty map moves its start instead of getting longer: rows of 133 bytes fill their page.
        if (!wasEmpty && page >= map.start() && layOutInline(*m_pager, m_row, map.start(), content))
            return;
        if (layOutInline(*m_pager, m_row, content.front() & ~PageNo{7}, content))
            return;
        // Too far apart for a row: a list, at first of no bitmap pages. The pages known so far go in like new ones.
        Bytes list(map.bytes.size());
        list[0] = 1;
        replaceRow(*m_pager, m_row, list);
        for (const PageNo p : content)
            add(p, space);
        return;
    }
    const std::size_t group = page / kMapPageBits;
    PageNo bitmap = group < map.groups() ? map.mapPage(group) : 0;
    if (bitmap == 0) {
        bitmap = space.allocate();
        formatMapPage(*m_pager, bitmap);
        setMapPage(*m_pager, m_row, group, bitmap);
    }
    putBit(editMapPageBits(*m_pager, bitmap), page % kMapPageBits, true);
}

void UsageMap::remove(PageNo page) {
    if (!contains(page))
        return;
    const MapRow map = loadRow(*m_pager, m_row);
    if (map.inlineMap)
        putBit(editRow(*m_pager, m_row).subspan(kInlineHeader), page - map.start(), false);
    else
        putBit(editMapPageBits(*m_pager, map.mapPage(page / kMapPageBits)), page % kMapPageBits, false);
}

std::vector<PageNo> UsageMap::mapPages() const {
    const MapRow map = loadRow(*m_pager, m_row);
    std::vector<PageNo> found;
    for (std::size_t group = 0; !map.inlineMap && group < map.groups(); ++group) {
        if (const PageNo number = map.mapPage(group))
            found.push_back(number);
    }
    std::vector<PageNo> sorted = found;
    std::sort(sorted.begin(), sorted.end());
    if (std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end())
        corrupt(m_row.page, "a usage map names a bitmap page twice");
    return found;
}

Bytes UsageMap::freshRow() {
    return Bytes(kFreshRowSize);
}

PageNo PageSpace::allocate() {
    UsageMap freePages(*m_pager, kFreePageMap);
    if (const auto page = freePages.next(kFirstAllocatable)) {
        freePages.remove(*page);
        m_pager->edit(*page) = Page{};
        return *page;
    }
    const PageNo page = m_pager->extend();
    if (page > kMaxPage)
        throw Error(Errc::UnsupportedFeature, "a file of that size", {}, page);
    cover(page);
    freePages.remove(page);
    return page;
}

PageNo PageSpace::allocate(UsageMap& owner) {
    const PageNo page = allocate();
    owner.add(page, *this);
    return page;
}

void PageSpace::free(PageNo page) {
    if (page < kFirstAllocatable || page >= m_pager->pageCount())
        corrupt(page, "a page that cannot be free");
    cover(page);
    UsageMap(*m_pager, kFreePageMap).add(page, *this);
    Page& bytes = m_pager->edit(page);
    if (bytes.bytes[0] == 0x01)
        bytes.bytes[0] = 0x09;
}

bool PageSpace::isFree(PageNo page) const {
    return UsageMap(*m_pager, kFreePageMap).contains(page);
}

// Makes the free-page map long enough for a page of the file. The bits that this adds are set for pages past the end
// of the file and clear for pages inside. A list takes its bitmap pages from the end of the file: they lie in the
// space that the map manages, but need no entry in it to be found first.
void PageSpace::cover(PageNo page) {
    const auto covered = [&] {
        const MapRow map = loadRow(*m_pager, kFreePageMap);
        if (!map.inlineMap)
            return page / kMapPageBits < map.groups() && map.mapPage(page / kMapPageBits) != 0;
        if (map.start() != 0)
            corrupt(kFreePageMap.page, "the map of free pages does not start at page 0");
        return map.covers(page);
    };
    while (!covered()) {
        const MapRow map = loadRow(*m_pager, kFreePageMap);
        if (map.inlineMap && inlineSize(page) <= kMaxRowOnPage) {
            Bytes longer(map.bytes.begin(), map.bytes.end());
            longer.resize(inlineSize(page));
            setBitsFrom(std::span(longer).subspan(kInlineHeader),
                        std::max<std::size_t>(map.bits().size() * 8, m_pager->pageCount()));
            if (replaceRow(*m_pager, kFreePageMap, longer))
                return;
        }
        const PageNo bitmap = m_pager->extend();
        const std::span<std::uint8_t> bits = formatMapPage(*m_pager, bitmap);
        const PageNo group = map.inlineMap ? 0 : page / kMapPageBits;
        const PageNo first = group * kMapPageBits;
        if (map.inlineMap) {
            std::memcpy(bits.data(), map.bits().data(), map.bits().size());
            // As short as a list can be: each entry leads to a bitmap, none says nothing about its pages.
            replaceRow(*m_pager, kFreePageMap, Bytes{1, 0, 0, 0, 0});
        }
        const std::size_t known = map.inlineMap ? map.bits().size() * 8 : 0;
        const PageNo end = m_pager->pageCount();
        setBitsFrom(bits, std::max<std::size_t>(known, end > first ? end - first : 0));
        setMapPage(*m_pager, kFreePageMap, group, bitmap);
        cover(bitmap);
        UsageMap(*m_pager, kFreePageMap).remove(bitmap);
    }
}

RowId PageSpace::newMapRow(std::optional<PageNo> near) {
    const Bytes row = UsageMap::freshRow();
    PageNo page = 0;
    if (near) {
        const PageRef ref = m_pager->read(*near);
        const DataPageView view(ref->view(), *near);
        if (view.owner() == kOwnerMapRows && view.hasRoom(row.size()))
            page = *near;
    }
    if (page == 0) {
        page = allocate();
        DataPageEditor(m_pager->edit(page), page).format(kOwnerMapRows);
    }
    return {page, DataPageEditor(m_pager->edit(page), page).append(row)};
}

}  // namespace jet
