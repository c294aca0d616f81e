// SPDX-License-Identifier: MIT
#include "jet/indexes/btree.h"

#include <algorithm>
#include <cassert>

#include "jet/values/error.h"

namespace jet {

namespace {

constexpr std::size_t kMaxKey = kMaxEntry - kRowBytes - kChildBytes;
constexpr unsigned kMaxLevel = 255;

void appendRow(Bytes& to, RowId row) {
    for (const unsigned shift : {16U, 8U, 0U})
        to.push_back(static_cast<std::uint8_t>(row.page >> shift));
    to.push_back(row.row);
}

RowId rowOf(ByteView text) {
    const ByteView b = text.last(kRowBytes);
    return {PageNo{b[0]} << 16U | PageNo{b[1]} << 8U | b[2], b[3]};
}

Bytes nodeEntry(ByteView text, PageNo child) {
    Bytes entry(text.begin(), text.end());
    for (const unsigned shift : {24U, 16U, 8U, 0U})
        entry.push_back(static_cast<std::uint8_t>(child >> shift));
    return entry;
}

ByteView textOfNodeEntry(ByteView entry) {
    return entry.first(entry.size() - kChildBytes);
}

PageNo childOfNodeEntry(ByteView entry) {
    const ByteView b = entry.last(kChildBytes);
    return PageNo{b[0]} << 24U | PageNo{b[1]} << 16U | PageNo{b[2]} << 8U | b[3];
}

bool startsWith(ByteView text, ByteView prefix) {
    return text.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), text.begin());
}

void checkLevel(const IndexPageView& view, PageNo page, unsigned level) {
    if (view.level() != level)
        corrupt(page, "an index page of level " + std::to_string(view.level()) + " in the place of level " +
                          std::to_string(level));
}

void checkKey(ByteView key) {
    if (key.size() > kMaxKey)
        throw Error(Errc::UnsupportedFeature, "an index key of more than " + std::to_string(kMaxKey) + " bytes");
}

// Where to cut an overfull page so that both sides fit and are as equal as can be. A leaf keeps the entries [0, cut)
// and its new neighbour gets the others; of a node the entry at the cut goes up.
std::size_t cutOf(const EntryList& list, bool leaf, PageNo page) {
    const std::size_t goesUp = leaf ? 0 : 1;
    std::size_t best = 0;
    std::size_t bestDifference = 0;
    for (std::size_t cut = 1; cut + goesUp < list.size(); ++cut) {
        const std::size_t left = list.bytes(0, cut);
        const std::size_t right = list.bytes(cut + goesUp, list.size());
        const std::size_t difference = std::max(left, right) - std::min(left, right);
        if ((best == 0 || difference < bestDifference) && list.fit(0, cut, leaf) &&
            list.fit(cut + goesUp, list.size(), leaf)) {
            best = cut;
            bestDifference = difference;
        }
    }
    if (best == 0)
        corrupt(page, "index entries too long for a page");
    return best;
}

}  // namespace

BTree::BTree(Pager& pager, PageSpace& space, PageNo table, PageNo root, RowId map)
    : m_pager(&pager), m_space(&space), m_table(table), m_root(root), m_map(pager, map) {}

void BTree::formatRoot(Page& page, PageNo table) {
    IndexPageEditor::format(page, table, 0);
}

// ---- finding ----

void BTree::setEntry(ByteView key, RowId row) {
    checkKey(key);
    m_entry.assign(key.begin(), key.end());
    appendRow(m_entry, row);
}

// Goes down from the root to a leaf by the children that `choose(page, node)` picks, or to the node where it picks
// nothing. The leaf is read only when it is the root, so that its level is still to be checked.
template <typename Choose>
PageNo BTree::descend(Choose&& choose) const {
    PageNo page = m_root;
    for (std::optional<unsigned> level; level != 0U;) {
        const PageRef ref = m_pager->read(page);
        const IndexPageView view(ref->view(), page, m_table);
        if (level)
            checkLevel(view, page, *level);
        if (view.leaf())
            break;
        const std::optional<std::size_t> at = choose(page, view);
        if (!at)
            break;
        level = view.level() - 1;
        page = view.child(*at);
    }
    return page;
}

// The leaf where an entry with this text is or belongs.
PageNo BTree::leafFor(ByteView wanted, std::vector<Step>* path) const {
    if (path != nullptr)
        path->clear();
    return descend([&](PageNo page, const IndexPageView& node) {
        const std::size_t at = node.lowerBound(wanted);
        if (path != nullptr)
            path->push_back({page, at, at == node.used()});
        return std::optional(at);
    });
}

