// SPDX-License-Identifier: MIT
#include "ado/connection_string.h"

#include <algorithm>

#include "ado/errors.h"

using namespace Qt::StringLiterals;

namespace ado {
namespace {

class Parser {
 public:
    explicit Parser(QStringView text) : m_rest(text) {}

    // The next pair; false at the end of the text. Empty pairs (";;") are passed over.
    bool next(QString& key, QString& value) {
        while (!m_rest.isEmpty() && (m_rest.front() == u';' || m_rest.front().isSpace()))
            m_rest = m_rest.mid(1);
        if (m_rest.isEmpty())
            return false;
        key = readKey();
        skipBlanks();
        const bool quoted = !m_rest.isEmpty() && (m_rest.front() == u'"' || m_rest.front() == u'\'');
        value = quoted ? readQuoted() : readPlain();
        return true;
    }

 private:
    QString readKey() {
        QString key;
        for (;;) {
            const qsizetype end = m_rest.indexOf(u'=');
            if (end < 0 || m_rest.left(end).contains(u';'))
                raise(kBadConnectionString);
            key += m_rest.left(end);
            m_rest = m_rest.mid(end + 1);
            if (!m_rest.startsWith(u'='))
                break;
            key += u'=';
            m_rest = m_rest.mid(1);
        }
        key = key.trimmed();
        if (key.isEmpty())
            raise(kBadConnectionString);
        return key;
    }

    QString readQuoted() {
        const QChar mark = m_rest.front();
        m_rest = m_rest.mid(1);
        QString value;
        for (;;) {
            const qsizetype end = m_rest.indexOf(mark);
            if (end < 0)
                raise(kBadConnectionString);
            value += m_rest.left(end);
            m_rest = m_rest.mid(end + 1);
            if (!m_rest.startsWith(mark))
                break;
            value += mark;
            m_rest = m_rest.mid(1);
        }
        skipBlanks();
        if (!m_rest.isEmpty() && m_rest.front() != u';')
            raise(kBadConnectionString);
        return value;
    }

    QString readPlain() {
        const qsizetype end = m_rest.indexOf(u';');
        const QStringView value = end < 0 ? m_rest : m_rest.left(end);
        m_rest = m_rest.mid(value.size());
        return value.trimmed().toString();
    }

    void skipBlanks() {
        while (!m_rest.isEmpty() && m_rest.front().isSpace())
            m_rest = m_rest.mid(1);
    }

    QStringView m_rest;
};

auto sameKey(const QString& key) {
    return [&key](const auto& pair) { return pair.first.compare(key, Qt::CaseInsensitive) == 0; };
}

}  // namespace

ConnectionString::ConnectionString(const QString& text) {
    Parser parser(text);
    QString key;
    QString value;
    while (parser.next(key, value)) {
        const auto known = std::find_if(m_pairs.begin(), m_pairs.end(), sameKey(key));
        if (known == m_pairs.end())
            m_pairs.emplace_back(key, value);
        else
            known->second = value;
    }
}

QString ConnectionString::value(const QString& key) const {
    const auto found = std::find_if(m_pairs.begin(), m_pairs.end(), sameKey(key));
    return found == m_pairs.end() ? QString() : found->second;
}

bool ConnectionString::contains(const QString& key) const {
    return std::any_of(m_pairs.begin(), m_pairs.end(), sameKey(key));
}

QString connectionValue(const QString& value) {
    static constexpr QStringView kSpecialFirst = u"\"'=";
    const bool plain = !value.contains(u';') && value == value.trimmed() &&
                       (value.isEmpty() || !kSpecialFirst.contains(value.front()));
    if (plain)
        return value;
    return u'"' + QString(value).replace(u'"', u"\"\""_s) + u'"';
}

}  // namespace ado
