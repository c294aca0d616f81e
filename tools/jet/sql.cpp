// SPDX-License-Identifier: MIT
#include <iostream>
#include <sstream>
#include <string>

#include "ado/errors.h"
#include "commands.h"
#include "jetsql/error.h"
#include "jetsql/statement.h"
#include "rows.h"
#include "script.h"
#include "terminal.h"

namespace {

class Runner {
 public:
    Runner(std::shared_ptr<jet::Database> db, const Arguments& arguments)
        : m_db(std::move(db)), m_form(formOf(arguments, Form::Plain)), m_stops(arguments.has("stop-on-error")) {
        if (m_form == Form::Json)
            m_output.text() += '[';
    }

    // False when the rest is not to be run.
    bool run(std::istream& in) {
        Script script(in);
        for (ScriptStatement statement; script.next(statement);) {
            ++m_count;
            if (m_form == Form::Json)
                m_output.text() +=
                    (m_count == 1 ? "\n{\"statement\":" : ",\n{\"statement\":") + std::to_string(m_count);
            const bool done = runOne(statement);
            m_output.text() += m_form == Form::Json ? "}" : "";
            m_output.flush();
            if (!done && m_stops)
                return false;
        }
        return true;
    }

    int finish(bool all) {
        if (m_form == Form::Json) {
            m_output.line("\n]");
            m_output.flush();
        }
        if (!all)
            std::fprintf(stderr, "stopped at statement %zu\n", m_count);
        else if (m_failed != 0 && m_count > 1)
            std::fprintf(stderr, "%zu of %zu statements failed\n", m_failed, m_count);
        return m_failed == 0 ? 0 : 2;
    }

 private:
    std::shared_ptr<jet::Database> m_db;
    Form m_form;
    bool m_stops;
    Output m_output;
    std::size_t m_count = 0;
    std::size_t m_failed = 0;
    std::size_t m_results = 0;

    bool runOne(const ScriptStatement& statement) {
        try {
            const jetsql::Outcome outcome = jetsql::execute(m_db, statement.text);
            if (outcome.rows == nullptr)
                affected(outcome.affected);
            else
                print(*outcome.rows);
            return true;
        } catch (const jetsql::Error& e) {
            using enum jetsql::Errc;
            // Nothing but these begins at the first word; elsewhere 0 says that the place is not known.
            const bool known = e.position() != 0 || e.code() == SyntaxOther || e.code() == UnsupportedSql;
            failed(placeOf(statement, e.position()), known);
        } catch (const std::exception&) {
            failed(placeOf(statement, 0), false);
        }
        return false;
    }

    void affected(long count) {
        if (m_form == Form::Json)
            m_output.text() += ",\"affected\":" + std::to_string(count);
        else if (m_form == Form::Csv)
            std::fprintf(stderr, "%ld rows affected\n", count);
        else
            m_output.line(std::to_string(count) + " rows affected");
    }

    void print(jetsql::Rows& rows) {
        std::vector<std::string> names;
        for (const jetsql::OutputColumn& column : rows.columns())
            names.push_back(column.name);
        if (m_form == Form::Json)
            m_output.text() += ",\"rows\":";
        else if (m_form == Form::Csv && m_results++ != 0)
            m_output.line("\r");
        printRows(
            names, [&rows](jet::Row& row) { return rows.next(row); }, m_form, m_output);
    }

    // REQUIRES: called while an exception is being handled.
    void failed(const Place& place, bool known) {
        const vbrt::Error error = ado::currentError();
        ++m_failed;
        if (m_form == Form::Json) {
            std::string& text = m_output.text();
            text += ",\"error\":{\"number\":" + std::to_string(error.number()) + ",\"text\":";
            appendJsonText(error.description(), text);
            text += ",\"line\":" + std::to_string(place.line);
            text += known ? ",\"column\":" + std::to_string(place.column) + "}" : "}";
        }
        m_output.flush();
        std::string text = "error " + std::to_string(error.number()) + ": " + error.description() + "\nin statement " +
                           std::to_string(m_count) + ", line " + std::to_string(place.line);
        if (known)
            text += ", column " + std::to_string(place.column) + ":\n" + place.picture;
        std::fprintf(stderr, "%s\n", withoutControls(text).c_str());
    }
};

}  // namespace

int runSql(const Arguments& arguments) {
    Runner runner(openFile(arguments, Access::Write), arguments);
    bool all = true;
    if (arguments.names.size() == 1) {
        std::ios::sync_with_stdio(false);
        all = runner.run(std::cin);
    }
    for (std::size_t i = 1; all && i < arguments.names.size(); ++i) {
        std::istringstream in(arguments.names[i]);
        all = runner.run(in);
    }
    return runner.finish(all);
}
