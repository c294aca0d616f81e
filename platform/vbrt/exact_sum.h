// SPDX-License-Identifier: MIT
// The one sum of amounts: exact, and rounded once at the end, so that neither the order of the items nor their size
// changes a cent.
//
// A double that is the nearest to a whole number of cents counts as those cents, any other as exactly what it is:
// 0.3 - 0.1 - 0.2 is 0, and 10,000,000,000,000 and 16,555.17 less 10,000,000,000,000 is 16,555.17. Every sum up to
// 2^53 cents, 90 trillion, is the double nearest to its true amount.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

namespace vbrt {

class ExactSum {
 public:
    void add(double value) {
        constexpr double kMostCents = 9007199254740992.0;  // 2^53
        constexpr std::int64_t kRoom = std::int64_t{1} << 62;
        const double cents = std::nearbyint(value * 100);
        if (!(std::fabs(cents) <= kMostCents) || cents / 100 != value) {
            addOther(value);
            return;
        }
        m_cents += static_cast<std::int64_t>(cents);
        if (m_cents > kRoom || m_cents < -kRoom)
            setCentsAside();
    }
    // The sum divided by `count`, rounded once. Never -0. Not finite when it is too large for a double, or when a
    // value was not finite.
    [[nodiscard]] double result(std::int32_t count = 1) const;

 private:
    void addOther(double value);
    void setCentsAside();
    // Adds `whole` * 2^`exponent` hundredths.
    void addWide(std::int64_t whole, int exponent);

    std::int64_t m_cents = 0;
    // What is not in m_cents, in hundredths: a fixed-point number wide enough for any double, 32 bits in each element
    // once the carries are settled, the lowest first. Empty while all are cents.
    std::vector<std::int64_t> m_wide;
    std::uint32_t m_unsettled = 0;  // additions since then
    double m_special = 0;           // infinity or NaN, once there was one
};

}  // namespace vbrt
