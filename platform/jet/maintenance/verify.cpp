// SPDX-License-Identifier: MIT
#include "jet/maintenance/verify.h"

#include <algorithm>

#include "jet/maintenance/verifier.h"
#include "jet/values/bytes.h"
#include "jet/values/codepage.h"
#include "jet/values/text_order.h"

namespace jet {

std::vector<std::string> verify(Database& db, std::size_t limit, std::vector<std::string>* remarks) {
    return verify(db.pager(), limit, remarks);
}

std::vector<std::string> verify(Pager& pager, std::size_t limit, std::vector<std::string>* remarks) {
    return verifying::Verifier(pager, limit, remarks).run();
}

namespace verifying {

namespace {

constexpr std::size_t kMaskStart = 0x18;
constexpr std::size_t kMaskLength = 126;
constexpr std::uint32_t kMaskKey = 0x6B39DAC7;
constexpr std::size_t kPasswordAt = 0x42;
constexpr std::size_t kPasswordLength = 20;
constexpr PageNo kMapPageBits = (kPageSize - 4) * 8;
constexpr std::size_t kShortestMapRow = 9;
constexpr RowId kFreePages{1, 0};
constexpr RowId kSecondMap{1, 1};
constexpr PageNo kCatalogPage = 2;
constexpr std::int16_t kTableType = 1;

bool allZero(ByteView bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t b) { return b == 0; });
}

void appendSetBits(ByteView bits, PageNo first, std::vector<PageNo>& pages) {
    for (std::size_t i = 0; i < bits.size(); ++i) {
        for (unsigned k = 0; bits[i] != 0 && k < 8; ++k) {
            if ((bits[i] >> k & 1U) != 0)
                pages.push_back(first + static_cast<PageNo>(8 * i + k));
        }
    }
}

Bytes nameKey(std::string_view name) {
    Bytes key;
    appendSortKey(name, key);
    return key;
}

}  // namespace

std::string place(RowId id) {
    return std::to_string(id.page) + ":" + std::to_string(id.row);
}

std::vector<std::string> Verifier::run() {
    try {
        checkAll();
    } catch (const Enough&) {
        // The list is long enough to know.
    }
    return std::move(m_problems);
}

void Verifier::problem(const std::string& text) {
    m_problems.push_back(text);
    if (m_problems.size() >= m_limit)
        throw Enough();
}

void Verifier::remark(const std::string& text) {
    if (m_remarks != nullptr && m_remarks->size() < m_limit)
        m_remarks->push_back(text);
}

void Verifier::checkAll() {
    m_owners = {"nobody"};
    m_ownerOf.resize(m_pager.pageCount());
    m_free.resize(m_pager.pageCount());
    m_inTree.resize(m_pager.pageCount());
    guard("header", [&] { checkHeader(); });
    claim(0, "the header");
    claim(1, "the global maps");
    if (!guard("global maps", [&] { checkGlobalMaps(); }) || !guard("catalog", [&] { readCatalog(); }))
        return;
    for (const auto& table : m_tables) {
        for (std::size_t i = 0; i < table->def.columns.size(); ++i) {
            if (table->longValuePages.contains(table->def.columns[i].number))
                checkLongValues(*table, i);
        }
    }
    for (const auto& table : m_tables) {
        for (std::size_t real = 0; real < table->def.realIndexes.size(); ++real)
            checkIndex(*table, real);
    }
    guard("relationships", [&] { checkRelationships(); });
    checkMapRows();
    checkOwnership();
}

// ---- page 0 and the global maps ----

void Verifier::checkHeader() {
    Page header = *m_pager.read(0);
    cryptPage(header.span().subspan(kMaskStart, kMaskLength), kMaskKey, 0);
    const ByteView h = header.view();
    if (getU32(h, 0x14) != 0)
        problem("header: the version field is " + std::to_string(getU32(h, 0x14)));
    if (getU32(h, 0x18) != toPointer(kFreePages) || getU32(h, 0x1C) != toPointer(kSecondMap))
        problem("header: the global maps are not on page 1");
    for (std::uint32_t i = 0; i < 4; ++i) {
        if (getU32(h, 0x20 + 4 * i) != 2 + i)
            problem("header: system table " + std::to_string(i) + " is on page " +
                    std::to_string(getU32(h, 0x20 + 4 * i)));
    }
    if (!allZero(slice(h, 0x30, 8)) || !allZero(slice(h, 0x58, 0x600 - 0x58)))
        problem("header: reserved bytes are not zero");
    const ByteView password = slice(h, kPasswordAt, kPasswordLength);
    if (!allZero(ByteView(std::find(password.begin(), password.end(), 0), password.end())))
        problem("header: bytes after the end of the password are not zero");
    m_language = getU16(h, 0x3A);
    m_codePage = getU16(h, 0x3C);
    if (m_language == kGeneral && m_codePage != kCodePage)
        problem("header: code page " + std::to_string(m_codePage) + " with the General sort order");
    if (m_language != kGeneral)
        remark("the file has another sort order than General: keys of texts are checked for place and order alone");
}

