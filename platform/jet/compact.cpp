// SPDX-License-Identifier: MIT
#include "jet/compact.h"

#include <algorithm>
#include <map>
#include <memory>

#include "jet/bytes.h"
#include "jet/codepage.h"
#include "jet/row_store.h"
#include "jet/text_order.h"
#include "jet/verify.h"

namespace jet {

namespace {

// What lies at the same places in every file.
constexpr PageNo kGlobalMaps = 1;
constexpr PageNo kObjects = 2;  // the definition of MSysObjects
constexpr PageNo kLastSystemTable = 5;
constexpr PageNo kOtherMaps = 12;
constexpr PageNo kFixedPages = 20;

// Objects whose number is the same in every file; all others but tables have numbers with the highest bit.
constexpr std::int32_t kRootId = 0x0F000000;
constexpr std::int32_t kTablesId = 0x0F000001;
constexpr std::int32_t kDatabasesId = 0x0F000002;
constexpr std::int32_t kRelationshipsId = 0x0F000003;
constexpr std::int32_t kDatabaseDocumentId = 0x10000000;

constexpr std::size_t kMaxPassword = 20;

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
        return isTable() && id >= std::int32_t{kObjects} && id <= std::int32_t{kLastSystemTable};
    }
};

// Pages set aside for a table; what they have no room for goes elsewhere.
struct Places {
    std::vector<PageNo> maps;       // for the map rows of the table itself
    std::vector<PageNo> indexMaps;  // for those of its indexes, in turn
    std::vector<PageNo> roots;
    PageNo firstRows = 0;
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
        startFile(password);
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

    // The pages that lie at the same places in every file are in use, everything else is free.
    void startFile(const std::string& password) {
        while (m_pager.pageCount() < kFixedPages)
            (void)m_pager.extend();
        Header header = m_source.pager().header();
        header.password = password;
        header.writeTo(m_pager.edit(0));
        Bytes freePages = UsageMap::freshRow();
        constexpr std::size_t kBitmap = 5;
        for (std::size_t page = kFixedPages; page < (freePages.size() - kBitmap) * 8; ++page)
            freePages[kBitmap + page / 8] |= static_cast<std::uint8_t>(1U << page % 8);
        DataPageEditor maps(m_pager.edit(kGlobalMaps), kGlobalMaps);
        maps.format(kGlobalMaps);
        (void)maps.append(freePages);
        (void)maps.append(UsageMap::freshRow());
        for (const PageNo page : {6U, 7U, 8U, 10U, kOtherMaps})
            DataPageEditor(m_pager.edit(page), page).format(kOwnerMapRows);
    }

    // The three smaller system tables share a page of map rows; the places of their roots follow one another.
    Places placesOf(const Object& object) {
        if (!object.isSystemTable())
            return {};
        if (object.id == kObjects)
            return {{6, 7}, {8, 10}, {9, 11}, 18};
        Places places{{kOtherMaps}, {kOtherMaps}, {}, 0};
        if (equalText(object.name, "MSysACEs")) {
            places.roots = {13};
            places.firstRows = 19;
        } else if (equalText(object.name, "MSysQueries")) {
            places.roots = {14};
        } else if (equalText(object.name, "MSysRelationships")) {
            places.roots = {15, 16, 17};
        }
        return places;
    }

    RowId addMapRow(const std::vector<PageNo>& wanted, std::optional<PageNo>& last) {
        const Bytes fresh = UsageMap::freshRow();
        for (const PageNo page : wanted) {
            DataPageEditor editor(m_pager.edit(page), page);
            if (editor.view().hasRoom(fresh.size()))
                return {page, editor.append(fresh)};
        }
        const RowId row = m_space.newMapRow(last);
        last = row.page;
        return row;
    }

    // Gives a table its pages: definition, map rows, index roots, in this order. System tables keep theirs.
    void define(const Object& object) {
        auto table = std::make_unique<TableCopy>(m_source, object);
        TableDef& def = table->def;
        const Places places = placesOf(object);
        const std::size_t pages = TableDef::pagesFor(def.encode().size());
        def.pages.clear();
        if (object.isSystemTable())
            def.pages.push_back(static_cast<PageNo>(object.id));
        while (def.pages.size() < pages)
            def.pages.push_back(m_space.allocate());
        def.page = def.pages.front();
        table->firstRows = places.firstRows;
        if (!m_newIds.emplace(object.id, static_cast<std::int32_t>(def.page)).second)
            corrupt(static_cast<PageNo>(object.id), "two tables with one definition");

        std::optional<PageNo> mapPage;
        def.ownedMap = addMapRow(places.maps, mapPage);
        def.freeSpaceMap = addMapRow(places.maps, mapPage);
        for (const ColumnDef& column : def.columns) {  // the maps may be listed in another order
            for (LongValueMaps& maps : def.longValues) {
                if (maps.column != column.number)
                    continue;
                maps.owned = addMapRow(places.maps, mapPage);
                if (maps.freeSpace)
                    maps.freeSpace = addMapRow(places.maps, mapPage);
            }
        }
        std::erase_if(def.longValues, [&](const LongValueMaps& m) { return !def.columnByNumber(m.column); });
        for (std::size_t i = 0; i < def.realIndexes.size(); ++i) {
            std::vector<PageNo> wanted;
            if (!places.indexMaps.empty())
                wanted.push_back(places.indexMaps[std::min(i, places.indexMaps.size() - 1)]);
            def.realIndexes[i].map = addMapRow(wanted, mapPage);
        }
        for (std::size_t i = 0; i < def.realIndexes.size(); ++i) {
            RealIndex& index = def.realIndexes[i];
            index.root = i < places.roots.size() ? places.roots[i] : m_space.allocate();
            UsageMap(m_pager, index.map).add(index.root, m_space);
            BTree::formatRoot(m_pager.edit(index.root), def.page);
        }
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
            if (m_type && number<std::int16_t>(*fields[*m_type]) == CatalogEntry::QueryType)
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
