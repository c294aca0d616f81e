// SPDX-License-Identifier: MIT
#include "ado/errors.h"

#include <QTest>
#include <new>
#include <stdexcept>

#include "jet/error.h"
#include "jetsql/error.h"

namespace {

template <class Exception>
QString shown(const Exception& exception) {
    try {
        ado::guarded([&] { throw exception; });
    } catch (const vbrt::Error& e) {
        return QString::number(e.number()) + " " + QString::fromStdString(e.description());
    }
    return {};
}

// The subject holds a "%t", which must come out as it is.
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
    void engine_data() {
        using enum jet::Errc;
        QTest::addColumn<jet::Errc>("code");
        QTest::addColumn<QString>("text");
        const auto row = [](jet::Errc code, const char* text) {
            QTest::addRow("%d", static_cast<int>(code)) << code << QString(text);
        };
        row(Io, "-2147467259 Disk or network error.");
        row(DiskFull, "-2147467259 Not enough space on disk.");
        row(FileNotFound, "-2147467259 Could not find file 'a%t'.");
        row(PathNotFound,
            "-2147467259 'a%t' is not a valid path.  Make sure that the path name is spelled correctly and that you "
            "are connected to the server on which the file resides.");
        row(AccessDenied,
            "-2147467259 The Microsoft Jet database engine cannot open the file 'a%t'.  It is already opened "
            "exclusively by another user, or you need permission to view its data.");
        row(Busy, "-2147467259 Could not use 'a%t'; file already in use.");
        row(NotADatabase, "-2147467259 Unrecognized database format 'a%t'.");
        row(UnsupportedVersion, "-2147467259 Unrecognized database format 'a%t'.");
        row(WrongPassword, "-2147217843 Not a valid password.");
        row(Corrupt, "-2147467259 The database file is damaged (page 12): a%t.");
        row(ReadOnly, "-2147467259 Operation must use an updateable query.");
        row(UnsupportedSortOrder, "-2147467259 Table 'tbl' cannot be changed, because its sort order is not General.");
        row(UnsupportedFeature, "-2147467259 This change of the database is not supported: a%t.");
        row(NoSuchTable,
            "-2147217865 The Microsoft Jet database engine cannot find the input table or query 'tbl'.  Make sure it "
            "exists and that its name is spelled correctly.");
        row(NoSuchColumn, "-2147217904 No value given for one or more required parameters.");
        row(DuplicateKey,
            "-2147467259 The changes you requested to the table were not successful because they would create "
            "duplicate values in the index, primary key, or relationship.  Change the data in the field or fields "
            "that contain duplicate data, remove the index, or redefine the index to permit duplicate entries and try "
            "again.");
        row(ParentRequired,
            "-2147467259 You cannot add or change a record because a related record is required in table 'tbl'.");
        row(ChildrenExist,
            "-2147467259 The record cannot be deleted or changed because table 'tbl' includes related records.");
        row(CascadeDuplicate,
            "-2147467259 Cannot perform cascading operation.  It would result in a duplicate key in table 'tbl'.");
        row(NullInKey, "-2147467259 Index or primary key cannot contain a Null value.");
        row(RequiredNull,
            "-2147467259 The field 'tbl.a%t' cannot contain a Null value because the Required property for this field "
            "is set to True.  Enter a value in this field.");
        row(ZeroLength, "-2147467259 Field 'tbl.a%t' cannot be a zero-length string.");
        row(TooLong,
            "-2147217833 The field is too small to accept the amount of data you attempted to add.  Try inserting or "
            "pasting less data.");
        row(RowTooLarge, "-2147467259 Record is too large.");
        row(TypeMismatch, "-2147217913 Data type mismatch in criteria expression.");
        row(OutOfRange, "-2147217833 Numeric field overflow.");
    }
    void engine() {
        QFETCH(jet::Errc, code);
        QTEST(shown(code), "text");
    }

    void characters_data() {
        QTest::addColumn<QString>("character");
        QTest::addColumn<QString>("name");
        QTest::newRow("two bytes") << u"Ж"_qs << "U+0416";
        QTest::newRow("three bytes") << u"✓"_qs << "U+2713";
        QTest::newRow("four bytes") << u"🙂"_qs << "U+1F642";
    }
    void characters() {
        QFETCH(QString, character);
        QFETCH(QString, name);
        QCOMPARE(shown(jet::Error(jet::Errc::NotRepresentable, character.toStdString())),
                 "-2147217913 The character '" + character + "' (" + name +
                     ") cannot be stored: the database has the characters of code page 1252 only.");
    }

