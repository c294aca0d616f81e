// SPDX-License-Identifier: MIT
// The bytes of one row.
//
//   u8 column count | fixed data | variable data | offset table | jump bytes | u8 variable columns | null mask
//
// A row is written with the columns that the table had then: columns added later are missing and Null. RowView finds
// the bytes of a column; decode() and encode() go between them and values. Long values are seen here as the 12-byte
// header and whatever follows it inline; long_value.h follows the header.
#pragma once

#include <optional>
#include <span>

#include "jet/rows/table_def.h"
#include "jet/values/value.h"

namespace jet {

// Borrows the row and the definition. Throws Corrupt where the row breaks its own structure.
class RowView {
 public:
    RowView(const TableDef& def, ByteView row, PageNo page);

    // The stored bytes of columns[position]; nothing for Null. A Boolean is answered as one byte, 0 or 1.
    [[nodiscard]] std::optional<ByteView> field(std::size_t position) const;

 private:
    const TableDef* m_def;
    ByteView m_row;
    PageNo m_page;
    std::size_t m_columns = 0;      // columns when the row was written
    std::size_t m_variable = 0;     // variable columns when the row was written
    std::size_t m_fixedEnd = 0;     // end of the fixed data
    std::size_t m_dataEnd = 0;      // end of the variable data
    std::size_t m_firstOffset = 0;  // place of the offset of variable column 0; the others lie below it
    std::size_t m_mask = 0;         // offset of the null mask
    std::size_t m_jumps = 0;        // jump bytes that some offset reaches
    [[nodiscard]] std::size_t variableOffset(std::size_t index) const;
};

// Everything but long values (which come out as their raw bytes in `Bytes`). Reuses what `out` holds.
void decodeField(const ColumnDef& column, ByteView bytes, Value& out);

// The bytes of a value for its column; nothing for Null. Does not convert between types: throws TypeMismatch for an
// alternative that is not the column's own, TooLong for text and binary beyond ColumnDef::length, NotRepresentable.
// `table` is only for messages.
std::optional<Bytes> encodeField(const ColumnDef& column, const Value& value, const std::string& table);

// `fields` are the stored bytes per position of def.columns, nothing for Null; long values are their header (and
// inline data). Throws RowTooLarge when the row exceeds 2,036 bytes.
Bytes encodeRow(const TableDef& def, std::span<const std::optional<Bytes>> fields, const std::string& table);

}  // namespace jet
