// SPDX-License-Identifier: MIT
#include "jetsql/steps.h"

#include "jetsql/executor.h"
#include "jetsql/row_buffer.h"
#include "jetsql/sort_key.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace jetsql {

namespace {

bool allHold(const Conditions& conditions, const Frame& frame) {
    return std::all_of(conditions.begin(), conditions.end(), [&](const Expr* e) { return holds(*e, frame); });
}

class OneRow final : public Step {
 public:
    bool next(Frame&) override { return !std::exchange(m_done, true); }

 private:
    bool m_done = false;
};

class ReadTable final : public Step {
 public:
    ReadTable(std::size_t source, std::unique_ptr<jet::TableScan> rows) : m_source(source), m_rows(std::move(rows)) {}
    bool next(Frame& frame) override { return m_rows->next(frame.rows[m_source]); }

 private:
    std::size_t m_source;
    std::unique_ptr<jet::TableScan> m_rows;
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
    Filter(StepPtr input, Conditions conditions) : m_input(std::move(input)), m_conditions(std::move(conditions)) {}

    bool next(Frame& frame) override {
        while (m_input->next(frame)) {
            if (allHold(m_conditions, frame))
                return true;
        }
        return false;
    }

 private:
    StepPtr m_input;
    Conditions m_conditions;
};

class LookUp final : public Step {
 public:
    LookUp(StepPtr input, const Source& source, std::size_t number, const Lookup& lookup)
        : m_input(std::move(input)), m_source(source), m_number(number), m_lookup(lookup) {}

    bool next(Frame& frame) override {
        while (m_next == m_found.size()) {
            if (!m_input->next(frame))
                return false;
            m_found = m_lookup.rows(*m_source.table, frame);
            m_next = 0;
        }
        m_source.table->read(m_found[m_next++], m_source.wanted, frame.rows[m_number]);
        return true;
    }

 private:
    StepPtr m_input;
    const Source& m_source;
    std::size_t m_number;
    Lookup m_lookup;
    std::vector<jet::RowId> m_found;
    std::size_t m_next = 0;
};

class HashJoin final : public Step {
 public:
    HashJoin(StepPtr input, StepPtr held, std::vector<std::size_t> sources, std::vector<Equality> equalities,
             Conditions conditions, bool outer)
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
        const StepPtr held = std::move(m_held);
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

    StepPtr m_input;
    StepPtr m_held;  // until it has been read
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

}  // namespace

std::vector<jet::RowId> Lookup::rows(jet::Table& table, const Frame& frame) const {
    Value scratch;
    const auto value = keyValue(evaluate(*key, frame, scratch), *column);
    return value ? table.lookup(index, std::span(&*value, 1)) : std::vector<jet::RowId>();
}

StepPtr oneRow() {
    return std::make_unique<OneRow>();
}

StepPtr readTable(std::size_t source, std::unique_ptr<jet::TableScan> rows) {
    return std::make_unique<ReadTable>(source, std::move(rows));
}

StepPtr readQuery(std::size_t source, Query& query) {
    return std::make_unique<ReadQuery>(source, query);
}

StepPtr filter(StepPtr input, Conditions conditions) {
    return std::make_unique<Filter>(std::move(input), std::move(conditions));
}

StepPtr lookUp(StepPtr input, const Query& query, std::size_t source, const Lookup& lookup) {
    return std::make_unique<LookUp>(std::move(input), query.sources[source], source, lookup);
}

StepPtr hashJoin(StepPtr input, StepPtr held, std::vector<std::size_t> sources, std::vector<Equality> equalities,
                 Conditions conditions, bool outer) {
    return std::make_unique<HashJoin>(std::move(input), std::move(held), std::move(sources), std::move(equalities),
                                      std::move(conditions), outer);
}

}  // namespace jetsql