    void statements_data() {
        using enum jetsql::Errc;
        QTest::addColumn<jetsql::Errc>("code");
        QTest::addColumn<QString>("text");
        const auto row = [](jetsql::Errc code, const char* text) {
            QTest::addRow("%d", static_cast<int>(code)) << code << QString(text);
        };
        row(SyntaxInsert, "-2147217900 Syntax error in INSERT INTO statement.");
        row(SyntaxUpdate, "-2147217900 Syntax error in UPDATE statement.");
        row(SyntaxDelete, "-2147217900 Syntax error in DELETE statement.");
        row(SyntaxFrom, "-2147217900 Syntax error in FROM clause.");
        row(SyntaxSelect,
            "-2147217900 The SELECT statement includes a reserved word or an argument name that is misspelled or "
            "missing, or the punctuation is incorrect.");
        row(SyntaxMissingOperator, "-2147217900 Syntax error (missing operator) in query expression 'a%t'.");
        row(SyntaxString, "-2147217900 Syntax error in string in query expression 'a%t'.");
        row(SyntaxDate, "-2147217900 Syntax error in date in query expression 'a%t'.");
        row(SyntaxOther, "-2147217900 Invalid SQL statement; expected 'DELETE', 'INSERT', 'SELECT', or 'UPDATE'.");
        row(UnsupportedSql, "-2147217900 Syntax error in query expression 'a%t'.");
        row(MissingParameter, "-2147217904 No value given for one or more required parameters.");
        row(AmbiguousColumn,
            "-2147217900 The specified field 'a%t' could refer to more than one table listed in the FROM clause of "
            "your SQL statement.");
        row(UnknownInsertColumn,
            "-2147217900 The INSERT INTO statement contains the following unknown field name: 'a%t'.  Make sure you "
            "have typed the name correctly, and try the operation again.");
        row(ValueCount, "-2147217900 Number of query values and destination fields are not the same.");
        row(UnknownTable,
            "-2147217865 The Microsoft Jet database engine cannot find the input table or query 'a%t'.  Make sure it "
            "exists and that its name is spelled correctly.");
        row(NotAggregated,
            "-2147217887 You tried to execute a query that does not include the specified expression 'a%t' as part of "
            "an aggregate function.");
        row(CircularAlias, "-2147217900 Circular reference caused by alias 'a%t' in query definition's SELECT list.");
        row(DuplicateOutput, "-2147217900 Duplicate output destination 'a%t'.");
        row(AggregateMisplaced, "-2147217900 Cannot have aggregate function in expression (a%t).");
        row(UndefinedFunction, "-2147217900 Undefined function 'a%t' in expression.");
        row(WrongArgumentCount, "-2147217900 Wrong number of arguments used with function in query expression 'a%t'.");
        row(TypeMismatch, "-2147217913 Data type mismatch in criteria expression.");
        row(DivisionByZero, "11 Division by zero");
        row(Overflow, "6 Overflow");
        row(InvalidNull, "94 Invalid use of Null");
        row(NotUpdatable, "-2147467259 Operation must use an updateable query.");
    }
    void statements() {
        QFETCH(jetsql::Errc, code);
        QTEST(shown(code), "text");
    }

    void otherExceptions() {
        QCOMPARE(shown(vbrt::Error(13, "Type mismatch")), "13 Type mismatch");
        QCOMPARE(shown(std::bad_alloc()), "7 Out of memory");
        QCOMPARE(shown(std::out_of_range("at")), "51 Internal error: at");
        QCOMPARE(shown(42), "51 Internal error");
    }

    void raised_data() {
        QTest::addColumn<long>("number");
        QTest::addColumn<QString>("text");
        QTest::newRow("closed") << ado::kObjectClosed << "Operation is not allowed when the object is closed.";
        QTest::newRow("open") << ado::kObjectOpen << "Operation is not allowed when the object is open.";
        QTest::newRow("row") << ado::kNoCurrentRecord
                             << "Either BOF or EOF is True, or the current record has been deleted. Requested "
                                "operation requires a current record.";
        QTest::newRow("item")
            << ado::kNoSuchItem
            << "Item cannot be found in the collection corresponding to the requested name or ordinal.";
        QTest::newRow("provider") << ado::kNoProvider << "Provider cannot be found. It may not be properly installed.";
        QTest::newRow("connection") << ado::kInvalidConnection
                                    << "The connection cannot be used to perform this operation. It is either closed "
                                       "or invalid in this context.";
        QTest::newRow("exists") << ado::kDatabaseExists << "Database already exists.";
        QTest::newRow("run time") << vbrt::kInvalidNull << "Invalid use of Null";
    }
    void raised() {
        QFETCH(long, number);
        try {
            ado::raise(number);
        } catch (const vbrt::Error& e) {
            QCOMPARE(e.number(), number);
            QTEST(QString::fromStdString(e.description()), "text");
            return;
        }
        QFAIL("nothing thrown");
    }
};

QTEST_APPLESS_MAIN(tst_errors)
#include "tst_errors.moc"
