// SPDX-License-Identifier: MIT
#include "jet/rows/table_def.h"

#include <algorithm>

#include "jet/values/bytes.h"
#include "jet/values/codepage.h"
#include "jet/values/text_order.h"

namespace jet {
namespace {

// Offsets in the byte string of a definition: the whole first page, then each further page without its first 8 bytes.
constexpr std::size_t kPageHeader = 8;
constexpr std::uint32_t kPageMark = 0x43560102;  // 02 01 "VC"
constexpr std::size_t kNextPageAt = 4;
constexpr std::size_t kLengthAt = 0x08;
constexpr std::size_t kRowCountAt = 0x0C;
constexpr std::size_t kAutoNumberAt = 0x10;
constexpr std::size_t kKindAt = 0x14;
constexpr std::size_t kMaxColumnsAt = 0x15;
constexpr std::size_t kVariableColumnsAt = 0x17;
constexpr std::size_t kColumnsAt = 0x19;
constexpr std::size_t kLogicalIndexesAt = 0x1B;
constexpr std::size_t kRealIndexesAt = 0x1F;
constexpr std::size_t kOwnedMapAt = 0x23;
constexpr std::size_t kFreeSpaceMapAt = 0x27;
constexpr std::size_t kStatisticsAt = 0x2B;
constexpr std::size_t kColumnsPerIndex = 10;
constexpr std::uint16_t kNone = 0xFFFF;
constexpr std::size_t kMaxColumns = 255;  // a row counts its columns in a byte
constexpr std::size_t kMaxIndexes = 255;  // eight times what the original engine allows

// Takes fields one after the other; the getters of bytes.h refuse to read past the end.
class Reader {
 public:
    Reader(ByteView bytes, std::size_t at) : m_bytes(bytes), m_at(at) {}

    template <typename T>
    T take() {
        const T value = getLe<T>(m_bytes, m_at);
        m_at += sizeof(T);
        return value;
    }
    RowId takePointer() { return fromPointer(take<std::uint32_t>()); }
    std::string takeName() {
        const std::size_t length = take<std::uint8_t>();
        const ByteView text = slice(m_bytes, m_at, length);
        m_at += length;
        return fromCodePage(text);
    }
    // Throws unless `count` records of at least `size` bytes may follow: a count can be no larger than its file.
    void expect(std::size_t count, std::size_t size) const { (void)slice(m_bytes, m_at, count * size); }

