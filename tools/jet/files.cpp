// SPDX-License-Identifier: MIT
// The commands that make files. Neither replaces one that is there.
#include "ado/errors.h"
#include "budget_schema.h"
#include "commands.h"
#include "jet/maintenance/compact.h"

int compactFile(const Arguments& arguments) {
    if (jet::realDisk().exists(arguments.names[1]))
        ado::raise(ado::kDatabaseExists);
    jet::CompactOptions options;
    options.password = passwordOf(arguments);
    jet::compactDatabase(arguments.names[0], arguments.names[1], options);
    return 0;
}

int newBudget(const Arguments& arguments) {
    if (jet::realDisk().exists(arguments.names[0]))
        ado::raise(ado::kDatabaseExists);
    jet::createDatabase(jet::realDisk(), arguments.names[0], jet::budgetTemplate());
    return 0;
}