PageNo BTree::edgeLeaf(bool last) const {
    return descend([last](PageNo, const IndexPageView& node) { return std::optional(last ? node.used() : 0); });
}

BTree::Cursor BTree::cursorOn(PageNo leaf) const {
    Cursor cursor;
    cursor.m_pager = m_pager;
    cursor.m_table = m_table;
    cursor.open(leaf);
    return cursor;
}

BTree::Cursor BTree::first() const {
    Cursor cursor = cursorOn(edgeLeaf(false));
    if (cursor.m_view->used() > 0)
        cursor.enter(0);
    else
        cursor.enterNextPage();
    return cursor;
}

BTree::Cursor BTree::last() const {
    Cursor cursor = cursorOn(edgeLeaf(true));
    const std::size_t used = cursor.m_view->used();
    if (used > 0)
        cursor.enter(cursor.m_view->before(used));
    else
        cursor.enterPreviousPage();
    return cursor;
}

BTree::Cursor BTree::lowerBound(ByteView key) const {
    Cursor cursor = cursorOn(leafFor(key, nullptr));
    const std::size_t at = cursor.m_view->lowerBound(key);
    if (at < cursor.m_view->used())
        cursor.enter(at);
    else
        cursor.enterNextPage();
    return cursor;
}

bool BTree::contains(ByteView key, std::optional<RowId> except) const {
    for (Cursor cursor = lowerBound(key); cursor.valid() && startsWith(cursor.key(), key); cursor.next()) {
        if (cursor.key().size() == key.size() && cursor.row() != except)
            return true;
    }
    return false;
}

std::vector<PageNo> BTree::pages() const {
    std::vector<bool> seen(m_pager->pageCount());
    std::vector<PageNo> found;
    std::vector<std::pair<PageNo, std::optional<unsigned>>> waiting = {{m_root, std::nullopt}};
    while (!waiting.empty()) {
        const auto [page, level] = waiting.back();
        waiting.pop_back();
        const PageRef ref = m_pager->read(page);
        const IndexPageView view(ref->view(), page, m_table);
        if (level)
            checkLevel(view, page, *level);
        if (seen[page])
            corrupt(page, "an index page with two parents");
        seen[page] = true;
        found.push_back(page);
        if (view.leaf())
            continue;
        if (view.tail() != 0)
            waiting.emplace_back(view.tail(), view.level() - 1);
        for (std::size_t end = view.used(); end > 0; end = view.before(end))
            waiting.emplace_back(view.child(view.before(end)), view.level() - 1);
    }
    return found;
}

// ---- walking ----

void BTree::Cursor::open(PageNo page) {
    if (++m_steps > m_pager->pageCount())
        corrupt(page, "the leaves of an index run in a circle");
    m_ref = m_pager->read(page);
    m_view.emplace(m_ref->view(), page, m_table);
    checkLevel(*m_view, page, 0);
    m_page = page;
    m_valid = false;
}

void BTree::Cursor::enter(std::size_t at) {
    m_at = at;
    m_view->text(at, m_key);
    m_row = rowOf(m_key);
    m_key.resize(m_key.size() - kRowBytes);
    m_valid = true;
}

void BTree::Cursor::enterNextPage() {
    m_valid = false;
    while (!m_valid && m_view->next() != 0) {
        const PageNo from = m_page;
        open(m_view->next());
        if (m_view->previous() != from)
            corrupt(m_page, "a leaf that does not lead back to its neighbour");
        if (m_view->used() > 0)
            enter(0);
    }
}

void BTree::Cursor::enterPreviousPage() {
    m_valid = false;
    while (!m_valid && m_view->previous() != 0) {
        const PageNo from = m_page;
        open(m_view->previous());
        if (m_view->next() != from)
            corrupt(m_page, "a leaf that does not lead back to its neighbour");
        if (m_view->used() > 0)
            enter(m_view->before(m_view->used()));
    }
}

void BTree::Cursor::next() {
    assert(m_valid);
    const std::size_t end = m_view->end(m_at);
    if (end < m_view->used())
        enter(end);
    else
        enterNextPage();
}

void BTree::Cursor::previous() {
    assert(m_valid);
    if (m_at > 0)
        enter(m_view->before(m_at));
    else
        enterPreviousPage();
}

// ---- pages ----

IndexPageEditor BTree::edit(PageNo page) {
    return {m_pager->edit(page), page, m_table};
}

IndexPageEditor BTree::edit(PageNo page, unsigned level) {
    IndexPageEditor editor = edit(page);
    checkLevel(editor.view(), page, level);
    return editor;
}

