// SPDX-License-Identifier: MIT
#include "ado/recordset.h"

#include <QTest>

#include "ado/fixture.h"
#include "rows.h"

using namespace Qt::StringLiterals;
using fixture::errorOf;
using fixture::rowsOf;

namespace {

const QString kNoRow =
    "3021 Either BOF or EOF is True, or the current record has been deleted. Requested operation requires a current "
    "record.";

// Where a recordset stands: its row, or "BOF", "EOF", "empty".
QString place(const ado::Recordset& recordset) {
    if (recordset.AtBeginning())
        return recordset.AtEnd() ? "empty" : "BOF";
    return recordset.AtEnd() ? "EOF" : recordset.text(0);
}

}  // namespace

class tst_recordset : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    ado::Connection m_connection;

    void openStatic(ado::Recordset& recordset, const QString& sql) {
        recordset.setCursorLocation(ado::adUseClient);
        recordset.Open(sql, m_connection, ado::adOpenStatic, ado::adLockReadOnly, ado::adCmdText);
    }

 private slots:
    void initTestCase() {
        const QString path = m_dir.filePath("a.mdb");
        fixture::create(path);
        m_connection.Open(fixture::connectionString(path));
        for (const char* values : {"'b', 2", "'a', 3", "'c', null", "'d', 2"})
            m_connection.Execute(QString("insert into parents (name, amount) values (%1)").arg(values));

        const auto db = jet::Database::open(path.toStdString(), {.password = fixture::kPassword.toStdString()});
        jet::Transaction change(*db);
        jet::Row full = {true,
                         std::uint8_t{200},
                         std::int16_t{-2},
                         std::int32_t{70000},
                         jet::Currency{-123450},
                         0.1F,
                         1.0 / 3,
                         jet::Date{46024.25},
                         std::string("caf\xC3\xA9"),
                         std::string(3000, 'm'),
                         jet::Bytes{0, 1, 255}};
        jet::Row nulls(full.size());
        nulls[0] = false;
        db->table("types").insert(full);
        db->table("types").insert(nulls);
        change.commit();
    }

    void forwardOnly() {
        const auto recordset = m_connection.Execute("select name, amount from parents order by name");
        QCOMPARE(recordset->State(), ado::adStateOpen);
        QCOMPARE(recordset->RecordCount(), -1);
        QCOMPARE(place(*recordset), "a");
        recordset->MoveFirst();
        QCOMPARE(recordset->number("AMOUNT"), 3.0);
        recordset->MoveNext();
        QCOMPARE(place(*recordset), "b");
        QCOMPARE(errorOf([&] { recordset->MovePrevious(); }), "-2147217884 Rowset does not support fetching backward.");
        QCOMPARE(errorOf([&] { recordset->MoveFirst(); }), "-2147217884 Rowset does not support fetching backward.");
        QCOMPARE(errorOf([&] { recordset->setSort("name"); }), "3219 Operation is not allowed in this context.");
        QCOMPARE(errorOf([&] { recordset->setActiveConnection(nullptr); }).left(5), "3705 ");
        recordset->MoveLast();
        QCOMPARE(place(*recordset), "d");
        recordset->MoveNext();
        QCOMPARE(place(*recordset), "EOF");
        QCOMPARE(errorOf([&] { recordset->MoveNext(); }), kNoRow);
        QCOMPARE(errorOf([&] { (void)recordset->text(0); }), kNoRow);
        recordset->Close();
        QCOMPARE(errorOf([&] { (void)recordset->AtEnd(); }),
                 "3704 Operation is not allowed when the object is closed.");
        QCOMPARE(errorOf([&] { recordset->Close(); }).left(5), "3704 ");
    }

    void clientSide() {
        ado::Recordset recordset;
        openStatic(recordset, "select name from parents order by name");
        QCOMPARE(recordset.RecordCount(), 4);
        QCOMPARE(place(recordset), "a");
        recordset.MoveLast();
        QCOMPARE(place(recordset), "d");
        recordset.MovePrevious();
        QCOMPARE(place(recordset), "c");
        recordset.MoveFirst();
        recordset.MovePrevious();
        QCOMPARE(place(recordset), "BOF");
        QCOMPARE(errorOf([&] { recordset.MovePrevious(); }), kNoRow);
        QCOMPARE(errorOf([&] { (void)recordset.Value(0); }), kNoRow);
        recordset.MoveNext();
        QCOMPARE(rowsOf(recordset), "a b c d");
        QCOMPARE(errorOf([&] { recordset.setCursorLocation(ado::adUseServer); }).left(5), "3705 ");
        QCOMPARE(errorOf([&] { recordset.Open("select 1", m_connection); }).left(5), "3705 ");
    }

    void emptyResults_data() {
        addColumns<bool>("client");
        addRow("forward-only", false);
        addRow("client-side", true);
    }
    void emptyResults() {
        QFETCH(bool, client);
        ado::Recordset recordset;
        recordset.setCursorLocation(client ? ado::adUseClient : ado::adUseServer);
        recordset.Open("select * from parents where name = 'x'", m_connection);
        QCOMPARE(place(recordset), "empty");
        QCOMPARE(errorOf([&] { recordset.MoveFirst(); }), kNoRow);
        QCOMPARE(errorOf([&] { recordset.MoveNext(); }), kNoRow);
        QCOMPARE(errorOf([&] { recordset.MovePrevious(); }), kNoRow);
        QCOMPARE(errorOf([&] { recordset.MoveLast(); }), kNoRow);
        QCOMPARE(errorOf([&] { (void)recordset.isNull("name"); }), kNoRow);
        QCOMPARE(recordset.FieldCount(), 2);
    }

    void disconnected() {
        ado::Connection connection;
        connection.Open(fixture::connectionString(m_dir.filePath("a.mdb")));
        ado::Recordset recordset;
        recordset.setCursorLocation(ado::adUseClient);
        recordset.Open("select name from parents order by name desc", connection);
        recordset.setActiveConnection(nullptr);
        connection.Close();
        QCOMPARE(recordset.RecordCount(), 4);
        recordset.setSort("name");
        QCOMPARE(rowsOf(recordset), "a b c d");
    }

    void refusedOpenings() {
        ado::Recordset recordset;
        ado::Connection closed;
        QCOMPARE(errorOf([&] { recordset.Open("select 1", closed); }),
                 "3709 The connection cannot be used to perform this operation. It is either closed or invalid in this "
                 "context.");
        QCOMPARE(errorOf([&] { recordset.Open("parents", m_connection, 0, 1, 4); }).left(5), "3001 ");
        QCOMPARE(errorOf([&] { recordset.setCursorLocation(1); }).left(5), "3001 ");
        recordset.Open("update parents set amount = amount where name = 'x'", m_connection);
        QCOMPARE(recordset.State(), ado::adStateClosed);
    }

    void fields() {
        const auto recordset = m_connection.Execute("select name, amount as Total from parents where name = 'c'");
        QCOMPARE(recordset->FieldCount(), 2);
        QCOMPARE(recordset->FieldName(1), "Total");
        QCOMPARE(recordset->fieldIndex(u"TOTAL"), 1);
        const QString noItem =
            "3265 Item cannot be found in the collection corresponding to the requested name or ordinal.";
        QCOMPARE(errorOf([&] { (void)recordset->Value("amount"); }), noItem);
        QCOMPARE(errorOf([&] { (void)recordset->Value(2); }), noItem);
        QCOMPARE(errorOf([&] { (void)recordset->isNull(-1); }), noItem);
        QCOMPARE(errorOf([&] { (void)recordset->FieldName(2); }), noItem);

        QVERIFY(recordset->isNull("total"));
        QVERIFY(!recordset->Value(1).isValid());
        QCOMPARE(errorOf([&] { (void)recordset->text(1); }), "94 Invalid use of Null");
        QCOMPARE(errorOf([&] { (void)recordset->number(1); }), "94 Invalid use of Null");
        QCOMPARE(errorOf([&] { (void)recordset->date(1); }), "94 Invalid use of Null");
        QCOMPARE(errorOf([&] { (void)recordset->number(0); }), "13 Type mismatch");
    }

    void types_data() {
        addColumns<QString, QVariant, QString, QString>("field", "value", "text", "number");  // or the error
        addRow("boolean", "flag", QVariant(true), "True", "-1");
        addRow("byte", "byte", QVariant(200), "200", "200");
        addRow("integer", "integer", QVariant(-2), "-2", "-2");
        addRow("long", "long", QVariant(70000), "70000", "70000");
        addRow("currency", "money", QVariant(-12.345), "-12.345", "-12.345");
        addRow("single", "single", QVariant(static_cast<double>(0.1F)), "0.1", "0.10000000149011612");
        addRow("double", "double", QVariant(1.0 / 3), "0.333333333333333", "0.3333333333333333");
        addRow("date", "day", QVariant::fromValue(vbrt::Date{46024.25}), "1/2/2026 6:00:00 AM", "46024.25");
        addRow("text", "word", QVariant(u"café"_s), u"café"_s, "13 Type mismatch");
        addRow("memo", "memo", QVariant(QString(3000, 'm')), QString(3000, 'm'), "13 Type mismatch");
        addRow("binary", "bytes", QVariant(QByteArray("\0\1\xFF", 3)), "13 Type mismatch", "13 Type mismatch");
    }
    void types() {
        QFETCH(QString, field);
        QFETCH(QVariant, value);
        const auto recordset = m_connection.Execute("select * from types");
        if (value.metaType() == QMetaType::fromType<vbrt::Date>()) {
            QCOMPARE(recordset->Value(field).value<vbrt::Date>(), value.value<vbrt::Date>());
            QCOMPARE(recordset->date(field), value.value<vbrt::Date>());
        } else {
            QCOMPARE(recordset->Value(field).typeId(), value.typeId());
            QCOMPARE(recordset->Value(field), value);
        }
        QString text;
        const QString textError = errorOf([&] { text = recordset->text(field); });
        QTEST(text + textError, "text");
        QString number;
        const QString numberError =
            errorOf([&] { number = QString::number(recordset->number(field), 'g', QLocale::FloatingPointShortest); });
        QTEST(number + numberError, "number");

        recordset->MoveNext();
        QCOMPARE(recordset->isNull(field), field != "flag");
    }

    void sorting_data() {
        addColumns<QString, QString>("criteria", "order");
        addRow("none", "", "b a c d");
        addRow("ascending, Null first, equals as they were", "amount", "c b d a");
        addRow("descending", "AMOUNT DESC", "a b d c");
        addRow("two keys", " [amount] asc , name desc", "c d b a");
        addRow("unknown field", "nothing", "3265 ");
        addRow("no field", "name,,", "3001 ");
    }
    void sorting() {
        QFETCH(QString, criteria);
        QFETCH(QString, order);
        ado::Recordset recordset;
        openStatic(recordset, "select name, amount from parents");
        recordset.MoveLast();
        const QString error = errorOf([&] { recordset.setSort(criteria); });
        if (!error.isEmpty()) {
            QCOMPARE(error.left(5), order);
            return;
        }
        QStringList names;
        for (; !recordset.AtEnd(); recordset.MoveNext())
            names += recordset.text("name");
        QCOMPARE(names.join(' '), order);
        recordset.setSort({});
        QCOMPARE(place(recordset), "b");
    }

    // Yes before No among them.
    void sortedAsTheDatabaseSorts() {
        for (const char* field : {"flag", "byte", "integer", "name"})
            for (const char* direction : {"", " desc"}) {
                const QString from = qstrcmp(field, "name") == 0 ? "parents" : "types";
                ado::Recordset sorted;
                openStatic(sorted, "select * from " + from);
                sorted.setSort(QString("[%1]%2").arg(field, direction));
                const auto ordered =
                    m_connection.Execute(QString("select * from %1 order by [%2]%3").arg(from, field, direction));
                for (; !ordered->AtEnd(); ordered->MoveNext(), sorted.MoveNext())
                    QCOMPARE(sorted.Value(field), ordered->Value(field));
                QVERIFY(sorted.AtEnd());
            }
    }
};

QTEST_APPLESS_MAIN(tst_recordset)
#include "tst_recordset.moc"
