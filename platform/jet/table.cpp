// SPDX-License-Identifier: MIT
#include "jet/table.h"

#include <algorithm>
#include <cassert>
#include <set>
#include <utility>

#include "jet/database_impl.h"
#include "jet/table_impl.h"
#include "jet/values/codepage.h"

namespace jet {

namespace {

// The flag bytes that begin a key column: Null sorts before everything, or behind it when descending.
constexpr std::uint8_t kPresentAscending = 0x7F;
constexpr std::uint8_t kPresentDescending = 0x80;
constexpr std::uint8_t kNullDescending = 0xFF;

constexpr std::size_t kMaxTextInKey = 255;

bool startsWith(ByteView key, ByteView prefix) {
    return key.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), key.begin());
}

bool beginsAscending(const TableDef& def, std::size_t realIndex) {
    const RealIndex& index = def.realIndexes[realIndex];
    if (index.columns.empty())
        corrupt(def.page, "an index without columns");
    return index.columns.front().ascending;
}

bool isText(const ColumnDef& column) {
    return column.type == ColumnType::Text || column.type == ColumnType::Memo;
}

// A value that comes from a parent's column, which may be wider, or narrower than a fixed one here.
void fitField(const ColumnDef& column, Bytes& field, const std::string& table) {
    if (field.size() > column.length)
        throw Error(Errc::TooLong, column.name, table);
    if (column.isFixed() && column.type != ColumnType::Boolean)
        field.resize(column.storedSize());
}

void decodeLongValue(const RowStore& store, std::size_t position, ByteView header, Value& out) {
    Bytes content = store.longValues(position).read(header);
    if (store.def().columns[position].type != ColumnType::Memo) {
        out = std::move(content);
        return;
    }
    if (!std::holds_alternative<std::string>(out))
        out.emplace<std::string>();
    auto& text = std::get<std::string>(out);
    text.clear();
    appendFromCodePage(content, text);
}

// Decodes the columns `wanted` of a row; long values are followed. Adds their length to `longValueBytes`.
void decodeRow(const RowStore& store, const RowView& row, std::span<const std::size_t> wanted, Row& out,
               std::size_t& longValueBytes) {
    out.resize(wanted.size());
    const std::vector<ColumnDef>& columns = store.def().columns;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        const ColumnDef& column = columns[wanted[i]];
        const std::optional<ByteView> bytes = row.field(wanted[i]);
        if (!bytes) {
            out[i] = Null();
        } else if (column.isLongValue()) {
            longValueBytes += LongValueStore::length(*bytes);
            decodeLongValue(store, wanted[i], *bytes, out[i]);
        } else {
            decodeField(column, *bytes, out[i]);
        }
    }
}

// What both kinds of scan have in common: rows of a file in which many share one value end in an error, before they
// fill the memory of whoever keeps them.
class DecodingScan : public TableScan {
 public:
    DecodingScan(const RowStore& store, std::vector<std::size_t> wanted)
        : m_store(store), m_wanted(std::move(wanted)) {}

    [[nodiscard]] RowId rowId() const override { return m_row; }

 protected:
    void decode(RowId id, const RowView& row, Row& out) {
        m_row = id;
        decodeRow(m_store, row, m_wanted, out, m_longValueBytes);
        if (m_longValueBytes > m_store.fileSize())
            corrupt(m_store.def().page, "long values that are larger than their file");
    }

    const RowStore& m_store;

 private:
    std::vector<std::size_t> m_wanted;
    RowId m_row;
    std::size_t m_longValueBytes = 0;
};

class Scan final : public DecodingScan {
 public:
    Scan(const RowStore& store, std::vector<std::size_t> wanted)
        : DecodingScan(store, std::move(wanted)), m_pages(store.pages()) {}

    bool next(Row& out) override {
        while (m_view || openNextPage()) {
            for (; m_slot < m_view->slotCount(); ++m_slot) {
                const auto bytes = m_store.rowInSlot(*m_view, m_slot, m_elsewhere);
                if (!bytes)
                    continue;
                const RowId id{m_number, static_cast<std::uint8_t>(m_slot++)};
                decode(id, RowView(m_store.def(), *bytes, m_number), out);
                return true;
            }
            m_view.reset();
        }
        return false;
    }

