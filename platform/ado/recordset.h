// SPDX-License-Identifier: MIT
// Recordset is the rows of a query, read one at a time; it is never updated.
//
//   auto rs = cnn.Execute("select envelope, budget from tbl_envelopes order by envelope");
//   for (; !rs->AtEnd(); rs->MoveNext()) add(rs->text("envelope"), rs->number(1));
//
// A forward-only one (from Connection::Execute) produces its rows while it is read: read it to the end before changing
// the tables it comes from. A client-side one holds all rows, moves both ways, can be sorted, and lives on without its
// connection once setActiveConnection(nullptr) has been called. Fields are named (case ignored) or numbered from 0.
//
// A SHAPE statement gives a client-side recordset with a row for each group. Its field 0 is a chapter: chapter() gives
// the rows of the group as a recordset, and reading it as a value is error 13.
//
// Errors: 3704 closed, 3021 no current row, 3265 no such field, 94 a Null read as text, number or date.
#pragma once

#include <QAnyStringView>
#include <QString>
#include <QVariant>
#include <memory>
#include <vector>

#include "ado/constants.h"
#include "vbrt/date.h"

namespace ado {

class Connection;
class Groups;
class RowSource;
class Session;

class Recordset {
 public:
    Recordset();
    Recordset(const Recordset&) = delete;
    Recordset& operator=(const Recordset&) = delete;
    ~Recordset();

    // Before Open. adUseServer unless set; error 3705 while open.
    void setCursorLocation(int location);
    [[nodiscard]] int CursorLocation() const { return m_location; }

    // Runs a statement on an open connection (error 3709 otherwise). Every combination but (adUseServer,
    // adOpenForwardOnly) reads all rows at once; rows are read-only whatever `lockType`. A statement that gives no
    // rows leaves the recordset closed.
    void Open(const QString& source, Connection& connection, int cursorType = adOpenForwardOnly,
              int lockType = adLockReadOnly, int options = adCmdText);
    // Only nullptr, which disconnects: the rows of a client-side recordset then outlive the connection. Error 3705 for
    // one that is open on the server side.
    void setActiveConnection(std::nullptr_t);
    void Close();
    [[nodiscard]] ObjectState State() const;

    // BOF and EOF. Both are true when there are no rows.
    [[nodiscard]] bool AtBeginning() const;
    [[nodiscard]] bool AtEnd() const;
    // -1 for a forward-only recordset.
    [[nodiscard]] long RecordCount() const;
    void MoveFirst();
    void MoveNext();
    void MovePrevious();
    void MoveLast();
    // "name", "name desc", "[a name] asc, other desc": a stable sort in the order of the database, Null first; then
    // moves to the first row. An empty text restores the order of the query. Error 3219 for a forward-only recordset,
    // 13 for a chapter.
    void setSort(const QString& criteria);
    [[nodiscard]] const QString& Sort() const { return m_sort; }

    [[nodiscard]] int FieldCount() const;
    [[nodiscard]] QString FieldName(int field) const;
    // The number of the field of that name.
    [[nodiscard]] int fieldIndex(QAnyStringView name) const;

    // The current row's value: an invalid QVariant for Null, else bool, int, double, QString, vbrt::Date or QByteArray.
    [[nodiscard]] QVariant Value(int field) const;
    [[nodiscard]] bool isNull(int field) const;
    // As CStr, CDbl and CDate convert it; error 13 for what is neither text, number nor date.
    [[nodiscard]] QString text(int field) const;
    [[nodiscard]] double number(int field) const;
    [[nodiscard]] vbrt::Date date(int field) const;

    // The rows of the current row's group: a client-side recordset on its first row, disconnected, which needs neither
    // this one nor the connection any longer. Error 13 for a field that is no chapter.
    [[nodiscard]] std::shared_ptr<Recordset> chapter(int field) const;

    [[nodiscard]] QVariant Value(QAnyStringView field) const { return Value(fieldIndex(field)); }
    [[nodiscard]] bool isNull(QAnyStringView field) const { return isNull(fieldIndex(field)); }
    [[nodiscard]] QString text(QAnyStringView field) const { return text(fieldIndex(field)); }
    [[nodiscard]] double number(QAnyStringView field) const { return number(fieldIndex(field)); }
    [[nodiscard]] vbrt::Date date(QAnyStringView field) const { return date(fieldIndex(field)); }
    [[nodiscard]] std::shared_ptr<Recordset> chapter(QAnyStringView field) const { return chapter(fieldIndex(field)); }

 private:
    friend class Connection;

    // `affected` may be nullptr.
    void run(const std::shared_ptr<Session>& session, const QString& sql, bool forwardOnly, long* affected);
    void show(std::unique_ptr<RowSource> rows);
    void detach();
    [[nodiscard]] bool isChapter(int field) const { return m_groups && field == 0; }
    void refuseChapter(int field) const;
    [[nodiscard]] RowSource& rows() const;

    int m_location = adUseServer;
    QString m_sort;
    std::vector<QString> m_names;
    std::unique_ptr<RowSource> m_rows;   // empty when closed
    std::unique_ptr<Groups> m_groups;    // of a SHAPE statement; field 0 holds the numbers of the groups
    std::shared_ptr<Session> m_session;  // empty when closed or disconnected
};

}  // namespace ado