void Verifier::checkGlobalMaps() {
    checkDataPage("page 1", 1, 1);
    const Map freePages = readMap(kFreePages, "free pages");
    const Map second = readMap(kSecondMap, "second global map");
    if (!second.pages.empty())
        problem("the second global map is not empty: it names page " + std::to_string(second.pages.front()));
    const std::size_t count = m_pager.pageCount();
    if (freePages.capacity < count)
        problem("the map of free pages covers " + std::to_string(freePages.capacity) + " of " + std::to_string(count) +
                " pages");
    std::size_t next = count;  // the first page past the end that is not marked so far
    for (const PageNo page : freePages.pages) {
        if (page < count)
            m_free[page] = true;
        else if (page == next)
            ++next;
    }
    if (freePages.isInline && next < freePages.capacity)
        problem("page " + std::to_string(next) + ", past the end of the file, is not marked free");
}

// ---- maps and owners ----

bool Verifier::claim(PageNo page, const std::string& owner) {
    if (page >= m_ownerOf.size()) {
        problem("page " + std::to_string(page) + " of " + owner + " is outside the file");
        return false;
    }
    if (m_ownerOf[page] != 0) {
        problem("page " + std::to_string(page) + " belongs to " + m_owners[m_ownerOf[page]] + " and to " + owner);
        return false;
    }
    if (m_owners.back() != owner)
        m_owners.push_back(owner);
    m_ownerOf[page] = static_cast<std::uint32_t>(m_owners.size() - 1);
    return true;
}

// The pages of a map that are its owner's alone.
std::vector<PageNo> Verifier::claimAll(const Map& map, const std::string& owner) {
    std::vector<PageNo> owned;
    for (const PageNo page : map.pages) {
        if (claim(page, owner))
            owned.push_back(page);
    }
    return owned;
}

// Reads a map, notes its row as used and claims its bitmap pages. Throws Corrupt when the row is no map.
Verifier::Map Verifier::readMap(RowId row, const std::string& owner) {
    const auto [known, added] = m_maps.emplace(row, owner);
    if (!added)
        problem("map row " + place(row) + " serves " + known->second + " and " + owner);
    const Slot slot = slotAt(row, row.page == 1 ? 1 : 0);
    if (slot.flags != Slot::kRow)
        corrupt(row.page, "map row " + place(row) + " is deleted or moved");
    const PageRef page = m_pager.read(row.page);
    const ByteView bytes = slot.of(page->view());
    Map map;
    if (getU8(bytes, 0) == 0) {
        const PageNo start = getU32(bytes, 1);
        if (start % 8 != 0)
            problem("map row " + place(row) + " of " + owner + " starts at page " + std::to_string(start) +
                    ", which is not a multiple of 8");
        if (start > 0xFFFFFF)
            corrupt(row.page, "map row " + place(row) + " starts outside any file");
        appendSetBits(bytes.subspan(5), start, map.pages);
        map.capacity = start + (bytes.size() - 5) * 8;
        return map;
    }
    if (getU8(bytes, 0) != 1)
        corrupt(row.page, "map row " + place(row) + " is of type " + std::to_string(bytes[0]));
    map.isInline = false;
    bool covered = true;  // without a hole so far
    for (std::size_t group = 0; 1 + 4 * (group + 1) <= bytes.size(); ++group) {
        const PageNo bitmap = getU32(bytes, 1 + 4 * group);
        covered = covered && bitmap != 0;
        if (bitmap == 0 || !claim(bitmap, "the map of " + owner))
            continue;
        const PageRef bits = m_pager.read(bitmap);
        if (getU32(bits->view(), 0) != 0x0105) {
            problem("page " + std::to_string(bitmap) + " is not a page of the map of " + owner);
            continue;
        }
        appendSetBits(bits->view().subspan(4), static_cast<PageNo>(group) * kMapPageBits, map.pages);
        if (covered)
            map.capacity = (group + 1) * kMapPageBits;
    }
    return map;
}

void Verifier::readFreeSpaceMap(RowId row, const std::string& owner, const std::vector<PageNo>& owned) {
    const Map map = readMap(row, owner);
    for (const PageNo page : map.pages) {
        if (!std::binary_search(owned.begin(), owned.end(), page)) {
            problem(owner + ": the map lists page " + std::to_string(page) + " of another owner");
            return;
        }
    }
}

