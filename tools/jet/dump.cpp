// SPDX-License-Identifier: MIT
#include "commands.h"
#include "jetsql/parser.h"
#include "jetsql/statement.h"
#include "rows.h"

Form formOf(const Arguments& arguments, Form otherwise) {
    if (arguments.has("json") && arguments.has("csv"))
        throw UsageError("--json and --csv exclude each other");
    return arguments.has("json") ? Form::Json : arguments.has("csv") ? Form::Csv : otherwise;
}

int dumpTable(const Arguments& arguments) {
    const auto db = openFile(arguments, Access::Read);
    const Form form = formOf(arguments, Form::JsonLines);
    const std::string& name = arguments.names[1];
    Output output;
    std::vector<std::string> names;
    if (!db->hasTable(name) && db->query(name)) {
        const auto outcome = jetsql::execute(db, "select * from " + jetsql::quotedName(name));
        for (const jetsql::OutputColumn& column : outcome.rows->columns())
            names.push_back(column.name);
        printRows(
            names, [&](jet::Row& row) { return outcome.rows->next(row); }, form, output);
    } else {
        jet::Table& table = db->table(name);
        std::vector<std::size_t> all;
        for (const jet::ColumnDef& column : table.columns()) {
            names.push_back(column.name);
            all.push_back(all.size());
        }
        const auto rows = table.scan(all);
        printRows(
            names, [&](jet::Row& row) { return rows->next(row); }, form, output);
    }
    output.flush();
    return 0;
}
