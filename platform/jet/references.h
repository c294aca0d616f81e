// SPDX-License-Identifier: MIT
// How the rows of one table refer to those of another, and what a change of one asks of the other.
//
// A relationship is known from the two index entries that lead to each other; references go by key bytes. Links are
// resolved once per table. Consequences collects what a change entails and carries it out: first all cascades, then
// the checks, so that rows that refer to themselves or to each other are judged by their final state.
#pragma once

#include <deque>
#include <vector>

#include "jet/indexes/index_key.h"
#include "jet/row_store.h"

namespace jet {

class DatabaseImpl;
class TableImpl;

// A foreign key of a table.
struct ParentLink {
    TableImpl* parent = nullptr;
    std::uint32_t number = 0;          // of the logical index here
    std::size_t ownIndex = 0;          // real index over the foreign key
    std::size_t parentIndex = 0;       // real index where the key must be found
    std::vector<std::size_t> columns;  // own positions, in the order of the parent's index
};

// A key of a table to which another table refers.
struct ChildLink {
    TableImpl* child = nullptr;
    std::uint32_t childNumber = 0;  // of the logical index there
    std::size_t ownIndex = 0;
    std::size_t childIndex = 0;
    std::vector<std::size_t> columns;       // own positions, in the order of the child's index
    std::vector<std::size_t> childColumns;  // positions there, in the same order
    bool cascadeUpdate = false;
    bool cascadeDelete = false;
};

struct Links {
    std::vector<ParentLink> parents;
    std::vector<ChildLink> children;
};

// Throws Corrupt for entries that do not lead to each other.
Links resolveLinks(DatabaseImpl& db, TableImpl& table);

// The key that these fields of a row have in an index of the table at the other end.
IndexKey keyThere(const RowStore& there, std::size_t realIndex, const std::vector<std::size_t>& columns,
                  const Fields& fields);

class Consequences {
 public:
    // In the end a parent with this key must exist.
    void requireParent(const ParentLink& link, IndexKey key);
    // In the end no child with this key may be left.
    void forbidChildren(const ChildLink& link, IndexKey key);
    // Children with this key are to be deleted, or to get `values` in link.childColumns.
    void cascadeDelete(const ChildLink& link, IndexKey key);
    void cascadeUpdate(const ChildLink& link, IndexKey key, Fields values);

    // Throws ParentRequired, ChildrenExist, CascadeDuplicate, and whatever a change of a row throws.
    void carryOut();

 private:
    struct Cascade {
        const ChildLink* link;
        Bytes key;
        bool erase;
        Fields values;
        unsigned depth;
    };
    struct Check {
        const RowStore* store;
        std::size_t index;
        Bytes key;
        bool mustExist;
    };
    std::deque<Cascade> m_cascades;
    std::vector<Check> m_checks;
    unsigned m_depth = 0;

    void carryOut(const Cascade& cascade);
};

}  // namespace jet
