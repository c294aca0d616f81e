// SPDX-License-Identifier: MIT
#include "jetsql/executor.h"

#include "jet/values/error.h"
#include "jet/values/text_order.h"
#include "jetsql/accumulator.h"
#include "jetsql/planner.h"
#include "jetsql/row_buffer.h"
#include "jetsql/sort_key.h"

#include <algorithm>
#include <unordered_map>

namespace jetsql {

namespace {

bool allHold(const std::vector<Expr>& conditions, const Frame& frame) {
    return std::all_of(conditions.begin(), conditions.end(), [&](const Expr& e) { return holds(e, frame); });
}

void evaluateInto(const Expr& e, const Frame& frame, Value& out) {
    Value scratch;
    const Value& v = evaluate(e, frame, scratch);
    if (&v == &scratch)
        out = std::move(scratch);
    else
        out = v;
}

// --- rows and groups, one after the other in a frame

class Producer {
 public:
    explicit Producer(Query& query) : m_query(query), m_frame(frameFor(query)) {}
    Producer(const Producer&) = delete;
    Producer& operator=(const Producer&) = delete;
    virtual ~Producer() = default;

    virtual bool next() = 0;
    Frame& frame() { return m_frame; }

 protected:
    Query& m_query;
    Frame m_frame;
};

class PlainProducer final : public Producer {
 public:
    explicit PlainProducer(Query& query) : Producer(query), m_step(planRows(query)) {}
    bool next() override { return m_step->next(m_frame); }

 private:
    StepPtr m_step;
};

// The extremes of indexed columns, if the query asks for nothing else of a whole table: a step or two in an index.
std::optional<jet::Row> extremesByIndex(const Query& query) {
    if (query.sources.size() != 1 || !query.sources.front().table || !query.where.empty() || !query.keys.empty() ||
        query.aggregates.empty())
        return std::nullopt;
    const Source& source = query.sources.front();
    jet::Row result;
    for (const Aggregate& a : query.aggregates) {
        const bool highest = a.kind == Aggregate::Kind::Max;
        if ((!highest && a.kind != Aggregate::Kind::Min) || a.argument.kind != Expr::Kind::Column)
            return std::nullopt;
        const std::size_t position = source.wanted[a.argument.slot];
        const auto index = source.table->indexOn(std::span(&position, 1));
        if (!index || !source.table->def().realIndexes[*index].columns.front().ascending)
            return std::nullopt;
        const auto id = highest ? source.table->highest(*index) : source.table->lowest(*index);
        jet::Row row(1);
        if (id)
            source.table->read(*id, std::span(&position, 1), row);
        result.push_back(std::move(row.front()));
    }
    return result;
}

// Groups come in ascending order of their keys; without keys there is one group, be there rows or not.
class GroupProducer final : public Producer {
 public:
    explicit GroupProducer(Query& query) : Producer(query) {
        if (auto extremes = extremesByIndex(query)) {
            m_groups.emplace_back();
            m_aggregates = std::move(*extremes);
            m_known = true;
        } else {
            group();
        }
    }

    bool next() override {
        while (m_next < m_groups.size()) {
            const Group& group = m_groups[m_next++];
            if (!m_known) {
                m_aggregates.clear();
                for (const Accumulator& a : group.accumulators)
                    m_aggregates.push_back(a.result());
            }
            m_frame.keys = &group.keys;
            m_frame.aggregates = &m_aggregates;
            if (allHold(m_query.having, m_frame))
                return true;
        }
        return false;
    }

 private:
    struct Group {
        std::string order;
        jet::Row keys;  // of the first row of the group
        std::vector<Accumulator> accumulators;
    };

    void group() {
        std::unordered_map<std::string, std::size_t> places;
        const StepPtr step = planRows(m_query);
        jet::Row keys(m_query.keys.size());
        jet::Bytes order;
        if (keys.empty())
            addGroup({}, keys);
        while (step->next(m_frame)) {
            order.clear();
            for (std::size_t i = 0; i < keys.size(); ++i) {
                evaluateInto(m_query.keys[i], m_frame, keys[i]);
                appendSortKey(keys[i], false, order);
            }
            std::size_t place = 0;
            if (!keys.empty()) {
                std::string text(order.begin(), order.end());
                const auto [found, isNew] = places.try_emplace(std::move(text), m_groups.size());
                place = found->second;
                if (isNew)
                    addGroup(found->first, keys);
            }
            for (Accumulator& a : m_groups[place].accumulators)
                a.add(m_frame);
        }
        std::sort(m_groups.begin(), m_groups.end(), [](const Group& a, const Group& b) { return a.order < b.order; });
    }

