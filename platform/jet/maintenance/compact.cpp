// SPDX-License-Identifier: MIT
#include "jet/maintenance/compact.h"

#include <algorithm>
#include <map>
#include <memory>

#include "jet/maintenance/new_file.h"
#include "jet/maintenance/verify.h"
#include "jet/row_store.h"
#include "jet/values/bytes.h"
#include "jet/values/codepage.h"
#include "jet/values/text_order.h"

namespace jet {

namespace {

bool isFixedId(std::int32_t id) {
    return id == kTablesId || id == kDatabasesId || id == kRelationshipsId || id == kDatabaseDocumentId;
}

Bytes nameKey(const std::string& name) {
    Bytes key;
    appendSortKey(name, key);
    return key;
}

// Rows mostly lie in the order of their keys.
template <typename Entries, typename Less>
void sortUnlessSorted(Entries& entries, Less less) {
    if (!std::ranges::is_sorted(entries, less))
        std::ranges::sort(entries, less);
}

int compareBytes(ByteView a, ByteView b) {
    const int order = std::memcmp(a.data(), b.data(), std::min(a.size(), b.size()));
    return order != 0 ? order : static_cast<int>(a.size() > b.size()) - static_cast<int>(a.size() < b.size());
}

// A row of MSysObjects.
struct Object {
    RowId row;
    std::int32_t id = 0;
    std::int32_t parent = 0;
    std::string name;
    std::int16_t type = 0;

    [[nodiscard]] bool isTable() const { return type == CatalogEntry::TableType; }
    [[nodiscard]] bool isSystemTable() const {
        return isTable() && id >= std::int32_t{kObjects} && id <= std::int32_t{kRelationships};
    }
};

struct TableCopy {
    TableCopy(Database& source, const Object& object)
        : from(source.pager(), source.space(), static_cast<PageNo>(object.id), object.name), def(from.def()) {}

    RowStore from;
    TableDef def;  // of the copy
    PageNo firstRows = 0;
};

// Fills one data page after the other.
class RowWriter {
 public:
    RowWriter(Pager& pager, PageSpace& space, const TableDef& def, PageNo firstPage)
        : m_pager(pager), m_space(space), m_def(def), m_owned(pager, def.ownedMap) {
        if (firstPage != 0)
            begin(firstPage);
    }

    RowId append(ByteView row) {
        if (m_page == 0 || !editor().view().hasRoom(row.size()))
            begin(m_space.allocate());
        return {m_page, editor().append(row)};
    }

    // The page written last is the one with room.
    void finish() {
        if (m_page != 0)
            UsageMap(m_pager, m_def.freeSpaceMap).add(m_page, m_space);
    }

 private:
    DataPageEditor editor() { return {m_pager.edit(m_page), m_page}; }

    void begin(PageNo page) {
        m_page = page;
        m_owned.add(page, m_space);
        editor().format(m_def.page);
    }

    Pager& m_pager;
    PageSpace& m_space;
    const TableDef& m_def;
    UsageMap m_owned;
    PageNo m_page = 0;
};

class Compactor {
 public:
    Compactor(Database& source, Pager& target) : m_source(source), m_pager(target), m_space(target) {}

    void run(const std::string& password) {
        Header header = m_source.pager().header();
        header.password = password;
        startFile(m_pager, header);
        readCatalog();
        for (const Object& object : m_objects) {
            if (object.isTable())
                define(object);
        }
        renumberOthers();
        for (const auto& table : m_tables)
            copy(*table);
    }

 private:
    Database& m_source;
    Pager& m_pager;
    PageSpace m_space;
    std::vector<Object> m_objects;                     // in the order in which the copy has them
    std::vector<std::unique_ptr<TableCopy>> m_tables;  // likewise
    std::map<std::int32_t, std::int32_t> m_newIds;
    std::size_t m_longValueBytes = 0;  // copied so far

    // ---- pages ----

