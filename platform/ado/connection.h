// SPDX-License-Identifier: MIT
// Connection is an open database and executes SQL text against it.
//
//   ado::Connection cnn;
//   cnn.Open("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=home.mdb;Jet OLEDB:Database Password=secret;", "", "");
//   auto rs = cnn.Execute("select count(*) from tbl_items");
//   const double count = rs->number(0);
//
// Every statement is a transaction of its own, durable when Execute returns. Several connections to one file share it
// within the process; another process is refused. Closing a connection closes its recordsets, but not those that were
// disconnected. Everything throws vbrt::Error and runs on the user-interface thread.
#pragma once

#include <QString>
#include <memory>

#include "ado/constants.h"
#include "ado/recordset.h"

namespace ado {

class ConnectionString;
class Session;

// The names of the providers: the database, and data shaping over the database.
inline constexpr char kJetProvider[] = "Microsoft.Jet.OLEDB.4.0";
inline constexpr char kShapeProvider[] = "MSDataShape";

class Connection {
 public:
    Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection();

    // The provider (case ignored) used when the connection string names none. Error 3705 while open.
    void setProvider(const QString& provider);
    [[nodiscard]] const QString& Provider() const { return m_provider; }

    // Whether Open may ask for a login. It never does: adPromptNever is the one value, error 3001 for others.
    void setPrompt(int prompt);

    // Keys: Provider, Data Provider (the provider below, which data shaping needs), Data Source (a path), Jet
    // OLEDB:Database Password, Mode=Read for a database that is never written, Jet OLEDB:Engine Type (ignored: the file
    // says what it is), User ID and Password ("admin" or empty, and empty). `user` and `password` count where the
    // string gives none. A file without write permission is opened for reading. Errors 3705 (already open), 3706 (no
    // such provider), -2147467259 and others from the database.
    void Open(const QString& connectionString, const QString& user = {}, const QString& password = {},
              int options = -1);
    // Closed whatever happens. Error 3704 when not open; from the last connection to a file also those of a file that
    // could not be finished, or is not the one any more that was opened.
    void Close();
    [[nodiscard]] ObjectState State() const;
    // Whether a file that was not closed properly could not be put in order, for lack of room or of permission: it is
    // open for reading, with everything there. False when closed.
    [[nodiscard]] bool Unrepaired() const;

    // Runs one statement. A SELECT gives a forward-only recordset on its first row, produced while it is read, and
    // SHAPE (with the data shaping provider) a client-side one of groups; any other statement a closed one, and
    // `affected` receives the number of rows it named. `options` is adCmdText, adCmdTable (`sql` is then the name of a
    // table or query) or adCmdUnspecified. Error 3704 when not open.
    std::shared_ptr<Recordset> Execute(const QString& sql, long* affected = nullptr, int options = adCmdText);

 private:
    friend class Recordset;

    QString m_provider;
    std::shared_ptr<Session> m_session;  // shared with the recordsets that are still reading; empty when closed
};

}  // namespace ado
