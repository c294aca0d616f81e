// SPDX-License-Identifier: MIT
#include "jetsql/accumulator.h"

#include "jetsql/error.h"

#include <cmath>

namespace jetsql {

void Accumulator::add(const Frame& frame) {
    if (m_aggregate->kind == Aggregate::Kind::Rows) {
        ++m_count;
        return;
    }
    Value scratch;
    const Value& v = evaluate(m_aggregate->argument, frame, scratch);
    if (jet::isNull(v))
        return;
    ++m_count;
    switch (m_aggregate->kind) {
        case Aggregate::Kind::Sum:
        case Aggregate::Kind::Average:
            if (const auto* money = std::get_if<jet::Currency>(&v)) {
                if (__builtin_add_overflow(m_units, money->units, &m_units))
                    throw Error(Errc::Overflow);
            } else {
                m_sum.add(toDouble(v));
            }
            break;
        case Aggregate::Kind::Min:
            if (m_count == 1 || compare(v, m_value) < 0)
                m_value = v;
            break;
        case Aggregate::Kind::Max:
            if (m_count == 1 || compare(v, m_value) > 0)
                m_value = v;
            break;
        default:
            break;
    }
}

Value Accumulator::result() const {
    switch (m_aggregate->kind) {
        case Aggregate::Kind::Rows:
        case Aggregate::Kind::Count:
            return m_count;
        case Aggregate::Kind::Sum:
        case Aggregate::Kind::Average:
            break;
        default:
            return m_value;
    }
    if (m_count == 0)
        return {};
    const bool average = m_aggregate->kind == Aggregate::Kind::Average;
    if (m_aggregate->type == ColumnType::Currency)
        return average ? toCurrency(static_cast<double>(m_units) / 10'000 / m_count) : jet::Currency{m_units};
    const double result = m_sum.result(average ? m_count : 1);
    if (!std::isfinite(result))
        throw Error(Errc::Overflow);
    return result;
}

}  // namespace jetsql
