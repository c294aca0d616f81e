// SPDX-License-Identifier: MIT
#include "jet/maintenance/create.h"

#include <algorithm>

#include "jet/maintenance/new_file.h"
#include "jet/row_store.h"
#include "jet/values/bytes.h"
#include "jet/values/codepage.h"
#include "jet/values/text_order.h"

namespace jet {

namespace {

constexpr std::uint32_t kFirstFreeId = 0x80000000;
constexpr std::uint32_t kSystemObject = 0x80000000;

// Accounts: every file knows these.
const Bytes kEngine = {2, 3};
const Bytes kAdmin = {3, 1};
const Bytes kUsers = {2, 1};
const Bytes kCreator = {2, 4};

constexpr std::uint32_t kEverything = 0xFFFFF;
constexpr std::uint32_t kCreatorRights = 0xF00FE;

constexpr std::uint16_t kBuild = 4513;  // an engine that real files name as their maker

// The length in the definition of a column. A Boolean has one, though its values lie in the null mask; of long values
// it is not known.
std::uint16_t lengthOf(ColumnType type, std::uint16_t declared) {
    if (type == ColumnType::Boolean)
        return 1;
    if (type == ColumnType::Memo || type == ColumnType::Ole)
        return 0;
    ColumnDef column;
    column.type = type;
    column.length = declared;
    return static_cast<std::uint16_t>(column.storedSize());
}

bool storedVariable(ColumnType type) {
    return type == ColumnType::Text || type == ColumnType::Binary || type == ColumnType::Memo ||
           type == ColumnType::Ole;
}

// Appends a column; `extraFlags` beside those for variable and fixed columns.
ColumnDef& addColumn(TableDef& def, const std::string& name, ColumnType type, std::uint16_t length,
                     std::uint8_t extraFlags) {
    std::uint16_t offset = 0;
    for (const ColumnDef& c : def.columns)
        if (c.isFixed() && c.type != ColumnType::Boolean)
            offset = static_cast<std::uint16_t>(c.fixedOffset + c.length);
    const bool variable = storedVariable(type);
    ColumnDef column;
    column.name = name;
    column.type = type;
    column.number = def.maxColumns++;
    column.variableIndex = def.variableColumns;
    column.position = column.number;
    column.flags = static_cast<std::uint8_t>((variable ? 0x02 : 0x03) | extraFlags);
    column.fixedOffset = variable || type == ColumnType::Boolean ? std::uint16_t{0} : offset;
    column.length = lengthOf(type, length);
    if (variable)
        ++def.variableColumns;
    def.columns.push_back(std::move(column));
    return def.columns.back();
}

std::size_t columnIndex(const TableDef& def, const std::string& name, const std::string& table) {
    const auto at = def.columnByName(name);
    if (!at)
        throw Error(Errc::NoSuchColumn, name, table);
    return *at;
}

// Appends a logical index on the real index `real`.
LogicalIndex& addLogicalIndex(TableDef& def, const std::string& name, std::size_t real, LogicalIndex::Kind kind) {
    LogicalIndex index;
    index.name = name;
    index.number = static_cast<std::uint32_t>(def.logicalIndexes.size());
    index.real = static_cast<std::uint32_t>(real);
    index.kind = kind;
    def.logicalIndexes.push_back(std::move(index));
    return def.logicalIndexes.back();
}

std::size_t addRealIndex(TableDef& def, std::vector<IndexColumn> columns, std::uint8_t flags) {
    RealIndex index;
    index.columns = std::move(columns);
    index.flags = flags;
    def.realIndexes.push_back(std::move(index));
    return def.realIndexes.size() - 1;
}

// Definitions list what they list by name, not in order of creation.
void sortByName(TableDef& def) {
    std::stable_sort(def.logicalIndexes.begin(), def.logicalIndexes.end(),
                     [](const LogicalIndex& a, const LogicalIndex& b) { return compareText(a.name, b.name) < 0; });
    const auto nameOf = [&](const LongValueMaps& m) { return def.columns[*def.columnByNumber(m.column)].name; };
    std::sort(def.longValues.begin(), def.longValues.end(),
              [&](const LongValueMaps& a, const LongValueMaps& b) { return compareText(nameOf(a), nameOf(b)) < 0; });
}

// ".r" and the character that comes so many places after A.
std::string referencedSideName(std::uint32_t number) {
    return ".r" + fromCodePage(Bytes{static_cast<std::uint8_t>('A' + number)});
}

// The flags of a query in the catalog say its kind once more, in their own code.
std::uint32_t queryFlags(const QuerySpec& query) {
    static constexpr std::array<std::uint8_t, 10> kKinds = {0, 0x00, 0x50, 0x40, 0x30, 0x20, 0x10, 0x60, 0x70, 0x80};
    for (const QueryRow& row : query.rows)
        if (row.attribute == 1 && row.flag && *row.flag > 0 && static_cast<std::size_t>(*row.flag) < kKinds.size())
            return kKinds[static_cast<std::size_t>(*row.flag)];
    return 0;
}

Value textOrNull(const std::optional<std::string>& text) {
    return text ? Value(*text) : Value();
}

std::int32_t asSigned(std::uint32_t v) {
    return static_cast<std::int32_t>(v);
}

class Builder {
 public:
    Builder(Pager& pager, const DatabaseSpec& spec)
        : m_pager(pager), m_space(pager), m_spec(spec), m_relationships(spec.relationships) {}

