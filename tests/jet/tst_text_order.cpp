// SPDX-License-Identifier: MIT
#include "jet/values/text_order.h"

#include <QTest>
#include <random>

#include "jet/values/codepage.h"
#include "rows.h"

using namespace jet;

namespace {

Bytes textKey(const std::string& utf8) {
    Bytes key;
    appendTextKey(toCodePage(utf8), key);
    return key;
}

QByteArray hex(const Bytes& bytes) {
    return QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size())).toHex(' ').toUpper();
}

int sign(int n) {
    return (n > 0) - (n < 0);
}

int compareSortKeys(const std::string& a, const std::string& b) {
    Bytes left;
    Bytes right;
    appendSortKey(a, left);
    appendSortKey(b, right);
    return (left > right) - (left < right);
}

}  // namespace

class tst_text_order : public QObject {
    Q_OBJECT

 private slots:
    void keys_data() {
        addColumns<QString, QByteArray>("text", "key");
        addRow("plain", "Groceries", QByteArray("68 75 72 62 66 75 6A 66 76 00"));
        addRow("apostrophe, hyphen, digit", "O'Brien-2", QByteArray("72 18 61 75 6A 66 70 1E 58 00"));
        addRow("one accent, padded", QStringLiteral("K\u00F6ln"), QByteArray("6C 72 6D 70 06 00"));
        addRow("marked letter before the accent", QStringLiteral("Qu\u00E9bec"), QByteArray("74 78 66 61 66 62 02 40"));
        addRow("marked letters behind it do not count", QStringLiteral("M\u00E8re Paillarde"),
               QByteArray("6F 66 75 66 11 73 60 6A 6D 6D 60 75 64 66 03 00"));
        addRow("sharp s takes two places", QStringLiteral("Lebensmittelgro\u00DFm\u00E4rkte AG"),
               QByteArray("6D 66 61 66 70 76 6F 6A 77 77 66 6D 68 75 72 76 76 6F 60 75 6C "
                          "77 66 11 60 68 02 22 22 22 22 60"));
        addRow("ligatures, caron, slashed o", QStringLiteral("\u00C6\u0153\u0160\u00F8"),
               QByteArray("60 66 72 66 76 81 02 22 2A 00"));
        addRow("blanks at the end", "ab  ", QByteArray("60 61 00"));
        addRow("blanks in front and within", " a b", QByteArray("11 60 11 61 00"));
        addRow("only blanks", "   ", QByteArray("00"));
        addRow("empty", "", QByteArray("00"));
    }
    void keys() {
        QFETCH(QString, text);
        QTEST(hex(textKey(text.toStdString())), "key");
    }

    void keyOfLongText() {
        const std::string long255(255, 'x');
        QCOMPARE(textKey(long255 + "yz"), textKey(long255));
        QCOMPARE(textKey(long255).size(), 256U);
        // Blanks at the end of what counts do not count.
        QCOMPARE(textKey(std::string(250, 'x') + "     y"), textKey(std::string(250, 'x')));
    }

    void order_data() {
        addColumns<QString, QString, int>("lower", "higher", "expected");
        const auto row = [](const char* name, const QString& a, const QString& b, int expected) {
            addRow(name, a, b, expected);
        };
        row("case does not matter", "rent", "RENT", 0);
        row("blanks at the end do not matter", "rent", "rent   ", 0);
        row("blanks in front do", " rent", "rent", -1);
        row("a tab at the end is no blank", "rent", "rent\t", -1);
        row("a text before its extensions", "car", "care", -1);
        row("empty first", "", "a", -1);
        row("empty equals blanks", "", "  ", 0);
        row("signs before digits", "_", "0", -1);
        row("digits before letters", "9", "a", -1);
        row("digits one by one", "10", "9", -1);
        row("hyphens count", "co-op", "coop", -1);
        row("apostrophes count", "its", "it's", 1);
        row("accents count among equals", "resume", QStringLiteral("r\u00E9sum\u00E9"), -1);
        row("letters before accents", QStringLiteral("\u00E9a"), "eb", -1);
        row("accented case does not matter", QStringLiteral("\u00C9"), QStringLiteral("\u00E9"), 0);
        row("the first accent decides", QStringLiteral("e\u00E9"), QStringLiteral("\u00E9e"), -1);
        row("grave before acute", QStringLiteral("\u00E8"), QStringLiteral("\u00E9"), -1);
        row("sharp s is ss", QStringLiteral("Stra\u00DFe"), "STRASSE", 0);
        row("ae ligature is ae", QStringLiteral("\u00E6on"), "Aeon", 0);
        row("superscript is a digit", QStringLiteral("m\u00B2"), "m2", 0);
        row("no break blank at the end counts", "a", QStringLiteral("a\u00A0"), -1);
        row("characters that the file lacks come last", QStringLiteral("\u00FE"), QStringLiteral("a\u2192"), -1);
        row("and by code point", QStringLiteral("a\u2192b"), QStringLiteral("a\u2193a"), -1);
        row("and equal their like alone", QStringLiteral("\u2192A"), QStringLiteral("\u2192a"), -1);
        row("and end before blanks", QStringLiteral("\u2192"), QStringLiteral("\u2192 "), 0);
    }
    void order() {
        QFETCH(QString, lower);
        QFETCH(QString, higher);
        QFETCH(int, expected);
        const std::string a = lower.toStdString();
        const std::string b = higher.toStdString();
        QCOMPARE(sign(compareText(a, b)), expected);
        QCOMPARE(sign(compareText(b, a)), -expected);
        QCOMPARE(compareSortKeys(a, b), expected);
        QCOMPARE(equalText(a, b), expected == 0);
    }

    // Short texts over few characters, so that equal codes, equal accents and prefixes all happen often.
    void comparisonAgreesWithKeys() {
        const Bytes alphabet = {'a', 'E', 'e', 's', 'b', ' ', '-', 0xE9, 0xC8, 0xDF, 0xC6, 0x8A, 0x9F, 0xA0, 0x81};
        std::mt19937 random(7);
        int equal = 0;
        for (int i = 0; i < 40'000; ++i) {
            Bytes texts[2];
            for (Bytes& text : texts) {
                text.resize(random() % 5);
                for (auto& c : text)
                    c = alphabet[random() % alphabet.size()];
            }
            Bytes keys[2];
            appendTextKey(texts[0], keys[0]);
            appendTextKey(texts[1], keys[1]);
            const int expected = (keys[0] > keys[1]) - (keys[0] < keys[1]);
            const std::string a = fromCodePage(texts[0]);
            const std::string b = fromCodePage(texts[1]);
            QCOMPARE(sign(compareText(a, b)), expected);
            QCOMPARE(compareSortKeys(a, b), expected);
            equal += expected == 0;
        }
        QVERIFY(equal > 400);
    }
};

QTEST_APPLESS_MAIN(tst_text_order)
#include "tst_text_order.moc"
