// SPDX-License-Identifier: MIT
// What creation and compaction have in common: the pages and objects that are the same in every new file, and the order
// in which a table gets its pages.
#pragma once

#include <vector>

#include "jet/disk/header.h"
#include "jet/pages/usage_map.h"
#include "jet/rows/table_def.h"

namespace jet {

// The pages that every new file has at the same places.
enum FixedPage : PageNo {
    kGlobalMaps = 1,
    kObjects = 2,  // definitions
    kAces = 3,
    kQueries = 4,
    kRelationships = 5,
    kObjectMaps = 6,
    kLastObjectMap = 7,
    kNameIndexMap = 8,
    kNameIndexRoot = 9,
    kIdIndexMap = 10,
    kIdIndexRoot = 11,
    kOtherMaps = 12,
    kAceIndexRoot = 13,
    kQueryIndexRoot = 14,
    kRelationshipIndexRoots = 15,  // three of them
    kObjectRows = 18,
    kAceRows = 19,
    kFixedPages = 20,
};

// Objects whose number is the same in every file; all others but tables have numbers with the highest bit.
inline constexpr std::int32_t kRootId = 0x0F000000;
inline constexpr std::int32_t kTablesId = 0x0F000001;
inline constexpr std::int32_t kDatabasesId = 0x0F000002;
inline constexpr std::int32_t kRelationshipsId = 0x0F000003;
inline constexpr std::int32_t kDatabaseDocumentId = 0x10000000;

inline constexpr std::size_t kMaxPassword = 20;

// Makes the header and the fixed pages, in use but empty; everything after them is free, also what the file does not
// have yet.
void startFile(Pager& pager, const Header& header);

// Pages set aside for a table; what they have no room for goes elsewhere.
struct TablePlaces {
    PageNo definition = 0;
    std::vector<PageNo> maps;       // for the map rows of the table itself
    std::vector<PageNo> indexMaps;  // for those of its indexes, in turn
    std::vector<PageNo> roots;
    PageNo firstRows = 0;
};

// Gives a table its pages: definition, map rows, index roots, in this order. Long values get a map of free space where
// `def` has one.
void givePages(Pager& pager, PageSpace& space, TableDef& def, const TablePlaces& places = {});

}  // namespace jet