    void build() {
        Header header;
        header.password = m_spec.password;
        header.build = kBuild;
        startFile(m_pager, header);
        reserveMaps();
        storeSystemTables();
        for (const TableSpec& table : m_spec.tables)
            m_tables.push_back(define(table));
        for (Relationship& relationship : m_relationships)
            if (relationship.enforced())
                link(relationship);
        for (TableDef& def : m_tables)
            givePages(m_pager, m_space, def);
        for (TableDef& def : m_tables)
            storeDefinition(def);
        fillCatalog();
        pad();
    }

 private:
    Pager& m_pager;
    PageSpace m_space;
    const DatabaseSpec& m_spec;
    std::vector<Relationship> m_relationships;  // their columns in the order of the referenced index
    std::vector<TableDef> m_tables;             // as in the description

    DataPageEditor editor(PageNo page) { return {m_pager.edit(page), page}; }

    void addMapRows(PageNo page, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            editor(page).append(UsageMap::freshRow());
    }

    void own(RowId map, PageNo page) { UsageMap(m_pager, map).add(page, m_space); }

    // Map rows of the catalog.
    void reserveMaps() {
        addMapRows(kObjectMaps, 15);
        addMapRows(kLastObjectMap, 1);
        addMapRows(kNameIndexMap, 1);
        addMapRows(kIdIndexMap, 1);
        addMapRows(kOtherMaps, 13);
    }

    TableDef systemTable(PageNo page) {
        TableDef def;
        def.page = page;
        def.pages = {page};
        def.system = true;
        return def;
    }

    void systemColumn(TableDef& def, const char* name, ColumnType type, std::uint16_t length = 0,
                      std::uint8_t flags = 0x10) {
        addColumn(def, name, type, length, flags).position = 0;
    }

    void systemIndex(TableDef& def, const char* name, std::vector<std::uint16_t> columns, std::uint8_t flags, RowId map,
                     PageNo root, LogicalIndex::Kind kind = LogicalIndex::Kind::Plain) {
        std::vector<IndexColumn> keys;
        for (const std::uint16_t column : columns)
            keys.push_back({column, true});
        const std::size_t real = addRealIndex(def, std::move(keys), flags);
        def.realIndexes[real].map = map;
        def.realIndexes[real].root = root;
        addLogicalIndex(def, name, real, kind);
        BTree::formatRoot(m_pager.edit(root), def.page);
        own(map, root);
    }

    void storeSystemTable(TableDef& def) {
        sortByName(def);
        def.store(m_pager);
    }