 private:
    std::vector<PageNo> m_pages;
    std::size_t m_nextPage = 0;
    PageNo m_number = 0;
    PageRef m_page;
    PageRef m_elsewhere;  // keeps the bytes of a moved row
    std::optional<DataPageView> m_view;
    std::size_t m_slot = 0;

    bool openNextPage() {
        if (m_nextPage == m_pages.size())
            return false;
        m_number = m_pages[m_nextPage++];
        m_page = m_store.dataPage(m_number);
        m_view.emplace(m_page->view(), m_number);
        m_slot = 0;
        return true;
    }
};

class ScanOfRows final : public DecodingScan {
 public:
    ScanOfRows(const RowStore& store, std::vector<std::size_t> wanted, std::vector<RowId> ids)
        : DecodingScan(store, std::move(wanted)), m_ids(std::move(ids)) {}

    bool next(Row& out) override {
        if (m_next == m_ids.size())
            return false;
        const RowId id = m_ids[m_next++];
        const RowStore::Found found = m_store.find(id);
        decode(id, RowView(m_store.def(), found.bytes, found.place.page), out);
        return true;
    }

 private:
    std::vector<RowId> m_ids;
    std::size_t m_next = 0;
};

}  // namespace

TableImpl::TableImpl(DatabaseImpl& db, const CatalogEntry& entry)
    : m_db(&db),
      m_objectId(entry.id),
      m_systemObject(entry.isSystem()),
      m_store(db.pager(), db.space(), static_cast<PageNo>(entry.id), entry.name) {}

const ColumnRules& TableImpl::rules(std::size_t position) const {
    if (!m_rules) {
        const PropertySet properties = m_db->propertiesOf(m_objectId);
        std::vector<ColumnRules> all;
        for (const ColumnDef& column : columns()) {
            ColumnRules& rules = all.emplace_back();
            const PropertyBlock* block = properties.column(column.name);
            if (block == nullptr)
                continue;
            if (const Property* p = block->find("Required"))
                rules.required = p->truth();
            if (const Property* p = block->find("AllowZeroLength"))
                rules.allowZeroLength = p->truth();
            if (const Property* p = block->find("DefaultValue"))
                rules.defaultValue = p->text();
        }
        m_rules = std::move(all);
    }
    return (*m_rules)[position];
}

bool TableImpl::writable() const {
    return !m_db->readOnly() && !m_systemObject && !def().system && def().generalOrder();
}

void TableImpl::requireWritable() const {
    if (m_db->readOnly())
        throw Error(Errc::ReadOnly, m_db->path(), name());
    if (m_systemObject || def().system)
        throw Error(Errc::UnsupportedFeature, "changing system table " + name(), name());
    if (!def().generalOrder())
        throw Error(Errc::UnsupportedSortOrder, {}, name());
}

std::unique_ptr<TableScan> TableImpl::scan(std::vector<std::size_t> wanted) {
    return std::make_unique<Scan>(m_store, std::move(wanted));
}

std::unique_ptr<TableScan> TableImpl::scan(std::vector<std::size_t> wanted, std::vector<RowId> ids) {
    return std::make_unique<ScanOfRows>(m_store, std::move(wanted), std::move(ids));
}

void TableImpl::read(RowId id, std::span<const std::size_t> wanted, Row& out) {
    const RowStore::Found found = m_store.find(id);
    std::size_t longValueBytes = 0;
    decodeRow(m_store, RowView(def(), found.bytes, found.place.page), wanted, out, longValueBytes);
}

std::optional<std::size_t> TableImpl::indexOn(std::span<const std::size_t> positions) const {
    std::optional<std::size_t> best;
    const auto& indexes = def().realIndexes;
    for (std::size_t i = 0; i < indexes.size(); ++i) {
        const RealIndex& index = indexes[i];
        if (index.columns.size() < positions.size())
            continue;
        bool fits = true;
        for (std::size_t c = 0; c < positions.size(); ++c)
            fits = fits && def().columnByNumber(index.columns[c].column) == positions[c];
        // Text in another order has keys that cannot be formed here.
        fits = fits && (def().generalOrder() || std::none_of(index.columns.begin(), index.columns.end(), [&](auto& c) {
                            const auto position = def().columnByNumber(c.column);
                            return position && isText(columns()[*position]);
                        }));
        const auto unique = [&](std::size_t n) { return indexes[n].flags & RealIndex::kUnique; };
        if (fits && (!best || unique(i) > unique(*best)))
            best = i;
    }
    return best;
}