    void addGroup(std::string order, const jet::Row& keys) {
        Group group;
        group.order = std::move(order);
        group.keys = keys;
        for (const Aggregate& a : m_query.aggregates)
            group.accumulators.emplace_back(a);
        m_groups.push_back(std::move(group));
    }

    std::vector<Group> m_groups;
    std::size_t m_next = 0;
    jet::Row m_aggregates;
    bool m_known = false;  // the aggregates were found without looking at rows
};

// --- outputs

// Calculates the outputs of the row or group that the producer stands on.
class Outputs {
 public:
    explicit Outputs(Query& query) : m_query(query), m_row(query.outputs.size()) {
        if (query.grouped)
            m_producer = std::make_unique<GroupProducer>(query);
        else
            m_producer = std::make_unique<PlainProducer>(query);
        m_asRead = !query.grouped && query.sources.size() == 1 && query.sources.front().width() == query.outputs.size();
        for (std::size_t i = 0; i < query.outputs.size(); ++i) {
            const Expr& e = query.outputs[i];
            m_asRead = m_asRead && e.kind == Expr::Kind::Column && e.slot == i;
        }
    }

    bool next() {
        if (!m_producer->next())
            return false;
        Frame& frame = m_producer->frame();
        frame.outputs = &row();
        for (std::size_t i = 0; i < m_query.outputOrder.size() && !m_asRead; ++i) {
            const std::size_t output = m_query.outputOrder[i];
            evaluateInto(m_query.outputs[output], frame, m_row[output]);
        }
        return true;
    }

    jet::Row& row() { return m_asRead ? m_producer->frame().rows.front() : m_row; }
    const Frame& frame() { return m_producer->frame(); }

 private:
    Query& m_query;
    std::unique_ptr<Producer> m_producer;
    jet::Row m_row;
    bool m_asRead;  // the outputs are the columns of the one source as they are read
};

class PlainStream final : public RowStream {
 public:
    explicit PlainStream(Query& query) : m_outputs(query), m_left(query.top) {}

    bool next(jet::Row& row) override {
        if (m_left == 0U || !m_outputs.next())
            return false;
        if (m_left)
            --*m_left;
        row.resize(m_outputs.row().size());
        row.swap(m_outputs.row());
        return true;
    }

 private:
    Outputs m_outputs;
    std::optional<std::size_t> m_left;  // of TOP
};

class SortedStream final : public RowStream {
 public:
    explicit SortedStream(Query& query) : m_query(query), m_sorter(query.outputs.size()) {
        if (query.distinct) {
            sortDistinct();
        } else {
            Outputs outputs(query);
            while (outputs.next())
                add(outputs.frame(), outputs.row());
            m_sorter.sort();
        }
        if (query.top)
            m_sorter.keepTop(*query.top);
    }

    bool next(jet::Row& row) override {
        if (m_next == m_sorter.size())
            return false;
        m_sorter.read(m_next++, row);
        return true;
    }

 private:
    void add(const Frame& frame, const jet::Row& row) {
        m_key.clear();
        for (const OrderKey& key : m_query.order) {
            Value scratch;
            appendSortKey(evaluate(key.expr, frame, scratch), key.descending, m_key);
        }
        m_sorter.add(m_key, row);
    }

    // Ascending by all columns, then by those of ORDER BY, which are among them.
    void sortDistinct() {
        Sorter all(m_query.outputs.size());
        Outputs outputs(m_query);
        while (outputs.next()) {
            m_key.clear();
            for (const Value& v : outputs.row())
                appendSortKey(v, false, m_key);
            all.add(m_key, outputs.row());
        }
        all.sort();
        all.dropDuplicates();
        if (m_query.top && m_query.order.empty())
            all.keepTop(*m_query.top);
        jet::Row row;
        Frame frame;
        frame.outputs = &row;
        for (std::size_t i = 0; i < all.size(); ++i) {
            all.read(i, row);
            add(frame, row);
        }
        m_sorter.sort();
    }

    Query& m_query;
    Sorter m_sorter;
    jet::Bytes m_key;
    std::size_t m_next = 0;
};

// Rows that a change has found, before it is made.
class FoundRows {
 public:
    explicit FoundRows(std::size_t width) : m_row(width) {}

    void add(const jet::Row& row) {
        std::uint8_t* bytes = m_arena.take(packedSize(row));
        packRow(row, bytes);
        m_rows.push_back(bytes);
    }
    [[nodiscard]] std::size_t size() const { return m_rows.size(); }
    const jet::Row& operator[](std::size_t i) {
        unpackRow(m_rows[i], m_row);
        return m_row;
    }

