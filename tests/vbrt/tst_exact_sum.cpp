// SPDX-License-Identifier: MIT
#include "rows.h"
#include "vbrt/exact_sum.h"

#include <QList>
#include <QTest>
#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

using Items = QList<double>;

class tst_exact_sum : public QObject {
    Q_OBJECT

 private slots:
    void sum_data() {
        addColumns<Items, int, double>("items", "count", "result");
        constexpr double kMax = std::numeric_limits<double>::max();
        constexpr double kInfinity = std::numeric_limits<double>::infinity();
        addRow("nothing", Items{}, 1, 0.0);
        addRow("noise of decimal fractions", Items{0.3, -0.1, -0.2}, 1, 0.0);
        addRow("cents beside ten trillion", Items{1e13, 16555.17, -1e13}, 1, 16555.17);
        addRow("cents beside more than cents can count", Items{1e17, 0.01, -1e17}, 1, 0.01);
        addRow("far apart", Items{1e300, 1e-300, 0.25, -1e300}, 1, 0.25);
        addRow("90 trillion in cents", Items{90e12, 0.07, 0.08, -90e12, -0.15}, 1, 0.0);
        addRow("no cents", Items{0.125, 1.0 / 3, -0.125}, 1, 1.0 / 3);
        addRow("half a step goes to the even double", Items{9007199254740992.0, 1}, 1, 9007199254740992.0);
        addRow("a little more than half", Items{9007199254740992.0, 1, 5e-324}, 1, 9007199254740994.0);
        addRow("the smallest doubles", Items{5e-324, 5e-324, -1.5e-323}, 1, -5e-324);
        addRow("through what is too large", Items{kMax, kMax, -kMax}, 1, kMax);
        addRow("too large", Items{kMax, kMax}, 1, kInfinity);
        addRow("an average of cents", Items{0.1, 0.2, 0.4}, 3, 70.0 / 300);
        addRow("an average of what is too large to add", Items{kMax, kMax}, 2, kMax);
        addRow("an average below zero", Items{-0.125, -0.25}, 3, -0.125);
        addRow("infinite", Items{1, -kInfinity, 5}, 1, -kInfinity);
    }
    void sum() {
        QFETCH(Items, items);
        QFETCH(int, count);
        QFETCH(double, result);
        std::ranges::sort(items);
        do {
            vbrt::ExactSum sum;
            for (const double item : items)
                sum.add(item);
            QVERIFY(sum.result(count) == result);  // to the bit, where QCOMPARE is lenient
            QVERIFY(result != 0 || !std::signbit(sum.result(count)));
        } while (std::ranges::next_permutation(items).found);
    }

    // Amounts of all sizes up to ten trillion, against whole cents; all of them out again in another order, and a cent.
    void cents() {
        vbrt::ExactSum sum;
        std::vector<double> amounts;
        std::mt19937_64 random(5);
        std::int64_t cents = 0;
        for (int i = 0; i < 100'000; ++i) {
            const auto amount = static_cast<std::int64_t>(random() % 1'000'000'000'000'000U >> random() % 50);
            const std::int64_t item = cents > 0 ? -amount : amount;
            amounts.push_back(static_cast<double>(item) / 100);
            sum.add(amounts.back());
            cents += item;
            QVERIFY(i % 1000 != 0 || sum.result() == static_cast<double>(cents) / 100);
        }
        std::ranges::shuffle(amounts, random);
        for (const double amount : amounts)
            sum.add(-amount);
        sum.add(0.01);
        QVERIFY(sum.result() == 0.01);
    }

    void notANumber() {
        vbrt::ExactSum sum;
        sum.add(std::numeric_limits<double>::infinity());
        sum.add(-std::numeric_limits<double>::infinity());
        sum.add(1);
        QVERIFY(std::isnan(sum.result()));
    }
};

QTEST_APPLESS_MAIN(tst_exact_sum)
#include "tst_exact_sum.moc"