 private:
    ByteView m_bytes;
    std::size_t m_at;
};

void appendName(Bytes& out, const std::string& name) {
    const Bytes text = toCodePage(name);
    if (text.size() > 0xFF)
        throw Error(Errc::TooLong, name);
    appendLe<std::uint8_t>(out, static_cast<std::uint8_t>(text.size()));
    out.insert(out.end(), text.begin(), text.end());
}

ColumnDef takeColumn(Reader& in) {
    ColumnDef c;
    c.type = static_cast<ColumnType>(in.take<std::uint8_t>());
    c.number = in.take<std::uint16_t>();
    c.variableIndex = in.take<std::uint16_t>();
    c.position = in.take<std::uint16_t>();
    c.country = in.take<std::uint16_t>();
    c.language = in.take<std::uint16_t>();
    c.codePage = in.take<std::uint16_t>();
    c.flags = in.take<std::uint8_t>();
    c.fixedOffset = in.take<std::uint16_t>();
    c.length = in.take<std::uint16_t>();
    return c;
}

void appendColumn(Bytes& out, const ColumnDef& c) {
    appendLe(out, static_cast<std::uint8_t>(c.type));
    appendLe(out, c.number);
    appendLe(out, c.variableIndex);
    appendLe(out, c.position);
    appendLe(out, c.country);
    appendLe(out, c.language);
    appendLe(out, c.codePage);
    appendLe(out, c.flags);
    appendLe(out, c.fixedOffset);
    appendLe(out, c.length);
}

void takeRealIndex(Reader& in, RealIndex& index) {
    bool ended = false;
    for (std::size_t i = 0; i < kColumnsPerIndex; ++i) {
        const auto column = in.take<std::uint16_t>();
        const auto order = in.take<std::uint8_t>();
        ended = ended || column == kNone;
        if (!ended)
            index.columns.push_back({column, (order & 1U) != 0});
    }
    index.map = in.takePointer();
    index.root = in.take<std::uint32_t>();
    index.flags = in.take<std::uint8_t>();
}

void appendRealIndex(Bytes& out, const RealIndex& index) {
    assert(index.columns.size() <= kColumnsPerIndex);
    for (std::size_t i = 0; i < kColumnsPerIndex; ++i) {
        const bool used = i < index.columns.size();
        appendLe<std::uint16_t>(out, used ? index.columns[i].column : kNone);
        appendLe<std::uint8_t>(out, used && index.columns[i].ascending);
    }
    appendLe(out, toPointer(index.map));
    appendLe(out, index.root);
    appendLe(out, index.flags);
}

LogicalIndex takeLogicalIndex(Reader& in, PageNo page) {
    LogicalIndex index;
    index.number = in.take<std::uint32_t>();
    index.real = in.take<std::uint32_t>();
    const auto side = in.take<std::uint8_t>();
    index.partnerNumber = in.take<std::uint32_t>();
    index.partnerTable = in.take<std::uint32_t>();
    index.cascadeUpdate = in.take<std::uint8_t>();
    index.cascadeDelete = in.take<std::uint8_t>();
    const auto kind = in.take<std::uint8_t>();
    if (side > 2 || kind > 2)
        corrupt(page, "an index of an unknown kind");
    index.side = static_cast<LogicalIndex::Side>(side);
    index.kind = static_cast<LogicalIndex::Kind>(kind);
    return index;
}

void appendLogicalIndex(Bytes& out, const LogicalIndex& index) {
    appendLe(out, index.number);
    appendLe(out, index.real);
    appendLe(out, static_cast<std::uint8_t>(index.side));
    appendLe(out, index.partnerNumber);
    appendLe(out, index.partnerTable);
    appendLe(out, index.cascadeUpdate);
    appendLe(out, index.cascadeDelete);
    appendLe(out, static_cast<std::uint8_t>(index.kind));
}

bool isKnown(ColumnType type) {
    return (type >= ColumnType::Boolean && type <= ColumnType::Memo) || type == ColumnType::Guid;
}

void checkColumns(const TableDef& def) {
    const ColumnDef* previous = nullptr;
    for (const ColumnDef& c : def.columns) {
        if (!isKnown(c.type))
            corrupt(def.page, "a column of an unknown type");
        if (c.number >= def.maxColumns || (previous && c.number <= previous->number))
            corrupt(def.page, "column numbers are out of order");
        if (!c.isFixed() && c.variableIndex >= def.variableColumns)
            corrupt(def.page, "a column lies outside the variable part of its rows");
        if (c.isFixed() && c.type != ColumnType::Boolean && c.fixedOffset + c.storedSize() >= kPageSize)
            corrupt(def.page, "a column lies outside its rows");
        if (c.isFixed() && c.isLongValue())
            corrupt(def.page, "a long value in the fixed part of its rows");
        if (c.isLongValue() && std::ranges::count(def.longValues, c.number, &LongValueMaps::column) != 1)
            corrupt(def.page, "a column of long values without its maps");
        previous = &c;
    }
}

// The byte string, and the pages it lies on.
Bytes readString(Pager& pager, PageNo first, std::vector<PageNo>& pages) {
    Bytes bytes;
    for (PageNo page = first; page != 0;) {
        if (std::ranges::find(pages, page) != pages.end())
            corrupt(page, "the pages of a table definition go round in a circle");
        const PageRef ref = pager.read(page);
        if (getU32(ref->view(), 0) != kPageMark)
            corrupt(page, "not a table definition");
        const ByteView part = ref->view().subspan(pages.empty() ? 0 : kPageHeader);
        bytes.insert(bytes.end(), part.begin(), part.end());
        pages.push_back(page);
        page = getU32(ref->view(), kNextPageAt);
        if (page != 0 && bytes.size() >= getU32(bytes, kLengthAt))
            corrupt(first, "a table definition has more pages than it fills");
    }
    return bytes;
}

// Overwrites part of a stored definition.
void patch(Pager& pager, const TableDef& def, std::size_t offset, std::uint32_t value) {
    for (std::size_t i = 0; i < sizeof value; ++i, ++offset) {
        const std::size_t page = offset < kPageSize ? 0 : 1 + (offset - kPageSize) / (kPageSize - kPageHeader);
        const std::size_t within = page == 0 ? offset : kPageHeader + (offset - kPageSize) % (kPageSize - kPageHeader);
        putU8(pager.edit(def.pages.at(page)).span(), within, static_cast<std::uint8_t>(value >> (8 * i)));
    }
}

}  // namespace

std::size_t ColumnDef::storedSize() const {
    switch (type) {
        case ColumnType::Boolean:
            return 0;
        case ColumnType::Byte:
            return 1;
        case ColumnType::Integer:
            return 2;
        case ColumnType::Long:
        case ColumnType::Single:
            return 4;
        case ColumnType::Currency:
        case ColumnType::Double:
        case ColumnType::DateTime:
            return 8;
        case ColumnType::Guid:
            return 16;
        case ColumnType::Binary:
        case ColumnType::Text:
        case ColumnType::Ole:
        case ColumnType::Memo:
            break;
    }
    return length;
}

std::optional<std::size_t> TableDef::columnByNumber(std::uint16_t number) const {
    // Without dropped columns a column stands at the place of its number.
    if (number < columns.size() && columns[number].number == number)
        return number;
    const auto at = std::ranges::lower_bound(columns, number, {}, &ColumnDef::number);
    if (at == columns.end() || at->number != number)
        return std::nullopt;
    return static_cast<std::size_t>(at - columns.begin());
}

std::optional<std::size_t> TableDef::columnByName(std::string_view name) const {
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (equalText(columns[i].name, name))
            return i;
    }
    return std::nullopt;
}

