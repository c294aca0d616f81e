// SPDX-License-Identifier: MIT
#include "ado/connection.h"

#include <utility>

#include "ado/data_source.h"
#include "ado/errors.h"
#include "ado/session.h"
#include "ado/text.h"

using namespace Qt::StringLiterals;

namespace ado {
namespace {

QString statementText(const QString& source, int options) {
    switch (options) {
        case adCmdText:
        case adCmdUnspecified:
            return source;
        case adCmdTable:
            return u"select * from ["_s + source + u"]"_s;
        default:
            raise(kWrongArgument);
    }
}

}  // namespace

Connection::Connection() = default;

Connection::~Connection() {
    try {
        if (m_session)
            Close();
    } catch (const vbrt::Error&) {
        // Who wants to know calls Close.
    }
}

void Connection::setProvider(const QString& provider) {
    if (m_session)
        raise(kObjectOpen);
    m_provider = provider;
}

void Connection::setPrompt(int prompt) {
    if (prompt != adPromptNever)
        raise(kWrongArgument);
}

void Connection::Open(const QString& connectionString, const QString& user, const QString& password, int options) {
    guarded([&] {
        if (m_session)
            raise(kObjectOpen);
        if (options != -1)
            raise(kWrongArgument);
        const DataSource source(ConnectionString(connectionString), m_provider, user, password);
        auto session = std::make_shared<Session>();
        session->database = jet::Database::open(
            source.path, {.password = source.databasePassword.value_or(""), .readOnly = source.readOnly});
        session->database->checkStructure();
        session->shapes = source.shapes;
        m_session = std::move(session);
    });
}

void Connection::Close() {
    if (!m_session)
        raise(kObjectClosed);
    while (!m_session->recordsets.empty())
        m_session->recordsets.back()->Close();
    const auto session = std::exchange(m_session, nullptr);
    guarded([&] {
        if (session->database.use_count() == 1)
            session->database->close();
    });
}

bool Connection::Unrepaired() const {
    return m_session && m_session->database->unrepaired();
}

ObjectState Connection::State() const {
    return m_session ? adStateOpen : adStateClosed;
}

std::shared_ptr<Recordset> Connection::Execute(const QString& sql, long* affected, int options) {
    if (!m_session)
        raise(kObjectClosed);
    auto recordset = std::make_shared<Recordset>();
    recordset->run(m_session, statementText(sql, options), true, affected);
    return recordset;
}

void Recordset::Open(const QString& source, Connection& connection, int cursorType, int /*lockType*/, int options) {
    if (m_rows)
        raise(kObjectOpen);
    if (!connection.m_session)
        raise(kInvalidConnection);
    const bool forwardOnly = m_location == adUseServer && cursorType == adOpenForwardOnly;
    run(connection.m_session, statementText(source, options), forwardOnly, nullptr);
}

}  // namespace ado
