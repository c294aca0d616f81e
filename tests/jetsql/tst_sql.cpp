// SPDX-License-Identifier: MIT
// Runs the statements of tests/jetsql/*.test and compares what they say.
//
// "> " begins a statement, which may go on in further such lines; then comes what it must give: for a SELECT the names
// of the columns and the rows, else "N rows", or "error" with its name and what it is about. Behind " => " in the same
// line stand the rows alone, parted by " ; ". A first line "types> " wants the types of the columns instead.
// "restart" closes the file and opens it again. Lines with "#" are remarks.
#include "jet/values/error.h"
#include "jetsql/test_database.h"
#include "rows.h"
#include "vbrt/date.h"

#include <QDebug>
#include <QDir>
#include <QTest>

#include <cmath>
#include <fstream>

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

enum class Form { Rows, Types, Line };

std::string answer(test::Database& db, const std::string& sql, Form form) {
    const bool types = form == Form::Types;
    std::string text;
    try {
        const jetsql::Outcome outcome = db.execute(sql);
        if (!outcome.rows)
            return std::to_string(outcome.affected) + " rows\n";
        std::vector<std::string> parts;
        for (const jetsql::OutputColumn& c : outcome.rows->columns())
            parts.push_back(types ? c.name + " " + nameOf(c.type) + (c.length ? " " + std::to_string(c.length) : "")
                                  : c.name);
        text = form == Form::Line ? "" : joined(parts);
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

std::string inOneLine(const std::string& lines) {
    return QString::fromStdString(lines).trimmed().replace("\n", " ; ").toStdString() + "\n";
}

}  // namespace

class tst_sql : public QObject {
    Q_OBJECT

 private slots:
    void files_data() {
        addColumns<QString>("path");
        const QDir folder(QStringLiteral(TEST_FOLDER));
        const QStringList names = folder.entryList({QStringLiteral("*.test")});
        QVERIFY(!names.isEmpty());
        for (const QString& name : names)
            addRow(qPrintable(name), folder.filePath(name));
    }
    void files() {
        QFETCH(QString, path);
        vbrt::setToday(vbrt::DateSerial(2026, 11, 15));
        test::Database db;
        std::ifstream file(path.toStdString());
        std::string line;
        std::string sql;
        std::string expected;
        Form form = Form::Rows;
        int number = 0;
        int statement = 0;
        int failures = 0;
        const auto check = [&] {
            if (sql.empty())
                return;
            std::string actual = answer(db, sql, form);
            if (form == Form::Line)
                actual = actual.empty() ? "no rows\n" : inOneLine(actual);
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
            const bool remark = line.empty() || line.starts_with("# ");
            const bool isStatement = typesWanted || line.starts_with("> ");
            if (remark || line == "restart" || (isStatement && !expected.empty()))
                check();
            if (line == "restart") {
                db.restart();
            } else if (isStatement) {
                const std::size_t arrow = line.find(" => ");
                if (sql.empty()) {
                    statement = number;
                    form = typesWanted ? Form::Types : arrow < line.size() ? Form::Line : Form::Rows;
                }
                const std::size_t begin = typesWanted ? 7 : 2;
                sql += (sql.empty() ? "" : "\n") + line.substr(begin, arrow - begin);
                if (form == Form::Line)
                    expected = line.substr(arrow + 4) + "\n";
            } else if (!remark) {
                expected += line + "\n";
            }
        }
        check();
        QVERIFY(statement > 0);
        QCOMPARE(failures, 0);
        made::expectSound(**db);
    }

    // What would take long or much memory is refused; what is just short enough has its answer.
    void limits() {
        test::Database db;
        const auto like = [&](std::size_t length) {
            const std::string brackets(length, '[');
            return answer(db, "select '" + brackets + "x' like '*" + brackets + "'", Form::Rows);
        };
        QCOMPARE(like(4095), "Expr1000\nfalse\n");
        QVERIFY(like(4096).starts_with("Expr1000\nerror UnsupportedSql LIKE"));
        const auto list = [&](int count) {
            return answer(db, "select 1 in (1" + QByteArray(",1").repeated(count).toStdString() + ")", Form::Rows);
        };
        QCOMPARE(list(24'900), "Expr1000\ntrue\n");
        QVERIFY(list(25'000).starts_with("error UnsupportedSql more than 50000"));
    }

    // The rows may be anything then, but reading them ends well.
    void changesWhileReading() {
        for (const char* sql : {"select * from tbl_items", "select * from tbl_items where envelope = 'Rent'",
                                "select * from tbl_envelopes, tbl_items", "select * from tbl_items order by id"}) {
            for (const char* change :
                 {"delete from tbl_items where id > 1", "delete from tbl_envelopes",
                  "insert into tbl_items (envelope, comment) select envelope, comment from tbl_items",
                  "update tbl_envelopes set envelope = 'A name that is longer than Rent'"}) {
                test::Database db;
                db.execute("insert into tbl_envelopes values ('Rent', 5)");
                for (int i = 0; i < 60; ++i)
                    db.execute("insert into tbl_items (envelope, comment) values ('Rent', 'some text')");
                const auto rows = db.execute(sql).rows;
                jet::Row row;
                QVERIFY(rows->next(row));
                db.execute(change);
                try {
                    for (int i = 0; i < 1'000 && rows->next(row); ++i) {
                    }
                } catch (const jet::Error&) {
                }
            }
        }
    }

    void storedQueryText() {
        test::Database db;
        const auto text = [&](const char* name) { return jetsql::sqlOf(*db->query(name)); };
        QCOMPARE(text("qry_stuffer"),
                 std::string(
                     "SELECT tbl_envelopes.envelope, tbl_envelopes.budget, Sum(tbl_items.amount) AS current_balance, "
                     "[current_balance]+[budget] AS new_balance FROM tbl_envelopes INNER JOIN tbl_items ON "
                     "tbl_envelopes.envelope = tbl_items.envelope GROUP BY tbl_envelopes.envelope, "
                     "tbl_envelopes.budget ORDER BY tbl_envelopes.envelope;"));
        QCOMPARE(text("qry_top"),
                 std::string(
                     "SELECT DISTINCTROW TOP 2 * FROM qry_stuffer AS s WHERE s.budget>0 ORDER BY new_balance DESC;"));
        QCOMPARE(text("qry_joins"),
                 std::string("SELECT DISTINCT c.id AS [two words] FROM ([odd name] INNER JOIN tree AS b ON "
                             "[odd name].[two words]=b.id) LEFT JOIN tree AS c ON (b.id=c.parent) AND "
                             "(b.parent=c.id), defaults;"));
    }
};

QTEST_APPLESS_MAIN(tst_sql)
#include "tst_sql.moc"
