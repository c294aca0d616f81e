// SPDX-License-Identifier: MIT
#include "jetsql/planner.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "jetsql/executor.h"
#include "jetsql/row_buffer.h"
#include "jetsql/sort_key.h"

namespace jetsql {

namespace {

using Conditions = std::vector<const Expr*>;
using SourceSet = std::uint64_t;  // a bit for each source; there are at most 64

constexpr SourceSet bit(std::size_t source) {
    return SourceSet{1} << source;
}

SourceSet sourcesOf(const Expr& e) {
    SourceSet set = 0;
    visit(e, [&](const Expr& part) { set |= part.kind == Expr::Kind::Column ? bit(part.source) : 0; });
    return set;
}

bool allHold(const Conditions& conditions, const Frame& frame) {
    return std::all_of(conditions.begin(), conditions.end(), [&](const Expr* e) { return holds(*e, frame); });
}

// --- steps

class OneRow final : public Step {
 public:
    bool next(Frame&) override { return !std::exchange(m_done, true); }

 private:
    bool m_done = false;
};

class ReadTable final : public Step {
 public:
    ReadTable(std::size_t source, TableReader reader) : m_source(source), m_reader(std::move(reader)) {}
    bool next(Frame& frame) override { return m_reader.next(frame.rows[m_source]); }

 private:
    std::size_t m_source;
    TableReader m_reader;
};

class ReadQuery final : public Step {
 public:
    ReadQuery(std::size_t source, Query& query) : m_source(source), m_rows(openQuery(query)) {}
    bool next(Frame& frame) override { return m_rows->next(frame.rows[m_source]); }

 private:
    std::size_t m_source;
    std::unique_ptr<RowStream> m_rows;
};

class Filter final : public Step {
 public:
    Filter(std::unique_ptr<Step> input, Conditions conditions)
        : m_input(std::move(input)), m_conditions(std::move(conditions)) {}

    bool next(Frame& frame) override {
        while (m_input->next(frame)) {
            if (allHold(m_conditions, frame))
                return true;
        }
        return false;
    }

 private:
    std::unique_ptr<Step> m_input;
    Conditions m_conditions;
};

// For each row of the input, the rows of a table whose indexed column equals `key`.
class LookUp final : public Step {
 public:
    LookUp(std::unique_ptr<Step> input, const Source& source, std::size_t number, std::size_t index,
           const jet::ColumnDef& column, const Expr& key)
        : m_input(std::move(input)), m_source(source), m_number(number), m_index(index), m_column(column), m_key(key) {}

    bool next(Frame& frame) override {
        while (m_next == m_found.size()) {
            if (!m_input->next(frame))
                return false;
            Value scratch;
            m_found.clear();
            m_next = 0;
            if (const auto key = keyValue(evaluate(m_key, frame, scratch), m_column))
                m_found = m_source.table->lookup(m_index, std::span(&*key, 1));
        }
        m_source.table->read(m_found[m_next++], m_source.wanted, frame.rows[m_number]);
        return true;
    }

 private:
    std::unique_ptr<Step> m_input;
    const Source& m_source;
    std::size_t m_number;
    std::size_t m_index;
    const jet::ColumnDef& m_column;
    const Expr& m_key;
    std::vector<jet::RowId> m_found;
    std::size_t m_next = 0;
};

struct Equality {
    const Expr* left;   // of the input
    const Expr* right;  // of the rows held
};

// For each row of the input, the rows of `held` that meet the conditions; all of these are read first and kept in
// memory, under the keys of the equalities. An outer join gives Nulls where there are none.
class HashJoin final : public Step {
 public:
    HashJoin(std::unique_ptr<Step> input, std::unique_ptr<Step> held, std::vector<std::size_t> sources,
             std::vector<Equality> equalities, Conditions conditions, bool outer)
        : m_input(std::move(input)),
          m_held(std::move(held)),
          m_sources(std::move(sources)),
          m_equalities(std::move(equalities)),
          m_conditions(std::move(conditions)),
          m_outer(outer) {}

