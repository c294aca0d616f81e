// SPDX-License-Identifier: MIT
#include <iostream>
#include <string>
#include <string_view>

#include "commands.h"
#include "jetsql/lexer.h"
#include "jetsql/statement.h"
#include "output.h"

namespace {

// Runs the statements of a stream. Each ends with its line or with a semicolon, unless a quote or bracket is open.
template <typename Run>
void runStatements(std::istream& in, Run&& run) {
    std::string text;
    std::string line;
    char open = 0;  // what closes the text so far
    while (std::getline(in, line)) {
        text += (text.empty() ? "" : "\n") + line;
        if (open != 0 && line.find(open) == std::string::npos)
            continue;
        const jetsql::Script script = jetsql::splitStatements(text);
        open = script.open;
        if (open != 0)
            continue;
        for (const std::string_view statement : script.statements)
            run(statement);
        text.clear();
    }
    for (const std::string_view statement : jetsql::splitStatements(text).statements)
        run(statement);
}

void printJson(jetsql::Rows& rows, Output& output) {
    std::vector<std::string> keys;
    for (const jetsql::OutputColumn& column : rows.columns()) {
        std::string key = keys.empty() ? "{" : ",";
        appendJsonText(column.name, key);
        keys.push_back(key + ":");
    }
    jet::Row row;
    while (rows.next(row)) {
        for (std::size_t i = 0; i < keys.size(); ++i) {
            output.text() += keys[i];
            appendJson(row[i], output.text());
        }
        output.text() += '}';
        output.endLine();
    }
}

void printPlain(jetsql::Rows& rows, Output& output) {
    const std::size_t count = rows.columns().size();
    for (std::size_t i = 0; i < count; ++i) {
        output.text() += i == 0 ? "" : "\t";
        appendPlain(rows.columns()[i].name, output.text());
    }
    output.endLine();
    jet::Row row;
    while (rows.next(row)) {
        for (std::size_t i = 0; i < count; ++i) {
            output.text() += i == 0 ? "" : "\t";
            appendPlain(row[i], output.text());
        }
        output.endLine();
    }
}

}  // namespace

int runSql(const Arguments& arguments) {
    jet::OpenOptions options;
    options.password = arguments.password;
    const auto db = jet::Database::open(arguments.names.front(), options);
    Output output;
    const auto run = [&](std::string_view statement) {
        const jetsql::Outcome outcome = jetsql::execute(db, statement);
        if (outcome.rows == nullptr)
            output.line(std::to_string(outcome.affected) + " rows affected");
        else if (arguments.json)
            printJson(*outcome.rows, output);
        else
            printPlain(*outcome.rows, output);
        output.flush();
    };
    if (arguments.names.size() > 1) {
        for (std::size_t i = 1; i < arguments.names.size(); ++i)
            run(arguments.names[i]);
        return 0;
    }
    std::ios::sync_with_stdio(false);
    runStatements(std::cin, run);
    return 0;
}