// The key bytes of `values`; nothing when no row can have them.
std::optional<Bytes> TableImpl::lookupKey(std::size_t realIndex, std::span<const Value> values) const {
    const RealIndex& index = def().realIndexes[realIndex];
    assert(values.size() <= index.columns.size());
    Bytes key;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto position = def().columnByNumber(index.columns[i].column);
        if (!position)
            corrupt(def().page, "an index names a column that is not there");
        const ColumnDef& column = columns()[*position];
        std::optional<Bytes> stored;
        if (const auto* text = std::get_if<std::string>(&values[i]); text != nullptr && isText(column)) {
            // Trailing blanks do not count, so the text may be longer than its column.
            const std::string trimmed = text->substr(0, text->find_last_not_of(' ') + 1);
            stored.emplace();
            if (!tryToCodePage(trimmed, *stored) || stored->size() > kMaxTextInKey)
                return std::nullopt;
        } else {
            stored = encodeField(column, values[i], name());
        }
        if (!stored)
            return std::nullopt;
        appendKey(column, index.columns[i].ascending, ByteView(*stored), key);
    }
    return key;
}

std::vector<RowId> TableImpl::lookup(std::size_t realIndex, std::span<const Value> values) {
    std::vector<RowId> rows;
    if (const auto key = lookupKey(realIndex, values))
        for (auto at = m_store.tree(realIndex).lowerBound(*key); at.valid() && startsWith(at.key(), *key); at.next())
            rows.push_back(at.row());
    return rows;
}

std::optional<RowId> TableImpl::lowest(std::size_t realIndex) {
    const BTree& tree = m_store.tree(realIndex);
    BTree::Cursor at;
    if (beginsAscending(def(), realIndex)) {
        at = tree.lowerBound(Bytes{kPresentAscending});
    } else {
        at = tree.lowerBound(Bytes{kNullDescending});
        if (at.valid())
            at.previous();
        else
            at = tree.last();
    }
    return at.valid() ? std::optional(at.row()) : std::nullopt;
}

std::optional<RowId> TableImpl::highest(std::size_t realIndex) {
    const BTree& tree = m_store.tree(realIndex);
    const bool ascending = beginsAscending(def(), realIndex);
    const BTree::Cursor at = ascending ? tree.last() : tree.first();
    const std::uint8_t present = ascending ? kPresentAscending : kPresentDescending;
    return at.valid() && startsWith(at.key(), Bytes{present}) ? std::optional(at.row()) : std::nullopt;
}

std::vector<RowId> TableImpl::inOrder(std::size_t realIndex) {
    std::vector<RowId> rows;
    for (auto at = m_store.tree(realIndex).first(); at.valid(); at.next())
        rows.push_back(at.row());
    if ((def().realIndexes[realIndex].flags & RealIndex::kIgnoreNulls) == 0)
        return rows;
    // Rows of nothing but Null have no entry; they go where Null goes.
    const std::set<RowId> entered(rows.begin(), rows.end());
    std::vector<RowId> others;
    Row nothing;
    for (Scan at(m_store, {}); at.next(nothing);)
        if (!entered.contains(at.rowId()))
            others.push_back(at.rowId());
    rows.insert(beginsAscending(def(), realIndex) ? rows.begin() : rows.end(), others.begin(), others.end());
    return rows;
}

const Links& TableImpl::links() {
    if (!m_links)
        m_links = resolveLinks(*m_db, *this);
    return *m_links;
}

void TableImpl::checkRules(std::size_t position, const Value& value) const {
    const ColumnDef& column = columns()[position];
    const ColumnRules& rule = rules(position);
    if (isNull(value)) {
        if (rule.required && column.type != ColumnType::Boolean)
            throw Error(Errc::RequiredNull, column.name, name());
        return;
    }
    const auto* text = std::get_if<std::string>(&value);
    if (text != nullptr && text->empty() && !rule.allowZeroLength)
        throw Error(Errc::ZeroLength, column.name, name());
}