bool BTree::onRightEdge() const {
    return std::all_of(m_path.begin(), m_path.end(), [](const Step& step) { return step.tail; });
}

PageNo BTree::addPage(unsigned level) {
    const PageNo page = m_space->allocate(m_map);
    IndexPageEditor::format(m_pager->edit(page), m_table, level);
    return page;
}

// An empty page between `page` and its next neighbour.
PageNo BTree::addRight(PageNo page, unsigned level) {
    const PageNo added = addPage(level);
    IndexPageEditor left = edit(page, level);
    IndexPageEditor right = edit(added, level);
    const PageNo next = left.view().next();
    right.setPrevious(page);
    right.setNext(next);
    left.setNext(added);
    if (next != 0) {
        IndexPageEditor neighbour = edit(next, level);
        if (neighbour.view().previous() != page)
            corrupt(next, "an index page that does not lead back to its neighbour");
        neighbour.setPrevious(added);
    }
    return added;
}

void BTree::unlink(PageNo page, unsigned level) {
    const IndexPageEditor gone = edit(page, level);
    const PageNo previous = gone.view().previous();
    const PageNo next = gone.view().next();
    if (previous != 0) {
        IndexPageEditor neighbour = edit(previous, level);
        if (neighbour.view().next() != page)
            corrupt(previous, "an index page that does not lead to its neighbour");
        neighbour.setNext(next);
    }
    if (next != 0) {
        IndexPageEditor neighbour = edit(next, level);
        if (neighbour.view().previous() != page)
            corrupt(next, "an index page that does not lead back to its neighbour");
        neighbour.setPrevious(previous);
    }
}

void BTree::release(PageNo page) {
    m_map.remove(page);
    m_space->free(page);
}

// The root stays where it is: what it holds goes to a new page, which becomes its only child. That page is returned
// and the root is put on the path. The caller splits the new page, so that the root gets an entry.
PageNo BTree::moveRootDown() {
    const unsigned level = edit(m_root).view().level();
    if (level == kMaxLevel)
        corrupt(m_root, "the index has too many levels");
    const PageNo down = addPage(level);
    m_pager->edit(down) = m_pager->edit(m_root);
    IndexPageEditor moved = edit(down, level);
    moved.setPrevious(0);
    moved.setNext(0);
    IndexPageEditor::format(m_pager->edit(m_root), m_table, level + 1);
    edit(m_root).setTail(down);
    m_path.insert(m_path.begin(), Step{m_root, 0, true});
    return down;
}

// The opposite: the root takes over its only child.
void BTree::moveRootUp() {
    const IndexPageEditor root = edit(m_root);
    const PageNo child = root.view().tail();
    static_cast<void>(edit(child, root.view().level() - 1));
    m_pager->edit(m_root) = m_pager->edit(child);
    IndexPageEditor moved = edit(m_root);
    moved.setPrevious(0);
    moved.setNext(0);
    release(child);
}

// ---- inserting ----

void BTree::insert(ByteView key, RowId row) {
    setEntry(key, row);
    const PageNo leaf = leafFor(m_entry, &m_path);
    IndexPageEditor page = edit(leaf, 0);
    const std::size_t at = page.view().lowerBound(m_entry);
    if (page.view().equals(at, m_entry))
        corrupt(leaf, "the index already has the entry of this row");
    if (!page.insert(at, m_entry))
        makeRoom(leaf, at);
}

// Inserts m_entry where it does not fit as it is: with the page compressed, or compressed otherwise, or split. A new
// highest entry of the whole index does not disturb a full page but opens the next one, so that keys that arrive in
// order fill their pages.
void BTree::makeRoom(PageNo leaf, std::size_t at) {
    IndexPageEditor page = edit(leaf, 0);
    const bool appended = at == page.view().used() && page.view().next() == 0;
    EntryList list;
    page.takeAll(list, at, m_entry);
    const std::optional<std::size_t> prefix = list.leafPrefix(0, list.size());
    if (prefix && (!appended || *prefix == 0 || *prefix >= page.view().prefix())) {
        page.assign(list, 0, list.size());
        return;
    }
    const std::size_t cut = appended ? list.size() - 1 : cutOf(list, true, leaf);
    const PageNo left = m_path.empty() ? moveRootDown() : leaf;
    const PageNo right = addRight(left, 0);
    if (!appended)
        edit(left).assign(list, 0, cut);
    edit(right).assign(list, cut, list.size());
    linkSplit(list.at(cut - 1), left, right);
}