bool TableDef::generalOrder() const {
    return std::ranges::all_of(columns, [](const ColumnDef& c) {
        return (c.type != ColumnType::Text && c.type != ColumnType::Memo) ||
               (c.language == 0x0409 && c.codePage == 1252);
    });
}

TableDef TableDef::load(Pager& pager, PageNo page) {
    TableDef def;
    def.page = page;
    const Bytes string = readString(pager, page, def.pages);
    const ByteView bytes = slice(string, 0, getU32(string, kLengthAt));

    def.rowCount = getU32(bytes, kRowCountAt);
    def.lastAutoNumber = getU32(bytes, kAutoNumberAt);
    const char kind = static_cast<char>(getU8(bytes, kKindAt));
    if (kind != 'S' && kind != 'N')
        corrupt(page, "a table definition of an unknown kind");
    def.system = kind == 'S';
    def.maxColumns = getU16(bytes, kMaxColumnsAt);
    def.variableColumns = getU16(bytes, kVariableColumnsAt);
    if (def.maxColumns > kMaxColumns || def.variableColumns > kMaxColumns)
        corrupt(page, "a table with more columns than a row can have");
    const std::size_t columns = getU16(bytes, kColumnsAt);
    const std::size_t logicalIndexes = getU32(bytes, kLogicalIndexesAt);
    const std::size_t realIndexes = getU32(bytes, kRealIndexesAt);
    if (logicalIndexes > kMaxIndexes || realIndexes > kMaxIndexes)
        corrupt(page, "a table with more indexes than it can have");
    def.ownedMap = fromPointer(getU32(bytes, kOwnedMapAt));
    def.freeSpaceMap = fromPointer(getU32(bytes, kFreeSpaceMapAt));

    Reader in(bytes, kStatisticsAt);
    in.expect(realIndexes, 8);
    def.realIndexes.resize(realIndexes);
    for (RealIndex& index : def.realIndexes) {
        index.rowsAtBuild = in.take<std::uint32_t>();
        index.distinctKeys = in.take<std::uint32_t>();
    }
    in.expect(columns, 18);
    for (std::size_t i = 0; i < columns; ++i)
        def.columns.push_back(takeColumn(in));
    for (ColumnDef& column : def.columns)
        column.name = in.takeName();
    for (RealIndex& index : def.realIndexes)
        takeRealIndex(in, index);
    in.expect(logicalIndexes, 20);
    for (std::size_t i = 0; i < logicalIndexes; ++i) {
        def.logicalIndexes.push_back(takeLogicalIndex(in, page));
        if (def.logicalIndexes.back().real >= realIndexes)
            corrupt(page, "an index without its tree");
    }
    for (LogicalIndex& index : def.logicalIndexes)
        index.name = in.takeName();
    for (auto number = in.take<std::uint16_t>(); number != kNone; number = in.take<std::uint16_t>()) {
        LongValueMaps maps{number, in.takePointer(), std::nullopt};
        if (const auto freeSpace = in.take<std::uint32_t>())
            maps.freeSpace = fromPointer(freeSpace);
        def.longValues.push_back(maps);
    }
    checkColumns(def);
    return def;
}