// What users call the index: the primary key or an index of their own rather than the name of a relationship.
std::string TableImpl::indexName(std::size_t realIndex) const {
    const LogicalIndex* found = nullptr;
    const auto rank = [](const LogicalIndex& index) {
        return index.kind == LogicalIndex::Kind::Primary ? 2 : index.kind == LogicalIndex::Kind::Plain ? 1 : 0;
    };
    for (const LogicalIndex& index : def().logicalIndexes)
        if (index.real == realIndex && (found == nullptr || rank(index) > rank(*found)))
            found = &index;
    return found != nullptr ? found->name : std::string();
}

void TableImpl::checkKey(std::size_t realIndex, const IndexKey& key, std::optional<RowId> self, bool cascading) const {
    const RealIndex& index = def().realIndexes[realIndex];
    if (key.anyNull && (index.flags & RealIndex::kRequired) != 0)
        throw Error(Errc::NullInKey, indexName(realIndex), name());
    if (!key.anyNull && (index.flags & RealIndex::kUnique) != 0 && m_store.tree(realIndex).contains(key.bytes, self))
        throw Error(cascading ? Errc::CascadeDuplicate : Errc::DuplicateKey, indexName(realIndex), name());
}

void TableImpl::assignAutoNumber(Row& row) {
    for (std::size_t i = 0; i < row.size(); ++i) {
        if (!columns()[i].isAutoNumber() || columns()[i].type != ColumnType::Long)
            continue;
        const bool given = isNull(row[i]);
        if (given)
            row[i] = static_cast<std::int32_t>(def().lastAutoNumber + 1);
        if (const auto* number = std::get_if<std::int32_t>(&row[i]))
            setAutoNumber(*number, given);
    }
}

void TableImpl::setAutoNumber(std::int32_t number, bool given) {
    m_store.setAutoNumber(static_cast<std::uint32_t>(number));
    m_given = given ? std::optional(def().lastAutoNumber) : std::nullopt;
}

void TableImpl::keepAutoNumber() {
    const auto given = std::exchange(m_given, std::nullopt);
    if (!given || *given == def().lastAutoNumber)
        return;
    Transaction transaction(*m_db);
    m_store.setAutoNumber(*given);
    transaction.commit();
}

RowId TableImpl::insert(Row& row) {
    requireWritable();
    assignAutoNumber(row);
    for (std::size_t i = 0; i < row.size(); ++i)
        checkRules(i, row[i]);
    Fields fields = m_store.encode(row);
    for (std::size_t i = 0; i < def().realIndexes.size(); ++i)
        checkKey(i, m_store.key(i, fields), std::nullopt, false);

    for (std::size_t i = 0; i < fields.size(); ++i)
        if (columns()[i].isLongValue())
            m_store.writeLongValue(i, fields[i]);
    const RowId id = m_store.insert(fields);

    Consequences consequences;
    for (const ParentLink& link : links().parents)
        consequences.requireParent(link, keyThere(link.parent->store(), link.parentIndex, link.columns, fields));
    consequences.carryOut();
    return id;
}

TableImpl::Change TableImpl::planChange(std::span<const std::size_t> positions,
                                        std::span<const std::optional<Bytes>> values, const ChildLink* cause) {
    Change change;
    change.positions = positions;
    change.values = values;
    change.cause = cause;
    const auto changed = [&](std::size_t position) {
        return std::find(positions.begin(), positions.end(), position) != positions.end();
    };
    const auto anyChanged = [&](const std::vector<std::size_t>& list) {
        return std::any_of(list.begin(), list.end(), changed);
    };
    for (std::size_t i = 0; i < def().realIndexes.size(); ++i)
        for (const IndexColumn& c : def().realIndexes[i].columns)
            if (const auto position = def().columnByNumber(c.column); position && changed(*position)) {
                change.indexes.push_back(i);
                break;
            }
    for (const ParentLink& link : links().parents)
        if (anyChanged(link.columns) &&
            !(cause != nullptr && cause->child == this && cause->childNumber == link.number))
            change.parents.push_back(&link);
    for (const ChildLink& link : links().children)
        if (anyChanged(link.columns))
            change.children.push_back(&link);
    return change;
}

