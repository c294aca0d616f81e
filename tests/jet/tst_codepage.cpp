// SPDX-License-Identifier: MIT
#include "jet/values/codepage.h"

#include <QTest>

#include "jet/values/error.h"
#include "rows.h"

using namespace jet;

class tst_codepage : public QObject {
    Q_OBJECT

 private slots:
    void everyByteRoundTrips() {
        Bytes all;
        for (int b = 0; b < 256; ++b)
            all.push_back(static_cast<std::uint8_t>(b));
        const std::string text = fromCodePage(all);
        QCOMPARE(toCodePage(text), all);
        // Qt's decoder agrees that this is UTF-8, one character a byte.
        QCOMPARE(QString::fromStdString(text).toUtf8().toStdString(), text);
        QCOMPARE(QString::fromStdString(text).size(), 256);
    }

    void known_data() {
        addColumns<QByteArray, QString>("bytes", "text");
        addRow("empty", QByteArray(), QString());
        addRow("euro and dashes", QByteArray("\x80\x96\x97"), QStringLiteral("\u20AC\u2013\u2014"));
        addRow("letters of 80-9F", QByteArray("\x8A\x8C\x8E\x9A\x9C\x9E\x9F"),
               QStringLiteral("\u0160\u0152\u017D\u0161\u0153\u017E\u0178"));
        addRow("the five unassigned", QByteArray("\x81\x8D\x8F\x90\x9D"),
               QString::fromUtf8("\xC2\x81\xC2\x8D\xC2\x8F\xC2\x90\xC2\x9D"));
        addRow("Latin 1", QByteArray("\xA0\xDF\xE9\xFF"), QStringLiteral("\u00A0\u00DF\u00E9\u00FF"));
    }
    void known() {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, text);
        const Bytes raw(bytes.begin(), bytes.end());
        QCOMPARE(QString::fromStdString(fromCodePage(raw)), text);
        QCOMPARE(toCodePage(text.toStdString()), raw);
    }

    void refused_data() {
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
    void refused() {
        QFETCH(QByteArray, utf8);
        QFETCH(QByteArray, offender);
        Bytes out{1, 2, 3};
        QVERIFY(!tryToCodePage(utf8.toStdString(), out));
        QCOMPARE(out, (Bytes{'a', 'b'}));
        try {
            toCodePage(utf8.toStdString());
            QFAIL("accepted");
        } catch (const Error& e) {
            QCOMPARE(e.code(), Errc::NotRepresentable);
            QCOMPARE(QByteArray::fromStdString(e.subject()), offender);
        }
    }
};

QTEST_GUILESS_MAIN(tst_codepage)
#include "tst_codepage.moc"
