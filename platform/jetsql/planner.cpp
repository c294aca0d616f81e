// SPDX-License-Identifier: MIT
#include "jetsql/planner.h"

#include <algorithm>
#include <utility>

namespace jetsql {

namespace {

using SourceSet = std::uint64_t;  // a bit for each source; there are at most 64

constexpr SourceSet bit(std::size_t source) {
    return SourceSet{1} << source;
}

SourceSet sourcesOf(const Expr& e) {
    SourceSet set = 0;
    visit(e, [&](const Expr& part) { set |= part.kind == Expr::Kind::Column ? bit(part.source) : 0; });
    return set;
}

// --- choosing an index

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

// The rows that the indexes find for one of the conditions, in storage order; nothing if it takes a scan, or if that is
// faster because so many rows are found.
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
        const std::vector<jet::RowId> found = lookup.rows(*source.table, Frame());
        ids.insert(ids.end(), found.begin(), found.end());
    }
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    constexpr std::size_t kFactor = 3;  // what reading a row by its id costs, as against reading it in passing
    if (ids.size() > 100 && ids.size() * kFactor > source.table->rowCount())
        return std::nullopt;
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

    StepPtr rows() {
        Conditions where;
        for (const Expr& e : m_query.where)
            where.push_back(&e);
        if (m_query.from)
            return joined(*m_query.from, std::move(where));
        return filtered(oneRow(), 0, where);
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

    StepPtr joined(const Join& join, Conditions conditions) {
        std::vector<Part> parts;
        flatten(join, parts, conditions);
        for (Part& part : parts)
            estimate(part, conditions);
        std::size_t next = firstPart(parts, conditions);
        SourceSet known = parts[next].sources;
        double rows = parts[next].estimate;
        StepPtr step = filtered(partRows(parts[next]), known, conditions);
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

    StepPtr partRows(Part& part) {
        const std::size_t number = part.join->source;
        if (part.join->kind == Join::Kind::Left)
            return outerJoined(*part.join);
        Source& source = m_query.sources[number];
        if (!source.table)
            return readQuery(number, *source.query);
        return readTable(number, part.ids ? source.table->scan(source.wanted, std::move(*part.ids))
                                          : source.table->scan(source.wanted));
    }

    StepPtr outerJoined(const Join& join) {
        const SourceSet left = sourcesBelow(*join.left);
        const SourceSet right = sourcesBelow(*join.right);
        Conditions conditions;
        for (const Expr& e : join.on)
            conditions.push_back(&e);
        Link link = linkTo(left, right, conditions);
        return hashJoin(joined(*join.left, {}), joined(*join.right, {}), sourceList(right), std::move(link.equalities),
                        std::move(conditions), true);
    }

    // Tests the conditions that can be tested now, and takes them off the list.
    static StepPtr filtered(StepPtr step, SourceSet known, Conditions& conditions) {
        const auto later = std::stable_partition(conditions.begin(), conditions.end(),
                                                 [&](const Expr* e) { return (sourcesOf(*e) & ~known) != 0; });
        if (later == conditions.end())
            return step;
        Conditions now(later, conditions.end());
        conditions.erase(later, conditions.end());
        return filter(std::move(step), std::move(now));
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

    StepPtr attach(StepPtr step, Part& part, SourceSet known, double& rows, Conditions& conditions) {
        Link link = linkTo(known, part.sources, conditions);
        if (prefersLookup(link, rows, part)) {
            rows *= link.lookupCost;
            return lookUp(std::move(step), m_query, part.join->source, *link.lookup);
        }
        StepPtr held = filtered(partRows(part), part.sources, conditions);
        std::erase_if(conditions, [&](const Expr* e) {
            return std::find(link.used.begin(), link.used.end(), e) != link.used.end();
        });
        return hashJoin(std::move(step), std::move(held), sourceList(part.sources), std::move(link.equalities),
                        Conditions(), false);
    }

    Query& m_query;
};

}  // namespace

StepPtr planRows(Query& query) {
    return Planner(query).rows();
}

std::unique_ptr<jet::TableScan> planTarget(Query& query) {
    const Source& source = query.sources.front();
    Conditions conditions;
    for (const Expr& e : query.where)
        conditions.push_back(&e);
    if (auto ids = indexedRows(source, 0, conditions))
        return source.table->scan(source.wanted, std::move(*ids));
    return source.table->scan(source.wanted);
}

Frame frameFor(const Query& query) {
    Frame frame;
    for (const Source& source : query.sources)
        frame.rows.emplace_back(source.width());
    return frame;
}

}  // namespace jetsql
