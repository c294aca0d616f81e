// SPDX-License-Identifier: MIT
// jet: the engine for people and scripts. See kHelp for the commands.
#include <algorithm>
#include <cstdio>
#include <string_view>

#include "ado/errors.h"
#include "commands.h"
#include "terminal.h"

namespace {

constexpr const char* kUsage =
    "usage: jet COMMAND [OPTION...] FILE ...\n"
    "       jet --help | --version\n";

constexpr const char* kHelp =
    "\n"
    "  tables FILE                    the tables, one a line\n"
    "  schema FILE                    columns, indexes, relationships, stored queries\n"
    "  dump [--json|--csv] FILE NAME  the rows of a table or stored query; without an option as JSON lines\n"
    "  dump --pages FILE              what every page of the file holds\n"
    "  sql [--json|--csv] [--stop-on-error] FILE [STATEMENTS...]\n"
    "                                 runs statements from the arguments or standard input; each ends with a\n"
    "                                 semicolon, and -- and /* */ are comments\n"
    "  check FILE                     checks every rule of the format; exit status 1 if one is broken\n"
    "  compact FILE OUT               writes a copy without free space\n"
    "  new-budget FILE                writes an empty budget\n"
    "  import [OPTION...] BUDGET STATEMENT\n"
    "                                 says what a bank statement (OFX, QFX, QIF, camt.053, CSV) would add, and what "
    "is\n"
    "                                 known already; --write adds it\n"
    "  export [--format csv|qif|ledger] BUDGET\n"
    "                                 writes the budget to standard output\n"
    "  backup BUDGET FOLDER           makes a dated copy and checks it\n"
    "\n"
    "A file with a password takes --password PASSWORD, --password-file FILE or --password-fd NUMBER, or asks for it.\n"
    "Names behind -- are no options. See jet(1).\n";

struct Command {
    const char* name;
    int (*run)(const Arguments&);
    std::size_t fewest;  // names
    std::size_t most;
    std::string_view options;  // each between blanks; with = behind it where it takes a value
};

constexpr std::size_t kAnyNumber = static_cast<std::size_t>(-1);
constexpr std::string_view kPasswords = " password= password-file= password-fd= ";

constexpr Command kCommands[] = {
    {"tables", listTables, 1, 1, ""},
    {"schema", showSchema, 1, 1, ""},
    {"dump", dumpTable, 2, 2, " json csv pages "},
    {"sql", runSql, 1, kAnyNumber, " json csv stop-on-error "},
    {"check", checkFile, 1, 1, ""},
    {"compact", compactFile, 2, 2, ""},
    {"new-budget", newBudget, 1, 1, ""},
    {"import", importStatement, 2, 2,
     " envelope= account= format= columns= skip= separator= encoding= decimal= date-order= write replace "
     "create-envelopes "},
    {"export", exportBudget, 1, 1, " format= "},
    {"backup", backupFile, 2, 2, ""},
};
constexpr Command kDumpPages = {"dump", dumpPages, 1, 1, " pages "};

bool takes(const Command& command, const std::string& option, bool value) {
    const std::string wanted = " " + option + (value ? "= " : " ");
    return kPasswords.find(wanted) != std::string_view::npos || command.options.find(wanted) != std::string_view::npos;
}

// Options may stand before the command, and their values may follow "=" or stand alone.
Arguments readArguments(int argc, char** argv, const Command& command) {
    Arguments arguments;
    bool options = true;  // until "--"
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (!options || !argument.starts_with("--")) {
            arguments.names.push_back(argument);
            continue;
        }
        if (argument == "--") {
            options = false;
            continue;
        }
        const std::size_t equals = argument.find('=');
        const std::string name = argument.substr(2, equals == std::string::npos ? equals : equals - 2);
        if (takes(command, name, true)) {
            if (equals == std::string::npos && i + 1 >= argc)
                throw UsageError("--" + name + " wants a value");
            arguments.options[name] = equals != std::string::npos ? argument.substr(equals + 1) : argv[++i];
        } else if (equals == std::string::npos && takes(command, name, false)) {
            arguments.options[name];
        } else {
            throw UsageError("no such option of " + std::string(command.name) + ": " + argument);
        }
    }
    arguments.names.erase(arguments.names.begin());
    return arguments;
}

// The first argument that is a command, but for the value of an option in front of it.
const Command& findCommand(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument.starts_with("--")) {
            i += kPasswords.find(" " + std::string(argument.substr(2)) + "= ") != std::string_view::npos ? 1 : 0;
            continue;
        }
        for (const Command& command : kCommands)
            if (argument == command.name)
                return command;
        throw UsageError("no such command: " + std::string(argument));
    }
    throw UsageError("");
}

int run(int argc, char** argv) {
    for (int i = 1; i < argc && std::string_view(argv[i]) != "--"; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--help" || (i == 1 && (argument == "-h" || argument == "help"))) {
            std::printf("%s%s", kUsage, kHelp);
            return std::fflush(stdout) == 0 ? 0 : 2;
        }
        if (argument == "--version") {
            std::puts("jet (Coinvale) " COINVALE_VERSION);
            return std::fflush(stdout) == 0 ? 0 : 2;
        }
    }
    const Command* command = &findCommand(argc, argv);
    const Arguments arguments = readArguments(argc, argv, *command);
    if (arguments.has("pages"))
        command = &kDumpPages;
    if (arguments.names.size() < command->fewest || arguments.names.size() > command->most)
        throw UsageError(std::string(command->name) + " takes " + (command == &kDumpPages ? "--pages and " : "") +
                         "another number of names");
    return command->run(arguments);
}

}  // namespace

int main(int argc, char** argv) try { return run(argc, argv); } catch (const UsageError& error) {
    const std::string_view why = error.what();
    if (!why.empty())
        std::fprintf(stderr, "jet: %s\n", withoutControls(why).c_str());
    std::fprintf(stderr, "%sTry jet --help.\n", kUsage);
    return 2;
} catch (const LineError& error) {
    std::fprintf(stderr, "%s\n", withoutControls(error.what()).c_str());
    return 2;
} catch (...) {
    const vbrt::Error error = ado::currentError();
    std::fprintf(stderr, "error %ld: %s\n", error.number(), withoutControls(error.description()).c_str());
    return 2;
}