    void storeSystemTables() {
        using enum ColumnType;
        constexpr std::uint8_t kUnique = RealIndex::kUnique;
        constexpr std::uint8_t kOwnerFlags = 0x30;  // shows as 32 with the flag of variable columns
        constexpr auto kPrimary = LogicalIndex::Kind::Primary;

        TableDef objects = systemTable(kObjects);
        systemColumn(objects, "Id", Long);
        systemColumn(objects, "ParentId", Long);
        systemColumn(objects, "Name", Text, 255);
        systemColumn(objects, "Type", Integer);
        systemColumn(objects, "DateCreate", DateTime);
        systemColumn(objects, "DateUpdate", DateTime);
        systemColumn(objects, "Owner", Binary, 255, kOwnerFlags);
        systemColumn(objects, "Flags", Long);
        systemColumn(objects, "Database", Memo);
        systemColumn(objects, "Connect", Memo);
        systemColumn(objects, "ForeignName", Text, 255);
        systemColumn(objects, "RmtInfoShort", Binary, 255);
        for (const char* name : {"RmtInfoLong", "Lv", "LvProp", "LvModule", "LvExtra"})
            systemColumn(objects, name, Ole);
        objects.ownedMap = {kObjectMaps, 0};
        objects.freeSpaceMap = {kObjectMaps, 1};
        std::uint8_t row = 2;
        for (const auto column : std::initializer_list<std::uint16_t>{8, 9, 12, 13, 14, 15})
            objects.longValues.push_back({column, {kObjectMaps, row++}, RowId{kObjectMaps, row++}});
        objects.longValues.push_back({16, {kObjectMaps, 14}, RowId{kLastObjectMap, 0}});
        systemIndex(objects, "ParentIdName", {1, 2}, kUnique, {kNameIndexMap, 0}, kNameIndexRoot);
        systemIndex(objects, "Id", {0}, kUnique, {kIdIndexMap, 0}, kIdIndexRoot, kPrimary);
        storeSystemTable(objects);
        firstRowPage(objects, kObjectRows);

        TableDef aces = systemTable(kAces);
        systemColumn(aces, "ObjectId", Long);
        systemColumn(aces, "SID", Binary, 255, kOwnerFlags);
        systemColumn(aces, "ACM", Long);
        systemColumn(aces, "FInheritable", Boolean);
        aces.ownedMap = {kOtherMaps, 0};
        aces.freeSpaceMap = {kOtherMaps, 1};
        systemIndex(aces, "ObjectId", {0}, RealIndex::kRequired, {kOtherMaps, 2}, kAceIndexRoot);
        storeSystemTable(aces);
        firstRowPage(aces, kAceRows);

        TableDef queries = systemTable(kQueries);
        systemColumn(queries, "ObjectId", Long);
        systemColumn(queries, "Attribute", Byte);
        systemColumn(queries, "Order", Binary, 255);
        systemColumn(queries, "Name1", Text, 255);
        systemColumn(queries, "Name2", Text, 255);
        systemColumn(queries, "Expression", Memo);
        systemColumn(queries, "Flag", Integer);
        queries.ownedMap = {kOtherMaps, 3};
        queries.freeSpaceMap = {kOtherMaps, 4};
        queries.longValues.push_back({5, {kOtherMaps, 5}, RowId{kOtherMaps, 6}});
        systemIndex(queries, "ObjectIdAttribute", {0, 1, 2}, kUnique, {kOtherMaps, 7}, kQueryIndexRoot, kPrimary);
        storeSystemTable(queries);

        TableDef relationships = systemTable(kRelationships);
        systemColumn(relationships, "szRelationship", Text, 255);
        for (const char* name : {"grbit", "ccolumn", "icolumn"})
            systemColumn(relationships, name, Long);
        for (const char* name : {"szObject", "szColumn", "szReferencedObject", "szReferencedColumn"})
            systemColumn(relationships, name, Text, 255);
        relationships.ownedMap = {kOtherMaps, 8};
        relationships.freeSpaceMap = {kOtherMaps, 9};
        PageNo root = kRelationshipIndexRoots;
        row = 10;
        for (const auto column : std::initializer_list<std::uint16_t>{0, 4, 6}) {
            const std::string name = relationships.columns[column].name;
            systemIndex(relationships, name.c_str(), {column}, RealIndex::kIgnoreNulls, {kOtherMaps, row++}, root++);
        }
        storeSystemTable(relationships);
    }

    void firstRowPage(const TableDef& def, PageNo page) {
        editor(page).format(def.page);
        own(def.ownedMap, page);
        own(def.freeSpaceMap, page);
    }

