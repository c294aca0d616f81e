// SPDX-License-Identifier: MIT
// Accumulator works out one aggregate of one group.
#pragma once

#include "jetsql/query.h"

namespace jetsql {

// A sum of doubles that stand for decimal amounts. It adds with compensation and is rounded to the 15 significant
// digits of the largest value that it met (an amount or a sum so far): what is below them is noise of binary
// fractions, so that 0.3 - 0.1 - 0.2 is exactly 0.
class DecimalSum {
 public:
    void add(double value);
    // Not finite when the sum is too large for a double.
    [[nodiscard]] double result() const;

 private:
    double m_sum = 0;
    double m_lost = 0;  // what the additions rounded away
    double m_largest = 0;
};

class Accumulator {
 public:
    explicit Accumulator(const Aggregate& aggregate) : m_aggregate(&aggregate) {}

    void add(const Frame& frame);
    // Throws Overflow.
    [[nodiscard]] Value result() const;

 private:
    const Aggregate* m_aggregate;
    std::int32_t m_count = 0;  // of the values that are not Null
    DecimalSum m_sum;
    std::int64_t m_units = 0;  // the sum of Currency
    Value m_value;             // the lowest, highest, first or last
    bool m_started = false;
};

}  // namespace jetsql