    bool next(Frame& frame) override {
        if (m_held)
            hold(frame);
        for (;;) {
            for (; m_candidate != kNone; m_candidate = m_rows[m_candidate].next) {
                show(m_candidate, frame);
                if (!allHold(m_conditions, frame))
                    continue;
                m_candidate = m_rows[m_candidate].next;
                m_matched = true;
                return true;
            }
            if (m_open && m_outer && !m_matched) {
                showNulls(frame);
                m_open = false;
                return true;
            }
            m_open = m_input->next(frame);
            if (!m_open)
                return false;
            m_matched = false;
            m_candidate = firstCandidate(frame);
        }
    }

 private:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    struct Held {
        const std::uint8_t* bytes = nullptr;
        std::size_t next = kNone;  // with the same key
    };
    struct Chain {
        std::size_t first = kNone;
        std::size_t last = kNone;
    };

    // False when a value is Null, which equals nothing.
    bool makeKey(const Frame& frame, const Expr* Equality::*side) {
        m_key.clear();
        for (const Equality& e : m_equalities) {
            Value scratch;
            const Value& v = evaluate(*(e.*side), frame, scratch);
            if (jet::isNull(v))
                return false;
            appendSortKey(v, false, m_key);
        }
        return true;
    }

    [[nodiscard]] std::string_view keyText() const {
        return {reinterpret_cast<const char*>(m_key.data()), m_key.size()};
    }

    void hold(Frame& frame) {
        const std::unique_ptr<Step> held = std::move(m_held);
        while (held->next(frame)) {
            if (!makeKey(frame, &Equality::right))
                continue;
            std::size_t size = 0;
            for (const std::size_t source : m_sources)
                size += packedSize(frame.rows[source]);
            std::uint8_t* bytes = m_arena.take(size);
            Held row;
            row.bytes = bytes;
            for (const std::size_t source : m_sources)
                bytes = packRow(frame.rows[source], bytes);
            Chain& chain = m_chains[std::string(keyText())];
            (chain.first == kNone ? chain.first : m_rows[chain.last].next) = m_rows.size();
            chain.last = m_rows.size();
            m_rows.push_back(row);
        }
    }

    std::size_t firstCandidate(const Frame& frame) {
        if (!makeKey(frame, &Equality::left))
            return kNone;
        const auto chain = m_chains.find(std::string(keyText()));
        return chain == m_chains.end() ? kNone : chain->second.first;
    }

    void show(std::size_t row, Frame& frame) {
        if (row == m_shown)
            return;
        const std::uint8_t* bytes = m_rows[row].bytes;
        for (const std::size_t source : m_sources)
            bytes = unpackRow(bytes, frame.rows[source]);
        m_shown = row;
    }

    void showNulls(Frame& frame) {
        for (const std::size_t source : m_sources)
            std::fill(frame.rows[source].begin(), frame.rows[source].end(), Value());
        m_shown = kNone;
    }

