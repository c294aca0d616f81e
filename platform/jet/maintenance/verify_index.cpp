// SPDX-License-Identifier: MIT
// verify(): index trees, their keys, and relationships.
#include <algorithm>

#include "jet/indexes/index_key.h"
#include "jet/maintenance/verifier.h"
#include "jet/values/bytes.h"
#include "jet/values/codepage.h"
#include "jet/values/text_order.h"

namespace jet::verifying {

namespace {

constexpr std::size_t kMaskAt = 22;
constexpr std::size_t kMaskBytes = 226;
constexpr std::size_t kAreaAt = 248;
constexpr std::size_t kArea = 1800;
constexpr std::size_t kRowBytes = 4;
constexpr std::size_t kChildBytes = 4;
constexpr std::uint32_t kNotEnforced = 0x2;
constexpr std::uint32_t kCascadeUpdate = 0x100;
constexpr std::uint32_t kCascadeDelete = 0x1000;

std::uint32_t bigEndian(ByteView b) {
    return std::uint32_t{b[0]} << 24U | std::uint32_t{b[1]} << 16U | std::uint32_t{b[2]} << 8U | b[3];
}

std::string hex(ByteView bytes) {
    static constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    for (const std::uint8_t b : bytes) {
        text += digits[b >> 4U];
        text += digits[b & 15U];
    }
    return text;
}

int compareBytes(ByteView a, ByteView b) {
    const std::size_t n = std::min(a.size(), b.size());
    const int order = n == 0 ? 0 : std::memcmp(a.data(), b.data(), n);
    if (order != 0)
        return order;
    return a.size() < b.size() ? -1 : int{a.size() > b.size()};
}

bool isGeneral(const ColumnDef& column) {
    return column.type != ColumnType::Text || (column.language == kGeneral && column.codePage == kCodePage);
}

// Many byte strings behind each other.
struct Texts {
    struct Text {
        std::size_t offset = 0;
        std::size_t length = 0;
        bool anyNull = false;
    };
    Bytes bytes;
    std::vector<Text> all;

    [[nodiscard]] ByteView of(const Text& text) const { return ByteView(bytes).subspan(text.offset, text.length); }
    [[nodiscard]] ByteView at(std::size_t i) const { return of(all[i]); }
    [[nodiscard]] std::size_t size() const { return all.size(); }
    // Of the text of an index entry.
    [[nodiscard]] RowId rowAt(std::size_t i) const { return fromPointer(bigEndian(at(i).last(kRowBytes))); }
    [[nodiscard]] ByteView keyAt(std::size_t i) const { return at(i).first(all[i].length - kRowBytes); }
    // Makes what was appended to `bytes` since then a text.
    void finish(std::size_t from, bool anyNull = false) { all.push_back({from, bytes.size() - from, anyNull}); }
    void sort() {
        std::sort(all.begin(), all.end(), [&](const Text& a, const Text& b) { return compareBytes(of(a), of(b)) < 0; });
    }
};

}  // namespace

// ---- trees ----

struct Verifier::Tree {
    struct Links {
        PageNo page = 0;
        PageNo previous = 0;
        PageNo next = 0;
    };

