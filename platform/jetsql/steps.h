// SPDX-License-Identifier: MIT
// The steps that a plan is made of: each delivers rows into a frame, most by way of the step before it.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "jetsql/query.h"

namespace jetsql {

class Step {
 public:
    Step() = default;
    Step(const Step&) = delete;
    Step& operator=(const Step&) = delete;
    virtual ~Step() = default;

    // False at the end.
    virtual bool next(Frame& frame) = 0;
};

using StepPtr = std::unique_ptr<Step>;
using Conditions = std::vector<const Expr*>;

// A question to an index: the rows whose `column` equals `key`.
struct Lookup {
    std::size_t index = 0;
    const jet::ColumnDef* column = nullptr;
    const Expr* key = nullptr;

    // The answer, where `key` stands on `frame`. In the order of the index.
    [[nodiscard]] std::vector<jet::RowId> rows(jet::Table& table, const Frame& frame) const;
};

struct Equality {
    const Expr* left;   // of the input
    const Expr* right;  // of the rows held
};

// The steps borrow queries, sources and expressions; `source` is the place in the frame.

// A row without values, once.
StepPtr oneRow();
StepPtr readTable(std::size_t source, std::unique_ptr<jet::TableScan> rows);
StepPtr readQuery(std::size_t source, Query& query);
StepPtr filter(StepPtr input, Conditions conditions);
// For each row of the input, the rows that the index finds.
StepPtr lookUp(StepPtr input, const Query& query, std::size_t source, const Lookup& lookup);
// For each row of the input, the rows of `held` that meet the equalities and conditions. All of `held` is read first
// and kept in memory, in a hash table. An outer join gives Nulls where there are none. `sources` are those of `held`.
StepPtr hashJoin(StepPtr input, StepPtr held, std::vector<std::size_t> sources, std::vector<Equality> equalities,
                 Conditions conditions, bool outer);

}  // namespace jetsql