// `left` was split: it now ends with `highest`, and `right` has the rest. m_path ends with their parent.
void BTree::linkSplit(ByteView highest, PageNo left, PageNo right) {
    const Step parent = m_path.back();
    IndexPageEditor node = edit(parent.page);
    node.setChild(parent.at, right);
    const Bytes entry = nodeEntry(highest, left);
    if (!node.insert(parent.at, entry))
        splitNode(parent.at, entry);
}

// Splits the node at the end of m_path, with `entry` put in at `at`.
void BTree::splitNode(std::size_t at, ByteView entry) {
    PageNo left = m_path.back().page;
    m_path.pop_back();
    if (m_path.empty())
        left = moveRootDown();
    IndexPageEditor page = edit(left);
    EntryList list;
    page.takeAll(list, at, entry);
    const bool appended = at == page.view().used() && onRightEdge();
    const std::size_t cut = appended && list.size() > 2 ? list.size() - 2 : cutOf(list, false, left);
    const PageNo right = addRight(left, page.view().level());
    IndexPageEditor added = edit(right);
    added.assign(list, cut + 1, list.size());
    added.setTail(page.view().tail());
    page.assign(list, 0, cut);
    page.setTail(childOfNodeEntry(list.at(cut)));
    linkSplit(textOfNodeEntry(list.at(cut)), left, right);
}

// ---- erasing ----

void BTree::erase(ByteView key, RowId row) {
    setEntry(key, row);
    const PageNo leaf = leafFor(m_entry, &m_path);
    IndexPageEditor page = edit(leaf, 0);
    const std::size_t at = page.view().lowerBound(m_entry);
    if (!page.view().equals(at, m_entry))
        corrupt(leaf, "the index lacks the entry of a row");
    page.erase(at);
    const std::size_t used = page.view().used();
    if (m_path.empty() || at < used)
        return;
    if (used > 0) {
        replaceHighest(m_entry, page.view().text(page.view().before(used)));
        return;
    }
    unlink(leaf, 0);
    release(leaf);
    dropChild();
}

// Some nodes of other writers may have no tail: their last entry is then the highest of their last child. Ours have.
void BTree::giveTail(PageNo page) {
    IndexPageEditor node = edit(page);
    if (node.view().tail() != 0 || node.view().used() == 0)
        return;
    const std::size_t last = node.view().before(node.view().used());
    node.setTail(node.view().child(last));
    node.erase(last);
}

// Takes the child at the end of m_path, whose only entry was m_entry, out of its parent.
void BTree::dropChild() {
    const Step step = m_path.back();
    giveTail(step.page);
    IndexPageEditor node = edit(step.page);
    const std::size_t used = node.view().used();
    if (used == 0)
        corrupt(step.page, "an index node without entries");
    Bytes highest;  // of the node, if it changes
    if (step.at < used) {
        node.erase(step.at);
    } else {
        const std::size_t last = node.view().before(used);
        highest = node.view().text(last);
        node.setTail(node.view().child(last));
        node.erase(last);
    }
    if (node.view().used() == 0)
        refill();
    if (!highest.empty())
        replaceHighest(m_entry, highest);
}

// The node at the end of m_path is left with its tail alone. Joins it with a neighbour, or fetches a child from there,
// and goes on above if that leaves the parent with its tail alone.
void BTree::refill() {
    for (bool thin = true; thin;) {
        const PageNo node = m_path.back().page;
        m_path.pop_back();
        if (m_path.empty()) {
            moveRootUp();
            return;
        }
        thin = joinWithSibling(node);
    }
}

// True when the parent, at the end of m_path, has no entry any more. Its text for `thin` may be out of date here, and
// so may be what gets copied from it; replaceHighest() finds and corrects it afterwards.
bool BTree::joinWithSibling(PageNo thin) {
    const Step step = m_path.back();
    giveTail(step.page);
    IndexPageEditor parent = edit(step.page);
    if (parent.view().used() == 0)
        corrupt(step.page, "an index node without entries");
    const bool thinIsRight = step.at > 0;
    const std::size_t at = thinIsRight ? parent.view().before(step.at) : 0;
    const PageNo leftPage = parent.view().child(at);
    const PageNo rightPage = parent.view().child(parent.view().end(at));
    const PageNo sibling = thinIsRight ? leftPage : rightPage;
    if (sibling == thin)
        corrupt(thin, "an index page with two parents");
    const unsigned level = parent.view().level() - 1;
    static_cast<void>(edit(sibling, level));
    giveTail(sibling);
    IndexPageEditor left = edit(leftPage, level);
    IndexPageEditor right = edit(rightPage, level);
    const Bytes middle = nodeEntry(parent.view().text(at), left.view().tail());

    if (thinIsRight ? left.insert(left.view().used(), middle) : right.insert(0, middle)) {
        if (thinIsRight)
            left.setTail(right.view().tail());
        parent.erase(at);
        parent.setChild(at, sibling);
        unlink(thin, level);
        release(thin);
        return parent.view().used() == 0;
    }
    if (thinIsRight) {
        const std::size_t last = left.view().before(left.view().used());
        const Bytes highest = left.view().text(last);
        right.insert(0, middle);
        left.setTail(left.view().child(last));
        left.erase(last);
        replaceText(at, highest);
    } else {
        const Bytes highest = right.view().text(0);
        left.insert(0, middle);
        left.setTail(right.view().child(0));
        right.erase(0);
        replaceText(at, highest);
    }
    return false;
}

