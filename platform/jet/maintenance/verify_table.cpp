// SPDX-License-Identifier: MIT
// verify(): table definitions, data pages, rows and long values.
#include <algorithm>

#include "jet/maintenance/verifier.h"
#include "jet/pages/data_page.h"
#include "jet/values/bytes.h"
#include "jet/values/codepage.h"
#include "jet/values/text_order.h"

namespace jet::verifying {

namespace {

constexpr std::size_t kDirectoryAt = 10;
constexpr std::uint32_t kNoPartner = 0xFFFFFFFF;
constexpr std::uint8_t kNoCascade = 4;
constexpr std::uint8_t kUnusedJump = 0xFF;
constexpr std::size_t kLongHeader = 12;
constexpr unsigned kLongInline = 0x80;
constexpr unsigned kLongRow = 0x40;
constexpr unsigned kLongChain = 0x00;

// Rows lie behind each other from the end of the page; each ends where the one before begins.
Slot slotOf(ByteView page, std::size_t row, std::size_t count) {
    const std::uint16_t word = getU16(page, kDirectoryAt + 2 * row);
    Slot slot;
    slot.flags = word & 0xE000U;
    slot.start = word & 0x1FFFU;
    slot.end = row == 0 ? kPageSize : getU16(page, kDirectoryAt + 2 * (row - 1)) & 0x1FFFU;
    slot.good = slot.start <= slot.end && slot.end <= kPageSize && slot.start >= kDirectoryAt + 2 * count;
    return slot;
}

std::size_t slotCount(ByteView page, PageNo number) {
    const std::size_t count = getU16(page, 8);
    if (kDirectoryAt + 2 * count > kPageSize)
        corrupt(number, std::to_string(count) + " rows cannot be on one page");
    return count;
}

std::string ownerName(std::uint32_t owner) {
    return owner == kOwnerLongValues ? "LVAL" : std::to_string(owner);
}

// The variable columns of a row that was written when the table had `columns` columns are none if the first column
// added since says that there were none before it.
bool hasVariablePart(const TableDef& def, std::size_t columns) {
    if (def.variableColumns == 0 || columns >= def.maxColumns)
        return def.variableColumns != 0;
    const auto later =
        std::find_if(def.columns.begin(), def.columns.end(), [&](const ColumnDef& c) { return c.number >= columns; });
    return later == def.columns.end() || later->variableIndex > 0;
}

std::size_t nameLength(const std::string& name) {
    return 1 + toCodePage(name).size();
}

// What the definition takes by what is in it.
std::size_t definitionLength(const TableDef& def) {
    std::size_t length = 0x2B + 2;
    for (const ColumnDef& column : def.columns)
        length += 18 + nameLength(column.name);
    for (const LogicalIndex& index : def.logicalIndexes)
        length += 20 + nameLength(index.name);
    return length + (8 + 39) * def.realIndexes.size() + 10 * def.longValues.size();
}

// The byte string of a definition: its first page, then the others without their first 8 bytes.
Bytes definitionBytes(Pager& pager, const TableDef& def) {
    Bytes bytes;
    for (const PageNo number : def.pages) {
        const PageRef page = pager.read(number);
        const ByteView part = page->view().subspan(bytes.empty() ? 0 : 8);
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
}

template <typename Things>
bool namesDiffer(const Things& things) {
    std::set<Bytes> seen;
    return std::all_of(things.begin(), things.end(), [&](const auto& thing) {
        Bytes key;
        appendSortKey(thing.name, key);
        return seen.insert(key).second;
    });
}

// The size that values of a type have, wherever they are stored; 0 = it varies.
std::size_t sizeOf(const ColumnDef& column) {
    switch (column.type) {
        case ColumnType::Binary:
        case ColumnType::Text:
        case ColumnType::Ole:
        case ColumnType::Memo:
            return 0;
        default:
            return column.storedSize();
    }
}

}  // namespace

// ---- one row ----

StoredRow::StoredRow(const TableDef& def, ByteView row, PageNo page) : m_def(&def), m_row(row), m_page(page) {
    m_columns = getU8(row, 0);
    const std::size_t maskLength = (m_columns + 7) / 8;
    if (row.size() < 1 + maskLength)
        corrupt(page, "the row is shorter than its null mask");
    m_mask = row.size() - maskLength;
    m_offsets[0] = static_cast<std::uint16_t>(m_mask);
    if (!hasVariablePart(def, m_columns))
        return;
    const std::size_t jumps = (row.size() - 1) / 256;
    if (m_mask < 1 + 1 + jumps + 1)
        corrupt(page, "the row is shorter than its offset table");
    m_variable = row[m_mask - 1];
    const std::size_t firstOffset = m_mask - 2 - jumps;
    if (firstOffset < m_variable + 1)
        corrupt(page, "the row is shorter than its offset table");
    const std::size_t dataEnd = firstOffset - m_variable;
    const std::size_t realJumps = std::min(jumps, dataEnd / 256);
    const auto jump = [&](std::size_t k) { return row[m_mask - 2 - k]; };
    std::size_t used = 0;
    for (std::size_t i = 0; i <= m_variable; ++i) {
        while (used < realJumps && jump(used) == i)
            ++used;
        m_offsets[i] = static_cast<std::uint16_t>(row[firstOffset - i] + 256 * used);
        if (i > 0 && m_offsets[i] < m_offsets[i - 1])
            corrupt(page, "the offsets of the row decrease");
    }
    if (m_offsets[m_variable] != dataEnd)
        corrupt(page, "the data of the row ends at " + std::to_string(m_offsets[m_variable]) +
                          ", its offset table begins at " + std::to_string(dataEnd));
    if (m_offsets[0] < 1)
        corrupt(page, "the data of the row begins before it");
    if (used != realJumps)
        m_jumpFault = std::to_string(realJumps) + " jumps are needed, " + std::to_string(used) + " found";
    for (std::size_t k = realJumps; k < jumps; ++k) {
        if (jump(k) != kUnusedJump)
            m_jumpFault = "an unused jump byte is set";
    }
}

bool StoredRow::isPresent(const ColumnDef& column) const {
    return column.number < m_columns && (m_row[m_mask + column.number / 8] >> column.number % 8 & 1U) != 0;
}

ByteView StoredRow::variableBytes(const ColumnDef& column) const {
    if (column.variableIndex >= m_variable)
        return {};
    const std::size_t from = m_offsets[column.variableIndex];
    return m_row.subspan(from, m_offsets[column.variableIndex + std::size_t{1}] - from);
}

std::optional<ByteView> StoredRow::field(std::size_t position) const {
    static constexpr std::array<std::uint8_t, 2> kBooleans = {0, 1};
    const ColumnDef& column = m_def->columns[position];
    const bool present = isPresent(column);
    if (column.type == ColumnType::Boolean)
        return ByteView(kBooleans).subspan(present ? 1 : 0, 1);
    if (!present)
        return std::nullopt;
    if (!column.isFixed()) {
        if (column.variableIndex >= m_variable)
            corrupt(m_page, "column " + column.name + " is not Null but the row has no place for it");
        return variableBytes(column);
    }
    const std::size_t from = std::size_t{1} + column.fixedOffset;
    if (from + column.storedSize() > fixedEnd())
        corrupt(m_page, "column " + column.name + " runs into the variable part of the row");
    return m_row.subspan(from, column.storedSize());
}

// ---- data pages ----

// Reports what is wrong with a page and its directory. The slots are none when it is no data page of that owner.
std::vector<Slot> Verifier::checkDataPage(const std::string& what, PageNo number, std::uint32_t owner) {
    const PageRef ref = m_pager.read(number);
    const ByteView page = ref->view();
    const std::string where = what + ": page " + std::to_string(number);
    if (page[0] != 1 || page[1] != 1) {
        problem(where + " is of type " + std::to_string(page[0]) + ", not a data page");
        return {};
    }
    if (getU32(page, 4) != owner) {
        problem(where + " has the owner " + ownerName(getU32(page, 4)) + ", not " + ownerName(owner));
        return {};
    }
    const std::size_t count = slotCount(page, number);
    if (count > kMaxSlots)
        problem(where + " has " + std::to_string(count) + " rows");
    std::vector<Slot> slots;
    std::size_t lowest = kPageSize;
    for (std::size_t i = 0; i < std::min(count, kMaxSlots); ++i) {
        const Slot slot = slotOf(page, i, count);
        slots.push_back(slot);
        lowest = std::min(lowest, slot.start);
        const std::string row = what + ": row " + place({number, static_cast<std::uint8_t>(i)});
        const std::size_t length = slot.good ? slot.end - slot.start : 0;
        if (!slot.good)
            problem(row + " lies from byte " + std::to_string(slot.start) + " to " + std::to_string(slot.end));
        else if ((slot.flags & 0x2000U) != 0)
            problem(row + " has unknown flags");
        else if (slot.flags == Slot::kDeleted && length != 0)
            problem(row + " is deleted but has " + std::to_string(length) + " bytes");
        else if (slot.flags != Slot::kDeleted && length == 0)
            problem(row + " is empty");
        else if (slot.flags == Slot::kPointer && length != 4)
            problem(row + " is a pointer of " + std::to_string(length) + " bytes");
    }
    const std::size_t directoryEnd = kDirectoryAt + 2 * count;
    if (lowest >= directoryEnd && getU16(page, 2) != lowest - directoryEnd)
        problem(where + " has " + std::to_string(lowest - directoryEnd) + " bytes free, its header says " +
                std::to_string(getU16(page, 2)));
    return slots;
}

// One slot of a page of that owner. Throws Corrupt when there is no such row.
Slot Verifier::slotAt(RowId id, std::uint32_t owner) {
    const PageRef page = m_pager.read(id.page);
    const ByteView bytes = page->view();
    if (bytes[0] != 1 || bytes[1] != 1 || getU32(bytes, 4) != owner)
        corrupt(id.page, "row " + place(id) + " is looked for on a page of another owner");
    const std::size_t count = slotCount(bytes, id.page);
    const Slot slot = id.row < count ? slotOf(bytes, id.row, count) : Slot();
    if (!slot.good)
        corrupt(id.page, "there is no row " + place(id));
    return slot;
}

// ---- definitions ----

void Verifier::checkDefinition(CheckedTable& table) {
    const TableDef& def = table.def;
    const std::string what = "table " + table.name;
    const bool systemPage = def.page >= 2 && def.page <= 5;
    if (def.system != systemPage)
        problem(what + ": a definition of type " + (def.system ? "S" : "N") + " on page " + std::to_string(def.page));
    const Bytes bytes = definitionBytes(m_pager, def);
    const std::size_t stated = getU32(bytes, 8);
    const std::size_t length = definitionLength(def);
    if (stated != length)
        problem(what + ": the definition takes " + std::to_string(length) + " bytes, its header says " +
                std::to_string(stated));
    if (def.pages.size() != TableDef::pagesFor(length))
        problem(what + ": a definition of " + std::to_string(length) + " bytes on " + std::to_string(def.pages.size()) +
                " pages");
    checkColumns(table);
    checkIndexDefinitions(table);
    std::size_t at = 0x2B + 8 * def.realIndexes.size();
    for (const ColumnDef& column : def.columns)
        at += 18 + nameLength(column.name);
    for (std::size_t i = 0; i < def.realIndexes.size(); ++i, at += 39) {
        for (std::size_t k = def.realIndexes[i].columns.size(); k < 10; ++k) {
            if (getU16(bytes, at + 3 * k) != 0xFFFF)
                problem(what + ", index tree " + std::to_string(i) + ": a column behind the end of its list");
        }
    }
}

// That types are known, numbers ascend and columns lie in their rows was seen to when the definition was loaded.
void Verifier::checkColumns(CheckedTable& table) {
    const TableDef& def = table.def;
    const std::string what = "table " + table.name;
    if (!namesDiffer(def.columns))
        problem(what + ": two columns have the same name");
    const bool intact = def.maxColumns == def.columns.size();  // no column was ever dropped
    // In hidden tables of Access a Boolean may use up a place among the variable columns.
    const bool hidden = table.name.starts_with("MSys");
    std::size_t variable = 0;
    std::size_t spare = 0;  // Booleans that may do so
    std::size_t offset = 0;
    std::size_t autoNumbers = 0;
    for (const ColumnDef& column : def.columns) {
        const std::string where = what + ", column " + column.name;
        if (column.language != m_language || (m_language == kGeneral && column.codePage != kCodePage))
            problem(where + ": another sort order than that of the file");
        const std::size_t size = column.type == ColumnType::Boolean ? 1 : sizeOf(column);
        if (size != 0 ? column.length != size : column.isLongValue() && column.length != 0)
            problem(where + ": length " + std::to_string(column.length));
        if (size == 0 && !column.isLongValue() && (column.length < 1 || column.length > 255))
            problem(where + ": length " + std::to_string(column.length));
        if (column.type == ColumnType::Boolean && ((column.flags & 1U) == 0 || column.fixedOffset != 0))
            problem(where + ": a Boolean with an offset or without the fixed flag");
        autoNumbers += column.isAutoNumber() ? 1 : 0;
        if (column.isAutoNumber() && column.type != ColumnType::Long)
            problem(where + ": an autonumber that is no Long");
        if (intact && hidden && column.variableIndex > variable && column.variableIndex <= variable + spare) {
            spare -= column.variableIndex - variable;
            variable = column.variableIndex;
        }
        if (intact && column.variableIndex != variable)
            problem(where + ": variable index " + std::to_string(column.variableIndex) + ", not " +
                    std::to_string(variable));
        if (column.type == ColumnType::Boolean) {
            ++spare;
        } else if (!column.isFixed()) {
            ++variable;
        } else {
            if (intact && column.fixedOffset != offset)
                problem(where + ": offset " + std::to_string(column.fixedOffset) + ", not " + std::to_string(offset));
            offset += column.length;
        }
    }
    if (hidden && variable < def.variableColumns && def.variableColumns <= variable + spare)
        variable = def.variableColumns;
    if (intact && variable != def.variableColumns)
        problem(what + ": " + std::to_string(variable) + " variable columns, the header says " +
                std::to_string(def.variableColumns));
    if (autoNumbers > 1)
        problem(what + ": " + std::to_string(autoNumbers) + " autonumber columns");
    for (const LongValueMaps& maps : def.longValues) {
        const auto position = def.columnByNumber(maps.column);
        if (!position || !def.columns[*position].isLongValue())
            problem(what + ": maps of long values for column number " + std::to_string(maps.column) +
                    ", which has none");
    }
}

void Verifier::checkIndexDefinitions(CheckedTable& table) {
    const TableDef& def = table.def;
    const std::string what = "table " + table.name;
    for (std::size_t i = 0; i < def.realIndexes.size(); ++i) {
        const RealIndex& index = def.realIndexes[i];
        const std::string where = what + ", index tree " + std::to_string(i);
        if (index.columns.empty())
            problem(where + ": no columns");
        for (const IndexColumn& column : index.columns) {
            if (!def.columnByNumber(column.column))
                problem(where + ": there is no column number " + std::to_string(column.column));
        }
        constexpr unsigned known = RealIndex::kUnique | RealIndex::kIgnoreNulls | RealIndex::kRequired;
        if ((index.flags & ~known) != 0)
            problem(where + ": flags " + std::to_string(index.flags));
    }
    if (!namesDiffer(def.logicalIndexes))
        problem(what + ": two indexes have the same name");
    std::vector<bool> numbers(def.logicalIndexes.size());
    std::vector<bool> backed(def.realIndexes.size());
    std::size_t primaries = 0;
    for (const LogicalIndex& index : def.logicalIndexes) {
        const std::string where = what + ", index " + index.name;
        if (index.number >= numbers.size() || numbers[index.number])
            problem(where + ": number " + std::to_string(index.number));
        else
            numbers[index.number] = true;
        backed[index.real] = true;
        const bool unique = (def.realIndexes[index.real].flags & RealIndex::kUnique) != 0;
        primaries += index.kind == LogicalIndex::Kind::Primary ? 1 : 0;
        if (index.kind == LogicalIndex::Kind::Primary && !unique)
            problem(where + ": a primary key that is not unique");
        if (index.kind != LogicalIndex::Kind::Relation) {
            if (index.side != LogicalIndex::Side::None || index.partnerNumber != kNoPartner ||
                index.partnerTable != 0 || index.cascadeUpdate != kNoCascade || index.cascadeDelete != kNoCascade)
                problem(where + ": a plain index with the fields of a relation");
            continue;
        }
        if (index.side == LogicalIndex::Side::None || index.cascadeUpdate > 1 || index.cascadeDelete > 1)
            problem(where + ": a relation without a side, or with unknown cascades");
        if (index.side == LogicalIndex::Side::Referenced) {
            if (index.name != std::string(".r") + static_cast<char>('A' + index.number))
                problem(where + ": not the name of the referenced side with number " + std::to_string(index.number));
            if (!unique)
                problem(where + ": the referenced side is not unique");
        }
    }
    if (primaries > 1)
        problem(what + ": " + std::to_string(primaries) + " primary keys");
    for (std::size_t i = 0; i < backed.size(); ++i) {
        if (!backed[i])
            problem(what + ": index tree " + std::to_string(i) + " belongs to no index");
    }
}

// Claims all pages that the definition leads to.
void Verifier::claimPages(CheckedTable& table) {
    const TableDef& def = table.def;
    const std::string what = "table " + table.name;
    for (const PageNo page : def.pages)
        claim(page, "the definition of " + table.name);
    guard(what, [&] { table.dataPages = claimAll(readMap(def.ownedMap, what), what); });
    guard(what, [&] { readFreeSpaceMap(def.freeSpaceMap, what + " (free space)", table.dataPages); });
    for (std::size_t i = 0; i < def.realIndexes.size(); ++i) {
        const std::string where = what + ", index tree " + std::to_string(i);
        guard(where, [&] { table.indexPages[i] = claimAll(readMap(def.realIndexes[i].map, where), where); });
    }
    for (const LongValueMaps& maps : def.longValues) {
        const std::string where = what + ", long values of column number " + std::to_string(maps.column);
        std::vector<PageNo>& pages = table.longValuePages[maps.column];
        guard(where, [&] { pages = claimAll(readMap(maps.owned, where), where); });
        if (maps.freeSpace)
            guard(where, [&] { readFreeSpaceMap(*maps.freeSpace, where + " (free space)", pages); });
    }
}

// ---- rows ----

void Verifier::scanRows(CheckedTable& table) {
    const TableDef& def = table.def;
    const std::string what = "table " + table.name;
    std::set<RowId> moved;
    std::map<RowId, RowId> pointers;  // by target
    const auto keep = [&](RowId id, ByteView bytes) {
        if (!checkRow(table, id, bytes))
            return;
        table.rows.push_back({id, table.bytes.size(), bytes.size()});
        table.bytes.insert(table.bytes.end(), bytes.begin(), bytes.end());
    };
    std::size_t count = 0;
    for (const PageNo number : table.dataPages) {
        std::vector<Slot> slots;
        guard(what, [&] { slots = checkDataPage(what, number, def.page); });
        const PageRef page = m_pager.read(number);
        bool live = false;
        for (std::size_t i = 0; i < slots.size(); ++i) {
            const RowId id{number, static_cast<std::uint8_t>(i)};
            live = live || slots[i].flags != Slot::kDeleted;
            if (slots[i].flags == Slot::kMoved)
                moved.insert(id);
            if (slots[i].flags != Slot::kRow && slots[i].flags != Slot::kPointer)
                continue;
            ++count;
            if (!slots[i].good)
                continue;
            const ByteView bytes = slots[i].of(page->view());
            if (slots[i].flags == Slot::kRow) {
                keep(id, bytes);
                continue;
            }
            guard(what + ", row " + place(id), [&] {
                const RowId target = fromPointer(getU32(bytes, 0));
                const auto [other, first] = pointers.emplace(target, id);
                if (!first) {
                    problem(what + ": rows " + place(other->second) + " and " + place(id) + " lead to " +
                            place(target));
                    return;
                }
                const Slot slot = slotAt(target, def.page);
                if (slot.flags != Slot::kMoved)
                    corrupt(target.page, "a pointer to " + place(target) + ", which is not a moved row");
                const PageRef there = m_pager.read(target.page);
                keep(id, slot.of(there->view()));
            });
        }
        if (!live)
            remark(what + ": page " + std::to_string(number) + " has no rows");
    }
    for (const RowId id : moved) {
        if (!pointers.contains(id))
            problem(what + ": nothing leads to the moved row " + place(id));
    }
    if (count != def.rowCount)
        problem(what + ": " + std::to_string(count) + " rows, the definition says " + std::to_string(def.rowCount));
    checkAutoNumber(table);
}

// False when the row is of no use for further checks.
bool Verifier::checkRow(const CheckedTable& table, RowId id, ByteView bytes) {
    const TableDef& def = table.def;
    std::string where;  // made when needed: most rows are good
    const auto fault = [&](const std::string& text) {
        where = "table " + table.name + ", row " + place(id) + ": ";
        problem(where + text);
    };
    try {
        const StoredRow row(def, bytes, id.page);
        if (row.columns() > def.maxColumns)
            fault(std::to_string(row.columns()) + " columns, the table has " + std::to_string(def.maxColumns));
        if (row.variableColumns() > def.variableColumns)
            fault(std::to_string(row.variableColumns()) + " variable columns, the table has " +
                  std::to_string(def.variableColumns));
        if (!row.jumpFault().empty())
            fault(row.jumpFault());
        std::size_t fixedSize = 0;
        bool usable = true;
        for (std::size_t i = 0; i < def.columns.size(); ++i) {
            const ColumnDef& column = def.columns[i];
            if (column.isFixed())
                fixedSize = std::max(fixedSize, column.fixedOffset + column.storedSize());
            const std::optional<ByteView> field = row.field(i);
            if (!field) {
                if (!column.isFixed() && !row.variableBytes(column).empty())
                    fault("column " + column.name + " is Null but has data");
                continue;
            }
            const std::size_t size = column.type == ColumnType::Boolean ? 1 : sizeOf(column);
            const bool wrong =
                size != 0 ? field->size() != size : !column.isLongValue() && field->size() > column.length;
            if (wrong) {
                fault("column " + column.name + " has " + std::to_string(field->size()) + " bytes");
                usable = usable && size == 0;
            }
        }
        if (row.columns() == def.maxColumns && def.columns.size() == def.maxColumns && row.fixedEnd() != 1 + fixedSize)
            fault("the fixed data ends at byte " + std::to_string(row.fixedEnd()) + ", not " +
                  std::to_string(1 + fixedSize));
        return usable;
    } catch (const Error& e) {
        if (isOfTheDisk(e))
            throw;
        fault(e.what());
        return false;
    }
}

void Verifier::checkAutoNumber(const CheckedTable& table) {
    const TableDef& def = table.def;
    const std::string what = "table " + table.name;
    const auto column =
        std::find_if(def.columns.begin(), def.columns.end(), [](const ColumnDef& c) { return c.isAutoNumber(); });
    if (column == def.columns.end()) {
        if (def.lastAutoNumber != 0 && def.maxColumns == def.columns.size())
            problem(what + ": the autonumber counter is " + std::to_string(def.lastAutoNumber) +
                    ", but there is no such column");
        return;
    }
    if (column->type != ColumnType::Long)
        return;
    const auto position = static_cast<std::size_t>(column - def.columns.begin());
    // The counter may stand below numbers in use: a number that a statement names sets it back.
    for (const LiveRow& live : table.rows)
        if (!table.row(live).field(position))
            problem(what + ", row " + place(live.id) + ": Null in the autonumber column");
}

// ---- long values ----

void Verifier::checkLongValues(const CheckedTable& table, std::size_t position) {
    const ColumnDef& column = table.def.columns[position];
    const std::string what = "table " + table.name + ", column " + column.name;
    const std::vector<PageNo>& list = table.longValuePages.at(column.number);
    const std::set<PageNo> pages(list.begin(), list.end());
    std::set<RowId> used;
    for (const LiveRow& live : table.rows) {
        const auto field = table.row(live).field(position);
        if (field) {
            const std::string where = what + ", row " + place(live.id);
            guard(where, [&] { checkLongValue(where, *field, pages, used); });
        }
    }
    for (const PageNo page : list) {
        guard(what, [&] {
            const std::vector<Slot> slots = checkDataPage(what, page, kOwnerLongValues);
            for (std::size_t i = 0; i < slots.size(); ++i) {
                const RowId id{page, static_cast<std::uint8_t>(i)};
                if (slots[i].flags != Slot::kRow && slots[i].flags != Slot::kDeleted)
                    problem(what + ": row " + place(id) + " of a long value has the flags of a moved row");
                else if (slots[i].flags == Slot::kRow && !used.contains(id))
                    problem(what + ": nothing leads to the long value " + place(id));
            }
        });
    }
}

// Follows one value through its rows. A row that serves two values is reported and not followed again.
void Verifier::checkLongValue(const std::string& what, ByteView field, const std::set<PageNo>& pages,
                              std::set<RowId>& used) {
    if (field.size() < kLongHeader)
        corrupt(0, "a long value with a header of " + std::to_string(field.size()) + " bytes");
    const std::size_t length = getU32(field, 0) & 0x3FFFFFFFU;
    const unsigned storage = field[3] & 0xC0U;
    RowId next = fromPointer(getU32(field, 4));
    if (getU32(field, 8) != 0 || (storage == kLongInline && next != RowId{}))
        problem(what + ": reserved bytes of the long value are not zero");
    std::size_t stored = 0;
    if (storage == kLongInline) {
        stored = field.size() - kLongHeader;
    } else if (storage != kLongRow && storage != kLongChain) {
        corrupt(0, "a long value that is stored in no known way");
    } else if (field.size() != kLongHeader) {
        corrupt(0, "a long value with a header of " + std::to_string(field.size()) + " bytes");
    }
    while (storage != kLongInline && next != RowId{}) {
        const RowId id = next;
        if (!used.insert(id).second) {
            problem(what + ": the long value uses row " + place(id) + ", which is used already");
            return;
        }
        if (!pages.contains(id.page))
            problem(what + ": the long value is on page " + std::to_string(id.page) +
                    ", which is not in the map of the column");
        const Slot slot = slotAt(id, kOwnerLongValues);
        if (slot.flags != Slot::kRow)
            corrupt(id.page, "the long value " + place(id) + " is deleted");
        const PageRef page = m_pager.read(id.page);
        const ByteView bytes = slot.of(page->view());
        next = storage == kLongChain ? fromPointer(getU32(bytes, 0)) : RowId{};
        stored += bytes.size() - (storage == kLongChain ? 4 : 0);
    }
    if (stored != length)
        problem(what + ": the long value has " + std::to_string(stored) + " bytes, its header says " +
                std::to_string(length));
}

}  // namespace jet::verifying
