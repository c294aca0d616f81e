// SPDX-License-Identifier: MIT
// The commands of `jet`. Each answers the exit status: 0, or 1 when a check found something, or 2. Errors are
// exceptions.
#pragma once

#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "jet/database.h"

// A command line that makes no sense; the text says why.
class UsageError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

// What is wrong with a file that is read, and in which line; 0 for the file as a whole.
class LineError : public std::runtime_error {
 public:
    LineError(const std::string& path, std::size_t line, const std::string& what)
        : std::runtime_error(path + ":" + (line == 0 ? "" : std::to_string(line) + ":") + " " + what) {}
};

struct Arguments {
    std::vector<std::string> names;  // what stands behind the command, without options
    std::map<std::string, std::string, std::less<>> options;

    [[nodiscard]] bool has(std::string_view option) const { return options.find(option) != options.end(); }
    // What the option was given, or the other text.
    [[nodiscard]] std::string value(std::string_view option, std::string_view otherwise = {}) const {
        const auto found = options.find(option);
        return found == options.end() ? std::string(otherwise) : found->second;
    }
};

int listTables(const Arguments& arguments);
int showSchema(const Arguments& arguments);
int dumpTable(const Arguments& arguments);
int dumpPages(const Arguments& arguments);
int runSql(const Arguments& arguments);
int checkFile(const Arguments& arguments);
int compactFile(const Arguments& arguments);
int newBudget(const Arguments& arguments);
int importStatement(const Arguments& arguments);
int exportBudget(const Arguments& arguments);
int backupFile(const Arguments& arguments);

enum class Access : bool { Read, Write };
// Opens the first name with the password of the options. Where none was given and the file wants one, a person at a
// terminal is asked.
std::shared_ptr<jet::Database> openFile(const Arguments& arguments, Access access);
// The same with the password that every budget of the program has, when none was given.
std::shared_ptr<jet::Database> openBudget(const Arguments& arguments, Access access);
// The passwords with which these open it; throw what those throw.
std::string passwordOf(const Arguments& arguments);
std::string budgetPasswordOf(const Arguments& arguments);
