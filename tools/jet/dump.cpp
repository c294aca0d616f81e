// SPDX-License-Identifier: MIT
#include "commands.h"
#include "output.h"

int dumpTable(const Arguments& arguments) {
    const auto db = openToRead(arguments);
    jet::Table& table = db->table(arguments.names[1]);
    std::vector<std::size_t> all;
    std::vector<std::string> keys;  // what stands before each value
    for (const jet::ColumnDef& column : table.columns()) {
        std::string key = all.empty() ? "{" : ",";
        appendJsonText(column.name, key);
        keys.push_back(key + ":");
        all.push_back(all.size());
    }
    Output output;
    jet::Row row;
    const auto rows = table.scan(all);
    while (rows->next(row)) {
        std::string& text = output.text();
        for (std::size_t i = 0; i < keys.size(); ++i) {
            text += keys[i];
            appendJson(row[i], text);
        }
        text += keys.empty() ? "{}" : "}";
        output.endLine();
    }
    output.flush();
    return 0;
}
