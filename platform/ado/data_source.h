// SPDX-License-Identifier: MIT
// What the pairs of a connection string mean to the providers. Private to this layer.
#pragma once

#include <QString>
#include <optional>
#include <string>

#include "ado/connection_string.h"

namespace ado {

struct DataSource {
    // `provider`, `user` and `password` count where the string gives none.
    // Throws 3706 (no such provider), -2147217843 (a user other than admin, or a password of a user), -2147467259 (a
    // key that the provider does not know).
    DataSource(const ConnectionString& string, const QString& provider, const QString& user, const QString& password);

    bool shapes = false;  // the data shaping provider over that of the database
    std::string path;     // absolute
    std::optional<std::string> databasePassword;
    QString engineType;  // "4" = Jet 3.x; empty when not given
    bool readOnly = false;
};

// A path as the engine takes it. A path with a NUL in it is a file that cannot be found.
std::string nativePath(const QString& path);

}  // namespace ado
