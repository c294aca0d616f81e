// SPDX-License-Identifier: MIT
// jet: the engine for people and scripts. See usage() for the commands.
#include <cstdio>
#include <string_view>

#include "ado/errors.h"
#include "commands.h"

namespace {

constexpr const char* kUsage =
    "usage: jet COMMAND [--password PASSWORD] ...\n"
    "\n"
    "  tables FILE                    the tables, one a line\n"
    "  schema FILE                    columns, indexes, relationships, stored queries\n"
    "  dump FILE TABLE                the rows of a table as JSON lines\n"
    "  dump --pages FILE              what every page of the file holds\n"
    "  sql [--json] FILE [STATEMENT...]\n"
    "                                 runs statements from the arguments or standard input, where each ends with its\n"
    "                                 line or with a semicolon; rows as tab-separated text or JSON lines\n"
    "  check FILE                     checks every rule of the format; exit status 1 if one is broken\n"
    "  compact FILE OUT               writes a copy without free space\n"
    "  new-budget FILE                writes an empty budget\n";

struct Command {
    const char* name;
    int (*run)(const Arguments&);
    std::size_t fewest;  // names
    std::size_t most;
};

constexpr std::size_t kAnyNumber = static_cast<std::size_t>(-1);

constexpr Command kCommands[] = {
    {"tables", listTables, 1, 1},    {"schema", showSchema, 1, 1}, {"dump", dumpTable, 2, 2},
    {"sql", runSql, 1, kAnyNumber},  {"check", checkFile, 1, 1},   {"compact", compactFile, 2, 2},
    {"new-budget", newBudget, 1, 1},
};
constexpr Command kDumpPages = {"dump", dumpPages, 1, 1};

int usage() {
    std::fputs(kUsage, stderr);
    return 2;
}

}  // namespace

int main(int argc, char** argv) try {
    Arguments arguments;
    bool options = true;  // until "--"
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (!options || !argument.starts_with("--"))
            arguments.names.emplace_back(argument);
        else if (argument == "--")
            options = false;
        else if (argument == "--pages")
            arguments.pages = true;
        else if (argument == "--json")
            arguments.json = true;
        else if (argument.starts_with("--password="))
            arguments.password = argument.substr(argument.find('=') + 1);
        else if (argument == "--password" && i + 1 < argc)
            arguments.password = argv[++i];
        else
            return usage();
    }
    if (arguments.names.empty())
        return usage();
    const std::string name = arguments.names.front();
    arguments.names.erase(arguments.names.begin());
    for (const Command& each : kCommands) {
        if (name != each.name)
            continue;
        const Command& command = arguments.pages && each.run == dumpTable ? kDumpPages : each;
        const std::size_t count = arguments.names.size();
        return count < command.fewest || count > command.most ? usage() : command.run(arguments);
    }
    return usage();
} catch (...) {
    const vbrt::Error error = ado::currentError();
    std::fprintf(stderr, "error %ld: %s\n", error.number(), error.description().c_str());
    return 2;
}
