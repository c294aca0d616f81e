// SPDX-License-Identifier: MIT
// mktemplate FILE: writes the empty budget that the program carries. The same bytes on every run.
#include <cstdio>
#include <exception>

#include "budget_schema.h"
#include "jet/disk/file.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: mktemplate FILE\n");
        return 2;
    }
    try {
        jet::createDatabase(jet::realDisk(), argv[1], jet::budgetTemplate());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "mktemplate: %s\n", e.what());
        return 2;
    }
    return 0;
}