void TableImpl::update(RowId id, std::span<const std::size_t> positions, std::span<const Value> values) {
    assert(positions.size() == values.size());
    requireWritable();
    Fields fields;
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const ColumnDef& column = columns()[positions[i]];
        checkRules(positions[i], values[i]);
        fields.push_back(m_store.encode(positions[i], values[i]));
        if (const auto* number = std::get_if<std::int32_t>(&values[i]); number != nullptr && column.isAutoNumber())
            if (*number > static_cast<std::int32_t>(def().lastAutoNumber))
                setAutoNumber(*number, false);
    }
    Consequences consequences;
    changeRow(id, planChange(positions, fields, nullptr), consequences);
    consequences.carryOut();
}

void TableImpl::changeRow(RowId id, const Change& change, Consequences& consequences) {
    const bool cascading = change.cause != nullptr;
    Fields& fields = m_scratch;
    {
        const RowStore::Found found = m_store.find(id);
        copyFields(def(), RowView(def(), found.bytes, found.place.page), fields);
    }
    std::vector<IndexKey> before;
    for (const std::size_t index : change.indexes)
        before.push_back(m_store.key(index, fields));
    std::vector<IndexKey> childrenBefore;
    std::vector<Fields> referencedBefore;
    const auto referenced = [&](const ChildLink& link) {
        Fields values;
        for (const std::size_t column : link.columns)
            values.push_back(fields[column]);
        return values;
    };
    for (const ChildLink* link : change.children) {
        childrenBefore.push_back(keyThere(link->child->store(), link->childIndex, link->columns, fields));
        referencedBefore.push_back(referenced(*link));
    }

    for (std::size_t i = 0; i < change.positions.size(); ++i) {
        const std::size_t position = change.positions[i];
        const ColumnDef& column = columns()[position];
        if (column.isLongValue())
            m_store.eraseLongValue(position, fields[position]);
        fields[position] = change.values[i];
        if (column.isLongValue())
            m_store.writeLongValue(position, fields[position]);
        else if (cascading && fields[position])
            fitField(column, *fields[position], name());
    }
    m_store.rewrite(id, fields);
    for (std::size_t i = 0; i < change.indexes.size(); ++i) {
        const std::size_t index = change.indexes[i];
        const IndexKey after = m_store.key(index, fields);
        if (after.bytes == before[i].bytes)
            continue;
        checkKey(index, after, id, cascading);
        m_store.changeKey(index, before[i], after, id, !cascading);
    }

    for (const ParentLink* link : change.parents)
        consequences.requireParent(*link, keyThere(link->parent->store(), link->parentIndex, link->columns, fields));
    for (std::size_t i = 0; i < change.children.size(); ++i) {
        const ChildLink& link = *change.children[i];
        Fields after = referenced(link);
        if (after == referencedBefore[i])
            continue;
        if (link.cascadeUpdate)
            consequences.cascadeUpdate(link, std::move(childrenBefore[i]), std::move(after));
        else if (keyThere(link.child->store(), link.childIndex, link.columns, fields).bytes != childrenBefore[i].bytes)
            consequences.forbidChildren(link, std::move(childrenBefore[i]));
    }
}

void TableImpl::erase(RowId id) {
    requireWritable();
    if (!m_store.exists(id))
        return;  // an earlier row of the same statement took this one with it
    Consequences consequences;
    eraseRow(id, consequences);
    consequences.carryOut();
}

void TableImpl::eraseRow(RowId id, Consequences& consequences) {
    {
        const RowStore::Found found = m_store.find(id);
        copyFields(def(), RowView(def(), found.bytes, found.place.page), m_scratch);
    }
    for (const ChildLink& link : links().children) {
        IndexKey key = keyThere(link.child->store(), link.childIndex, link.columns, m_scratch);
        if (link.cascadeDelete)
            consequences.cascadeDelete(link, std::move(key));
        else
            consequences.forbidChildren(link, std::move(key));
    }
    m_store.erase(id, m_scratch);
}

}  // namespace jet
