// SPDX-License-Identifier: MIT
#include "vbrt/exact_sum.h"

#include <algorithm>
#include <cassert>
#include <cstddef>

namespace vbrt {

namespace {

constexpr int kDigitBits = 32;
constexpr std::int64_t kDigit = std::int64_t{1} << kDigitBits;
// The lowest bit is worth 2^-1138: 64 bits below the smallest double hold what a division leaves over. Above the
// largest double there is room for the factor 100, 2^64 additions and a sign.
constexpr int kLowest = -1138;
constexpr std::size_t kDigits = (1024 + 7 + 64 + 1 - kLowest) / kDigitBits + 1;

using Digits = std::vector<std::int64_t>;

// Brings every element but the last into 0 ... 2^32 - 1; the last carries the sign.
void settle(Digits& digits) {
    for (std::size_t i = 0; i + 1 < digits.size(); ++i) {
        const std::int64_t rest = digits[i] & (kDigit - 1);
        digits[i + 1] += (digits[i] - rest) / kDigit;
        digits[i] = rest;
    }
}

// Divides a settled number that is not negative; true when something is left over.
bool divide(Digits& digits, std::uint32_t divisor) {
    std::uint64_t rest = 0;
    for (std::size_t i = digits.size(); i-- > 0;) {
        const std::uint64_t part = (rest << kDigitBits) | static_cast<std::uint64_t>(digits[i]);
        digits[i] = static_cast<std::int64_t>(part / divisor);
        rest = part % divisor;
    }
    return rest != 0;
}

bool bitAt(const Digits& digits, int bit) {
    return (digits[static_cast<std::size_t>(bit / kDigitBits)] >> (bit % kDigitBits) & 1) != 0;
}

// The nearest double, halves to even. `more`: the number is a little larger than its digits.
double nearest(const Digits& digits, bool more) {
    int highest = static_cast<int>(digits.size()) * kDigitBits - 1;
    while (highest >= 0 && !bitAt(digits, highest))
        --highest;
    constexpr int kSmallest = -1074 - kLowest;  // the bit of the smallest double
    const int last = std::max(highest - 52, kSmallest);
    std::int64_t whole = 0;
    for (int bit = highest; bit >= last; --bit)
        whole = whole * 2 + bitAt(digits, bit);
    if (last - 1 <= highest && bitAt(digits, last - 1)) {
        for (int bit = 0; bit < last - 1 && !more; ++bit)
            more = bitAt(digits, bit);
        whole += more || whole % 2 != 0;
    }
    return std::ldexp(static_cast<double>(whole), last + kLowest);
}

}  // namespace

void ExactSum::addOther(double value) {
    if (!std::isfinite(value)) {
        m_special += value;
        return;
    }
    int exponent = 0;
    const double fraction = std::frexp(value, &exponent);
    addWide(static_cast<std::int64_t>(std::ldexp(fraction, 53)) * 100, exponent - 53);
}

void ExactSum::setCentsAside() {
    addWide(m_cents, 0);
    m_cents = 0;
}

void ExactSum::addWide(std::int64_t whole, int exponent) {
    if (m_wide.empty())
        m_wide.resize(kDigits);
    const int place = exponent - kLowest;
    assert(place >= 0);  // the smallest double has the exponent -1126, with zeros below 2^-1074
    const std::int64_t sign = whole < 0 ? -1 : 1;
    const auto size = static_cast<std::uint64_t>(whole < 0 ? -whole : whole);
    const auto at = static_cast<std::size_t>(place / kDigitBits);
    const int shift = place % kDigitBits;
    const std::uint64_t low = (size & (kDigit - 1)) << shift;
    const std::uint64_t high = (size >> kDigitBits << shift) + (low >> kDigitBits);
    m_wide[at] += sign * static_cast<std::int64_t>(low & (kDigit - 1));
    m_wide[at + 1] += sign * static_cast<std::int64_t>(high & (kDigit - 1));
    m_wide[at + 2] += sign * static_cast<std::int64_t>(high >> kDigitBits);
    if (++m_unsettled == std::uint32_t{1} << 30) {
        settle(m_wide);
        m_unsettled = 0;
    }
}

double ExactSum::result(std::int32_t count) const {
    constexpr std::int64_t kExact = std::int64_t{1} << 53;
    assert(count > 0);
    if (m_special != 0)  // NaN, too
        return m_special;
    if (m_wide.empty() && m_cents <= kExact && m_cents >= -kExact)
        return static_cast<double>(m_cents) / (100.0 * count);

    ExactSum sum = *this;
    sum.setCentsAside();
    Digits& digits = sum.m_wide;
    settle(digits);
    const bool negative = digits.back() < 0;
    if (negative) {
        for (std::int64_t& digit : digits)
            digit = -digit;
        settle(digits);
    }
    const bool hundredths = divide(digits, 100);
    const bool parts = divide(digits, static_cast<std::uint32_t>(count));
    const double value = nearest(digits, hundredths || parts);
    return negative ? 0 - value : value;
}

}  // namespace vbrt
