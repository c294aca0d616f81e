// SPDX-License-Identifier: MIT
// One page of an index tree: a leaf or a node, its entries in ascending order behind a header with an end mask.
//
//   OFFSET  SIZE   DESCRIPTION
//   0       2      04 01 leaf, 03 01 node
//   2       2      free bytes of the entry area, exact
//   4       4      definition page of the table
//   8       4      previous page of the same level, 0 = none
//   12      4      next page of the same level, 0 = none
//   16      4      of a node: its last child, the tail
//   20      1      prefix length p: every entry but the first lacks its first p bytes, which are those of the first
//   21      1      level: 0 leaf, 1 node above leaves, ...
//   22      226    end mask: bit k set = an entry ends at byte k of the entry area
//   248     1,800  the entry area
//
// An entry is addressed by the byte of the entry area where it begins; used() stands for "behind the last one". The
// text of an entry is its key, page and row; a node adds the child page. btree.h describes the tree.
#pragma once

#include <optional>
#include <vector>

#include "jet/values/types.h"

namespace jet {

inline constexpr std::size_t kEntryArea = 1800;
// A node or leaf can always be split when no entry is longer than half a page.
inline constexpr std::size_t kMaxEntry = kEntryArea / 2;
inline constexpr std::size_t kChildBytes = 4;
inline constexpr std::size_t kRowBytes = 4;

// What the functions below need to know of a page. The bytes are borrowed.
class IndexPageView {
 public:
    // Throws Corrupt when the page is no index page of that table or its header breaks the rules.
    IndexPageView(ByteView page, PageNo number, PageNo table);

    [[nodiscard]] bool leaf() const { return level() == 0; }
    [[nodiscard]] unsigned level() const { return m_page[21]; }
    [[nodiscard]] PageNo previous() const;
    [[nodiscard]] PageNo next() const;
    [[nodiscard]] PageNo tail() const;
    [[nodiscard]] std::size_t prefix() const { return m_page[20]; }
    [[nodiscard]] std::size_t used() const { return m_used; }
    [[nodiscard]] std::size_t count() const;

    // Where the entry that begins at `at` ends. Throws Corrupt for an impossible length. REQUIRES: at < used().
    [[nodiscard]] std::size_t end(std::size_t at) const;
    // The entry that ends at `end`. REQUIRES: 0 < end <= used().
    [[nodiscard]] std::size_t before(std::size_t end) const;
    // Replaces `out` by the text of the entry.
    void text(std::size_t at, Bytes& out) const;
    [[nodiscard]] Bytes text(std::size_t at) const;
    // REQUIRES: a node. For at == used() that is the tail.
    [[nodiscard]] PageNo child(std::size_t at) const;
    // The first entry whose text is >= `wanted`, or used().
    [[nodiscard]] std::size_t lowerBound(ByteView wanted) const;
    [[nodiscard]] bool equals(std::size_t at, ByteView wanted) const;

 private:
    friend class IndexPageEditor;
    [[nodiscard]] ByteView area() const;
    [[nodiscard]] std::size_t childBytes() const { return leaf() ? 0 : kChildBytes; }
    // The text without what it shares with all entries.
    [[nodiscard]] ByteView suffix(std::size_t at) const;

    ByteView m_page;
    PageNo m_number;
    std::size_t m_used = 0;
};

// Entries taken off their page, each with all its bytes, in order.
class EntryList {
 public:
    [[nodiscard]] std::size_t size() const { return m_ends.size(); }
    [[nodiscard]] ByteView at(std::size_t i) const;
    [[nodiscard]] std::size_t bytes(std::size_t from, std::size_t to) const;
    void append(ByteView entry);
    void clear();

    // The prefix length with which the entries [from, to) fit a leaf: 0 if they do so whole, else all that they share.
    [[nodiscard]] std::optional<std::size_t> leafPrefix(std::size_t from, std::size_t to) const;
    [[nodiscard]] bool fit(std::size_t from, std::size_t to, bool leaf) const;

 private:
    Bytes m_bytes;
    std::vector<std::size_t> m_ends;
};

// Changes a page in place, keeping mask and free field exact. Throws Corrupt as the view does.
class IndexPageEditor {
 public:
    IndexPageEditor(Page& page, PageNo number, PageNo table);
    // Makes an empty page.
    static void format(Page& page, PageNo table, unsigned level);

    [[nodiscard]] const IndexPageView& view() const { return m_view; }

    // Puts a whole entry (of a node: with its child) before the one at `at`. False, and nothing changed, when it does
    // not fit or does not share the prefix of the page.
    bool insert(std::size_t at, ByteView entry);
    void erase(std::size_t at);
    // Replaces all entries by those of `list` in [from, to). REQUIRES: they fit.
    void assign(const EntryList& list, std::size_t from, std::size_t to);
    // All entries, with `extra` before the one at `at`.
    void takeAll(EntryList& list, std::size_t at, ByteView extra) const;

    void setPrevious(PageNo page);
    void setNext(PageNo page);
    void setTail(PageNo page);
    // For at == used() the tail.
    void setChild(std::size_t at, PageNo page);

 private:
    void setUsed(std::size_t used);

    Page* m_page;
    IndexPageView m_view;
};

}  // namespace jet
