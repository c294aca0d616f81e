// SPDX-License-Identifier: MIT
#include "jet/references.h"

#include <algorithm>

#include "jet/database_impl.h"
#include "jet/table_impl.h"

namespace jet {

namespace {

// An update that passes through more tables than this runs in a circle.
constexpr unsigned kMaxDepth = 200;

// Positions of the columns of a real index.
std::vector<std::size_t> indexPositions(const TableDef& def, std::size_t realIndex) {
    std::vector<std::size_t> positions;
    for (const IndexColumn& c : def.realIndexes[realIndex].columns) {
        const auto position = def.columnByNumber(c.column);
        if (!position)
            corrupt(def.page, "an index names a column that is not there");
        positions.push_back(*position);
    }
    return positions;
}

const LogicalIndex& partnerOf(const TableDef& own, const LogicalIndex& index, const TableDef& other) {
    for (const LogicalIndex& partner : other.logicalIndexes) {
        if (partner.number != index.partnerNumber)
            continue;
        const bool sidesFit = index.side != LogicalIndex::Side::None && partner.side != LogicalIndex::Side::None &&
                              index.side != partner.side;
        if (partner.kind == LogicalIndex::Kind::Relation && sidesFit && partner.partnerTable == own.page &&
            partner.partnerNumber == index.number)
            return partner;
    }
    corrupt(own.page, "the relationship of index " + index.name + " leads nowhere");
}

// Column pairs (child, parent) as positions. The catalog says which column refers to which; without it, the order of
// the two indexes does.
std::vector<std::pair<std::size_t, std::size_t>> columnPairs(DatabaseImpl& db, const std::string& name,
                                                             const TableDef& child, std::size_t childIndex,
                                                             const TableDef& parent, std::size_t parentIndex) {
    std::vector<std::pair<std::size_t, std::size_t>> pairs;
    if (const Relationship* relationship = db.relationship(name)) {
        for (const auto& [referencing, referenced] : relationship->columns) {
            const auto c = child.columnByName(referencing);
            const auto p = parent.columnByName(referenced);
            if (!c || !p)
                corrupt(child.page, "relationship " + name + " names a column that is not there");
            pairs.emplace_back(*c, *p);
        }
    } else {
        const auto c = indexPositions(child, childIndex);
        const auto p = indexPositions(parent, parentIndex);
        for (std::size_t i = 0; i < std::min(c.size(), p.size()); ++i)
            pairs.emplace_back(c[i], p[i]);
    }
    for (const auto& [c, p] : pairs)
        if (child.columns[c].type != parent.columns[p].type)
            corrupt(child.page, "relationship " + name + " joins columns of different types");
    return pairs;
}

template <typename Pairs, typename From, typename To>
std::vector<std::size_t> translate(const Pairs& pairs, const std::vector<std::size_t>& positions, From from, To to,
                                   PageNo page) {
    std::vector<std::size_t> out;
    for (const std::size_t position : positions) {
        const auto it = std::find_if(pairs.begin(), pairs.end(), [&](const auto& p) { return p.*from == position; });
        if (it == pairs.end())
            corrupt(page, "a relationship does not cover its index");
        out.push_back((*it).*to);
    }
    return out;
}

}  // namespace

Links resolveLinks(DatabaseImpl& db, TableImpl& table) {
    using Pair = std::pair<std::size_t, std::size_t>;
    Links links;
    const TableDef& own = table.def();
    for (const LogicalIndex& index : own.logicalIndexes) {
        if (index.kind != LogicalIndex::Kind::Relation)
            continue;
        TableImpl& other = db.tableAt(index.partnerTable);
        const TableDef& there = other.def();
        const LogicalIndex& partner = partnerOf(own, index, there);
        if (index.side == LogicalIndex::Side::Referencing) {
            const auto pairs = columnPairs(db, index.name, own, index.real, there, partner.real);
            links.parents.push_back(
                {&other, index.number, index.real, partner.real,
                 translate(pairs, indexPositions(there, partner.real), &Pair::second, &Pair::first, own.page)});
        } else {
            const auto pairs = columnPairs(db, partner.name, there, partner.real, own, index.real);
            const auto childColumns = indexPositions(there, partner.real);
            links.children.push_back({&other, partner.number, index.real, partner.real,
                                      translate(pairs, childColumns, &Pair::first, &Pair::second, own.page),
                                      childColumns, index.cascadeUpdate == 1, index.cascadeDelete == 1});
        }
    }
    return links;
}

IndexKey keyThere(const RowStore& there, std::size_t realIndex, const std::vector<std::size_t>& columns,
                  const Fields& fields) {
    std::size_t next = 0;
    return makeKey(there.def(), there.def().realIndexes[realIndex], [&](std::size_t) -> std::optional<ByteView> {
        const std::optional<Bytes>& field = fields[columns[next++]];
        return field ? std::optional<ByteView>(*field) : std::nullopt;
    });
}

void Consequences::requireParent(const ParentLink& link, IndexKey key) {
    if (!key.anyNull)
        m_checks.push_back({&link.parent->store(), link.parentIndex, std::move(key.bytes), true});
}

void Consequences::forbidChildren(const ChildLink& link, IndexKey key) {
    if (!key.anyNull)
        m_checks.push_back({&link.child->store(), link.childIndex, std::move(key.bytes), false});
}

void Consequences::cascadeDelete(const ChildLink& link, IndexKey key) {
    if (!key.anyNull)
        m_cascades.push_back({&link, std::move(key.bytes), true, {}, m_depth + 1});
}

void Consequences::cascadeUpdate(const ChildLink& link, IndexKey key, Fields values) {
    if (!key.anyNull)
        m_cascades.push_back({&link, std::move(key.bytes), false, std::move(values), m_depth + 1});
}

void Consequences::carryOut() {
    while (!m_cascades.empty()) {
        const Cascade cascade = std::move(m_cascades.front());
        m_cascades.pop_front();
        carryOut(cascade);
    }
    for (const Check& check : m_checks)
        if (check.store->tree(check.index).contains(check.key) != check.mustExist)
            throw Error(check.mustExist ? Errc::ParentRequired : Errc::ChildrenExist, {}, check.store->name());
}

void Consequences::carryOut(const Cascade& cascade) {
    TableImpl& child = *cascade.link->child;
    std::vector<RowId> rows;
    for (auto at = child.store().tree(cascade.link->childIndex).lowerBound(cascade.key); at.valid(); at.next()) {
        if (!std::equal(at.key().begin(), at.key().end(), cascade.key.begin(), cascade.key.end()))
            break;
        rows.push_back(at.row());
    }
    if (rows.empty())
        return;
    child.requireWritable();
    m_depth = cascade.depth;
    if (cascade.erase) {
        for (const RowId row : rows)
            child.eraseRow(row, *this);
        return;
    }
    if (m_depth > kMaxDepth)
        throw Error(Errc::UnsupportedFeature, "a cascade that runs in a circle");
    const TableImpl::Change change = child.planChange(cascade.link->childColumns, cascade.values, cascade.link);
    for (const RowId row : rows)
        child.changeRow(row, change, *this);
}

}  // namespace jet
