// SPDX-License-Identifier: MIT
// Runs the statements of tests/jetsql/*.test and compares what they say.
//
// A paragraph is a statement in lines that begin with "> ", then what must come out: for a SELECT the names of the
// columns and the rows; else "N rows", or "error" with its name and what it is about. A first line "types>" wants the
// types of the columns instead. "restart" closes the file and opens it again. Lines with "#" are remarks.
#include <QDir>
#include <QtTest>
#include <fstream>
#include <sstream>

#include "jet/error.h"
#include "jetsql/test_database.h"
#include "vbrt/date.h"

namespace {

const char* nameOf(jetsql::Errc code) {
    static constexpr const char* kNames[] = {
        "SyntaxInsert",          "SyntaxUpdate",    "SyntaxDelete",        "SyntaxFrom",         "SyntaxSelect",
        "SyntaxMissingOperator", "SyntaxString",    "SyntaxDate",          "SyntaxOther",        "UnsupportedSql",
        "MissingParameter",      "AmbiguousColumn", "UnknownInsertColumn", "ValueCount",         "UnknownTable",
        "NotAggregated",         "CircularAlias",   "DuplicateOutput",     "AggregateMisplaced", "UndefinedFunction",
        "WrongArgumentCount",    "TypeMismatch",    "DivisionByZero",      "Overflow",           "InvalidNull",
        "NotUpdatable"};
    return kNames[static_cast<std::size_t>(code)];
}

const char* nameOf(jet::ColumnType type) {
    static constexpr const char* kNames[] = {"?",      "Boolean",  "Byte",   "Integer", "Long", "Currency", "Single",
                                             "Double", "DateTime", "Binary", "Text",    "Ole",  "Memo"};
    return type == jet::ColumnType::Guid ? "Guid" : kNames[static_cast<std::size_t>(type)];
}

std::string joined(const std::vector<std::string>& parts) {
    std::string line;
    for (const std::string& part : parts)
        line += (line.empty() ? "" : " | ") + part;
    return line + "\n";
}

std::string answer(test::Database& db, const std::string& sql, bool types) {
    std::string text;
    try {
        const jetsql::Outcome outcome = db.execute(sql);
        if (!outcome.rows)
            return std::to_string(outcome.affected) + " rows\n";
        std::vector<std::string> parts;
        for (const jetsql::OutputColumn& c : outcome.rows->columns())
            parts.push_back(types ? c.name + " " + nameOf(c.type) + (c.length ? " " + std::to_string(c.length) : "")
                                  : c.name);
        text = joined(parts);
        for (jet::Row row; !types && outcome.rows->next(row);) {
            parts.clear();
            for (const jet::Value& v : row)
                parts.push_back(jet::toDebugString(v));
            text += joined(parts);
        }
        return text;
    } catch (const jetsql::Error& e) {
        return text + "error " + nameOf(e.code()) + (e.subject().empty() ? "" : " " + e.subject()) + "\n";
    } catch (const jet::Error& e) {
        return text + "error in the file: " + e.what() + "\n";
    } catch (const vbrt::Error& e) {
        return text + "error " + std::to_string(e.number()) + "\n";
    }
}

}  // namespace

class tst_sql : public QObject {
    Q_OBJECT

 private slots:
    void files_data();
    void files();
};

void tst_sql::files_data() {
    QTest::addColumn<QString>("path");
    const QDir folder(QStringLiteral(TEST_FOLDER));
    const QStringList names = folder.entryList({QStringLiteral("*.test")});
    QVERIFY(!names.isEmpty());
    for (const QString& name : names)
        QTest::newRow(qPrintable(name)) << folder.filePath(name);
}

void tst_sql::files() {
    QFETCH(QString, path);
    vbrt::setToday(vbrt::DateSerial(2026, 11, 15));
    test::Database db;
    std::ifstream file(path.toStdString());
    std::string line;
    std::string sql;
    std::string expected;
    bool types = false;
    int number = 0;
    int statement = 0;
    int failures = 0;
    const auto check = [&] {
        if (sql.empty())
            return;
        const std::string actual = answer(db, sql, types);
        if (actual != expected) {
            ++failures;
            qWarning("line %d: %s\nexpected:\n%sbut it was:\n%s", statement, sql.c_str(), expected.c_str(),
                     actual.c_str());
        }
        sql.clear();
        expected.clear();
    };
    while (std::getline(file, line)) {
        ++number;
        const bool typesWanted = line.starts_with("types> ");
        if (line.empty() || line.starts_with("#")) {
            check();
        } else if (line == "restart") {
            check();
            db.restart();
        } else if (typesWanted || line.starts_with("> ")) {
            if (sql.empty()) {
                statement = number;
                types = typesWanted;
            }
            sql += (sql.empty() ? "" : "\n") + line.substr(typesWanted ? 7 : 2);
        } else {
            expected += line + "\n";
        }
    }
    check();
    QVERIFY(statement > 0);
    QCOMPARE(failures, 0);
}

QTEST_APPLESS_MAIN(tst_sql)
#include "tst_sql.moc"