    // The three smaller system tables share a page of map rows; the places of their roots follow one another.
    static TablePlaces placesOf(const Object& object) {
        if (!object.isSystemTable())
            return {};
        const auto definition = static_cast<PageNo>(object.id);
        if (object.id == kObjects)
            return {definition,
                    {kObjectMaps, kLastObjectMap},
                    {kNameIndexMap, kIdIndexMap},
                    {kNameIndexRoot, kIdIndexRoot},
                    kObjectRows};
        TablePlaces places{definition, {kOtherMaps}, {kOtherMaps}, {}, 0};
        if (equalText(object.name, "MSysACEs")) {
            places.roots = {kAceIndexRoot};
            places.firstRows = kAceRows;
        } else if (equalText(object.name, "MSysQueries")) {
            places.roots = {kQueryIndexRoot};
        } else if (equalText(object.name, "MSysRelationships")) {
            places.roots = {kRelationshipIndexRoots, kRelationshipIndexRoots + 1, kRelationshipIndexRoots + 2};
        }
        return places;
    }

    // Gives a table its pages; system tables keep theirs.
    void define(const Object& object) {
        if (m_newIds.contains(object.id))
            corrupt(static_cast<PageNo>(object.id), "two tables with one definition");
        auto table = std::make_unique<TableCopy>(m_source, object);
        TableDef& def = table->def;
        std::erase_if(def.longValues, [&](const LongValueMaps& m) { return !def.columnByNumber(m.column); });
        const TablePlaces places = placesOf(object);
        givePages(m_pager, m_space, def, places);
        table->firstRows = places.firstRows;
        m_newIds[object.id] = static_cast<std::int32_t>(def.page);
        m_tables.push_back(std::move(table));
    }

    // ---- the catalog ----

    template <typename Visit>
    static void forEachRow(const RowStore& store, Visit&& visit) {
        for (const PageNo number : store.pages()) {
            const PageRef page = store.dataPage(number);
            const DataPageView view(page->view(), number);
            for (std::size_t slot = 0; slot < view.slotCount(); ++slot) {
                PageRef holder = page;
                if (const auto bytes = store.rowInSlot(view, slot, holder))
                    visit(RowId{number, static_cast<std::uint8_t>(slot)}, RowView(store.def(), *bytes, number));
            }
        }
    }

    static std::size_t position(const TableDef& def, const char* column) {
        const auto found = def.columnByName(column);
        if (!found)
            corrupt(def.page, std::string("a system table has no column ") + column);
        return *found;
    }

    template <typename T>
    static T number(const std::optional<ByteView>& field) {
        return field ? getLe<T>(*field, 0) : T{};
    }

    // Fixed objects first, then by the container that they are in and by name.
    void readCatalog() {
        const RowStore objects(m_source.pager(), m_source.space(), kObjects, "MSysObjects");
        const TableDef& def = objects.def();
        const std::size_t id = position(def, "Id");
        const std::size_t parent = position(def, "ParentId");
        const std::size_t name = position(def, "Name");
        const std::size_t type = position(def, "Type");
        forEachRow(objects, [&](RowId row, const RowView& view) {
            Object object{row,
                          number<std::int32_t>(view.field(id)),
                          number<std::int32_t>(view.field(parent)),
                          {},
                          number<std::int16_t>(view.field(type))};
            if (const auto text = view.field(name))
                object.name = fromCodePage(*text);
            m_objects.push_back(std::move(object));
        });

        std::map<std::int32_t, Bytes> containers;
        for (const Object& object : m_objects) {
            if (object.parent == kRootId)
                containers[object.id] = nameKey(object.name);
        }
        struct Place {
            int rank;
            Bytes container;
            Bytes name;
            std::uint32_t id;
            auto operator<=>(const Place&) const = default;
        };
        const auto placeOf = [&](const Object& object) -> Place {
            const auto unsignedId = static_cast<std::uint32_t>(object.id);
            if (isFixedId(object.id))
                return {0, {}, {}, unsignedId};
            if (object.isSystemTable())
                return {1, {}, {}, unsignedId};
            int rank = 4;
            if (object.parent == kRootId || object.parent == kDatabasesId)
                rank = object.parent == kRootId ? 2 : 3;
            else if (object.parent == kTablesId || object.parent == kRelationshipsId)
                rank = object.parent == kTablesId ? 5 : 6;
            return {rank, rank == 4 ? containers[object.parent] : Bytes(), nameKey(object.name), unsignedId};
        };
        std::vector<std::pair<Place, Object>> placed;
        for (Object& object : m_objects)
            placed.emplace_back(placeOf(object), std::move(object));
        std::ranges::stable_sort(placed, {}, [](const auto& p) -> const Place& { return p.first; });
        m_objects.clear();
        for (auto& [place, object] : placed)
            m_objects.push_back(std::move(object));
    }

