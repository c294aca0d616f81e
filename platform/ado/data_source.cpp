// SPDX-License-Identifier: MIT
#include "ado/data_source.h"

#include <QDir>
#include <QFileInfo>
#include <QStringList>

#include "ado/connection.h"
#include "ado/errors.h"
#include "ado/text.h"
#include "jet/values/error.h"

namespace ado {
namespace {

const QStringList kKnownKeys = {"Provider",
                                "Data Source",
                                "User ID",
                                "Password",
                                "Mode",
                                "Persist Security Info",
                                "Jet OLEDB:Database Password",
                                "Jet OLEDB:Engine Type"};

QString valueOr(const ConnectionString& string, const QString& key, const QString& otherwise) {
    return string.contains(key) ? string.value(key) : otherwise;
}

bool sameText(const QString& a, const char* b) {
    return a.compare(QLatin1String(b), Qt::CaseInsensitive) == 0;
}

void checkKeys(const ConnectionString& string, bool shapes) {
    for (const auto& [key, value] : string.pairs())
        if (!kKnownKeys.contains(key, Qt::CaseInsensitive) && !(shapes && sameText(key, "Data Provider")))
            throw vbrt::Error(kJetError, "Could not find installable ISAM.");
}

}  // namespace

std::string nativePath(const QString& path) {
    if (path.contains(QChar(u'\0')))
        throw jet::Error(jet::Errc::FileNotFound, toUtf8(path.left(path.indexOf(u'\0'))));
    if (path.isEmpty())
        throw jet::Error(jet::Errc::FileNotFound);
    return toUtf8(QDir::toNativeSeparators(QFileInfo(path).absoluteFilePath()));
}

DataSource::DataSource(const ConnectionString& string, const QString& provider, const QString& user,
                       const QString& password) {
    const QString outer = valueOr(string, "Provider", provider);
    shapes = sameText(outer, kShapeProvider);
    if (!sameText(shapes ? string.value("Data Provider") : outer, kJetProvider))
        raise(kNoProvider);
    checkKeys(string, shapes);
    const QString account = valueOr(string, "User ID", user);
    const bool admin = account.isEmpty() || account.compare(u"admin", Qt::CaseInsensitive) == 0;
    if (!admin || !valueOr(string, "Password", password).isEmpty())
        raise(kBadAccount);

    path = nativePath(string.value("Data Source"));
    if (string.contains("Jet OLEDB:Database Password"))
        databasePassword = toUtf8(string.value("Jet OLEDB:Database Password"));
    engineType = string.value("Jet OLEDB:Engine Type");
    readOnly = string.value("Mode").split(u'|').contains(u"Read", Qt::CaseInsensitive);
}

}  // namespace ado
