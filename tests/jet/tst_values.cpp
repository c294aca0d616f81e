// SPDX-License-Identifier: MIT
#include <QTest>
#include <random>

#include "jet/bare_file.h"
#include "jet/values/codepage.h"
#include "jet/values/text_order.h"
#include "rows.h"

using namespace jet;

namespace {

int sign(int n) {
    return (n > 0) - (n < 0);
}

Bytes textKey(ByteView stored) {
    Bytes key;
    appendTextKey(stored, key);
    return key;
}

// By the keys that sorting uses.
int compareSortKeys(const std::string& a, const std::string& b) {
    Bytes keys[2];
    appendSortKey(a, keys[0]);
    appendSortKey(b, keys[1]);
    return (keys[0] > keys[1]) - (keys[0] < keys[1]);
}

}  // namespace

class tst_values : public QObject {
    Q_OBJECT

 private slots:
    void codePage_data() {
        addColumns<QByteArray, QString>("bytes", "text");
        addRow("empty", QByteArray(), QString());
        addRow("euro and dashes", QByteArray("\x80\x96\x97"), QStringLiteral("\u20AC\u2013\u2014"));
        addRow("letters of 80-9F", QByteArray("\x8A\x8C\x8E\x9A\x9C\x9E\x9F"),
               QStringLiteral("\u0160\u0152\u017D\u0161\u0153\u017E\u0178"));
        addRow("the five unassigned", QByteArray("\x81\x8D\x8F\x90\x9D"),
               QString::fromUtf8("\xC2\x81\xC2\x8D\xC2\x8F\xC2\x90\xC2\x9D"));
        QByteArray latin;
        for (int c = 0; c < 256; c = c == 0x7F ? 0xA0 : c + 1)
            latin += static_cast<char>(c);
        addRow("as in Latin 1", latin, QString::fromLatin1(latin));
    }
    void codePage() {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, text);
        const Bytes raw(bytes.begin(), bytes.end());
        QCOMPARE(QString::fromStdString(fromCodePage(raw)), text);
        QCOMPARE(toCodePage(text.toStdString()), raw);
    }

    void notInTheCodePage_data() {
        addColumns<QByteArray, QByteArray>("utf8", "offender");
        addRow("a character of another alphabet", QByteArray("ab\xD0\x96z"), QByteArray("\xD0\x96"));
        addRow("beyond the first plane", QByteArray("ab\xF0\x9F\x98\x80"), QByteArray("\xF0\x9F\x98\x80"));
        addRow("U+0080, whose byte is the euro", QByteArray("ab\xC2\x80"), QByteArray("\xC2\x80"));
        const QByteArray replacement("\xEF\xBF\xBD");
        addRow("cut off", QByteArray("ab\xC3"), replacement);
        addRow("lone continuation", QByteArray("ab\x80"), replacement);
        addRow("overlong", QByteArray("ab\xC0\xAF"), replacement);
        addRow("surrogate", QByteArray("ab\xED\xA0\x80"), replacement);
        addRow("past U+10FFFF", QByteArray("ab\xF4\x90\x80\x80"), replacement);
        addRow("lead byte F8", QByteArray("ab\xF8\x88\x80\x80\x80"), replacement);
    }
    void notInTheCodePage() {
        QFETCH(QByteArray, utf8);
        Bytes out{1, 2, 3};
        QVERIFY(!tryToCodePage(utf8.toStdString(), out));
        QCOMPARE(out, (Bytes{'a', 'b'}));
        try {
            toCodePage(utf8.toStdString());
            QFAIL("accepted");
        } catch (const Error& e) {
            QCOMPARE(e.code(), Errc::NotRepresentable);
            QTEST(QByteArray::fromStdString(e.subject()), "offender");
        }
    }

    void textKeys_data() {
        addColumns<QString, QByteArray>("text", "key");
        addRow("plain", "Groceries", QByteArray("68 75 72 62 66 75 6a 66 76 00"));
        addRow("apostrophe, hyphen, digit", "O'Brien-2", QByteArray("72 18 61 75 6a 66 70 1e 58 00"));
        addRow("one accent, padded", QStringLiteral("K\u00F6ln"), QByteArray("6c 72 6d 70 06 00"));
        addRow("marked letter before the accent", QStringLiteral("Qu\u00E9bec"), QByteArray("74 78 66 61 66 62 02 40"));
        addRow("marked letters behind it do not count", QStringLiteral("M\u00E8re Paillarde"),
               QByteArray("6f 66 75 66 11 73 60 6a 6d 6d 60 75 64 66 03 00"));
        addRow("sharp s takes two places", QStringLiteral("Lebensmittelgro\u00DFm\u00E4rkte AG"),
               QByteArray("6d 66 61 66 70 76 6f 6a 77 77 66 6d 68 75 72 76 76 6f 60 75 6c "
                          "77 66 11 60 68 02 22 22 22 22 60"));
        addRow("ligatures, caron, slashed o", QStringLiteral("\u00C6\u0153\u0160\u00F8"),
               QByteArray("60 66 72 66 76 81 02 22 2a 00"));
        addRow("blanks in front, within and at the end", " a b  ", QByteArray("11 60 11 61 00"));
        addRow("only blanks", "   ", QByteArray("00"));
        addRow("empty", "", QByteArray("00"));
        addRow("longer than a key", QString(255, 'x') + "yz", QByteArray("7c ").repeated(255) + "00");
        addRow("blanks at the end of what counts", 'x' + QString(254, ' ') + 'y', QByteArray("7c 00"));
    }
    void textKeys() {
        QFETCH(QString, text);
        QTEST(hex(textKey(toCodePage(text.toStdString()))), "key");
    }

    void order_data() {
        addColumns<QString, QString, int>("lower", "higher", "expected");
        const auto row = [](const char* name, const QString& a, const QString& b, int expected) {
            addRow(name, a, b, expected);
        };
        row("case does not matter", "rent", "RENT", 0);
        row("blanks at the end do not matter", "rent", "rent   ", 0);
        row("a tab at the end is no blank", "rent", "rent\t", -1);
        row("a text before its extensions", "car", "care", -1);
        row("empty equals blanks", "", "  ", 0);
        row("signs before digits", "_", "0", -1);
        row("digits before letters", "9", "a", -1);
        row("hyphens count", "co-op", "coop", -1);
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
            const Bytes first = textKey(texts[0]);
            const Bytes second = textKey(texts[1]);
            const int expected = (first > second) - (first < second);
            const std::string a = fromCodePage(texts[0]);
            const std::string b = fromCodePage(texts[1]);
            QCOMPARE(sign(compareText(a, b)), expected);
            QCOMPARE(compareSortKeys(a, b), expected);
            equal += expected == 0;
        }
        QVERIFY(equal > 400);
    }
};

QTEST_APPLESS_MAIN(tst_values)
#include "tst_values.moc"
