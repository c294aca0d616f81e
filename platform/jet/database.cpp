// SPDX-License-Identifier: MIT
#include "jet/database.h"

#include <algorithm>
#include <utility>

#include "jet/database_impl.h"
#include "jet/table_impl.h"
#include "jet/values/codepage.h"
#include "jet/values/text_order.h"

namespace jet {

namespace {

constexpr PageNo kObjectsDefinition = 2;
constexpr const char* kObjectsName = "MSysObjects";

// The open files of this process, so that all users of one file share its pages. A disk and what it calls a file.
using Registry = std::map<std::pair<Disk*, std::string>, std::weak_ptr<DatabaseImpl>>;

Registry& registry() {
    static Registry open;
    return open;
}

Bytes nameKey(std::string_view name) {
    Bytes key;
    appendSortKey(name, key);
    return key;
}

// Reads chosen columns of a system table by name. A value of an unexpected type reads as Null: such a row says nothing.
class SystemRows {
 public:
    SystemRows(TableImpl& table, std::initializer_list<const char*> names) {
        std::vector<std::size_t> wanted;
        for (const char* name : names) {
            const auto position = table.def().columnByName(name);
            if (!position)
                corrupt(table.def().page, table.name() + " has no column " + name);
            wanted.push_back(*position);
        }
        m_scan = table.scan(std::move(wanted));
    }

    bool next() { return m_scan->next(m_row); }
    [[nodiscard]] RowId rowId() const { return m_scan->rowId(); }
    template <typename T>
    [[nodiscard]] const T* get(std::size_t column) const {
        return std::get_if<T>(&m_row[column]);
    }
    template <typename T>
    [[nodiscard]] std::optional<T> optional(std::size_t column) const {
        const T* value = get<T>(column);
        return value != nullptr ? std::optional<T>(*value) : std::nullopt;
    }