    // Objects other than tables keep their number, unless it may now be the page of a table.
    void renumberOthers() {
        std::uint32_t highest = 0x7FFFFFFF;
        for (const Object& object : m_objects)
            highest = std::max(highest, static_cast<std::uint32_t>(object.id));
        for (const Object& object : m_objects) {
            if (!object.isTable() && object.id >= 0 && object.id < kRootId)
                m_newIds[object.id] = static_cast<std::int32_t>(++highest);
        }
    }

    [[nodiscard]] std::int32_t newId(std::int32_t id) const {
        const auto found = m_newIds.find(id);
        return found == m_newIds.end() ? id : found->second;
    }

    // ---- rows ----

    static IndexKey keyOf(const TableDef& def, const RealIndex& index, const Fields& fields) {
        return makeKey(def, index, [&](std::size_t i) -> std::optional<ByteView> {
            return fields[i] ? std::optional<ByteView>(*fields[i]) : std::nullopt;
        });
    }

    // In the order of the primary key, or else as they lie.
    std::vector<RowId> rowsInOrder(const RowStore& from) const {
        std::vector<RowId> rows;
        const TableDef& def = from.def();
        if (def.page == kObjects) {
            for (const Object& object : m_objects)
                rows.push_back(object.row);
            return rows;
        }
        const auto primary = std::ranges::find(def.logicalIndexes, LogicalIndex::Kind::Primary, &LogicalIndex::kind);
        if (primary == def.logicalIndexes.end()) {
            forEachRow(from, [&](RowId id, const RowView&) { rows.push_back(id); });
            return rows;
        }
        std::vector<std::pair<Bytes, RowId>> sorted;
        forEachRow(from, [&](RowId id, const RowView& row) {
            const auto field = [&](std::size_t i) { return row.field(i); };
            sorted.emplace_back(makeKey(def, def.realIndexes[primary->real], field).bytes, id);
        });
        sortUnlessSorted(sorted, std::less<>());
        for (const auto& entry : sorted)
            rows.push_back(entry.second);
        return rows;
    }

    // Ids in the catalog change with the pages of tables. A query's compiled plan names pages too: it is left out,
    // since it can be made again. False for a row about a table that is gone, whose number another one may now have.
    class CatalogFields {
     public:
        CatalogFields(const Compactor& owner, const TableDef& def, const std::string& name) : m_owner(owner) {
            if (!def.system)
                return;
            if (def.page == kObjects) {
                m_ids = {position(def, "Id"), position(def, "ParentId")};
                m_type = position(def, "Type");
                m_plan = position(def, "Lv");
            } else if (equalText(name, "MSysACEs") || equalText(name, "MSysQueries")) {
                m_ids = {position(def, "ObjectId")};
            }
        }

        [[nodiscard]] bool adapt(Fields& fields) const {
            for (const std::size_t at : m_ids) {
                if (!fields[at])
                    continue;
                const auto old = getLe<std::int32_t>(*fields[at], 0);
                const std::int32_t now = m_owner.newId(old);
                if (now == old && old >= 0 && old < kRootId && !m_owner.m_newIds.contains(old))
                    return false;
                putLe(std::span(*fields[at]), 0, now);
            }
            if (m_type && fields[*m_type] && getLe<std::int16_t>(*fields[*m_type], 0) == CatalogEntry::QueryType)
                fields[m_plan].reset();
            return true;
        }

     private:
        const Compactor& m_owner;
        std::vector<std::size_t> m_ids;
        std::optional<std::size_t> m_type;
        std::size_t m_plan = 0;
    };

