// SPDX-License-Identifier: MIT
// The commands of `jet`. Each answers the exit status: 0, or 1 when a check found something. Errors are exceptions.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "jet/database.h"

struct Arguments {
    std::vector<std::string> names;  // what stands behind the command, without options
    std::string password;
    bool pages = false;
    bool json = false;
};

int listTables(const Arguments& arguments);
int showSchema(const Arguments& arguments);
int dumpTable(const Arguments& arguments);
int dumpPages(const Arguments& arguments);
int runSql(const Arguments& arguments);
int checkFile(const Arguments& arguments);
int compactFile(const Arguments& arguments);
int newBudget(const Arguments& arguments);

// Opens the first name for reading only.
std::shared_ptr<jet::Database> openToRead(const Arguments& arguments);
