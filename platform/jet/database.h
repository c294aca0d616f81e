// SPDX-License-Identifier: MIT
// Database is one open Jet 3.x file: its tables, relationships and stored queries.
//
// open() gives every caller in the process the same instance for the same file; another process gets Errc::Busy. The
// file is locked until the last user lets go. Everything runs on one thread. Example:
//
//   auto db = jet::Database::open("home.mdb", {.password = "secret"});
//   jet::Transaction change(*db);
//   jet::Row row = ...;
//   db->table("tbl_items").insert(row);
//   change.commit();                      // durable when it returns; without it the destructor rolls back
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jet/disk/file.h"
#include "jet/rows/properties.h"
#include "jet/table.h"

namespace jet {

class Pager;
class PageSpace;

struct OpenOptions {
    std::string password;   // UTF-8; compared byte for byte in code page 1252
    bool readOnly = false;  // never writes the file, not even to repair it
    Disk* disk = nullptr;   // the real one unless given
};

// One row of the catalog (MSysObjects).
struct CatalogEntry {
    enum Type : std::int16_t { TableType = 1, DatabaseDocument = 2, Container = 3, QueryType = 5, RelationType = 8 };

    std::int32_t id = 0;  // of a table: its first definition page
    std::int32_t parentId = 0;
    std::string name;
    std::int16_t type = 0;
    std::uint32_t flags = 0;
    double created = 0;  // days since 1899-12-30
    double updated = 0;

    [[nodiscard]] bool isSystem() const { return (flags & 0x80000002U) != 0; }
};

struct Relationship {
    std::string name;
    std::string table;                                         // the referencing (child) side
    std::string referencedTable;                               // the parent side
    std::vector<std::pair<std::string, std::string>> columns;  // referencing, referenced
    std::uint32_t flags = 0;  // 0x100 cascade updates, 0x1000 cascade deletes, 0x2 not enforced

    [[nodiscard]] bool enforced() const { return (flags & 0x2U) == 0; }
    [[nodiscard]] bool cascadeUpdate() const { return (flags & 0x100U) != 0; }
    [[nodiscard]] bool cascadeDelete() const { return (flags & 0x1000U) != 0; }
};

// One row of MSysQueries. A query is the rows of one object in order of (attribute, order).
struct QueryRow {
    std::uint8_t attribute = 0;
    std::uint32_t order = 1;
    std::optional<std::string> name1;
    std::optional<std::string> name2;
    std::optional<std::string> expression;
    std::optional<std::int16_t> flag;
};

struct StoredQuery {
    std::string name;
    std::uint32_t flags = 0;  // low byte: 0x00 select, 0x10 crosstab, 0x20 delete, 0x30 update, 0x40 append, ...
    std::vector<QueryRow> rows;
};

class Database : public std::enable_shared_from_this<Database> {
 public:
    // Throws FileNotFound, PathNotFound, AccessDenied, Busy, NotADatabase, UnsupportedVersion, WrongPassword, Corrupt.
    static std::shared_ptr<Database> open(const std::string& path, const OpenOptions& options);

    virtual ~Database() = default;
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    [[nodiscard]] virtual const std::string& path() const = 0;
    [[nodiscard]] virtual bool readOnly() const = 0;

    // Whether the file is read through a log that could not be put in order; it cannot be changed then.
    [[nodiscard]] virtual bool unrepaired() const = 0;
    // Lets go of the file, as the destructor does, but throws what Pager::close throws. Nothing else may be called
    // afterwards. REQUIRES: this is the last user.
    virtual void close() = 0;

    // Reads the catalog and the definition and page maps of every table in it. Throws Corrupt for a file that is cut
    // off or otherwise too damaged to work with; verify() is the thorough check.
    virtual void checkStructure() = 0;

    [[nodiscard]] virtual std::vector<CatalogEntry> catalog() = 0;
    // Names ignore case. System tables can be read by name too.
    [[nodiscard]] virtual bool hasTable(std::string_view name) = 0;
    // The reference is good as long as the database. Throws NoSuchTable.
    virtual Table& table(std::string_view name) = 0;
    [[nodiscard]] virtual std::vector<Relationship> relationships() = 0;
    [[nodiscard]] virtual std::optional<StoredQuery> query(std::string_view name) = 0;
    // Of a table, query or document; an empty set when it has none.
    [[nodiscard]] virtual PropertySet properties(std::string_view objectName) = 0;

    // See Transaction; not called directly.
    virtual void begin() = 0;
    virtual void commit() = 0;
    virtual void rollback() = 0;

    [[nodiscard]] virtual Pager& pager() = 0;
    [[nodiscard]] virtual PageSpace& space() = 0;

 protected:
    Database() = default;
};

// Writes a copy of a database as it is after the last commit, whether it is open in this process or not, with what a
// log beside it has. The copy is flushed, and gone again after an error. Throws what Database::open throws for `from`,
// but takes no password. REQUIRES: nobody uses `to`.
void copyDatabase(const std::string& from, const std::string& to, Disk* disk = nullptr);

// One statement's changes: all of them durable after commit(), none of them otherwise.
class Transaction {
 public:
    explicit Transaction(Database& db) : m_db(&db) { db.begin(); }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    ~Transaction();
    void commit();

 private:
    Database* m_db;
};

}  // namespace jet