    std::unique_ptr<Step> m_input;
    std::unique_ptr<Step> m_held;  // until it has been read
    std::vector<std::size_t> m_sources;
    std::vector<Equality> m_equalities;
    Conditions m_conditions;
    bool m_outer;
    Arena m_arena;
    std::vector<Held> m_rows;
    std::unordered_map<std::string, Chain> m_chains;
    jet::Bytes m_key;
    std::size_t m_candidate = kNone;
    std::size_t m_shown = kNone;  // the row that the frame has now
    bool m_open = false;          // there is a row of the input
    bool m_matched = false;
};

// --- choosing an index

struct Lookup {
    std::size_t index = 0;
    const jet::ColumnDef* column = nullptr;
    const Expr* key = nullptr;
};

// The indexed column of `source` that `e` compares with `other`, if that is what it is.
std::optional<Lookup> lookupFor(const Source& source, std::size_t number, const Expr& e, const Expr& other) {
    if (e.kind != Expr::Kind::Column || e.source != number || !source.table)
        return std::nullopt;
    const std::size_t position = source.wanted[e.slot];
    const auto index = source.table->indexOn(std::span(&position, 1));
    if (!index)
        return std::nullopt;
    return Lookup{*index, &source.table->columns()[position], &other};
}

// Lookups that together find every row of `source` that meets `e`; none if that takes a scan.
std::vector<Lookup> lookupsFor(const Source& source, std::size_t number, const Expr& e) {
    std::vector<Lookup> result;
    const auto add = [&](const Expr& column, const Expr& key) {
        const auto lookup = isConstant(key) ? lookupFor(source, number, column, key) : std::nullopt;
        if (lookup)
            result.push_back(*lookup);
        return lookup.has_value();
    };
    if (e.kind == Expr::Kind::Comparison && e.op == Op::Equal) {
        if (!add(e.children[0], e.children[1]))
            add(e.children[1], e.children[0]);
    } else if (e.kind == Expr::Kind::In) {
        for (std::size_t i = 1; i < e.children.size(); ++i) {
            if (!add(e.children[0], e.children[i]))
                return {};
        }
    } else if (e.kind == Expr::Kind::Or) {
        result = lookupsFor(source, number, e.children[0]);
        const std::vector<Lookup> others = lookupsFor(source, number, e.children[1]);
        if (result.empty() || others.empty())
            return {};
        result.insert(result.end(), others.begin(), others.end());
    }
    return result;
}

bool isUnique(const jet::Table& table, std::size_t index) {
    const jet::RealIndex& real = table.def().realIndexes[index];
    return (real.flags & jet::RealIndex::kUnique) != 0 && real.columns.size() == 1;
}

// The rows that the indexes find for one of the conditions, in storage order; nothing if it takes a scan.
std::optional<std::vector<jet::RowId>> indexedRows(const Source& source, std::size_t number,
                                                   const Conditions& conditions) {
    std::vector<Lookup> best;
    const auto rank = [&](const std::vector<Lookup>& l) {  // lower is better
        return l.empty() ? 3 : l.size() > 1 ? 2 : isUnique(*source.table, l.front().index) ? 0 : 1;
    };
    for (const Expr* e : conditions) {
        std::vector<Lookup> lookups = lookupsFor(source, number, *e);
        if (rank(lookups) < rank(best))
            best = std::move(lookups);
    }
    if (best.empty())
        return std::nullopt;
    std::vector<jet::RowId> ids;
    for (const Lookup& lookup : best) {
        Value scratch;
        const auto key = keyValue(evaluate(*lookup.key, Frame(), scratch), *lookup.column);
        if (!key)
            continue;
        const std::vector<jet::RowId> found = source.table->lookup(lookup.index, std::span(&*key, 1));
        ids.insert(ids.end(), found.begin(), found.end());
    }
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    return ids;
}

// --- joins

// Keys of these types are written alike by appendSortKey().
bool hashable(MaybeType a, MaybeType b) {
    const auto plain = [](ColumnType t) { return isNumber(t) && t != ColumnType::Currency; };
    return a && b && (a == b || (plain(*a) && plain(*b)) || (isText(*a) && isText(*b)));
}

class Planner {
 public:
    explicit Planner(Query& query) : m_query(query) {}

    std::unique_ptr<Step> rows() {
        Conditions where;
        for (const Expr& e : m_query.where)
            where.push_back(&e);
        if (m_query.from)
            return joined(*m_query.from, std::move(where));
        std::unique_ptr<Step> step = std::make_unique<OneRow>();
        return where.empty() ? std::move(step) : std::make_unique<Filter>(std::move(step), std::move(where));
    }

 private:
    // One side of an inner join: a table, a stored query or an outer join.
    struct Part {
        const Join* join = nullptr;
        SourceSet sources = 0;
        double estimate = 0;  // rows
        std::optional<std::vector<jet::RowId>> ids;
    };

    // What takes the rows of `part` to the rows found so far.
    struct Link {
        std::optional<Lookup> lookup;
        double lookupCost = 0;  // rows read
        std::vector<Equality> equalities;
        Conditions used;  // the conditions that the equalities stand for
    };

    std::unique_ptr<Step> joined(const Join& join, Conditions conditions) {
        std::vector<Part> parts;
        flatten(join, parts, conditions);
        for (Part& part : parts)
            estimate(part, conditions);
        std::size_t next = firstPart(parts, conditions);
        SourceSet known = parts[next].sources;
        double rows = parts[next].estimate;
        std::unique_ptr<Step> step = filtered(partRows(parts[next]), known, conditions);
        parts.erase(parts.begin() + static_cast<std::ptrdiff_t>(next));
        while (!parts.empty()) {
            next = nextPart(parts, known, rows, conditions);
            step = attach(std::move(step), parts[next], known, rows, conditions);
            known |= parts[next].sources;
            step = filtered(std::move(step), known, conditions);
            parts.erase(parts.begin() + static_cast<std::ptrdiff_t>(next));
        }
        return step;
    }