// Gives an entry of the node at the end of m_path another text; the child stays.
void BTree::replaceText(std::size_t at, ByteView text) {
    IndexPageEditor node = edit(m_path.back().page);
    const Bytes entry = nodeEntry(text, node.view().child(at));
    node.erase(at);
    if (!node.insert(at, entry))
        splitNode(at, entry);
}

// The highest entry below some node was `old` and is now `text`: corrects the one node entry that says so, if any (the
// highest entry of the whole tree is in no node).
void BTree::replaceHighest(ByteView old, ByteView text) {
    m_path.clear();
    std::optional<std::size_t> found;
    descend([&](PageNo page, const IndexPageView& node) {
        const std::size_t at = node.lowerBound(old);
        m_path.push_back({page, at, at == node.used()});
        if (node.equals(at, old))
            found = at;
        return found ? std::nullopt : std::optional(at);
    });
    if (found)
        replaceText(*found, text);
}

// ---- building ----

// A finished page and its highest entry.
struct BTree::Built {
    Bytes highest;
    PageNo page = 0;
};

void BTree::build(std::span<const Entry> sorted) {
    assert(edit(m_root, 0).view().used() == 0);
    std::vector<Built> level;
    EntryList list;
    const auto finishLeaf = [&](std::size_t count) {
        const PageNo previous = level.empty() ? 0 : level.back().page;
        const ByteView highest = list.at(count - 1);
        level.push_back({Bytes(highest.begin(), highest.end()), addPage(0)});
        IndexPageEditor leaf = edit(level.back().page, 0);
        leaf.assign(list, 0, count);
        leaf.setPrevious(previous);
        if (previous != 0)
            edit(previous, 0).setNext(level.back().page);
    };
    for (const Entry& entry : sorted) {
        setEntry(entry.key, entry.row);
        list.append(m_entry);
        if (!list.fit(0, list.size(), true)) {
            finishLeaf(list.size() - 1);
            list.clear();
            list.append(m_entry);
        }
    }
    if (level.empty()) {
        edit(m_root, 0).assign(list, 0, list.size());
        return;
    }
    finishLeaf(list.size());
    for (unsigned height = 1; level.size() > 1; ++height)
        level = buildNodes(level, height);
}

// The nodes above some pages, each as full as can be; one alone is the root.
std::vector<BTree::Built> BTree::buildNodes(const std::vector<Built>& children, unsigned level) {
    std::vector<std::size_t> starts = {0};  // of the groups of children
    std::size_t bytes = 0;
    for (std::size_t i = 1; i < children.size(); ++i) {
        // For child i to be the tail, the one before it needs an entry.
        const std::size_t entry = children[i - 1].highest.size() + kChildBytes;
        bytes += entry;
        if (bytes > kEntryArea) {
            starts.push_back(i);
            bytes = 0;
        }
    }
    // No node has a tail alone. The group before has two entries at least, since two always fit.
    if (starts.size() > 1 && starts.back() == children.size() - 1)
        --starts.back();
    starts.push_back(children.size());

    std::vector<Built> nodes;
    for (std::size_t group = 0; group + 1 < starts.size(); ++group) {
        const std::size_t last = starts[group + 1] - 1;
        EntryList list;
        for (std::size_t i = starts[group]; i < last; ++i)
            list.append(nodeEntry(children[i].highest, children[i].page));
        PageNo page = m_root;
        if (starts.size() == 2)
            IndexPageEditor::format(m_pager->edit(m_root), m_table, level);
        else
            page = addPage(level);
        IndexPageEditor node = edit(page, level);
        node.assign(list, 0, list.size());
        node.setTail(children[last].page);
        if (!nodes.empty()) {
            node.setPrevious(nodes.back().page);
            edit(nodes.back().page, level).setNext(page);
        }
        nodes.push_back({children[last].highest, page});
    }
    return nodes;
}

}  // namespace jet
