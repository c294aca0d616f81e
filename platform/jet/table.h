// SPDX-License-Identifier: MIT
// Table reads and changes the rows of one table, and keeps its indexes, long values and counters exact.
//
// Get one from Database::table(). Changes need an open transaction (Database::Transaction); when one throws, roll the
// transaction back. Referential rules (parents, cascades) are applied by the same calls. A Row has one value per
// position of columns(). Row ids stay the same for the life of a row.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "jet/rows/table_def.h"
#include "jet/values/value.h"

namespace jet {

class Database;

// The properties of a column that the engine enforces; the rest stays in the property blob.
struct ColumnRules {
    bool required = false;
    bool allowZeroLength = false;             // Text and Memo
    std::optional<std::string> defaultValue;  // an expression as text, for instance 0 or "none" or Date()
};

// Walks rows of a table, all of them in the order of its pages. Invalid after any change to the table.
class TableScan {
 public:
    TableScan() = default;
    virtual ~TableScan() = default;
    TableScan(const TableScan&) = delete;
    TableScan& operator=(const TableScan&) = delete;

    // Moves to the next row; false at the end. `out` has one value per wanted column, in that order, and is reused.
    virtual bool next(Row& out) = 0;
    [[nodiscard]] virtual RowId rowId() const = 0;
};

class Table {
 public:
    virtual ~Table() = default;

    [[nodiscard]] virtual const std::string& name() const = 0;
    [[nodiscard]] virtual const TableDef& def() const = 0;
    [[nodiscard]] const std::vector<ColumnDef>& columns() const { return def().columns; }
    [[nodiscard]] virtual const ColumnRules& rules(std::size_t position) const = 0;
    // False for tables in another sort order, system tables and read-only files: changes then throw.
    [[nodiscard]] virtual bool writable() const = 0;
    // As counted by the definition; files that were not closed properly may be off, a scan never is.
    [[nodiscard]] virtual std::uint32_t rowCount() const = 0;

    // `wanted` = positions in columns(); nothing else is decoded (long values are only followed when wanted).
    // A scan throws Corrupt once its long values come to more than the file holds: each has its bytes to itself.
    [[nodiscard]] virtual std::unique_ptr<TableScan> scan(std::vector<std::size_t> wanted) = 0;
    // The same over these rows, in this order. Throws Corrupt at one that is not there.
    [[nodiscard]] virtual std::unique_ptr<TableScan> scan(std::vector<std::size_t> wanted, std::vector<RowId> ids) = 0;
    // Throws Corrupt when there is no such row.
    virtual void read(RowId id, std::span<const std::size_t> wanted, Row& out) = 0;

    // A real index whose first columns are these positions, in this order; prefers unique ones.
    [[nodiscard]] virtual std::optional<std::size_t> indexOn(std::span<const std::size_t> positions) const = 0;
    // Rows whose leading key columns equal `values` (compared as the index does), in index order.
    // Null values find nothing.
    [[nodiscard]] virtual std::vector<RowId> lookup(std::size_t realIndex, std::span<const Value> values) = 0;
    // The row with the lowest / highest key that is not Null in the first column.
    [[nodiscard]] virtual std::optional<RowId> lowest(std::size_t realIndex) = 0;
    [[nodiscard]] virtual std::optional<RowId> highest(std::size_t realIndex) = 0;
    // All rows in the order of the index.
    [[nodiscard]] virtual std::vector<RowId> inOrder(std::size_t realIndex) = 0;

    // An AutoNumber column given as Null takes the next number, which is written back into `row`; given a number, the
    // counter is set to it. Everything else is stored as given: defaults are the caller's (rules()), types are those
    // of the columns.
    // Throws DuplicateKey, NullInKey, RequiredNull, ZeroLength, TooLong, ParentRequired, NotRepresentable,
    // TypeMismatch, RowTooLarge, ReadOnly, UnsupportedSortOrder.
    virtual RowId insert(Row& row) = 0;
    // After the rollback of a statement that failed: the numbers that its rows were given stay used up.
    virtual void keepAutoNumber() = 0;
    // Sets the columns at `positions` to `values`. A changed key that other tables refer to cascades to them, or
    // throws ChildrenExist. A change of spelling only (case) cascades too, so that children read as their parent does.
    virtual void update(RowId id, std::span<const std::size_t> positions, std::span<const Value> values) = 0;
    // Cascades, or throws ChildrenExist.
    virtual void erase(RowId id) = 0;
};

}  // namespace jet
