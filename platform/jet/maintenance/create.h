// SPDX-License-Identifier: MIT
// Builds a database from a plain description: the catalog, tables, indexes, relationships, stored queries, properties.
//
// The same description gives the same bytes every time. Page layout follows what the original engine makes: pages 0 to
// 19 for the catalog, then per table its definition, its map rows and its index roots.
#pragma once

#include <string>
#include <vector>

#include "jet/database.h"

namespace jet {

struct ColumnSpec {
    std::string name;
    ColumnType type = ColumnType::Text;
    std::uint16_t length = 0;  // of Text and Binary; other types know theirs
    bool autoNumber = false;
    std::vector<Property> properties;  // in the order in which they are stored
};

struct IndexSpec {
    std::string name;
    std::vector<std::pair<std::string, bool>> columns;  // name, ascending
    bool primary = false;
    bool unique = false;
    bool required = false;
    bool ignoreNulls = false;
};

struct TableSpec {
    std::string name;
    std::vector<ColumnSpec> columns;
    std::vector<IndexSpec> indexes;  // in order of creation
    std::vector<Property> properties;
};

struct QuerySpec {
    std::string name;
    std::vector<QueryRow> rows;
    std::vector<PropertyBlock> properties;
};

struct DatabaseSpec {
    std::string password;
    double created = 0;  // written as the creation date of everything
    std::vector<TableSpec> tables;
    std::vector<Relationship> relationships;
    std::vector<QuerySpec> queries;
    PageNo pages = 0;  // free pages are added up to this size; 0 = none
};

// Writes a new file at `path`, replacing one that is there (and the log beside it).
void createDatabase(Disk& disk, const std::string& path, const DatabaseSpec& spec);

}  // namespace jet