    void flatten(const Join& join, std::vector<Part>& parts, Conditions& conditions) const {
        if (join.kind == Join::Kind::Inner) {
            for (const Expr& e : join.on)
                conditions.push_back(&e);
            flatten(*join.left, parts, conditions);
            flatten(*join.right, parts, conditions);
            return;
        }
        Part part;
        part.join = &join;
        part.sources = sourcesBelow(join);
        parts.push_back(std::move(part));
    }

    static SourceSet sourcesBelow(const Join& join) {
        return join.kind == Join::Kind::Leaf ? bit(join.source) : sourcesBelow(*join.left) | sourcesBelow(*join.right);
    }

    [[nodiscard]] std::vector<std::size_t> sourceList(SourceSet set) const {
        std::vector<std::size_t> list;
        for (std::size_t source = 0; source < m_query.sources.size(); ++source) {
            if ((set & bit(source)) != 0)
                list.push_back(source);
        }
        return list;
    }

    void estimate(Part& part, const Conditions& conditions) const {
        constexpr double kUnknown = 1000;
        const Source& source = m_query.sources[part.join->source];
        if (part.join->kind != Join::Kind::Leaf || !source.table) {
            part.estimate = kUnknown;
            return;
        }
        part.ids = indexedRows(source, part.join->source, conditions);
        part.estimate = part.ids ? static_cast<double>(part.ids->size()) : source.table->rowCount();
    }

    std::unique_ptr<Step> partRows(Part& part) {
        const std::size_t number = part.join->source;
        if (part.join->kind == Join::Kind::Left)
            return outerJoined(*part.join);
        Source& source = m_query.sources[number];
        if (!source.table)
            return std::make_unique<ReadQuery>(number, *source.query);
        TableReader reader = part.ids ? TableReader(*source.table, source.wanted, std::move(*part.ids))
                                      : TableReader(*source.table, source.wanted);
        return std::make_unique<ReadTable>(number, std::move(reader));
    }

    std::unique_ptr<Step> outerJoined(const Join& join) {
        const SourceSet left = sourcesBelow(*join.left);
        const SourceSet right = sourcesBelow(*join.right);
        Conditions conditions;
        for (const Expr& e : join.on)
            conditions.push_back(&e);
        Link link = linkTo(left, right, conditions);
        return std::make_unique<HashJoin>(joined(*join.left, {}), joined(*join.right, {}), sourceList(right),
                                          std::move(link.equalities), std::move(conditions), true);
    }

    // Tests the conditions that can be tested now, and takes them off the list.
    static std::unique_ptr<Step> filtered(std::unique_ptr<Step> step, SourceSet known, Conditions& conditions) {
        const auto later = std::stable_partition(conditions.begin(), conditions.end(),
                                                 [&](const Expr* e) { return (sourcesOf(*e) & ~known) != 0; });
        if (later == conditions.end())
            return step;
        Conditions now(later, conditions.end());
        conditions.erase(later, conditions.end());
        return std::make_unique<Filter>(std::move(step), std::move(now));
    }

    // How the conditions tie `right` to `left`.
    [[nodiscard]] Link linkTo(SourceSet left, SourceSet right, const Conditions& conditions) const {
        Link link;
        for (const Expr* e : conditions) {
            if (e->kind != Expr::Kind::Comparison || e->op != Op::Equal)
                continue;
            const Expr* a = &e->children[0];
            const Expr* b = &e->children[1];
            if ((sourcesOf(*a) & ~right) == 0)
                std::swap(a, b);
            const SourceSet setA = sourcesOf(*a);
            const SourceSet setB = sourcesOf(*b);
            if (setA == 0 || (setA & ~left) != 0 || setB == 0 || (setB & ~right) != 0)
                continue;
            if (hashable(a->type, b->type)) {
                link.equalities.push_back({a, b});
                link.used.push_back(e);
            }
            considerLookup(link, *a, *b);
        }
        return link;
    }

    void considerLookup(Link& link, const Expr& key, const Expr& column) const {
        if (column.kind != Expr::Kind::Column)
            return;
        const Source& source = m_query.sources[column.source];
        const auto lookup = lookupFor(source, column.source, column, key);
        if (!lookup)
            return;
        const double rows = source.table->rowCount();
        const double keys = source.table->def().realIndexes[lookup->index].distinctKeys;
        const double cost = isUnique(*source.table, lookup->index) ? 1 : rows / std::max(keys, 1.0);
        if (link.lookup && link.lookupCost <= cost)
            return;
        link.lookup = lookup;
        link.lookupCost = cost;
    }