Bytes TableDef::encode() const {
    Bytes out(kStatisticsAt);
    putU32(out, 0, kPageMark);
    putU32(out, kNextPageAt, pages.size() > 1 ? pages[1] : 0);
    putU32(out, kRowCountAt, rowCount);
    putU32(out, kAutoNumberAt, lastAutoNumber);
    putU8(out, kKindAt, system ? 'S' : 'N');
    putU16(out, kMaxColumnsAt, maxColumns);
    putU16(out, kVariableColumnsAt, variableColumns);
    putU16(out, kColumnsAt, static_cast<std::uint16_t>(columns.size()));
    putU32(out, kLogicalIndexesAt, static_cast<std::uint32_t>(logicalIndexes.size()));
    putU32(out, kRealIndexesAt, static_cast<std::uint32_t>(realIndexes.size()));
    putU32(out, kOwnedMapAt, toPointer(ownedMap));
    putU32(out, kFreeSpaceMapAt, toPointer(freeSpaceMap));
    for (const RealIndex& index : realIndexes) {
        appendLe(out, index.rowsAtBuild);
        appendLe(out, index.distinctKeys);
    }
    for (const ColumnDef& column : columns)
        appendColumn(out, column);
    for (const ColumnDef& column : columns)
        appendName(out, column.name);
    for (const RealIndex& index : realIndexes)
        appendRealIndex(out, index);
    for (const LogicalIndex& index : logicalIndexes)
        appendLogicalIndex(out, index);
    for (const LogicalIndex& index : logicalIndexes)
        appendName(out, index.name);
    for (const LongValueMaps& maps : longValues) {
        appendLe(out, maps.column);
        appendLe(out, toPointer(maps.owned));
        appendLe(out, maps.freeSpace ? toPointer(*maps.freeSpace) : std::uint32_t{0});
    }
    appendLe(out, kNone);
    putU32(out, kLengthAt, static_cast<std::uint32_t>(out.size()));
    return out;
}

void TableDef::store(Pager& pager) const {
    const Bytes bytes = encode();
    assert(!pages.empty() && pages[0] == page && pages.size() == pagesFor(bytes.size()));
    std::size_t done = 0;
    for (std::size_t i = 0; i < pages.size(); ++i) {
        Page& out = pager.edit(pages[i]);
        out = Page{};
        const std::size_t header = i == 0 ? 0 : kPageHeader;
        const std::size_t part = std::min(kPageSize - header, bytes.size() - done);
        std::memcpy(out.bytes.data() + header, bytes.data() + done, part);
        done += part;
        putU32(out.span(), 0, kPageMark);
        putU32(out.span(), kNextPageAt, i + 1 < pages.size() ? pages[i + 1] : 0);
    }
}

std::size_t TableDef::pagesFor(std::size_t length) {
    constexpr std::size_t further = kPageSize - kPageHeader;
    return length <= kPageSize ? 1 : 1 + (length - kPageSize + further - 1) / further;
}

void TableDef::storeRowCount(Pager& pager) const {
    patch(pager, *this, kRowCountAt, rowCount);
}

void TableDef::storeAutoNumber(Pager& pager) const {
    patch(pager, *this, kAutoNumberAt, lastAutoNumber);
}

void TableDef::storeStatistics(Pager& pager, std::size_t realIndex) const {
    const RealIndex& index = realIndexes.at(realIndex);
    patch(pager, *this, kStatisticsAt + 8 * realIndex, index.rowsAtBuild);
    patch(pager, *this, kStatisticsAt + 8 * realIndex + 4, index.distinctKeys);
}

}  // namespace jet
