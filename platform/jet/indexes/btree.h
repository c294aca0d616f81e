// SPDX-License-Identifier: MIT
// One index tree: leaf pages linked in order below node pages, with a root that never moves.
//
//   leaf entry: key | u24 BE page | u8 row            node entry: key | u24 BE page | u8 row | u32 BE child page
//
// Entries ascend strictly as (key, page, row). A node has one entry per child but the last, which is its tail page;
// the entry of a child is the highest entry of that child. Leaves drop the prefix that all their entries share when
// the page would overflow without; nodes never do. An end mask in the header tells where entries end.
//
// The tree knows nothing of columns or uniqueness: it keeps byte strings. It borrows the pager and space; changes need
// an open transaction. A cursor is invalid after any change to the tree.
#pragma once

#include <optional>

#include "jet/disk/pager.h"
#include "jet/indexes/index_page.h"
#include "jet/pages/usage_map.h"

namespace jet {

class BTree {
 public:
    // `table` = definition page of the table, `map` = map row of the pages of the tree.
    BTree(Pager& pager, PageSpace& space, PageNo table, PageNo root, RowId map);

    // An empty leaf for a new tree.
    static void formatRoot(Page& page, PageNo table);

    // Throws Corrupt when the very same entry is already there, UnsupportedFeature for a key of more than 892 bytes.
    void insert(ByteView key, RowId row);
    // Throws Corrupt when there is no such entry.
    void erase(ByteView key, RowId row);
    // Builds an empty tree from entries in strictly ascending order, pages filled to the end; far faster than
    // insert(). REQUIRES: the root is an empty leaf.
    struct Entry {
        Bytes key;
        RowId row;
    };
    void build(std::span<const Entry> sorted);

    // Walks leaf entries in order. Throws Corrupt for links that lead nowhere or in circles.
    class Cursor {
     public:
        [[nodiscard]] bool valid() const { return m_valid; }
        [[nodiscard]] ByteView key() const { return m_key; }
        [[nodiscard]] RowId row() const { return m_row; }
        void next();
        void previous();

     private:
        friend class BTree;
        Pager* m_pager = nullptr;
        PageNo m_table = 0;
        PageNo m_page = 0;
        PageRef m_ref;
        std::optional<IndexPageView> m_view;  // of m_ref
        std::size_t m_at = 0;                 // the entry within the leaf
        bool m_valid = false;
        Bytes m_key;
        RowId m_row;
        std::size_t m_steps = 0;  // pages visited: more than the file has means a circle
        void open(PageNo page);
        void enter(std::size_t at);
        void enterNextPage();
        void enterPreviousPage();
    };

    [[nodiscard]] Cursor first() const;
    [[nodiscard]] Cursor last() const;
    // The first entry whose key is >= `key` (bytewise; a prefix of a key is below it).
    [[nodiscard]] Cursor lowerBound(ByteView key) const;
    // True when an entry has exactly this key, of whatever row but `except`.
    [[nodiscard]] bool contains(ByteView key, std::optional<RowId> except = std::nullopt) const;

    // Every page of the tree, root first. Throws Corrupt.
    [[nodiscard]] std::vector<PageNo> pages() const;

 private:
    // One node on the way from the root to a leaf, and which of its children the way takes.
    struct Step {
        PageNo page = 0;
        std::size_t at = 0;  // the entry of the child
        bool tail = false;   // ... or none: the tail
    };
    struct Built;

    void setEntry(ByteView key, RowId row);
    template <typename Choose>
    PageNo descend(Choose&& choose) const;
    [[nodiscard]] PageNo leafFor(ByteView wanted, std::vector<Step>* path) const;
    [[nodiscard]] PageNo edgeLeaf(bool last) const;
    [[nodiscard]] Cursor cursorOn(PageNo leaf) const;
    [[nodiscard]] IndexPageEditor edit(PageNo page);
    [[nodiscard]] IndexPageEditor edit(PageNo page, unsigned level);
    [[nodiscard]] bool onRightEdge() const;

    PageNo addPage(unsigned level);
    PageNo addRight(PageNo page, unsigned level);
    void unlink(PageNo page, unsigned level);
    void release(PageNo page);
    PageNo moveRootDown();
    void moveRootUp();

    void makeRoom(PageNo leaf, std::size_t at);
    void splitNode(std::size_t at, ByteView entry);
    void linkSplit(ByteView highest, PageNo left, PageNo right);
    void giveTail(PageNo page);
    void dropChild();
    void refill();
    bool joinWithSibling(PageNo thin);
    void replaceText(std::size_t at, ByteView text);
    void replaceHighest(ByteView old, ByteView text);
    std::vector<Built> buildNodes(const std::vector<Built>& children, unsigned level);

    Pager* m_pager;
    PageSpace* m_space;
    PageNo m_table;
    PageNo m_root;
    UsageMap m_map;

    // Of the change under way; members only to be reused.
    Bytes m_entry;
    std::vector<Step> m_path;  // the nodes above the page at hand, root first
};

}  // namespace jet
