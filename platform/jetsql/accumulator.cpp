// SPDX-License-Identifier: MIT
#include "jetsql/accumulator.h"

#include "jetsql/error.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace jetsql {

namespace {

constexpr int kDigits = 15;

int decimalExponent(double value) {
    return static_cast<int>(std::floor(std::log10(std::fabs(value))));
}

// Keeps the digits of `value` down to the last significant one of `largest`. By way of text: no other way hits the
// double that the decimal number would be read as.
double roundedLike(double value, double largest) {
    if (value == 0 || !std::isfinite(value))
        return value;
    const int decimals = kDigits - 1 - decimalExponent(largest);
    char text[400];
    std::to_chars_result written{};
    if (decimals >= 0) {
        written = std::to_chars(text, std::end(text), value, std::chars_format::fixed, decimals);
    } else {
        const int digits = decimalExponent(value) + decimals;
        if (digits < 0)
            return 0;
        written = std::to_chars(text, std::end(text), value, std::chars_format::scientific, digits);
    }
    double result = value;
    if (written.ec == std::errc())
        std::from_chars(text, written.ptr, result);
    return result == 0 ? 0 : result;  // never -0
}

}  // namespace

void DecimalSum::add(double value) {
    const double sum = m_sum + value;
    m_lost += std::fabs(m_sum) >= std::fabs(value) ? (m_sum - sum) + value : (value - sum) + m_sum;
    m_sum = sum;
    m_largest = std::max({m_largest, std::fabs(value), std::fabs(sum)});
}

double DecimalSum::result() const {
    return roundedLike(m_sum + m_lost, m_largest);
}

void Accumulator::add(const Frame& frame) {
    if (m_aggregate->kind == Aggregate::Kind::Rows) {
        ++m_count;
        return;
    }
    Value scratch;
    const Value& v = evaluate(m_aggregate->argument, frame, scratch);
    const bool first = !std::exchange(m_started, true);
    if (m_aggregate->kind == Aggregate::Kind::Last || (first && m_aggregate->kind == Aggregate::Kind::First))
        m_value = v;
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
    const double sum = m_sum.result();
    if (!std::isfinite(sum))
        throw Error(Errc::Overflow);
    return average ? sum / m_count : sum;
}

}  // namespace jetsql