 private:
    Arena m_arena;
    std::vector<const std::uint8_t*> m_rows;
    jet::Row m_row;
};

// The rows that a change is about, each visited in a frame.
template <typename Visit>
std::vector<jet::RowId> rowsOf(Query& target, Visit&& visit) {
    std::vector<jet::RowId> ids;
    Frame frame = frameFor(target);
    const std::unique_ptr<jet::TableScan> rows = planTarget(target);
    while (rows->next(frame.rows.front())) {
        if (!allHold(target.where, frame))
            continue;
        visit(frame);
        ids.push_back(rows->rowId());
    }
    return ids;
}

// Whether erasing a row can, by cascades, erase others of the same table.
bool cascadesToItself(jet::Database& db, const std::string& name) {
    std::vector<std::string> reached = {name};
    const auto relationships = db.relationships();
    for (std::size_t i = 0; i < reached.size(); ++i) {
        for (const jet::Relationship& r : relationships) {
            if (!r.cascadeDelete() || !r.enforced() || !jet::equalText(r.referencedTable, reached[i]))
                continue;
            if (jet::equalText(r.table, name))
                return true;
            if (std::none_of(reached.begin(), reached.end(), [&](auto& t) { return jet::equalText(t, r.table); }))
                reached.push_back(r.table);
        }
    }
    return false;
}

bool isThere(jet::Table& table, jet::RowId id) {
    try {
        jet::Row nothing;
        table.read(id, {}, nothing);
        return true;
    } catch (const jet::Error& e) {
        if (e.code() != jet::Errc::Corrupt)
            throw;
        return false;
    }
}

}  // namespace

std::unique_ptr<RowStream> openQuery(Query& query) {
    if (query.distinct || !query.order.empty())
        return std::make_unique<SortedStream>(query);
    return std::make_unique<PlainStream>(query);
}

long run(jet::Database& db, Insertion& insertion) {
    jet::Table& table = *insertion.table;
    const auto& columns = table.columns();
    FoundRows found(insertion.positions.size());
    jet::Row given(insertion.positions.size());
    const Frame nothing;
    if (insertion.source) {
        const auto rows = openQuery(*insertion.source);
        while (rows->next(given))
            found.add(given);
    } else {
        for (std::size_t i = 0; i < given.size(); ++i)
            evaluateInto(insertion.values[i], nothing, given[i]);
        found.add(given);
    }
    const auto insertRows = [&] {
        jet::Transaction transaction(db);
        for (std::size_t n = 0; n < found.size(); ++n) {
            const jet::Row& values = found[n];
            jet::Row row(columns.size());
            for (std::size_t i = 0; i < values.size(); ++i) {
                const jet::ColumnDef& column = columns[insertion.positions[i]];
                row[insertion.positions[i]] = convertFor(values[i], column, table.name());
            }
            for (const auto& [position, expr] : insertion.defaults) {
                Value scratch;
                row[position] = convertFor(evaluate(expr, nothing, scratch), columns[position], table.name());
            }
            table.insert(row);
        }
        transaction.commit();
    };
    try {
        insertRows();
    } catch (const jet::Error& e) {
        // Else a counter that stands below numbers in use would give out the same one for ever.
        if (e.code() != jet::Errc::Io && e.code() != jet::Errc::DiskFull && e.code() != jet::Errc::Corrupt)
            table.keepAutoNumber();
        throw;
    }
    return static_cast<long>(found.size());
}

long run(jet::Database& db, Change& change) {
    jet::Table& table = *change.table;
    FoundRows found(change.positions.size());
    jet::Row values(change.positions.size());
    const std::vector<jet::RowId> ids = rowsOf(change.target, [&](const Frame& frame) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            Value scratch;
            const jet::ColumnDef& column = table.columns()[change.positions[i]];
            values[i] = convertFor(evaluate(change.values[i], frame, scratch), column, table.name());
        }
        found.add(values);
    });
    jet::Transaction transaction(db);
    for (std::size_t i = 0; i < ids.size(); ++i)
        table.update(ids[i], change.positions, found[i]);
    transaction.commit();
    return static_cast<long>(ids.size());
}

long run(jet::Database& db, Deletion& deletion) {
    jet::Table& table = *deletion.table;
    const std::vector<jet::RowId> ids = rowsOf(deletion.target, [](const Frame&) {});
    const bool mayBeGone = cascadesToItself(db, table.name());
    jet::Transaction transaction(db);
    for (const jet::RowId id : ids) {
        if (!mayBeGone || isThere(table, id))
            table.erase(id);
    }
    transaction.commit();
    return static_cast<long>(ids.size());
}

}  // namespace jetsql