    // Columns and the table's own indexes; pages come later.
    TableDef define(const TableSpec& table) {
        TableDef def;
        for (const ColumnSpec& column : table.columns) {
            ColumnDef& c = addColumn(def, column.name, column.type, column.length, column.autoNumber ? 0x04 : 0x00);
            if (c.isLongValue())
                def.longValues.push_back({c.number, {}, RowId{}});
        }
        for (const IndexSpec& index : table.indexes) {
            std::vector<IndexColumn> columns;
            for (const auto& [name, ascending] : index.columns)
                columns.push_back({def.columns[columnIndex(def, name, table.name)].number, ascending});
            unsigned flags = 0;
            if (index.unique || index.primary)
                flags |= RealIndex::kUnique;
            if (index.ignoreNulls)
                flags |= RealIndex::kIgnoreNulls;
            if (index.required || index.primary)
                flags |= RealIndex::kRequired;
            const std::size_t real = addRealIndex(def, std::move(columns), static_cast<std::uint8_t>(flags));
            addLogicalIndex(def, index.name, real,
                            index.primary ? LogicalIndex::Kind::Primary : LogicalIndex::Kind::Plain);
        }
        return def;
    }

    std::size_t tableIndex(const std::string& name) const {
        for (std::size_t i = 0; i < m_spec.tables.size(); ++i)
            if (equalText(m_spec.tables[i].name, name))
                return i;
        throw Error(Errc::NoSuchTable, {}, name);
    }

    // The real index on exactly these columns: for the referenced side a unique one, the primary key if it can be,
    // whose columns may come in another order; for the other side a plain one if it can be.
    static std::optional<std::size_t> findIndex(const TableDef& def, const std::vector<std::uint16_t>& columns,
                                                bool referenced) {
        std::optional<std::size_t> best;
        int bestRank = -1;
        for (const LogicalIndex& logical : def.logicalIndexes) {
            const RealIndex& real = def.realIndexes[logical.real];
            std::vector<std::uint16_t> have;
            for (const IndexColumn& c : real.columns)
                have.push_back(c.column);
            const bool unique = (real.flags & RealIndex::kUnique) != 0;
            const bool same = referenced ? std::is_permutation(have.begin(), have.end(), columns.begin(), columns.end())
                                         : have == columns;
            if (!same || (referenced && !unique))
                continue;
            const int rank = referenced ? logical.kind == LogicalIndex::Kind::Primary : !unique;
            if (rank > bestRank) {
                best = logical.real;
                bestRank = rank;
            }
        }
        return best;
    }

    // Gives both tables of an enforced relationship the entries that lead to each other. Partner tables are noted by
    // their place in the description until they have pages.
    void link(Relationship& relationship) {
        const std::size_t childTable = tableIndex(relationship.table);
        const std::size_t parentTable = tableIndex(relationship.referencedTable);
        TableDef& child = m_tables[childTable];
        TableDef& parent = m_tables[parentTable];
        const auto numbers = [](const TableDef& def, const std::string& table, const auto& names, auto side) {
            std::vector<std::uint16_t> columns;
            for (const auto& pair : names)
                columns.push_back(def.columns[columnIndex(def, pair.*side, table)].number);
            return columns;
        };
        using Names = std::pair<std::string, std::string>;
        const auto parentReal = findIndex(
            parent, numbers(parent, relationship.referencedTable, relationship.columns, &Names::second), true);
        if (!parentReal)
            throw Error(Errc::UnsupportedFeature,
                        "relationship " + relationship.name + " without a unique index on the referenced columns");
        std::vector<Names> ordered;
        for (const IndexColumn& c : parent.realIndexes[*parentReal].columns)
            ordered.push_back(*std::find_if(relationship.columns.begin(), relationship.columns.end(), [&](auto& pair) {
                return parent.columns[*parent.columnByName(pair.second)].number == c.column;
            }));
        relationship.columns = std::move(ordered);

        const auto childColumns = numbers(child, relationship.table, relationship.columns, &Names::first);
        auto childReal = findIndex(child, childColumns, false);
        if (!childReal) {
            std::vector<IndexColumn> columns;
            for (const std::uint16_t column : childColumns)
                columns.push_back({column, true});
            childReal = addRealIndex(child, std::move(columns), 0);
        }

        const auto enter = [&](TableDef& def, const std::string& name, std::size_t real, LogicalIndex::Side side,
                               std::size_t partner) {
            LogicalIndex& index = addLogicalIndex(def, name, real, LogicalIndex::Kind::Relation);
            index.side = side;
            index.partnerTable = static_cast<PageNo>(partner);
            index.cascadeUpdate = relationship.cascadeUpdate();
            index.cascadeDelete = relationship.cascadeDelete();
            return index.number;
        };
        const std::uint32_t childNumber =
            enter(child, relationship.name, *childReal, LogicalIndex::Side::Referencing, parentTable);
        const auto nextNumber = static_cast<std::uint32_t>(parent.logicalIndexes.size());
        const std::uint32_t parentNumber =
            enter(parent, referencedSideName(nextNumber), *parentReal, LogicalIndex::Side::Referenced, childTable);
        child.logicalIndexes[childNumber].partnerNumber = parentNumber;
        parent.logicalIndexes[parentNumber].partnerNumber = childNumber;
    }