 private:
    std::unique_ptr<TableScan> m_scan;
    Row m_row;
};

double serialOf(const Date* date) {
    return date != nullptr ? date->serial : 0;
}

std::shared_ptr<DatabaseImpl> findOpen(Disk& disk, const std::string& path) {
    const auto open = registry().find({&disk, disk.identity(path)});
    return open != registry().end() ? open->second.lock() : nullptr;
}

}  // namespace

void copyDatabase(const std::string& from, const std::string& to, Disk* disk) {
    Disk& on = disk != nullptr ? *disk : defaultDisk();
    if (const auto open = findOpen(on, from))
        open->pager().copyTo(on, to);
    else
        Pager::open(on, from, {.readOnly = true})->copyTo(on, to);
}

std::shared_ptr<Database> Database::open(const std::string& path, const OpenOptions& options) {
    Disk& disk = options.disk != nullptr ? *options.disk : defaultDisk();
    const std::pair key(&disk, disk.identity(path));
    std::shared_ptr<DatabaseImpl> db = findOpen(disk, path);
    if (!db) {
        Pager::Options pagerOptions;
        pagerOptions.readOnly = options.readOnly;
        db = std::make_shared<DatabaseImpl>(Pager::open(disk, path, pagerOptions), options.readOnly);
    } else if (db->askedReadOnly() && !options.readOnly) {
        throw Error(Errc::Busy, path);  // the reader's lock excludes a writer, in this process like in any other
    }
    if (!db->passwordFits(options.password))
        throw Error(Errc::WrongPassword, path);
    registry()[key] = db;
    return db;
}

DatabaseImpl::DatabaseImpl(std::unique_ptr<Pager> pager, bool askedReadOnly)
    : m_pager(std::move(pager)), m_space(*m_pager), m_askedReadOnly(askedReadOnly) {}

DatabaseImpl::~DatabaseImpl() = default;

bool DatabaseImpl::passwordFits(const std::string& password) const {
    const std::string& wanted = m_pager->header().password;
    return wanted.empty() || wanted == password;
}

void DatabaseImpl::readCatalog() {
    if (m_catalogRead)
        return;
    CatalogEntry self;
    self.id = kObjectsDefinition;
    self.name = kObjectsName;
    self.flags = 0x80000000U;
    SystemRows rows(openTable(self), {"Id", "ParentId", "Name", "Type", "Flags", "DateCreate", "DateUpdate"});
    std::vector<Object> objects;
    std::map<Bytes, std::size_t> tableNames;
    while (rows.next()) {
        const auto* id = rows.get<std::int32_t>(0);
        const auto* name = rows.get<std::string>(2);
        const auto* type = rows.get<std::int16_t>(3);
        if (id == nullptr || name == nullptr || type == nullptr)
            continue;
        CatalogEntry entry;
        entry.id = *id;
        entry.parentId = rows.optional<std::int32_t>(1).value_or(0);
        entry.name = *name;
        entry.type = *type;
        entry.flags = static_cast<std::uint32_t>(rows.optional<std::int32_t>(4).value_or(0));
        entry.created = serialOf(rows.get<Date>(5));
        entry.updated = serialOf(rows.get<Date>(6));
        if (entry.type == CatalogEntry::TableType)
            tableNames.emplace(nameKey(entry.name), objects.size());
        objects.push_back({std::move(entry), rows.rowId()});
    }
    m_objects = std::move(objects);
    m_tableNames = std::move(tableNames);
    m_catalogRead = true;
}

void DatabaseImpl::checkStructure() {
    readCatalog();
    for (const Object& object : m_objects) {
        if (object.entry.type != CatalogEntry::TableType)
            continue;
        const TableDef& def = openTable(object.entry).def();
        std::vector<RowId> maps = {def.ownedMap, def.freeSpaceMap};
        for (const RealIndex& index : def.realIndexes) {
            maps.push_back(index.map);
            (void)m_pager->read(index.root);
        }
        for (const LongValueMaps& columnMaps : def.longValues)
            maps.push_back(columnMaps.owned);
        for (const RowId map : maps)
            (void)UsageMap(*m_pager, map).pages();  // throws for a page outside the file
    }
}

std::vector<CatalogEntry> DatabaseImpl::catalog() {
    readCatalog();
    std::vector<CatalogEntry> entries;
    for (const Object& object : m_objects)
        entries.push_back(object.entry);
    return entries;
}

const DatabaseImpl::Object* DatabaseImpl::findTable(std::string_view name) const {
    const auto it = m_tableNames.find(nameKey(name));
    return it == m_tableNames.end() ? nullptr : &m_objects[it->second];
}

// Tables and queries have one set of names; what other objects are called may be a table's name too.
const DatabaseImpl::Object* DatabaseImpl::findObject(std::string_view name) const {
    if (const Object* table = findTable(name))
        return table;
    const Object* found = nullptr;
    for (const Object& object : m_objects)
        if ((found == nullptr || object.entry.type == CatalogEntry::QueryType) && equalText(object.entry.name, name))
            found = &object;
    return found;
}

bool DatabaseImpl::hasTable(std::string_view name) {
    readCatalog();
    return findTable(name) != nullptr;
}

Table& DatabaseImpl::table(std::string_view name) {
    readCatalog();
    const Object* object = findTable(name);
    if (object == nullptr)
        throw Error(Errc::NoSuchTable, {}, std::string(name));
    return openTable(object->entry);
}

TableImpl& DatabaseImpl::tableAt(PageNo definition) {
    readCatalog();
    for (const Object& object : m_objects)
        if (object.entry.type == CatalogEntry::TableType && static_cast<PageNo>(object.entry.id) == definition)
            return openTable(object.entry);
    corrupt(definition, "the catalog has no table there");
}

TableImpl& DatabaseImpl::openTable(const CatalogEntry& entry) {
    std::unique_ptr<TableImpl>& table = m_tables[static_cast<PageNo>(entry.id)];
    if (!table)
        table = std::make_unique<TableImpl>(*this, entry);
    return *table;
}

void DatabaseImpl::readRelationships() {
    if (m_relationships)
        return;
    struct Pair {
        std::int32_t place;
        std::string referencing;
        std::string referenced;
    };
    std::vector<Relationship> all;
    std::vector<std::vector<Pair>> pairs;
    std::map<Bytes, std::size_t> places;  // by the key of the name
    readCatalog();
    if (const Object* object = findTable("MSysRelationships")) {
        SystemRows rows(openTable(object->entry), {"szRelationship", "grbit", "icolumn", "szObject", "szColumn",
                                                   "szReferencedObject", "szReferencedColumn"});
        while (rows.next()) {
            const auto text = [&](std::size_t column) { return rows.optional<std::string>(column).value_or(""); };
            std::string name = text(0);
            const auto [known, isNew] = places.try_emplace(nameKey(name), all.size());
            const std::size_t at = known->second;
            if (isNew) {
                Relationship& r = all.emplace_back();
                r.name = std::move(name);
                r.table = text(3);
                r.referencedTable = text(5);
                r.flags = static_cast<std::uint32_t>(rows.optional<std::int32_t>(1).value_or(0));
                pairs.emplace_back();
            }
            pairs[at].push_back({rows.optional<std::int32_t>(2).value_or(0), text(4), text(6)});
        }
    }
    for (std::size_t i = 0; i < all.size(); ++i) {
        std::stable_sort(pairs[i].begin(), pairs[i].end(),
                         [](const Pair& a, const Pair& b) { return a.place < b.place; });
        for (Pair& pair : pairs[i])
            all[i].columns.emplace_back(std::move(pair.referencing), std::move(pair.referenced));
    }
    m_relationships = std::move(all);
}

std::vector<Relationship> DatabaseImpl::relationships() {
    readRelationships();
    return *m_relationships;
}

const Relationship* DatabaseImpl::relationship(std::string_view name) {
    readRelationships();
    for (const Relationship& r : *m_relationships)
        if (equalText(r.name, name))
            return &r;
    return nullptr;
}

std::optional<StoredQuery> DatabaseImpl::query(std::string_view name) {
    readCatalog();
    const auto object = std::find_if(m_objects.begin(), m_objects.end(), [&](const Object& o) {
        return o.entry.type == CatalogEntry::QueryType && equalText(o.entry.name, name);
    });
    if (object == m_objects.end())
        return std::nullopt;
    StoredQuery query;
    query.name = object->entry.name;
    query.flags = object->entry.flags;
    SystemRows rows(static_cast<TableImpl&>(table("MSysQueries")),
                    {"ObjectId", "Attribute", "Order", "Name1", "Name2", "Expression", "Flag"});
    while (rows.next()) {
        const auto* id = rows.get<std::int32_t>(0);
        const auto* attribute = rows.get<std::uint8_t>(1);
        if (id == nullptr || *id != object->entry.id || attribute == nullptr)
            continue;
        QueryRow row;
        row.attribute = *attribute;
        row.order = 0;
        if (const auto* order = rows.get<Bytes>(2))
            for (const std::uint8_t byte : *order)
                row.order = row.order << 8U | byte;
        row.name1 = rows.optional<std::string>(3);
        row.name2 = rows.optional<std::string>(4);
        row.expression = rows.optional<std::string>(5);
        row.flag = rows.optional<std::int16_t>(6);
        query.rows.push_back(std::move(row));
    }
    std::stable_sort(query.rows.begin(), query.rows.end(), [](const QueryRow& a, const QueryRow& b) {
        return std::pair(a.attribute, a.order) < std::pair(b.attribute, b.order);
    });
    return query;
}

PropertySet DatabaseImpl::propertiesOf(const Object& object) {
    TableImpl& objects = *m_tables.at(kObjectsDefinition);
    const auto column = objects.def().columnByName("LvProp");
    if (!column)
        corrupt(kObjectsDefinition, "MSysObjects has no column LvProp");
    Row row;
    objects.read(object.row, std::array{*column}, row);
    const auto* blob = std::get_if<Bytes>(&row.front());
    return blob != nullptr ? PropertySet::decode(*blob) : PropertySet();
}

PropertySet DatabaseImpl::propertiesOf(std::int32_t id) {
    readCatalog();
    for (const Object& object : m_objects)
        if (object.entry.id == id)
            return propertiesOf(object);
    return {};
}

PropertySet DatabaseImpl::properties(std::string_view objectName) {
    readCatalog();
    const Object* object = findObject(objectName);
    return object != nullptr ? propertiesOf(*object) : PropertySet();
}

Transaction::~Transaction() {
    if (m_db == nullptr)
        return;
    try {
        m_db->rollback();
    } catch (...) {
        // Kept: a rollback drops pages in memory and does not fail; a destructor may not throw in any case.
    }
}

void Transaction::commit() {
    std::exchange(m_db, nullptr)->commit();
}

}  // namespace jet