    void copy(TableCopy& table) {
        TableDef& def = table.def;
        const RowStore& from = table.from;
        for (LogicalIndex& index : def.logicalIndexes) {
            if (index.kind == LogicalIndex::Kind::Relation)
                index.partnerTable = static_cast<PageNo>(newId(static_cast<std::int32_t>(index.partnerTable)));
        }
        const CatalogFields catalog(*this, def, from.name());
        RowWriter writer(m_pager, m_space, def, table.firstRows);
        std::vector<std::vector<BTree::Entry>> entries(def.realIndexes.size());
        def.rowCount = 0;
        Fields fields;
        for (const RowId id : rowsInOrder(from)) {
            const RowStore::Found found = from.find(id);
            copyFields(from.def(), RowView(from.def(), found.bytes, found.place.page), fields);
            if (!catalog.adapt(fields))
                continue;
            copyLongValues(table, fields);
            raiseAutoNumber(def, fields);
            const RowId place = writer.append(encodeRow(def, fields, from.name()));
            ++def.rowCount;
            for (std::size_t i = 0; i < entries.size(); ++i) {
                IndexKey key = keyOf(def, def.realIndexes[i], fields);
                if (!key.allNull || (def.realIndexes[i].flags & RealIndex::kIgnoreNulls) == 0)
                    entries[i].push_back({std::move(key.bytes), place});
            }
        }
        writer.finish();
        for (std::size_t i = 0; i < entries.size(); ++i)
            buildIndex(def, def.realIndexes[i], entries[i]);
        def.store(m_pager);
    }

    void copyLongValues(const TableCopy& table, Fields& fields) {
        for (const LongValueMaps& maps : table.def.longValues) {
            const std::size_t at = *table.def.columnByNumber(maps.column);
            if (!fields[at] || LongValueStore::isInline(*fields[at]))
                continue;
            // Each stored byte serves one value, else a small file could make an endless copy.
            m_longValueBytes += LongValueStore::length(*fields[at]);
            if (m_longValueBytes > std::size_t{m_source.pager().pageCount()} * kPageSize)
                corrupt(table.from.def().page, "long values that are larger than their file");
            fields[at] = LongValueStore(m_pager, m_space, maps).write(table.from.longValues(at).read(*fields[at]));
        }
    }

    // The counter stays what it is, but for a file in which it was left behind by its table.
    static void raiseAutoNumber(TableDef& def, const Fields& fields) {
        for (std::size_t i = 0; i < def.columns.size(); ++i) {
            if (!def.columns[i].isAutoNumber() || def.columns[i].type != ColumnType::Long || !fields[i])
                continue;
            const auto value = getLe<std::int32_t>(*fields[i], 0);
            if (value > static_cast<std::int32_t>(def.lastAutoNumber))
                def.lastAutoNumber = static_cast<std::uint32_t>(value);
        }
    }

    void buildIndex(const TableDef& def, RealIndex& index, std::vector<BTree::Entry>& entries) {
        sortUnlessSorted(entries, [](const BTree::Entry& a, const BTree::Entry& b) {
            const int order = compareBytes(a.key, b.key);
            return order != 0 ? order < 0 : a.row < b.row;
        });
        BTree(m_pager, m_space, def.page, index.root, index.map).build(entries);
        index.rowsAtBuild = static_cast<std::uint32_t>(entries.size());
        index.distinctKeys = 0;
        for (std::size_t i = 0; i < entries.size(); ++i)
            index.distinctKeys += i == 0 || entries[i].key != entries[i - 1].key;
    }
};

void writeCopy(Database& source, Disk& disk, const std::string& to, const std::string& password) {
    const std::unique_ptr<Pager> target = Pager::create(disk, to);
    target->begin();
    Compactor(source, *target).run(password);
    target->commit();
    target->close();
}

void checkCopy(Disk& disk, const std::string& to) {
    Pager::Options options;
    options.readOnly = true;
    const std::unique_ptr<Pager> copy = Pager::open(disk, to, options);
    const std::vector<std::string> problems = verify(*copy, 1);
    if (!problems.empty())
        corrupt(0, "the compacted copy: " + problems.front());
}

}  // namespace

void compactDatabase(const std::string& from, const std::string& to, const CompactOptions& options) {
    Disk& disk = options.disk != nullptr ? *options.disk : defaultDisk();
    OpenOptions openOptions;
    openOptions.password = options.password;
    openOptions.readOnly = true;
    openOptions.disk = &disk;
    const std::shared_ptr<Database> source = Database::open(from, openOptions);
    const std::string password = options.newPassword.value_or(source->pager().header().password);
    if (toCodePage(password).size() > kMaxPassword)
        throw Error(Errc::TooLong, "password");
    if (disk.exists(to))
        throw Error(Errc::AccessDenied, to);
    try {
        writeCopy(*source, disk, to, password);
        checkCopy(disk, to);
    } catch (...) {
        disk.remove(to);
        disk.remove(logPath(to));
        throw;
    }
}

}  // namespace jet