    void storeDefinition(TableDef& def) {
        for (LogicalIndex& index : def.logicalIndexes)
            if (index.kind == LogicalIndex::Kind::Relation)
                index.partnerTable = m_tables[index.partnerTable].page;
        sortByName(def);
        def.store(m_pager);
    }

    struct Object {
        std::int32_t id = 0;
        std::int32_t parent = 0;
        std::string name;
        std::int16_t type = 0;
        std::uint32_t flags = 0;
        Bytes owner;
        std::optional<Bytes> properties;
    };

    void addObject(RowStore& objects, const Object& object) {
        Row row(objects.def().columns.size());
        row[0] = object.id;
        row[1] = object.parent;
        row[2] = object.name;
        row[3] = object.type;
        row[4] = Date{m_spec.created};
        row[5] = Date{m_spec.created};
        row[6] = object.owner;
        row[7] = asSigned(object.flags);
        if (object.properties)
            row[14] = *object.properties;
        objects.insertRow(row);
    }

    void addFixedObjects(RowStore& objects) {
        using Entry = CatalogEntry;
        const auto add = [&](std::int32_t id, std::int32_t parent, const char* name, std::int16_t type,
                             const Bytes& owner) {
            addObject(objects, {id, parent, name, type, kSystemObject, owner, std::nullopt});
        };
        add(kTablesId, kRootId, "Tables", Entry::Container, kEngine);
        add(kDatabasesId, kRootId, "Databases", Entry::Container, kEngine);
        add(kRelationshipsId, kRootId, "Relationships", Entry::Container, kEngine);
        add(kDatabaseDocumentId, kDatabasesId, "MSysDb", Entry::DatabaseDocument, kAdmin);
        add(kObjects, kTablesId, "MSysObjects", Entry::TableType, kEngine);
        add(kAces, kTablesId, "MSysACEs", Entry::TableType, kEngine);
        add(kQueries, kTablesId, "MSysQueries", Entry::TableType, kEngine);
        add(kRelationships, kTablesId, "MSysRelationships", Entry::TableType, kEngine);
    }

    static std::optional<Bytes> propertiesOf(const TableSpec& table) {
        PropertySet set;
        if (!table.properties.empty())
            set.blocks.push_back({0, {}, table.properties});
        for (const ColumnSpec& column : table.columns)
            if (!column.properties.empty())
                set.blocks.push_back({1, column.name, column.properties});
        return set.blocks.empty() ? std::nullopt : std::optional(set.encode());
    }

    static std::optional<Bytes> propertiesOf(const QuerySpec& query) {
        PropertySet set;
        set.blocks = query.properties;
        return set.blocks.empty() ? std::nullopt : std::optional(set.encode());
    }

    void addAce(RowStore& aces, std::int32_t id, const Bytes& account, std::uint32_t rights, bool inheritable) {
        aces.insertRow({id, account, asSigned(rights), inheritable});
    }