    const CheckedTable& table;
    const RealIndex& index;
    std::string what;
    std::vector<PageNo> pages;
    std::map<unsigned, std::vector<Links>> levels;  // in order
    Texts entries;                                  // of the leaves, in order
    bool ordered = true;
    bool broken = false;  // some part could not be read
};

void Verifier::checkIndex(const CheckedTable& table, std::size_t real) {
    Tree tree{
        table, table.def.realIndexes[real], "table " + table.name + ", index tree " + std::to_string(real), {}, {}, {}};
    for (const LogicalIndex& logical : table.def.logicalIndexes) {
        if (logical.real == real) {
            tree.what = "table " + table.name + ", index " + logical.name;
            break;
        }
    }
    if (!guard(tree.what, [&] { checkTreePage(tree, tree.index.root, std::nullopt, true); }))
        tree.broken = true;
    checkLinks(tree);
    std::sort(tree.pages.begin(), tree.pages.end());
    for (const PageNo page : tree.pages) {
        if (!std::ranges::binary_search(table.indexPages[real], page))
            problem(tree.what + ": page " + std::to_string(page) + " is not in the map of the index");
    }
    if (tree.broken)
        return;
    for (const PageNo page : table.indexPages[real]) {
        if (!std::ranges::binary_search(tree.pages, page))
            problem(tree.what + ": page " + std::to_string(page) + " is in the map of the index but not in the tree");
    }
    const bool general = std::ranges::all_of(tree.index.columns, [&](const IndexColumn& c) {
        const auto position = table.def.columnByNumber(c.column);
        return !position || isGeneral(table.def.columns[*position]);
    });
    guard(tree.what, [&] { general ? compareEntries(tree) : compareRowsOnly(tree); });
}

// Checks a page and all below it. Returns its highest entry; nothing if there is none that can be told.
std::optional<Bytes> Verifier::checkTreePage(Tree& tree, PageNo number, std::optional<unsigned> level, bool rightMost) {
    const std::string where = tree.what + ": page " + std::to_string(number);
    const auto giveUp = [&](const std::string& text) {
        tree.broken = true;
        problem(where + text);
        return std::nullopt;
    };
    const PageRef ref = m_pager.read(number);
    const ByteView page = ref->view();
    const bool leaf = page[0] == 4;
    const unsigned ownLevel = page[21];
    if (m_inTree[number])
        return giveUp(" occurs twice in the trees of indexes");
    if ((!leaf && page[0] != 3) || page[1] != 1)
        return giveUp(" is of type " + std::to_string(page[0]) + ", not an index page");
    m_inTree[number] = true;
    tree.pages.push_back(number);
    if (getU32(page, 4) != tree.table.def.page)
        problem(where + " belongs to the table on page " + std::to_string(getU32(page, 4)));
    if (leaf != (ownLevel == 0) || (level && ownLevel != *level))
        return giveUp(" has the level " + std::to_string(ownLevel) +
                      (level ? ", not " + std::to_string(*level) : std::string(" and the type of another")));

    const std::size_t prefix = page[20];
    const ByteView area = page.subspan(kAreaAt, kArea);
    std::vector<std::pair<Bytes, PageNo>> children;
    std::size_t start = 0;
    std::size_t count = 0;
    for (std::size_t bit = 0; bit < kMaskBytes * 8; ++bit) {
        const std::uint8_t mask = page[kMaskAt + bit / 8];
        if (mask == 0) {
            bit += 7 - bit % 8;
            continue;
        }
        if ((mask >> bit % 8 & 1U) == 0)
            continue;
        if (bit > kArea)
            return giveUp(": an entry ends outside the page");
        const ByteView stored = area.subspan(start, bit - start);
        const std::size_t whole = stored.size() + (count == 0 ? 0 : prefix);
        if (whole <= kRowBytes + (leaf ? 0 : kChildBytes) || (count == 0 && whole < prefix))
            return giveUp(": an entry of " + std::to_string(whole) + " bytes");
        if (leaf) {
            Texts& entries = tree.entries;
            const std::size_t from = entries.bytes.size();
            if (count > 0)
                entries.bytes.insert(entries.bytes.end(), area.begin(),
                                     area.begin() + static_cast<std::ptrdiff_t>(prefix));
            entries.bytes.insert(entries.bytes.end(), stored.begin(), stored.end());
            entries.finish(from);
            if (entries.size() > 1 &&
                compareBytes(entries.at(entries.size() - 2), entries.at(entries.size() - 1)) >= 0) {
                tree.ordered = false;
                problem(where + ": the entry " + hex(entries.at(entries.size() - 1)) + " does not come after " +
                        hex(entries.at(entries.size() - 2)));
            }
        } else {
            const ByteView text = stored.first(stored.size() - kChildBytes);
            if (!children.empty() && compareBytes(children.back().first, text) >= 0)
                problem(where + ": the entry " + hex(text) + " does not come after " + hex(children.back().first));
            children.emplace_back(Bytes(text.begin(), text.end()), bigEndian(stored.last(kChildBytes)));
        }
        start = bit;
        ++count;
    }
    if (getU16(page, 2) != kArea - start)
        problem(where + " has " + std::to_string(kArea - start) + " bytes free, its header says " +
                std::to_string(getU16(page, 2)));
    if (prefix != 0 && (!leaf || count == 0))
        problem(where + " has the prefix length " + std::to_string(prefix));
    const PageNo tail = getU32(page, 16);
    const Tree::Links links{number, getU32(page, 8), getU32(page, 12)};
    tree.levels[ownLevel].push_back(links);
    if (leaf) {
        if (tail != 0)
            problem(where + " is a leaf with a tail");
        if (count == 0)
            return std::nullopt;
        const ByteView last = tree.entries.at(tree.entries.size() - 1);
        return Bytes(last.begin(), last.end());
    }

    if (count == 0)
        problem(where + " is a node without entries");
    if (tail == 0 && rightMost)
        problem(where + " is the right-most node of its level and has no tail");
    std::optional<Bytes> highest;
    const auto visit = [&](PageNo child, bool last) {
        highest.reset();
        if (guard(where, [&] { highest = checkTreePage(tree, child, ownLevel - 1, last); })) {
            if (!highest && !tree.broken)
                problem(where + ": its child, page " + std::to_string(child) + ", is empty");
        } else {
            tree.broken = true;
        }
    };
    for (const auto& [text, child] : children) {
        visit(child, false);
        if (highest && *highest != text)
            problem(where + ": the entry for page " + std::to_string(child) + " is " + hex(text) +
                    ", the highest entry there is " + hex(*highest));
    }
    if (tail != 0) {
        visit(tail, rightMost);
        if (highest && !children.empty() && compareBytes(*highest, children.back().first) <= 0)
            problem(where + ": its tail, page " + std::to_string(tail) + ", is not past the last entry");
    }
    return highest;
}

// Leaves must be linked, nodes may be.
void Verifier::checkLinks(const Tree& tree) {
    for (const auto& [level, pages] : tree.levels) {
        for (std::size_t i = 0; i < pages.size(); ++i) {
            const PageNo previous = i == 0 ? 0 : pages[i - 1].page;
            const PageNo next = i + 1 == pages.size() ? 0 : pages[i + 1].page;
            const bool leaves = level == 0;
            const auto right = [leaves](PageNo have, PageNo want) { return have == want || (!leaves && have == 0); };
            if (!tree.broken && (!right(pages[i].previous, previous) || !right(pages[i].next, next)))
                problem(tree.what + ": page " + std::to_string(pages[i].page) + " has the neighbours " +
                        std::to_string(pages[i].previous) + " and " + std::to_string(pages[i].next) + ", not " +
                        std::to_string(previous) + " and " + std::to_string(next));
        }
    }
}

// ---- entries and rows ----

// The entries must be exactly those that the rows call for.
void Verifier::compareEntries(Tree& tree) {
    const TableDef& def = tree.table.def;
    const RealIndex& index = tree.index;
    Texts wanted;
    for (const LiveRow& live : tree.table.rows) {
        const StoredRow row = tree.table.row(live);
        const std::size_t from = wanted.bytes.size();
        bool anyNull = false;
        bool allNull = true;
        for (const IndexColumn& column : index.columns) {
            const auto position = def.columnByNumber(column.column);
            if (!position)
                return;  // reported with the definition
            const std::optional<ByteView> field = row.field(*position);
            anyNull = anyNull || !field;
            allNull = allNull && !field;
            appendKey(def.columns[*position], column.ascending, field, wanted.bytes);
        }
        if (anyNull && (index.flags & RealIndex::kRequired) != 0)
            problem(tree.what + ": Null in row " + place(live.id));
        if (allNull && (index.flags & RealIndex::kIgnoreNulls) != 0) {
            wanted.bytes.resize(from);
            continue;
        }
        for (const unsigned shift : {24U, 16U, 8U, 0U})
            wanted.bytes.push_back(static_cast<std::uint8_t>(toPointer(live.id) >> shift));
        wanted.finish(from, anyNull);
    }
    wanted.sort();
    Texts& entries = tree.entries;
    if (!tree.ordered)
        entries.sort();

    std::map<RowId, std::size_t> missing;
    std::vector<std::size_t> surplus;
    std::size_t w = 0;
    std::size_t e = 0;
    while (w < wanted.size() || e < entries.size()) {
        const int order = w == wanted.size() ? 1 : e == entries.size() ? -1 : compareBytes(wanted.at(w), entries.at(e));
        if (order < 0)
            missing.emplace(wanted.rowAt(w), w);
        if (order > 0)
            surplus.push_back(e);
        w += order <= 0 ? 1 : 0;
        e += order >= 0 ? 1 : 0;
    }
    for (const std::size_t i : surplus) {
        const RowId id = entries.rowAt(i);
        const auto other = missing.find(id);
        if (other == missing.end()) {
            problem(tree.what + ": there is an entry for row " + place(id) + " that should not be there");
            continue;
        }
        problem(tree.what + ": the key of row " + place(id) + " is " + hex(entries.keyAt(i)) + ", not " +
                hex(wanted.keyAt(other->second)));
        missing.erase(other);
    }
    for (const auto& [id, i] : missing)
        problem(tree.what + ": there is no entry for row " + place(id));

    if ((index.flags & RealIndex::kUnique) == 0)
        return;
    for (std::size_t i = 1; i < wanted.size(); ++i) {
        if (!wanted.all[i].anyNull && compareBytes(wanted.keyAt(i - 1), wanted.keyAt(i)) == 0)
            problem(tree.what + ": rows " + place(wanted.rowAt(i - 1)) + " and " + place(wanted.rowAt(i)) +
                    " have the same key");
    }
}

// For keys of texts in an order that we cannot compute: each row must have one entry.
void Verifier::compareRowsOnly(Tree& tree) {
    std::set<RowId> seen;
    for (std::size_t i = 0; i < tree.entries.size(); ++i) {
        if (!seen.insert(tree.entries.rowAt(i)).second)
            problem(tree.what + ": there are two entries for row " + place(tree.entries.rowAt(i)));
    }
    for (const LiveRow& live : tree.table.rows) {
        const StoredRow row = tree.table.row(live);
        bool anyNull = false;
        bool allNull = true;
        for (const IndexColumn& column : tree.index.columns) {
            const auto position = tree.table.def.columnByNumber(column.column);
            const bool null = position && !row.field(*position);
            anyNull = anyNull || null;
            allNull = allNull && null;
        }
        if (anyNull && (tree.index.flags & RealIndex::kRequired) != 0)
            problem(tree.what + ": Null in row " + place(live.id));
        const bool expected = !allNull || (tree.index.flags & RealIndex::kIgnoreNulls) == 0;
        if (expected && seen.erase(live.id) == 0)
            problem(tree.what + ": there is no entry for row " + place(live.id));
    }
    for (const RowId id : seen)
        problem(tree.what + ": there is an entry for row " + place(id) + " that should not be there");
}

// ---- relationships ----

struct Verifier::Relation {
    std::string name;
    std::string what;
    std::string childName;
    std::string parentName;
    std::uint32_t flags = 0;
    std::int32_t columnCount = 0;
    std::map<std::int32_t, std::pair<std::string, std::string>> columns;  // child, parent
    // Found by checkRelation(): positions of the columns.
    const CheckedTable* child = nullptr;
    const CheckedTable* parent = nullptr;
    std::vector<std::size_t> childPositions;
    std::vector<std::size_t> parentPositions;
};

std::vector<Verifier::Relation> Verifier::readRelations() {
    const CheckedTable* table = tableNamed("MSysRelationships");
    if (table == nullptr)
        return {};  // reported with the catalog
    std::array<std::size_t, 8> at{};
    const std::array<const char*, 8> names = {
        "szRelationship",    "grbit", "ccolumn", "icolumn", "szObject", "szColumn", "szReferencedObject",
        "szReferencedColumn"};
    for (std::size_t i = 0; i < names.size(); ++i) {
        const auto position = table->def.columnByName(names[i]);
        if (!position)
            corrupt(table->def.page, std::string("there is no column ") + names[i]);
        at[i] = *position;
    }
    std::map<Bytes, Relation> byName;
    for (const LiveRow& live : table->rows) {
        const StoredRow row = table->row(live);
        const auto text = [&](std::size_t i) {
            const auto field = row.field(at[i]);
            return field ? fromCodePage(*field) : std::string();
        };
        const auto number = [&](std::size_t i) {
            const auto field = row.field(at[i]);
            return field ? getLe<std::int32_t>(*field, 0) : 0;
        };
        Bytes key;
        appendSortKey(text(0), key);
        Relation& relation = byName[key];
        if (relation.what.empty()) {
            relation.name = text(0);
            relation.what = "relationship " + relation.name;
            relation.flags = static_cast<std::uint32_t>(number(1));
            relation.columnCount = number(2);
            relation.childName = text(4);
            relation.parentName = text(6);
        }
        if (!relation.columns.emplace(number(3), std::pair(text(5), text(7))).second)
            problem(relation.what + ": two rows for column " + std::to_string(number(3)));
    }
    std::vector<Relation> relations;
    for (auto& [key, relation] : byName)
        relations.push_back(std::move(relation));
    return relations;
}

void Verifier::checkRelationships() {
    std::set<std::pair<PageNo, std::uint32_t>> known;  // table and number of the indexes that relationships need
    for (Relation& relation : readRelations())
        checkRelation(relation, known);
    for (const auto& table : m_tables) {
        for (const LogicalIndex& index : table->def.logicalIndexes) {
            if (index.kind == LogicalIndex::Kind::Relation && !known.contains({table->def.page, index.number}))
                problem("table " + table->name + ", index " + index.name +
                        ": there is no enforced relationship for it");
        }
    }
}

void Verifier::checkRelation(Relation& relation, std::set<std::pair<PageNo, std::uint32_t>>& known) {
    const std::string& what = relation.what;
    const auto count = static_cast<std::int32_t>(relation.columns.size());
    if (relation.columnCount != count || relation.columns.begin()->first != 0 ||
        relation.columns.rbegin()->first != count - 1) {
        problem(what + ": the rows of its columns are incomplete");
        return;
    }
    relation.child = tableNamed(relation.childName);
    relation.parent = tableNamed(relation.parentName);
    if (relation.child == nullptr || relation.parent == nullptr) {
        problem(what + ": there is no table " + (relation.child == nullptr ? relation.childName : relation.parentName));
        return;
    }
    const TableDef& child = relation.child->def;
    const TableDef& parent = relation.parent->def;
    for (const auto& [number, names] : relation.columns) {
        const auto childPosition = child.columnByName(names.first);
        const auto parentPosition = parent.columnByName(names.second);
        if (!childPosition || !parentPosition) {
            problem(what + ": there is no column " + (childPosition ? names.second : names.first));
            return;
        }
        relation.childPositions.push_back(*childPosition);
        relation.parentPositions.push_back(*parentPosition);
    }
    if ((relation.flags & kNotEnforced) != 0)
        return;

    const LogicalIndex* from = nullptr;
    std::size_t found = 0;
    for (const LogicalIndex& index : child.logicalIndexes) {
        if (index.kind == LogicalIndex::Kind::Relation && index.side == LogicalIndex::Side::Referencing &&
            equalText(index.name, relation.name)) {
            from = &index;
            ++found;
        }
    }
    if (found != 1) {
        problem(what + ": table " + relation.child->name + " has " + std::to_string(found) + " indexes for it");
        return;
    }
    known.emplace(child.page, from->number);
    const auto to = std::ranges::find(parent.logicalIndexes, from->partnerNumber, &LogicalIndex::number);
    if (from->partnerTable != parent.page || to == parent.logicalIndexes.end() ||
        to->kind != LogicalIndex::Kind::Relation || to->side != LogicalIndex::Side::Referenced ||
        to->partnerTable != child.page || to->partnerNumber != from->number) {
        problem(what + ": its two indexes do not lead to each other");
        return;
    }
    known.emplace(parent.page, to->number);
    for (const LogicalIndex* index : {from, &*to}) {
        if (index->cascadeUpdate != ((relation.flags & kCascadeUpdate) != 0 ? 1 : 0) ||
            index->cascadeDelete != ((relation.flags & kCascadeDelete) != 0 ? 1 : 0))
            problem(what + ": the cascades of index " + index->name + " are not those of the relationship");
    }
    const auto covers = [](const TableDef& def, const LogicalIndex& index, const std::vector<std::size_t>& positions) {
        return std::ranges::equal(
            def.realIndexes[index.real].columns, positions,
            [&](const IndexColumn& c, std::size_t p) { return c.column == def.columns[p].number; });
    };
    if (!covers(child, *from, relation.childPositions) || !covers(parent, *to, relation.parentPositions))
        problem(what + ": an index of it is on other columns");
    checkReferences(relation);
}

// Each row of the child without Null must find its key among those of the parent.
void Verifier::checkReferences(const Relation& relation) {
    const auto keys = [](const CheckedTable& table, const std::vector<std::size_t>& positions, Texts& texts) {
        // Equality does not depend on the sort order, so ours will do for columns in another.
        std::vector<ColumnDef> columns;
        for (const std::size_t position : positions) {
            columns.push_back(table.def.columns[position]);
            columns.back().language = kGeneral;
            columns.back().codePage = kCodePage;
        }
        std::vector<const LiveRow*> rows;
        for (const LiveRow& live : table.rows) {
            const StoredRow row = table.row(live);
            const std::size_t from = texts.bytes.size();
            bool anyNull = false;
            for (std::size_t i = 0; i < positions.size(); ++i) {
                const std::optional<ByteView> field = row.field(positions[i]);
                anyNull = anyNull || !field;
                appendKey(columns[i], true, field, texts.bytes);
            }
            if (anyNull) {
                texts.bytes.resize(from);
                continue;
            }
            texts.finish(from);
            rows.push_back(&live);
        }
        return rows;
    };
    Texts parents;
    keys(*relation.parent, relation.parentPositions, parents);
    parents.sort();
    Texts children;
    const std::vector<const LiveRow*> rows = keys(*relation.child, relation.childPositions, children);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const ByteView key = children.at(i);
        const auto found = std::lower_bound(
            parents.all.begin(), parents.all.end(), key,
            [&](const Texts::Text& text, ByteView k) { return compareBytes(parents.of(text), k) < 0; });
        if (found == parents.all.end() || compareBytes(parents.of(*found), key) != 0)
            problem(relation.what + ": row " + place(rows[i]->id) + " of table " + relation.child->name +
                    " has no parent in " + relation.parent->name);
    }
}

}  // namespace jet::verifying
