// SPDX-License-Identifier: MIT
// The definition of a table: columns, indexes, and where its pages are recorded.
//
// It is stored as one byte string over one or more pages of type 2. Columns are addressed by `number` (null mask,
// index keys) and, when variable, by `variableIndex`; both have holes after a column was dropped, so nothing may go
// by position in the list. docs/jet3.md has the table of offsets.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "jet/disk/pager.h"

namespace jet {

struct ColumnDef {
    std::string name;  // UTF-8
    ColumnType type = ColumnType::Text;
    std::uint16_t number = 0;
    std::uint16_t variableIndex = 0;  // of a fixed column: variable columns before it
    std::uint16_t position = 0;       // display order
    std::uint16_t country = 0;
    std::uint16_t language = 0x0409;
    std::uint16_t codePage = 1252;
    std::uint8_t flags = 0x02;
    std::uint16_t fixedOffset = 0;  // row offset - 1; meaningless for variable columns and Booleans
    std::uint16_t length = 0;       // bytes; 0 for Memo and OLE

    [[nodiscard]] bool isFixed() const { return (flags & 0x01U) != 0 || type == ColumnType::Boolean; }
    [[nodiscard]] bool isAutoNumber() const { return (flags & 0x04U) != 0; }
    [[nodiscard]] bool isLongValue() const { return type == ColumnType::Memo || type == ColumnType::Ole; }
    // Bytes of a stored value, when every value takes the same number; else the declared maximum.
    [[nodiscard]] std::size_t storedSize() const;
};

struct IndexColumn {
    std::uint16_t column = 0;  // ColumnDef::number
    bool ascending = true;
};

// A tree of its own on disk.
struct RealIndex {
    static constexpr std::uint8_t kUnique = 0x01;
    static constexpr std::uint8_t kIgnoreNulls = 0x02;  // rows whose key columns are all Null have no entry
    static constexpr std::uint8_t kRequired = 0x08;     // no Null in any key column

    std::vector<IndexColumn> columns;
    RowId map;        // map row of the pages of the tree
    PageNo root = 0;  // fixed for the life of the index
    std::uint8_t flags = 0;
    std::uint32_t rowsAtBuild = 0;   // statistics, kept loosely
    std::uint32_t distinctKeys = 0;  // statistics, kept loosely
};

// What a user calls an index; several may share one RealIndex.
struct LogicalIndex {
    enum class Side : std::uint8_t { None = 0, Referenced = 1, Referencing = 2 };
    enum class Kind : std::uint8_t { Plain = 0, Primary = 1, Relation = 2 };

    std::string name;  // UTF-8
    std::uint32_t number = 0;
    std::uint32_t real = 0;  // place in TableDef::realIndexes
    Side side = Side::None;
    std::uint32_t partnerNumber = 0xFFFFFFFF;  // number of the partner in the other table
    PageNo partnerTable = 0;
    std::uint8_t cascadeUpdate = 4;  // 0 or 1 for relations, 4 otherwise
    std::uint8_t cascadeDelete = 4;
    Kind kind = Kind::Plain;
};

struct LongValueMaps {
    std::uint16_t column = 0;  // ColumnDef::number
    RowId owned;
    std::optional<RowId> freeSpace;
};

struct TableDef {
    PageNo page = 0;            // first definition page
    std::vector<PageNo> pages;  // all of them, the first included
    bool system = false;        // type byte 'S'
    std::uint32_t rowCount = 0;
    std::uint32_t lastAutoNumber = 0;
    std::uint16_t maxColumns = 0;       // highest column number ever + 1
    std::uint16_t variableColumns = 0;  // dropped ones included
    std::vector<ColumnDef> columns;     // by ascending number
    std::vector<RealIndex> realIndexes;
    std::vector<LogicalIndex> logicalIndexes;  // in stored order: by name
    RowId ownedMap;
    RowId freeSpaceMap;
    std::vector<LongValueMaps> longValues;

    // Position in `columns` of the column with this number / name (names ignore case).
    [[nodiscard]] std::optional<std::size_t> columnByNumber(std::uint16_t number) const;
    [[nodiscard]] std::optional<std::size_t> columnByName(std::string_view name) const;
    // True when every text column is in the General order that we can write.
    [[nodiscard]] bool generalOrder() const;

    // Throws Corrupt.
    static TableDef load(Pager& pager, PageNo page);
    // The byte string, through the final FF FF. The stored order is kept as given.
    [[nodiscard]] Bytes encode() const;
    // Writes the byte string over `pages` (which must be as many as it needs) and links them. Needs a transaction.
    void store(Pager& pager) const;
    // How many pages a byte string takes.
    static std::size_t pagesFor(std::size_t length);

    // The three numbers that ordinary statements change, written in place. Need a transaction.
    void storeRowCount(Pager& pager) const;
    void storeAutoNumber(Pager& pager) const;
    void storeStatistics(Pager& pager, std::size_t realIndex) const;
};

}  // namespace jet
