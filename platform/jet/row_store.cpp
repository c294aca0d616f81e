// SPDX-License-Identifier: MIT
#include "jet/row_store.h"

#include "jet/values/bytes.h"
#include "jet/values/codepage.h"

namespace jet {

namespace {

// A page that has at least this much room again after a row went or shrank is worth another look.
constexpr std::size_t kWorthTrying = 512;

}  // namespace

RowStore::RowStore(Pager& pager, PageSpace& space, PageNo definition, std::string name)
    : m_pager(&pager),
      m_space(&space),
      m_name(std::move(name)),
      m_owned(pager, {}),
      m_withRoom(pager, {}),
      m_def(TableDef::load(pager, definition)),
      m_rollbacks(pager.rollbacks()) {
    m_owned = UsageMap(pager, m_def.ownedMap);
    m_withRoom = UsageMap(pager, m_def.freeSpaceMap);
    for (const RealIndex& index : m_def.realIndexes)
        m_trees.emplace_back(pager, space, definition, index.root, index.map);
}

const TableDef& RowStore::def() const {
    if (m_rollbacks != m_pager->rollbacks())
        reloadCounters();
    return m_def;
}

// A rollback has taken back what statements change in a definition, which is the counters alone.
void RowStore::reloadCounters() const {
    const TableDef stored = TableDef::load(*m_pager, m_def.page);
    m_def.rowCount = stored.rowCount;
    m_def.lastAutoNumber = stored.lastAutoNumber;
    for (std::size_t i = 0; i < m_def.realIndexes.size() && i < stored.realIndexes.size(); ++i)
        m_def.realIndexes[i].distinctKeys = stored.realIndexes[i].distinctKeys;
    m_rollbacks = m_pager->rollbacks();
}

LongValueStore RowStore::longValues(std::size_t position) const {
    for (const LongValueMaps& maps : m_def.longValues)
        if (maps.column == m_def.columns[position].number)
            return {*m_pager, *m_space, maps};
    corrupt(m_def.page, "a memo or OLE column has no pages of its own");
}

std::vector<PageNo> RowStore::pages() const {
    return m_owned.pages();
}

PageRef RowStore::dataPage(PageNo page) const {
    PageRef ref = m_pager->read(page);
    if (DataPageView(ref->view(), page).owner() != m_def.page)
        corrupt(page, "a data page of table " + m_name + " belongs to another owner");
    return ref;
}

std::optional<ByteView> RowStore::rowInSlot(const DataPageView& view, std::size_t slot, PageRef& page) const {
    switch (view.kind(slot)) {
        case SlotKind::Row:
            return view.row(slot);
        case SlotKind::Moved:
        case SlotKind::Deleted:
            return std::nullopt;
        case SlotKind::Pointer:
            break;
    }
    const RowId target = fromPointer(getU32(view.row(slot), 0));
    page = dataPage(target.page);
    const DataPageView there(page->view(), target.page);
    if (target.row >= there.slotCount() || there.kind(target.row) != SlotKind::Moved)
        corrupt(target.page, "a pointer row leads to a slot without a moved row");
    return there.row(target.row);
}

RowStore::Found RowStore::find(RowId id) const {
    Found found{id, dataPage(id.page), {}};
    const DataPageView view(found.page->view(), id.page);
    if (id.row < view.slotCount()) {
        if (view.kind(id.row) == SlotKind::Pointer)
            found.place = fromPointer(getU32(view.row(id.row), 0));
        const PageRef home = found.page;  // `view` looks at it
        if (const auto bytes = rowInSlot(view, id.row, found.page)) {
            found.bytes = *bytes;
            return found;
        }
    }
    corrupt(id.page, "table " + m_name + " has no row " + std::to_string(id.row) + " there");
}

bool RowStore::exists(RowId id) const {
    if (!m_owned.contains(id.page))
        return false;
    const PageRef page = dataPage(id.page);
    const DataPageView view(page->view(), id.page);
    if (id.row >= view.slotCount())
        return false;
    const SlotKind kind = view.kind(id.row);
    return kind == SlotKind::Row || kind == SlotKind::Pointer;
}

Fields RowStore::encode(const Row& row) const {
    assert(row.size() == m_def.columns.size());
    Fields fields(row.size());
    for (std::size_t i = 0; i < row.size(); ++i)
        fields[i] = encode(i, row[i]);
    return fields;
}

std::optional<Bytes> RowStore::encode(std::size_t position, const Value& value) const {
    const ColumnDef& column = m_def.columns[position];
    if (column.type == ColumnType::Boolean && isNull(value))
        return Bytes{0};  // there is no Null of this type
    if (column.type == ColumnType::Memo && !isNull(value)) {
        if (const auto* text = std::get_if<std::string>(&value))
            return toCodePage(*text);
        throw Error(Errc::TypeMismatch, column.name, m_name);
    }
    return encodeField(column, value, m_name);
}

void RowStore::writeLongValue(std::size_t position, std::optional<Bytes>& field) {
    if (field)
        field = longValues(position).write(*field);
}

void RowStore::eraseLongValue(std::size_t position, const std::optional<Bytes>& field) {
    if (field && !LongValueStore::isInline(*field))
        longValues(position).erase(*field);
}

IndexKey RowStore::key(std::size_t realIndex, const Fields& fields) const {
    return makeKey(m_def, m_def.realIndexes[realIndex], [&](std::size_t position) -> std::optional<ByteView> {
        const std::optional<Bytes>& field = fields[position];
        return field ? std::optional<ByteView>(*field) : std::nullopt;
    });
}

bool RowStore::hasEntry(std::size_t realIndex, const IndexKey& key) const {
    return !key.allNull || (m_def.realIndexes[realIndex].flags & RealIndex::kIgnoreNulls) == 0;
}

void RowStore::addEntry(std::size_t realIndex, const IndexKey& key, RowId id, bool count) {
    if (!hasEntry(realIndex, key))
        return;
    RealIndex& index = m_def.realIndexes[realIndex];
    BTree& tree = m_trees[realIndex];
    const bool unique = (index.flags & RealIndex::kUnique) != 0 && !key.anyNull;
    if (count && (unique || !tree.contains(key.bytes))) {
        ++index.distinctKeys;
        m_def.storeStatistics(*m_pager, realIndex);
    }
    tree.insert(key.bytes, id);
}

RowId RowStore::insert(const Fields& fields) {
    static_cast<void>(def());
    const RowId id = place(encodeRow(m_def, fields, m_name), SlotKind::Row);
    for (std::size_t i = 0; i < m_trees.size(); ++i)
        addEntry(i, key(i, fields), id, true);
    ++m_def.rowCount;
    m_def.storeRowCount(*m_pager);
    return id;
}

RowId RowStore::insertRow(const Row& row) {
    Fields fields = encode(row);
    for (std::size_t i = 0; i < fields.size(); ++i)
        if (m_def.columns[i].isLongValue())
            writeLongValue(i, fields[i]);
    return insert(fields);
}

void RowStore::changeKey(std::size_t realIndex, const IndexKey& from, const IndexKey& to, RowId id, bool count) {
    static_cast<void>(def());
    if (hasEntry(realIndex, from))
        m_trees[realIndex].erase(from.bytes, id);
    addEntry(realIndex, to, id, count);
}

void RowStore::setAutoNumber(std::uint32_t last) {
    static_cast<void>(def());
    m_def.lastAutoNumber = last;
    m_def.storeAutoNumber(*m_pager);
}

// The first page that the free-space map offers and that has room. The map is a hint: pages that disappoint are taken
// out of it, so that a search does not meet them again.
std::optional<PageNo> RowStore::pageWithRoom(std::size_t length) {
    std::optional<PageNo> page = m_withRoom.next(0);
    while (page) {
        const PageRef ref = m_pager->read(*page);
        if (m_owned.contains(*page)) {
            const DataPageView view(ref->view(), *page);
            if (view.owner() == m_def.page && view.hasRoom(length))
                return page;
        }
        m_withRoom.remove(*page);
        page = m_withRoom.next(*page + 1);
    }
    return std::nullopt;
}

RowId RowStore::place(ByteView bytes, SlotKind kind) {
    std::optional<PageNo> page = pageWithRoom(bytes.size());
    if (!page) {
        page = m_space->allocate(m_owned);
        DataPageEditor(m_pager->edit(*page), *page).format(m_def.page);
        m_withRoom.add(*page, *m_space);
    }
    return {*page, DataPageEditor(m_pager->edit(*page), *page).append(bytes, kind)};
}

void RowStore::noteRoom(PageNo page, const DataPageView& view) {
    if (view.freeSpace() >= kWorthTrying && view.slotCount() < kMaxSlots && !m_withRoom.contains(page))
        m_withRoom.add(page, *m_space);
}

void RowStore::eraseSlot(RowId place) {
    DataPageEditor editor(m_pager->edit(place.page), place.page);
    editor.erase(place.row);
    if (editor.view().liveSlots() > 0) {
        noteRoom(place.page, editor.view());
        return;
    }
    m_withRoom.remove(place.page);
    m_owned.remove(place.page);
    m_space->free(place.page);
}

void RowStore::putPointer(RowId id, RowId target) {
    Bytes pointer;
    appendLe(pointer, toPointer(target));
    if (!DataPageEditor(m_pager->edit(id.page), id.page).replace(id.row, pointer, SlotKind::Pointer))
        throw Error(Errc::RowTooLarge, {}, m_name);  // a row of less than four bytes on a page without a byte to spare
}

void RowStore::rewrite(RowId id, const Fields& fields) {
    const Bytes bytes = encodeRow(m_def, fields, m_name);
    const RowId at = find(id).place;
    const auto replace = [&](RowId place, SlotKind kind) {
        DataPageEditor editor(m_pager->edit(place.page), place.page);
        if (!editor.replace(place.row, bytes, kind))
            return false;
        noteRoom(place.page, editor.view());
        return true;
    };
    if (at == id) {
        if (!replace(id, SlotKind::Row))
            putPointer(id, place(bytes, SlotKind::Moved));
        return;
    }
    if (replace(at, SlotKind::Moved))
        return;
    eraseSlot(at);
    if (!replace(id, SlotKind::Row))  // there may be room at home again
        putPointer(id, place(bytes, SlotKind::Moved));
}

void RowStore::erase(RowId id, const Fields& fields) {
    static_cast<void>(def());
    for (std::size_t i = 0; i < m_trees.size(); ++i)
        if (const IndexKey k = key(i, fields); hasEntry(i, k))
            m_trees[i].erase(k.bytes, id);
    for (std::size_t i = 0; i < fields.size(); ++i)
        if (m_def.columns[i].isLongValue())
            eraseLongValue(i, fields[i]);
    const RowId at = find(id).place;
    eraseSlot(id);
    if (at != id)
        eraseSlot(at);
    if (m_def.rowCount > 0) {
        --m_def.rowCount;
        m_def.storeRowCount(*m_pager);
    }
}

void copyFields(const TableDef& def, const RowView& row, Fields& out) {
    out.resize(def.columns.size());
    for (std::size_t i = 0; i < out.size(); ++i) {
        const std::optional<ByteView> bytes = row.field(i);
        if (!bytes) {
            out[i].reset();
            continue;
        }
        if (!out[i])
            out[i].emplace();
        out[i]->assign(bytes->begin(), bytes->end());
    }
}

}  // namespace jet
