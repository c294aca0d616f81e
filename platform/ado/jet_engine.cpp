// SPDX-License-Identifier: MIT
#include "ado/jet_engine.h"

#include "ado/connection_string.h"
#include "ado/data_source.h"
#include "ado/database_file.h"
#include "ado/errors.h"
#include "ado/text.h"
#include "jet/maintenance/compact.h"
#include "jet/values/error.h"

namespace ado {

void JetEngine::CompactDatabase(const QString& source, const QString& destination) {
    guarded([&] {
        const DataSource from(ConnectionString(source), {}, {}, {});
        const DataSource to(ConnectionString(destination), {}, {}, {});
        if (from.shapes || to.shapes)
            raise(kNoProvider);
        if (to.engineType != u"4")
            raise(kBadConnectionValue);
        if (jet::defaultDisk().exists(to.path))
            raise(kDatabaseExists);
        if (isDatabaseOpen(fromUtf8(from.path)))
            throw jet::Error(jet::Errc::Busy, from.path);
        jet::compactDatabase(from.path, to.path,
                             {.password = from.databasePassword.value_or(""), .newPassword = to.databasePassword});
    });
}

}  // namespace ado
