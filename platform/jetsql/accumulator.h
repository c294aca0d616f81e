// SPDX-License-Identifier: MIT
// Accumulator works out one aggregate of one group.
#pragma once

#include "jetsql/query.h"
#include "vbrt/exact_sum.h"

namespace jetsql {

class Accumulator {
 public:
    explicit Accumulator(const Aggregate& aggregate) : m_aggregate(&aggregate) {}

    void add(const Frame& frame);
    // Throws Overflow.
    [[nodiscard]] Value result() const;

 private:
    const Aggregate* m_aggregate;
    std::int32_t m_count = 0;  // of the values that are not Null
    vbrt::ExactSum m_sum;
    std::int64_t m_units = 0;  // the sum of Currency
    Value m_value;             // the lowest or highest
};

}  // namespace jetsql
