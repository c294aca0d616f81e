// SPDX-License-Identifier: MIT
// The work of verify(): one Verifier reads one file once. Private to verify*.cpp.
//
// verify.cpp has the header, maps, ownership of pages and the catalog; verify_table.cpp definitions, rows and long
// values; verify_index.cpp trees, keys and relationships. Problems are collected; what cannot be read on is skipped, so
// that one fault is not reported over and over. Every page, row and link is followed a bounded number of times.
#pragma once

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "jet/disk/pager.h"
#include "jet/rows/table_def.h"
#include "jet/values/error.h"

namespace jet::verifying {

constexpr std::uint16_t kGeneral = 0x0409;  // the sort order whose keys we can compute
constexpr std::uint16_t kCodePage = 1252;

// "12:3" for row 3 of page 12.
std::string place(RowId id);

// A slot of a data page. `good` = its bytes lie where rows may lie.
struct Slot {
    static constexpr unsigned kRow = 0x0000;
    static constexpr unsigned kPointer = 0x4000;
    static constexpr unsigned kMoved = 0x8000;
    static constexpr unsigned kDeleted = 0xC000;

    unsigned flags = 0;
    std::size_t start = 0;
    std::size_t end = 0;
    bool good = false;

    [[nodiscard]] ByteView of(ByteView page) const { return page.subspan(start, end - start); }
};

// One row taken apart. Throws Corrupt where that is impossible.
class StoredRow {
 public:
    StoredRow(const TableDef& def, ByteView row, PageNo page);

    // Nothing for Null; a Boolean as one byte, 0 or 1.
    [[nodiscard]] std::optional<ByteView> field(std::size_t position) const;
    [[nodiscard]] bool isPresent(const ColumnDef& column) const;
    // What a variable column has in the row, Null or not.
    [[nodiscard]] ByteView variableBytes(const ColumnDef& column) const;

    [[nodiscard]] std::size_t columns() const { return m_columns; }
    [[nodiscard]] std::size_t variableColumns() const { return m_variable; }
    [[nodiscard]] std::size_t fixedEnd() const { return m_offsets[0]; }
    // The first rule about jump bytes that the row breaks, or nothing.
    [[nodiscard]] std::string jumpFault() const { return m_jumpFault; }

 private:
    const TableDef* m_def;
    ByteView m_row;
    PageNo m_page;
    std::size_t m_columns = 0;
    std::size_t m_mask = 0;  // where the null mask begins
    std::size_t m_variable = 0;
    std::array<std::uint16_t, 257> m_offsets{};  // of the variable columns, then the end of the data
    std::string m_jumpFault;
};

struct LiveRow {
    RowId id;  // of its pointer row, if it has moved
    std::size_t offset = 0;
    std::size_t length = 0;
};

struct CheckedTable {
    std::string name;
    TableDef def;
    std::vector<PageNo> dataPages;
    std::vector<std::vector<PageNo>> indexPages;                  // by real index, as its map says
    std::map<std::uint16_t, std::vector<PageNo>> longValuePages;  // by column number
    Bytes bytes;                                                  // of all live rows
    std::vector<LiveRow> rows;

    [[nodiscard]] StoredRow row(const LiveRow& live) const {
        return {def, ByteView(bytes).subspan(live.offset, live.length), live.id.page};
    }
};

class Verifier {
 public:
    Verifier(Pager& pager, std::size_t limit, std::vector<std::string>* remarks)
        : m_pager(pager), m_limit(limit), m_remarks(remarks) {}

    std::vector<std::string> run();

 private:
    struct Enough {};  // thrown when the limit is reached

    struct Map {
        std::vector<PageNo> pages;  // ascending; those outside the file too
        std::size_t capacity = 0;   // pages from 0 that it can speak of
        bool isInline = true;
    };

    struct Relation;
    struct Tree;

    void problem(const std::string& text);
    void remark(const std::string& text);
    // Not for what the file holds.
    static bool isOfTheDisk(const Error& e) { return e.code() == Errc::Io || e.code() == Errc::DiskFull; }
    // Turns an exception for what the file holds into a problem; false then.
    template <typename Action>
    bool guard(const std::string& what, Action&& action) {
        try {
            action();
            return true;
        } catch (const Error& e) {
            if (isOfTheDisk(e))
                throw;
            problem(what + ": " + e.what());
            return false;
        }
    }

    // verify.cpp
    void checkAll();
    void checkHeader();
    void checkGlobalMaps();
    void checkMapRows();
    void checkOwnership();
    bool claim(PageNo page, const std::string& owner);
    std::vector<PageNo> claimAll(const Map& map, const std::string& owner);
    Map readMap(RowId row, const std::string& owner);
    void readFreeSpaceMap(RowId row, const std::string& owner, const std::vector<PageNo>& owned);
    void readCatalog();
    void addTable(PageNo page, const std::string& name);
    CheckedTable* tableOn(PageNo page);
    CheckedTable* tableNamed(std::string_view name);

    // verify_table.cpp
    std::vector<Slot> checkDataPage(const std::string& what, PageNo page, std::uint32_t owner);
    Slot slotAt(RowId id, std::uint32_t owner);
    void checkDefinition(CheckedTable& table);
    void checkColumns(CheckedTable& table);
    void checkIndexDefinitions(CheckedTable& table);
    void claimPages(CheckedTable& table);
    void scanRows(CheckedTable& table);
    bool checkRow(const CheckedTable& table, RowId id, ByteView bytes);
    void checkAutoNumber(const CheckedTable& table);
    void checkLongValues(const CheckedTable& table, std::size_t position);
    void checkLongValue(const std::string& what, ByteView field, const std::set<PageNo>& pages, std::set<RowId>& used);

    // verify_index.cpp
    void checkIndex(const CheckedTable& table, std::size_t real);
    std::optional<Bytes> checkTreePage(Tree& tree, PageNo page, std::optional<unsigned> level, bool rightMost);
    void checkLinks(const Tree& tree);
    void compareEntries(Tree& tree);
    void compareRowsOnly(Tree& tree);
    void checkRelationships();
    std::vector<Relation> readRelations();
    void checkRelation(Relation& relation, std::set<std::pair<PageNo, std::uint32_t>>& known);
    void checkReferences(const Relation& relation);

    Pager& m_pager;
    std::size_t m_limit;
    std::vector<std::string>* m_remarks;
    std::vector<std::string> m_problems;

    std::uint16_t m_language = kGeneral;  // of the file
    std::uint16_t m_codePage = kCodePage;
    std::vector<std::string> m_owners;     // names; 0 = nobody
    std::vector<std::uint32_t> m_ownerOf;  // by page
    std::vector<bool> m_free;              // by page
    std::vector<bool> m_inTree;            // by page: visited as part of an index
    std::map<RowId, std::string> m_maps;   // map rows in use
    std::vector<std::unique_ptr<CheckedTable>> m_tables;
    std::map<Bytes, CheckedTable*> m_byName;  // by sort key
};

}  // namespace jet::verifying
