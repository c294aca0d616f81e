// SPDX-License-Identifier: MIT
// The one implementation of Table: the rules of columns, indexes and relationships over a RowStore.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "jet/references.h"
#include "jet/row_store.h"
#include "jet/table.h"

namespace jet {

class DatabaseImpl;
struct CatalogEntry;

class TableImpl final : public Table {
 public:
    // Throws Corrupt.
    TableImpl(DatabaseImpl& db, const CatalogEntry& entry);

    [[nodiscard]] const std::string& name() const override { return m_store.name(); }
    [[nodiscard]] const TableDef& def() const override { return m_store.def(); }
    [[nodiscard]] const ColumnRules& rules(std::size_t position) const override;
    [[nodiscard]] bool writable() const override;
    [[nodiscard]] std::uint32_t rowCount() const override { return def().rowCount; }

    [[nodiscard]] std::unique_ptr<TableScan> scan(std::vector<std::size_t> wanted) override;
    [[nodiscard]] std::unique_ptr<TableScan> scan(std::vector<std::size_t> wanted, std::vector<RowId> ids) override;
    void read(RowId id, std::span<const std::size_t> wanted, Row& out) override;

    [[nodiscard]] std::optional<std::size_t> indexOn(std::span<const std::size_t> positions) const override;
    [[nodiscard]] std::vector<RowId> lookup(std::size_t realIndex, std::span<const Value> values) override;
    [[nodiscard]] std::optional<RowId> lowest(std::size_t realIndex) override;
    [[nodiscard]] std::optional<RowId> highest(std::size_t realIndex) override;
    [[nodiscard]] std::vector<RowId> inOrder(std::size_t realIndex) override;

    RowId insert(Row& row) override;
    void keepAutoNumber() override;
    void update(RowId id, std::span<const std::size_t> positions, std::span<const Value> values) override;
    void erase(RowId id) override;

    // For cascades.
    [[nodiscard]] RowStore& store() { return m_store; }
    [[nodiscard]] const RowStore& store() const { return m_store; }
    [[nodiscard]] const Links& links();
    // Throws ReadOnly, UnsupportedFeature or UnsupportedSortOrder.
    void requireWritable() const;
    // What changing columns touches.
    struct Change {
        std::span<const std::size_t> positions;
        std::span<const std::optional<Bytes>> values;  // stored bytes; long values as their content
        std::vector<std::size_t> indexes;              // real indexes with one of the columns
        std::vector<const ParentLink*> parents;        // foreign keys with one of them
        std::vector<const ChildLink*> children;        // referenced keys with one of them
        const ChildLink* cause = nullptr;              // the cascade that brought the change
    };
    [[nodiscard]] Change planChange(std::span<const std::size_t> positions,
                                    std::span<const std::optional<Bytes>> values, const ChildLink* cause);
    void changeRow(RowId id, const Change& change, Consequences& consequences);
    void eraseRow(RowId id, Consequences& consequences);

 private:
    DatabaseImpl* m_db;
    std::int32_t m_objectId;
    bool m_systemObject;
    RowStore m_store;
    mutable std::optional<std::vector<ColumnRules>> m_rules;
    std::optional<Links> m_links;
    Fields m_scratch;                      // keeps its buffers between rows
    std::optional<std::uint32_t> m_given;  // what the counter stood at after the last number that it gave

    void checkRules(std::size_t position, const Value& value) const;
    void checkKey(std::size_t realIndex, const IndexKey& key, std::optional<RowId> self, bool cascading) const;
    void assignAutoNumber(Row& row);
    void setAutoNumber(std::int32_t number, bool given);
    [[nodiscard]] std::string indexName(std::size_t realIndex) const;
    [[nodiscard]] std::optional<Bytes> lookupKey(std::size_t realIndex, std::span<const Value> values) const;
};

}  // namespace jet
