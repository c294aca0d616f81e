// SPDX-License-Identifier: MIT
// RowStore keeps the rows of one table on their pages, together with index entries, long values and counters.
//
// It follows the definition and knows no rules: whoever calls it has checked uniqueness, references and properties.
// Table does that for users; the catalog of a new file is filled through it directly. Rows come and go as Fields: the
// stored bytes per position of def().columns, nothing for Null, long values as the header that the row holds. Changes
// need an open transaction; when one throws, roll it back. It borrows the pager and the space.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "jet/indexes/btree.h"
#include "jet/indexes/index_key.h"
#include "jet/pages/data_page.h"
#include "jet/rows/long_value.h"
#include "jet/rows/row_codec.h"

namespace jet {

using Fields = std::vector<std::optional<Bytes>>;

class RowStore {
 public:
    // `definition` = first page of the definition; `name` is for messages. Throws Corrupt.
    RowStore(Pager& pager, PageSpace& space, PageNo definition, std::string name);

    [[nodiscard]] const std::string& name() const { return m_name; }
    // The reference and its columns and indexes stay put; the counters follow commits and rollbacks.
    [[nodiscard]] const TableDef& def() const;
    [[nodiscard]] const BTree& tree(std::size_t realIndex) const { return m_trees[realIndex]; }
    // Of the column at a position. Throws Corrupt when the definition gives it no pages.
    [[nodiscard]] LongValueStore longValues(std::size_t position) const;

    // The data pages in ascending order.
    [[nodiscard]] std::vector<PageNo> pages() const;
    // Of all the pages of the file, in bytes.
    [[nodiscard]] std::size_t fileSize() const { return std::size_t{m_pager->pageCount()} * kPageSize; }
    // Throws Corrupt unless it is a data page of this table.
    [[nodiscard]] PageRef dataPage(PageNo page) const;
    struct Found {
        RowId place;  // where the bytes are: another place than the id of the row when it was moved
        PageRef page;
        ByteView bytes;
    };
    // Throws Corrupt when there is no such row.
    [[nodiscard]] Found find(RowId id) const;
    // The bytes of the row in this slot, nothing for slots that a scan passes over. `page` keeps the bytes: it is
    // replaced when they are elsewhere.
    [[nodiscard]] std::optional<ByteView> rowInSlot(const DataPageView& view, std::size_t slot, PageRef& page) const;
    // False once the row was erased.
    [[nodiscard]] bool exists(RowId id) const;

    // The stored bytes of a row; long values as their whole content, see writeLongValue(). Throws what encodeField()
    // throws. REQUIRES: one value a column.
    [[nodiscard]] Fields encode(const Row& row) const;
    [[nodiscard]] std::optional<Bytes> encode(std::size_t position, const Value& value) const;
    // Writes the content of a long value and puts the header in its place. Null stays Null.
    void writeLongValue(std::size_t position, std::optional<Bytes>& field);
    void eraseLongValue(std::size_t position, const std::optional<Bytes>& field);

    [[nodiscard]] IndexKey key(std::size_t realIndex, const Fields& fields) const;
    // The row with its index entries, counted.
    RowId insert(const Fields& fields);
    // encode(), writeLongValue() and insert() in one.
    RowId insertRow(const Row& row);
    // The bytes of a row; entries and long values are the caller's.
    void rewrite(RowId id, const Fields& fields);
    // Moves the entry of a row from one key to another. `count`: keep the statistics, which costs a search.
    void changeKey(std::size_t realIndex, const IndexKey& from, const IndexKey& to, RowId id, bool count);
    // The row with its index entries and long values. REQUIRES: `fields` are those of the row.
    void erase(RowId id, const Fields& fields);
    void setAutoNumber(std::uint32_t last);

 private:
    Pager* m_pager;
    PageSpace* m_space;
    std::string m_name;
    UsageMap m_owned;
    UsageMap m_withRoom;
    std::vector<BTree> m_trees;
    mutable TableDef m_def;
    mutable std::uint64_t m_rollbacks;

    void reloadCounters() const;
    void addEntry(std::size_t realIndex, const IndexKey& key, RowId id, bool count);
    [[nodiscard]] bool hasEntry(std::size_t realIndex, const IndexKey& key) const;
    RowId place(ByteView bytes, SlotKind kind);
    [[nodiscard]] std::optional<PageNo> pageWithRoom(std::size_t length);
    void eraseSlot(RowId place);
    void noteRoom(PageNo page, const DataPageView& view);
    void putPointer(RowId id, RowId target);
};

// The fields of a stored row, into `out`, whose buffers are reused.
void copyFields(const TableDef& def, const RowView& row, Fields& out);

}  // namespace jet
