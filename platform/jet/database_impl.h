// SPDX-License-Identifier: MIT
// The one implementation of Database: a pager, the catalog as read from it, and the tables opened so far.
//
// Nothing changes the catalog of an open file, so it is read once. Tables stay open as long as the database.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "jet/database.h"
#include "jet/disk/pager.h"
#include "jet/pages/usage_map.h"

namespace jet {

class TableImpl;

class DatabaseImpl final : public Database {
 public:
    // `askedReadOnly`: what the caller wanted; the file itself may allow no more.
    DatabaseImpl(std::unique_ptr<Pager> pager, bool askedReadOnly);
    ~DatabaseImpl() override;

    [[nodiscard]] const std::string& path() const override { return m_pager->path(); }
    [[nodiscard]] bool readOnly() const override { return m_pager->readOnly(); }
    [[nodiscard]] bool unrepaired() const override { return m_pager->unrepaired(); }
    void close() override { m_pager->close(); }
    [[nodiscard]] bool askedReadOnly() const { return m_askedReadOnly; }
    [[nodiscard]] bool passwordFits(const std::string& password) const;

    void checkStructure() override;
    [[nodiscard]] std::vector<CatalogEntry> catalog() override;
    [[nodiscard]] bool hasTable(std::string_view name) override;
    Table& table(std::string_view name) override;
    [[nodiscard]] std::vector<Relationship> relationships() override;
    [[nodiscard]] std::optional<StoredQuery> query(std::string_view name) override;
    [[nodiscard]] PropertySet properties(std::string_view objectName) override;

    void begin() override { m_pager->begin(); }
    void commit() override { m_pager->commit(); }
    void rollback() override { m_pager->rollback(); }

    [[nodiscard]] Pager& pager() override { return *m_pager; }
    [[nodiscard]] PageSpace& space() override { return m_space; }

    // The table whose definition begins at this page. Throws Corrupt when the catalog has none there.
    TableImpl& tableAt(PageNo definition);
    // Of the object with this id; an empty set when it has none. Throws Corrupt.
    [[nodiscard]] PropertySet propertiesOf(std::int32_t id);
    // By name; nothing when there is none.
    [[nodiscard]] const Relationship* relationship(std::string_view name);

 private:
    struct Object {
        CatalogEntry entry;
        RowId row;  // in MSysObjects
    };

    std::unique_ptr<Pager> m_pager;
    PageSpace m_space;
    bool m_askedReadOnly;
    bool m_catalogRead = false;
    std::vector<Object> m_objects;
    std::map<Bytes, std::size_t> m_tableNames;  // sort key of the name, place in m_objects
    std::map<PageNo, std::unique_ptr<TableImpl>> m_tables;
    std::optional<std::vector<Relationship>> m_relationships;

    void readCatalog();
    void readRelationships();
    [[nodiscard]] const Object* findTable(std::string_view name) const;
    [[nodiscard]] const Object* findObject(std::string_view name) const;
    TableImpl& openTable(const CatalogEntry& entry);
    [[nodiscard]] PropertySet propertiesOf(const Object& object);
};

}  // namespace jet