    void addFixedAces(RowStore& aces) {
        for (const PageNo id : {kObjects, kAces, kQueries})
            addAce(aces, asSigned(id), kAdmin, 0x60000, false);
        addAce(aces, kRelationships, kAdmin, 0xE0000, false);
        for (const std::int32_t id : {kTablesId, kRelationshipsId}) {
            addAce(aces, id, kCreator, kCreatorRights, true);
            addAce(aces, id, kAdmin, 0x60001, false);
        }
        addAce(aces, kDatabasesId, kAdmin, 0x60000, false);
        addAce(aces, kDatabaseDocumentId, kAdmin, 0x6000E, false);
        addAce(aces, kDatabaseDocumentId, kUsers, 0xE, false);
        for (const PageNo id : {kQueries, kRelationships, kObjects})
            addAce(aces, asSigned(id), kUsers, 0x14, false);
        for (const std::int32_t id : {kTablesId, kRelationshipsId})
            addAce(aces, id, kUsers, kEverything, true);
    }

    void addQueryRow(RowStore& queries, std::int32_t id, const QueryRow& row) {
        Bytes order;  // big-endian, unlike everything around it
        for (const unsigned shift : {24U, 16U, 8U, 0U})
            order.push_back(static_cast<std::uint8_t>(row.order >> shift));
        queries.insertRow({id, row.attribute, order, textOrNull(row.name1), textOrNull(row.name2),
                           textOrNull(row.expression), row.flag ? Value(*row.flag) : Value()});
    }

    void addRelationshipRows(RowStore& relationships, const Relationship& r) {
        const auto count = static_cast<std::int32_t>(r.columns.size());
        for (std::int32_t i = 0; i < count; ++i) {
            const auto& [referencing, referenced] = r.columns[static_cast<std::size_t>(i)];
            relationships.insertRow(
                {r.name, asSigned(r.flags), count, i, r.table, referencing, r.referencedTable, referenced});
        }
    }

    void fillCatalog() {
        using Entry = CatalogEntry;
        std::vector<Object> made;
        for (std::size_t i = 0; i < m_tables.size(); ++i)
            made.push_back({asSigned(m_tables[i].page), kTablesId, m_spec.tables[i].name, Entry::TableType, 0, kAdmin,
                            propertiesOf(m_spec.tables[i])});
        std::uint32_t nextId = kFirstFreeId;
        for (const QuerySpec& query : m_spec.queries)
            made.push_back({asSigned(nextId++), kTablesId, query.name, Entry::QueryType, queryFlags(query), kAdmin,
                            propertiesOf(query)});
        for (const Relationship& relationship : m_relationships)
            made.push_back({asSigned(nextId++), kRelationshipsId, relationship.name, Entry::RelationType, 0, kAdmin,
                            std::nullopt});

        RowStore objects(m_pager, m_space, kObjects, "MSysObjects");
        addFixedObjects(objects);
        for (const Object& object : made)
            addObject(objects, object);

        RowStore aces(m_pager, m_space, kAces, "MSysACEs");
        addFixedAces(aces);
        for (const Object& object : made) {
            addAce(aces, object.id, kAdmin, kCreatorRights, false);
            addAce(aces, object.id, kUsers, kEverything, false);
        }

        RowStore queries(m_pager, m_space, kQueries, "MSysQueries");
        std::uint32_t id = kFirstFreeId;
        for (const QuerySpec& query : m_spec.queries) {
            for (const QueryRow& row : query.rows)
                addQueryRow(queries, asSigned(id), row);
            ++id;
        }

        RowStore relationships(m_pager, m_space, kRelationships, "MSysRelationships");
        for (const Relationship& relationship : m_relationships)
            addRelationshipRows(relationships, relationship);
    }

    // Free pages up to the size asked for.
    void pad() {
        std::vector<PageNo> fresh;
        while (m_pager.pageCount() < m_spec.pages)
            fresh.push_back(m_space.allocate());
        for (const PageNo page : fresh)
            m_space.free(page);
    }
};

}  // namespace

void createDatabase(Disk& disk, const std::string& path, const DatabaseSpec& spec) {
    if (toCodePage(spec.password).size() > kMaxPassword)
        throw Error(Errc::TooLong, "password");
    std::unique_ptr<Pager> pager = Pager::create(disk, path);
    try {
        pager->begin();
        Builder(*pager, spec).build();
        pager->commit();
        pager->close();
    } catch (...) {
        pager.reset();
        disk.remove(path);
        disk.remove(logPath(path));
        throw;
    }
}

}  // namespace jet
