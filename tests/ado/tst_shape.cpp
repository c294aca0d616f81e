// SPDX-License-Identifier: MIT
#include <QTest>

#include "ado/fixture.h"
#include "rows.h"

using fixture::errorOf;
using fixture::rowsOf;

namespace {

const QString kNotes = "shape {select parent, note from children order by id} as kids compute kids by parent";
const QString kRefused = "-2147217900 Syntax error in query expression '%1'.";

// The groups one after the other: their values, then the rows of the chapter. "Rent|(1|a 2|b) Food|(3|c)"
QString groupsOf(ado::Recordset& parents) {
    QStringList groups;
    for (; !parents.AtEnd(); parents.MoveNext()) {
        QString group;
        for (int i = 1; i < parents.FieldCount(); ++i)
            group += (parents.isNull(i) ? "-" : parents.text(i)) + '|';
        groups += group + '(' + rowsOf(*parents.chapter(0)) + ')';
    }
    return groups.join(' ');
}

}  // namespace

class tst_shape : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_source;
    ado::Connection m_main;
    ado::Connection m_shape;

 private slots:
    void initTestCase() {
        const QString path = m_dir.filePath("a.mdb");
        fixture::create(path);
        m_main.Open(fixture::connectionString(path));
        m_source = fixture::connectionString(path).replace("Provider=", "Data Provider=");
        m_shape.setProvider("msdatashape");
        m_shape.Open(m_source + "Jet OLEDB:Engine Type=4;", "", "", -1);

        for (const char* values : {"'rent', 2", "'O''Brien {a}', 10", "'Food', null"})
            m_main.Execute(QString("insert into parents (name, amount) values (%1)").arg(values));
        for (const char* values : {"'Rent', 'b'", "null, 'x'", "'food', 'c'", "'rent', 'a'", "'O''Brien {a}', 'd}'",
                                   "'FOOD ', 'c'", "null, 'w'"})
            m_main.Execute(QString("insert into children (parent, note) values (%1)").arg(values));
        const char* types[] = {"10, 2, #1/2/2026#, true", "9, 10, #12/31/2025#, false", "9, 2, null, true",
                               "null, null, #1/2/2026#, false", "10, 2, #1/2/2026 6:00#, true"};
        for (const char* values : types)
            m_main.Execute(QString("insert into types ([long], money, [day], flag) values (%1)").arg(values));
    }

    void openings_data() {
        addColumns<QString, QString, QString>("provider", "string", "error");
        const QString none = "3706 Provider cannot be found. It may not be properly installed.";
        const QString plain = QString(m_source).replace("Data Provider=", "Provider=");
        addRow("provider in the string", "", "Provider=MSDataShape;" + m_source, "");
        addRow("no data provider", "MSDataShape", m_source.mid(m_source.indexOf(';') + 1), none);
        addRow("unknown data provider", "MSDataShape", "Data Provider=SQLOLEDB;Data Source=x", none);
        addRow("shaping twice", "MSDataShape", "Data Provider=MSDataShape;Data Source=x", none);
        addRow("the string goes before the property", "SQLOLEDB", plain, "");
        addRow("a data provider without shaping", "", "Data Provider=x;" + plain,
               "-2147467259 Could not find installable ISAM.");
    }
    void openings() {
        QFETCH(QString, provider);
        QFETCH(QString, string);
        ado::Connection connection;
        connection.setProvider(provider);
        QTEST(errorOf([&] { connection.Open(string); }), "error");
    }

    void groups_data() {
        addColumns<QString, QString>("statement", "groups");
        const QString byParent = "-|(-|x -|w) food|(food|c FOOD |c) O'Brien {a}|(O'Brien {a}|d}) Rent|(Rent|b rent|a)";
        addRow("Null first, by the order of texts, rows as they come, spelling of the first", kNotes, byParent);
        addRow("words in any case, blanks, names in brackets, an end",
               "\tSHAPE{Select parent, note From children Order By id\n}As[kids]\nCompute `KIDS`  By[Parent] ;",
               byParent);
        addRow("a column in quotes, a table in backquotes",
               "SHAPE {SELECT parent, note FROM `children` ORDER BY id}  AS kids COMPUTE kids BY 'PARENT'", byParent);
        addRow("braces and quotes in a text",
               "shape {select note from children where parent = 'O''Brien "
               "{a}' and note <> \"'}\"} as c compute c by note",
               "d}|(d})");
        addRow("braces in a bracketed name",
               "shape {select note as [a}b] from children where note < 'c'} as c compute c by [a}b]", "a|(a) b|(b)");
        addRow("without BY", "shape {select note from children order by note desc} as c compute c", "(x w d} c c b a)");
        addRow("two columns",
               "shape {select note, parent from children where parent is not null order by note} "
               "as c compute c by [note], parent",
               "a|rent|(a|rent) b|Rent|(b|Rent) c|food|(c|food c|FOOD ) "
               "d}|O'Brien {a}|(d}|O'Brien {a})");
        addRow("numbers by value", "shape {select [long] from types} as c compute c by long",
               "-|(-) 9|(9 9) 10|(10 10)");
        addRow("money", "shape {select money from types} as c compute c by money", "-|(-) 2|(2 2 2) 10|(10)");
        addRow("dates", "shape {select [day] from types where [long] > 0} as c compute c by day",
               "-|(-) 12/31/2025|(12/31/2025) 1/2/2026|(1/2/2026) "
               "1/2/2026 6:00:00 AM|(1/2/2026 6:00:00 AM)");
        addRow("no rows", "shape {select note from children where note = 'y'} as c compute c by note", "");
        addRow("no rows without BY", "shape {select note from children where note = 'y'} as c compute c", "()");
    }
    void groups() {
        QFETCH(QString, statement);
        const auto executed = m_shape.Execute(statement);
        QCOMPARE(executed->CursorLocation(), ado::adUseClient);
        QTEST(groupsOf(*executed), "groups");
        ado::Recordset opened;
        opened.Open(statement, m_shape, ado::adOpenForwardOnly);
        QTEST(groupsOf(opened), "groups");
    }

    void refused_data() {
        addColumns<QString, QString>("statement", "place");
        const QString child = "{select parent, note from children}";
        const auto row = [](const char* name, const QString& statement, const QString& place) {
            addRow(name, statement, kRefused.arg(place.isEmpty() ? statement : place));
        };
        row("the word alone", "shape", "");
        row("no query", "shape {} as c compute c", "} as c compute c");
        row("a change", "shape {delete from children} as c compute c", "delete from children} as c compute c");
        row("a shape of a shape", "shape {shape " + child + " as c compute c} as d compute d",
            "shape " + child + " as c compute c} as d compute d");
        row("no closing brace", "shape {select '}' from children as c compute c",
            "{select '}' from children as c compute c");
        row("a text without an end", "shape {select 'a} as c compute c", "{select 'a} as c compute c");
        row("no name", "shape " + child + " as", "");
        row("a number for a name", "shape " + child + " as 5 compute 5", "5 compute 5");
        row("an empty name", "shape " + child + " as '' compute ''", "'' compute ''");
        row("another name", "shape " + child + " as c compute d by note", "d by note");
        row("an aggregate", "shape " + child + " as c compute c, sum(c.id) as s by note", ", sum(c.id) as s by note");
        row("a relation", "shape " + child + " append (" + child + " as c relate a to b)",
            "append (" + child + " as c relate a to b)");
        row("no column", "shape " + child + " as c compute c by", "");
        row("a column too few", "shape " + child + " as c compute c by note,", "");
        row("an unknown column", "shape " + child + " as c compute c by note, id", "id");
        row("a qualified column", "shape " + child + " as c compute c by children.note", ".note");
        row("something behind", "shape " + child + " as c compute c by note; select", "select");
        addRow("a bad query", "shape {select from children} as c compute c",
               errorOf([&] { m_main.Execute("select from children"); }));
    }
    void refused() {
        QFETCH(QString, statement);
        QTEST(errorOf([&] { m_shape.Execute(statement); }), "place");
        QCOMPARE(rowsOf(m_main, "select count(*) from children"), "7");
    }

    void plainStatements() {
        QCOMPARE(rowsOf(m_shape, "select count(*) from children"), "7");
        QCOMPARE(m_shape.Execute("children", nullptr, ado::adCmdTable)->RecordCount(), -1);
        QCOMPARE(errorOf([&] { m_main.Execute(kNotes); }), errorOf([&] { m_main.Execute("nothing"); }));
    }

    void fields() {
        const auto parents = m_shape.Execute(kNotes);
        QCOMPARE(parents->FieldCount(), 2);
        QCOMPARE(parents->FieldName(0), "kids");
        QCOMPARE(parents->FieldName(1), "parent");
        QCOMPARE(parents->RecordCount(), 4);
        QVERIFY(!parents->isNull("kids"));
        const QString mismatch = "13 Type mismatch";
        QCOMPARE(errorOf([&] { (void)parents->Value("kids"); }), mismatch);
        QCOMPARE(errorOf([&] { (void)parents->text(0); }), mismatch);
        QCOMPARE(errorOf([&] { (void)parents->number(0); }), mismatch);
        QCOMPARE(errorOf([&] { (void)parents->date(0); }), mismatch);
        QCOMPARE(errorOf([&] { parents->setSort("kids"); }), mismatch);
        QCOMPARE(errorOf([&] { (void)parents->chapter("parent"); }), mismatch);
        QCOMPARE(errorOf([&] { (void)m_main.Execute("select 1")->chapter(0); }), mismatch);
        QCOMPARE(errorOf([&] { (void)parents->chapter(2); }).left(5), "3265 ");
        parents->MoveLast();
        parents->MoveNext();
        QCOMPARE(errorOf([&] { (void)parents->chapter(0); }).left(5), "3021 ");
        parents->Close();
        QCOMPARE(errorOf([&] { (void)parents->chapter(0); }).left(5), "3704 ");
        parents->Open("select note from children where note = 'b'", m_shape);
        QCOMPARE(parents->text(0), "b");
    }

    void sorting() {
        const auto parents = m_shape.Execute(kNotes);
        parents->setSort("parent desc");
        QCOMPARE(groupsOf(*parents),
                 "Rent|(Rent|b rent|a) O'Brien {a}|(O'Brien {a}|d}) food|(food|c FOOD |c) -|(-|x -|w)");
        parents->MoveFirst();
        const auto kids = parents->chapter("KIDS");
        kids->setSort("note");
        QCOMPARE(kids->RecordCount(), 2);
        QCOMPARE(rowsOf(*kids), "rent|a Rent|b");
        kids->setSort("");
        kids->MoveLast();
        kids->MovePrevious();
        QCOMPARE(kids->text("note"), "b");
        QCOMPARE(rowsOf(*parents->chapter(0)), "Rent|b rent|a");
    }

    void twoConnections() {
        ado::Connection shape;
        shape.Open("Provider=MSDataShape;" + m_source);
        const auto disconnected = shape.Execute(kNotes);
        const auto parents = shape.Execute(kNotes);
        disconnected->setActiveConnection(nullptr);
        const auto kids = parents->chapter(0);
        m_main.Execute("update children set note = 'v' where note = 'w'");
        QCOMPARE(rowsOf(*shape.Execute(kNotes)->chapter(0)), "-|x -|v");
        m_main.Execute("update children set note = 'w' where note = 'v'");
        shape.Close();

        QCOMPARE(parents->State(), ado::adStateClosed);
        QCOMPARE(rowsOf(*kids), "-|x -|w");
        QCOMPARE(rowsOf(*disconnected->chapter(0)), "-|x -|w");
        QCOMPARE(rowsOf(m_main, "select count(*) from children"), "7");
    }
};

QTEST_APPLESS_MAIN(tst_shape)
#include "tst_shape.moc"