    // Reading by index costs a few times what reading in passing does.
    static bool prefersLookup(const Link& link, double rows, const Part& part) {
        constexpr double kFactor = 4;
        return link.lookup && part.join->kind == Join::Kind::Leaf && rows * link.lookupCost * kFactor < part.estimate;
    }

    // The smallest part if that saves reading another one, else the largest.
    [[nodiscard]] std::size_t firstPart(const std::vector<Part>& parts, const Conditions& conditions) const {
        const auto byEstimate = [](const Part& a, const Part& b) { return a.estimate < b.estimate; };
        const auto smallest = std::min_element(parts.begin(), parts.end(), byEstimate);
        const bool saves = std::any_of(parts.begin(), parts.end(), [&](const Part& part) {
            return &part != &*smallest &&
                   prefersLookup(linkTo(smallest->sources, part.sources, conditions), smallest->estimate, part);
        });
        const auto first = saves ? smallest : std::max_element(parts.begin(), parts.end(), byEstimate);
        return static_cast<std::size_t>(first - parts.begin());
    }

    // One to look up, else the smallest one that is tied to what is known, else the smallest.
    [[nodiscard]] std::size_t nextPart(const std::vector<Part>& parts, SourceSet known, double rows,
                                       const Conditions& conditions) const {
        const auto rank = [&](const Part& part) {
            const Link link = linkTo(known, part.sources, conditions);
            return std::pair(prefersLookup(link, rows, part) ? 0 : link.equalities.empty() ? 2 : 1, part.estimate);
        };
        const auto best = std::min_element(parts.begin(), parts.end(),
                                           [&](const Part& a, const Part& b) { return rank(a) < rank(b); });
        return static_cast<std::size_t>(best - parts.begin());
    }

    std::unique_ptr<Step> attach(std::unique_ptr<Step> step, Part& part, SourceSet known, double& rows,
                                 Conditions& conditions) {
        Link link = linkTo(known, part.sources, conditions);
        if (prefersLookup(link, rows, part)) {
            rows *= link.lookupCost;
            const std::size_t number = part.join->source;
            return std::make_unique<LookUp>(std::move(step), m_query.sources[number], number, link.lookup->index,
                                            *link.lookup->column, *link.lookup->key);
        }
        std::unique_ptr<Step> held = filtered(partRows(part), part.sources, conditions);
        std::erase_if(conditions, [&](const Expr* e) {
            return std::find(link.used.begin(), link.used.end(), e) != link.used.end();
        });
        return std::make_unique<HashJoin>(std::move(step), std::move(held), sourceList(part.sources),
                                          std::move(link.equalities), Conditions(), false);
    }

    Query& m_query;
};

}  // namespace

TableReader::TableReader(jet::Table& table, std::vector<std::size_t> wanted)
    : m_table(&table), m_scan(table.scan(std::move(wanted))) {}

TableReader::TableReader(jet::Table& table, std::vector<std::size_t> wanted, std::vector<jet::RowId> ids)
    : m_table(&table), m_wanted(std::move(wanted)), m_ids(std::move(ids)) {}

bool TableReader::next(jet::Row& row) {
    if (m_scan)
        return m_scan->next(row);
    if (m_next == m_ids.size())
        return false;
    m_table->read(m_ids[m_next++], m_wanted, row);
    return true;
}

jet::RowId TableReader::rowId() const {
    return m_scan ? m_scan->rowId() : m_ids[m_next - 1];
}

std::unique_ptr<Step> planRows(Query& query) {
    return Planner(query).rows();
}

TableReader planTarget(Query& query) {
    const Source& source = query.sources.front();
    Conditions conditions;
    for (const Expr& e : query.where)
        conditions.push_back(&e);
    if (auto ids = indexedRows(source, 0, conditions))
        return {*source.table, source.wanted, std::move(*ids)};
    return {*source.table, source.wanted};
}

Frame frameFor(const Query& query) {
    Frame frame;
    for (const Source& source : query.sources)
        frame.rows.emplace_back(source.width());
    return frame;
}

}  // namespace jetsql