// Pages of map rows belong to nobody but the maps on them.
void Verifier::checkMapRows() {
    PageNo last = 1;
    for (const auto& [row, owner] : std::map(m_maps)) {
        const PageNo page = row.page;
        if (page == last)
            continue;
        last = page;
        if (!claim(page, "map rows"))
            continue;
        const std::string what = "map page " + std::to_string(page);
        guard(what, [&] {
            const std::vector<Slot> slots = checkDataPage(what, page, 0);
            for (std::size_t i = 0; i < slots.size(); ++i) {
                const RowId id{page, static_cast<std::uint8_t>(i)};
                if (slots[i].flags != Slot::kRow && slots[i].flags != Slot::kDeleted)
                    problem("map row " + place(id) + " has the flags of a moved row");
                if (slots[i].flags != Slot::kRow)
                    continue;
                if (!m_maps.contains(id))
                    problem("map row " + place(id) + " is used by nobody");
                if (slots[i].good && slots[i].end - slots[i].start < kShortestMapRow)
                    problem("map row " + place(id) + " has " + std::to_string(slots[i].end - slots[i].start) +
                            " bytes");
            }
        });
    }
}

void Verifier::checkOwnership() {
    for (PageNo page = 0; page < m_pager.pageCount(); ++page) {
        const bool owned = m_ownerOf[page] != 0;
        if (owned && m_free[page])
            problem("page " + std::to_string(page) + " is free and belongs to " + m_owners[m_ownerOf[page]]);
        if (!owned && !m_free[page])
            problem("page " + std::to_string(page) + " is neither owned nor free");
    }
    if (m_pager.pageCount() > 0 && m_free[m_pager.pageCount() - 1])
        remark("the last page of the file is free");
}

// ---- the catalog ----

// Loads a table and checks everything about it but its long values and indexes.
void Verifier::addTable(PageNo page, const std::string& name) {
    auto table = std::make_unique<CheckedTable>();
    table->name = name;
    const bool readable = guard("table " + name, [&] {
        table->def = TableDef::load(m_pager, page);
        checkDefinition(*table);
    });
    if (!readable)
        return;
    m_tables.push_back(std::move(table));
    CheckedTable& added = *m_tables.back();
    added.indexPages.resize(added.def.realIndexes.size());
    guard("table " + name, [&] { claimPages(added); });
    scanRows(added);
}

CheckedTable* Verifier::tableOn(PageNo page) {
    const auto it = std::find_if(m_tables.begin(), m_tables.end(), [&](const auto& t) { return t->def.page == page; });
    return it == m_tables.end() ? nullptr : it->get();
}

CheckedTable* Verifier::tableNamed(std::string_view name) {
    const auto it = m_byName.find(nameKey(name));
    return it == m_byName.end() ? nullptr : it->second;
}

void Verifier::readCatalog() {
    addTable(kCatalogPage, "MSysObjects");
    if (m_tables.empty())
        return;
    const CheckedTable& objects = *m_tables.front();
    const auto column = [&](const char* name) {
        const auto position = objects.def.columnByName(name);
        if (!position)
            corrupt(kCatalogPage, std::string("the catalog has no column ") + name);
        return *position;
    };
    const std::size_t id = column("Id");
    const std::size_t nameAt = column("Name");
    const std::size_t type = column("Type");
    std::set<PageNo> pages;
    for (const LiveRow& live : objects.rows) {
        const StoredRow row = objects.row(live);
        const auto typeField = row.field(type);
        if (!typeField || getLe<std::int16_t>(*typeField, 0) != kTableType)
            continue;
        const auto idField = row.field(id);
        const auto nameField = row.field(nameAt);
        if (!idField || !nameField) {
            problem("catalog: the table of row " + place(live.id) + " has no name or no page");
            continue;
        }
        const std::string name = fromCodePage(*nameField);
        const PageNo page = getU32(*idField, 0);
        if (!m_byName.emplace(nameKey(name), nullptr).second)
            problem("catalog: two tables are named " + name);
        if (!pages.insert(page).second) {
            problem("catalog: table " + name + " shares page " + std::to_string(page) + " with another table");
            continue;
        }
        if (page != kCatalogPage)
            addTable(page, name);
    }
    for (const char* name : {"MSysObjects", "MSysACEs", "MSysQueries", "MSysRelationships"}) {
        if (!m_byName.contains(nameKey(name)))
            problem(std::string("catalog: there is no table ") + name);
    }
    if (!pages.contains(kCatalogPage))
        problem("catalog: no table is on page 2");
    for (const auto& table : m_tables)
        m_byName[nameKey(table->name)] = table.get();
}

}  // namespace verifying
}  // namespace jet
