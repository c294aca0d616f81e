// SPDX-License-Identifier: MIT
#include "ado/errors.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>
#include <new>
#include <stdexcept>

#include "jet/values/error.h"
#include "jetsql/error.h"
#include "rows.h"

using namespace Qt::StringLiterals;

namespace {

template <class Work>
QString thrownBy(Work&& work) {
    try {
        ado::guarded(work);
    } catch (const vbrt::Error& e) {
        return QString::number(e.number()) + " " + QString::fromStdString(e.description());
    }
    return {};
}

template <class Exception>
QString shown(const Exception& exception) {
    return thrownBy([&] { throw exception; });
}

QString shown(jet::Errc code) {
    return shown(jet::Error(code, "a%t", "tbl", 12));
}

QString shown(jetsql::Errc code) {
    return shown(jetsql::Error(code, "a%t", 3));
}

}  // namespace

class tst_errors : public QObject {
    Q_OBJECT

 private slots:
    // docs/errors.md is the judge: it has every number with its text. Subjects stand as <x> there, or <t>, <f>, <p>.
    void asDocumented() {
        QFile file(ERRORS_DOCUMENT);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QString document = QString::fromUtf8(file.readAll());
        document.replace(QRegularExpression("`<[tfp]>`"), "`<x>`").replace("(page n): why", "(page 12): `<x>`");
        const auto check = [&](const QString& error) {
            const QString line = "| " + error.section(' ', 0, 0) + " | " + error.section(' ', 1);
            QVERIFY2(document.contains(line + " |") || document.contains(line + " ("), qPrintable(line));
        };
        for (int code = 0; code <= static_cast<int>(jet::Errc::OutOfRange); ++code) {
            if (code != static_cast<int>(jet::Errc::NotRepresentable))
                check(shown(jet::Error(static_cast<jet::Errc>(code), "`<x>`", "`<x>`", 12)));
        }
        for (int code = 0; code < static_cast<int>(jetsql::Errc::DivisionByZero); ++code)
            check(shown(jetsql::Error(static_cast<jetsql::Errc>(code), "`<x>`")));
        check(shown(jetsql::Errc::NotUpdatable));
        for (const long number :
             {ado::kWrongArgument, ado::kNoCurrentRecord, ado::kNotAllowedHere, ado::kNoSuchItem, ado::kObjectClosed,
              ado::kObjectOpen, ado::kNoProvider, ado::kInvalidConnection, ado::kDatabaseExists, ado::kOnlyForward,
              ado::kBadConnectionString, ado::kBadConnectionValue, ado::kBadAccount, vbrt::kInvalidNull})
            check(thrownBy([&] { ado::raise(number); }));
    }

    // The subject holds a "%t", which must come out as it is.
    void subjects_data() {
        addColumns<QString, QString>("shown", "text");
        addRow("table and column", shown(jet::Errc::ZeroLength),
               "-2147467259 Field 'tbl.a%t' cannot be a zero-length string.");
        addRow("page", shown(jet::Errc::Corrupt), "-2147467259 The database file is damaged (page 12): a%t.");
        addRow("table", shown(jet::Errc::ChildrenExist),
               "-2147467259 The record cannot be deleted or changed because table 'tbl' includes related records.");
        addRow("part of a statement", shown(jetsql::Errc::UnsupportedSql),
               "-2147217900 Syntax error in query expression 'a%t'.");
        addRow("run-time errors",
               shown(jetsql::Errc::DivisionByZero) + shown(jetsql::Errc::Overflow) + shown(jetsql::Errc::InvalidNull),
               "11 Division by zero6 Overflow94 Invalid use of Null");
    }
    void subjects() {
        QFETCH(QString, shown);
        QTEST(shown, "text");
    }

    void characters_data() {
        addColumns<QString, QString>("character", "name");
        addRow("two bytes", u"Ж"_s, "U+0416");
        addRow("three bytes", u"✓"_s, "U+2713");
        addRow("four bytes", u"🙂"_s, "U+1F642");
    }
    void characters() {
        QFETCH(QString, character);
        QFETCH(QString, name);
        QCOMPARE(shown(jet::Error(jet::Errc::NotRepresentable, character.toStdString())),
                 "-2147217913 The character '" + character + "' (" + name +
                     ") cannot be stored: the database has the characters of code page 1252 only.");
    }

    void otherExceptions() {
        QCOMPARE(shown(vbrt::Error(13, "Type mismatch")), "13 Type mismatch");
        QCOMPARE(shown(std::bad_alloc()), "7 Out of memory");
        QCOMPARE(shown(std::out_of_range("at")), "51 Internal error: at");
        QCOMPARE(shown(42), "51 Internal error");
    }
};

QTEST_APPLESS_MAIN(tst_errors)
#include "tst_errors.moc"
