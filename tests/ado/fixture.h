// SPDX-License-Identifier: MIT
// A small database for the tests of this layer: two related tables, and one with a column of every type.
#pragma once

#include <QFile>
#include <QTemporaryDir>

#include "ado/connection.h"
#include "ado/connection_string.h"
#include "ado/errors.h"
#include "jet/made_database.h"

namespace fixture {

// Needs quotes in a connection string.
inline const QString kPassword = "p;a\"s's";

inline void create(const QString& path) {
    using enum jet::ColumnType;
    using made::column;
    jet::DatabaseSpec spec;
    spec.password = kPassword.toStdString();
    spec.tables = {
        made::table("parents", {column("name", Text, 50), column("amount", Double)}, {made::primary({"name"})}),
        made::table("children", {made::counter("id"), column("parent", Text, 50), column("note", Memo)},
                    {made::primary({"id"})}),
        made::table("types", {column("flag", Boolean), column("byte", Byte), column("integer", Integer),
                              column("long", Long), column("money", Currency), column("single", Single),
                              column("double", Double), column("day", DateTime), column("word", Text, 20),
                              column("memo", Memo), column("bytes", Binary, 8)})};
    spec.relationships = {
        made::relation("parentschildren", "children", "parents", {{"parent", "name"}}, made::kCascadeBoth)};
    jet::createDatabase(jet::realDisk(), path.toStdString(), spec);
}

inline QString connectionString(const QString& path, const QString& password = kPassword) {
    return "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + ado::connectionValue(path) +
           ";Jet OLEDB:Database Password=" + ado::connectionValue(password) + ";";
}

// What `work` throws, as "number text"; empty when it throws nothing.
template <class Work>
QString errorOf(Work&& work) {
    try {
        work();
    } catch (const vbrt::Error& e) {
        return QString::number(e.number()) + " " + QString::fromStdString(e.description());
    }
    return {};
}

// The rows of a query: cells parted by "|", Null as "-", rows parted by blanks.
inline QString rowsOf(ado::Recordset& recordset) {
    QStringList rows;
    for (; !recordset.AtEnd(); recordset.MoveNext()) {
        QStringList cells;
        for (int i = 0; i < recordset.FieldCount(); ++i)
            cells += recordset.isNull(i) ? "-" : recordset.text(i);
        rows += cells.join('|');
    }
    return rows.join(' ');
}

inline QString rowsOf(ado::Connection& connection, const QString& sql) {
    return rowsOf(*connection.Execute(sql));
}

inline QByteArray bytesOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
}

inline void writeBytes(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
}

}  // namespace fixture
