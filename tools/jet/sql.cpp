// SPDX-License-Identifier: MIT
#include <iostream>
#include <optional>

#include "commands.h"
#include "jetsql/statement.h"
#include "output.h"

namespace {

// Cuts a stream into statements. Each ends with its line or with a semicolon, unless a quote or bracket is open.
class Statements {
 public:
    explicit Statements(std::istream& in) : m_in(in) {}

    // Nothing at the end of the stream. Empty statements are passed over.
    std::optional<std::string> next() {
        std::string statement;
        char open = 0;  // the character that ends what is open
        for (char c = 0; m_in.get(c);) {
            if (open == 0 && (c == '\n' || c == ';')) {
                if (!isBlank(statement))
                    return statement;
                statement.clear();
                continue;
            }
            statement += c;
            if (open != 0)
                open = c == open ? char{0} : open;
            else if (c == '\'' || c == '"')
                open = c;
            else if (c == '[')
                open = ']';
        }
        return isBlank(statement) ? std::nullopt : std::optional(statement);
    }

 private:
    std::istream& m_in;

    static bool isBlank(const std::string& text) { return text.find_first_not_of(" \t\r") == std::string::npos; }
};

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
    const auto run = [&](const std::string& statement) {
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
    Statements statements(std::cin);
    while (const auto statement = statements.next())
        run(*statement);
    return 0;
}
