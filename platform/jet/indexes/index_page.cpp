// SPDX-License-Identifier: MIT
#include "jet/indexes/index_page.h"

#include <algorithm>
#include <array>
#include <bit>

#include "jet/values/bytes.h"

namespace jet {

namespace {

constexpr std::uint8_t kNodeType = 3;
constexpr std::uint8_t kLeafType = 4;
constexpr std::size_t kFreeAt = 2;
constexpr std::size_t kTableAt = 4;
constexpr std::size_t kPreviousAt = 8;
constexpr std::size_t kNextAt = 12;
constexpr std::size_t kTailAt = 16;
constexpr std::size_t kPrefixAt = 20;
constexpr std::size_t kLevelAt = 21;
constexpr std::size_t kMaskAt = 22;
constexpr std::size_t kAreaAt = 248;
constexpr std::size_t kMaxPrefix = 255;  // one byte

// The mask is looked at in words of 64 bits; the last word has only 16 bits of it.
constexpr std::size_t kWordBits = 64;
constexpr std::size_t kMaskBytes = kAreaAt - kMaskAt;
constexpr std::size_t kWords = (kMaskBytes + 7) / 8;
constexpr std::uint64_t kLastWord = (std::uint64_t{1} << (kMaskBytes % 8 * 8)) - 1;

std::uint64_t maskWord(ByteView page, std::size_t i) {
    std::uint64_t word = 0;
    std::memcpy(&word, page.data() + kMaskAt + i * 8, sizeof word);
    return i + 1 == kWords ? word & kLastWord : word;
}

std::uint64_t bitsFrom(std::size_t bit) {
    return ~std::uint64_t{0} << bit % kWordBits;
}

// The lowest set bit above `after`, or 0.
std::size_t nextBit(ByteView page, std::size_t after) {
    const std::size_t from = after + 1;
    std::uint64_t keep = bitsFrom(from);
    for (std::size_t i = from / kWordBits; i < kWords; ++i) {
        const std::uint64_t word = maskWord(page, i) & keep;
        if (word != 0)
            return i * kWordBits + static_cast<std::size_t>(std::countr_zero(word));
        keep = ~std::uint64_t{0};
    }
    return 0;
}

// The highest set bit below `below`, or 0.
std::size_t lastBit(ByteView page, std::size_t below) {
    std::uint64_t keep = ~bitsFrom(below);
    for (std::size_t i = std::min(below / kWordBits, kWords - 1) + 1; i-- > 0;) {
        const std::uint64_t word = i == below / kWordBits ? maskWord(page, i) & keep : maskWord(page, i);
        if (word != 0)
            return i * kWordBits + kWordBits - 1 - static_cast<std::size_t>(std::countl_zero(word));
    }
    return 0;
}

// The mask of a page in words, for shifting parts of it.
class Mask {
 public:
    explicit Mask(ByteView page) {
        for (std::size_t i = 0; i < kWords; ++i)
            m_words[i] = maskWord(page, i);
    }
    void store(Page& page) const { std::memcpy(page.bytes.data() + kMaskAt, m_words.data(), kMaskBytes); }

    void clear(std::size_t bit) { m_words[bit / kWordBits] &= ~(std::uint64_t{1} << bit % kWordBits); }
    void set(std::size_t bit) { m_words[bit / kWordBits] |= std::uint64_t{1} << bit % kWordBits; }

    // Bits from `from` on move up by `by`.
    void insert(std::size_t from, std::size_t by) {
        const std::array<std::uint64_t, kWords> old = cutAt(from);
        const std::size_t words = by / kWordBits;
        const std::size_t bits = by % kWordBits;
        for (std::size_t i = kWords; i-- > words;) {
            m_words[i] |= old[i - words] << bits;
            if (bits != 0 && i > words)
                m_words[i] |= old[i - words - 1] >> (kWordBits - bits);
        }
    }

    // Bits in [from, from + by) go, those behind move down.
    void erase(std::size_t from, std::size_t by) {
        std::array<std::uint64_t, kWords> old = cutAt(from);
        for (std::size_t i = from / kWordBits; i < kWords && i * kWordBits < from + by; ++i)
            old[i] &= (from + by) / kWordBits > i ? 0 : bitsFrom(from + by);
        const std::size_t words = by / kWordBits;
        const std::size_t bits = by % kWordBits;
        for (std::size_t i = 0; i + words < kWords; ++i) {
            m_words[i] |= old[i + words] >> bits;
            if (bits != 0 && i + words + 1 < kWords)
                m_words[i] |= old[i + words + 1] << (kWordBits - bits);
        }
    }

 private:
    // Takes the bits from `from` on out and returns them.
    std::array<std::uint64_t, kWords> cutAt(std::size_t from) {
        std::array<std::uint64_t, kWords> upper{};
        for (std::size_t i = from / kWordBits; i < kWords; ++i) {
            const std::uint64_t keep = i == from / kWordBits ? bitsFrom(from) : ~std::uint64_t{0};
            upper[i] = m_words[i] & keep;
            m_words[i] &= ~keep;
        }
        return upper;
    }

    std::array<std::uint64_t, kWords> m_words{};
};

std::size_t commonLength(ByteView a, ByteView b) {
    const std::size_t n = std::min(a.size(), b.size());
    return static_cast<std::size_t>(
        std::mismatch(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(n), b.begin()).first - a.begin());
}

int compareBytes(ByteView a, ByteView b) {
    const std::size_t n = std::min(a.size(), b.size());
    const int difference = n == 0 ? 0 : std::memcmp(a.data(), b.data(), n);
    if (difference != 0)
        return difference;
    return a.size() < b.size() ? -1 : int{a.size() > b.size()};
}

std::uint32_t bigEndian(ByteView b) {
    return std::uint32_t{b[0]} << 24U | std::uint32_t{b[1]} << 16U | std::uint32_t{b[2]} << 8U | b[3];
}

void append(Bytes& to, ByteView bytes) {
    to.insert(to.end(), bytes.begin(), bytes.end());
}

}  // namespace

IndexPageView::IndexPageView(ByteView page, PageNo number, PageNo table) : m_page(page), m_number(number) {
    const std::uint8_t type = page[0];
    if ((type != kNodeType && type != kLeafType) || page[1] != 1)
        corrupt(number, "not an index page");
    if (getU32(page, kTableAt) != table)
        corrupt(number, "an index page of another table");
    if ((type == kLeafType) != leaf())
        corrupt(number, "type and level of the index page disagree");
    m_used = lastBit(page, kWords * kWordBits - 1);
    if (m_used > kEntryArea)
        corrupt(number, "an index entry ends outside the page");
    if ((m_page[kMaskAt] & 1U) != 0)
        corrupt(number, "an index entry of no length");
    if (prefix() != 0 && (!leaf() || m_used == 0 || nextBit(page, 0) < prefix()))
        corrupt(number, "an index page with an impossible prefix");
}

PageNo IndexPageView::previous() const {
    return getU32(m_page, kPreviousAt);
}

PageNo IndexPageView::next() const {
    return getU32(m_page, kNextAt);
}

PageNo IndexPageView::tail() const {
    return getU32(m_page, kTailAt);
}

ByteView IndexPageView::area() const {
    return m_page.subspan(kAreaAt);
}

std::size_t IndexPageView::count() const {
    std::size_t n = 0;
    for (std::size_t i = 0; i < kWords; ++i)
        n += static_cast<std::size_t>(std::popcount(maskWord(m_page, i)));
    return n;
}

std::size_t IndexPageView::end(std::size_t at) const {
    assert(at < m_used);
    const std::size_t end = nextBit(m_page, at);
    const std::size_t whole = end - at + (at == 0 ? 0 : prefix());
    if (whole <= kRowBytes + childBytes())
        corrupt(m_number, "an index entry of " + std::to_string(whole) + " bytes");
    return end;
}

std::size_t IndexPageView::before(std::size_t end) const {
    assert(end != 0 && end <= m_used);
    return lastBit(m_page, end);
}

ByteView IndexPageView::suffix(std::size_t at) const {
    const std::size_t from = at == 0 ? prefix() : at;
    return area().subspan(from, end(at) - from - childBytes());
}

void IndexPageView::text(std::size_t at, Bytes& out) const {
    const ByteView shared = area().first(prefix());
    out.assign(shared.begin(), shared.end());
    append(out, suffix(at));
}

Bytes IndexPageView::text(std::size_t at) const {
    Bytes out;
    text(at, out);
    return out;
}

PageNo IndexPageView::child(std::size_t at) const {
    assert(!leaf());
    return at == m_used ? tail() : bigEndian(area().subspan(end(at) - kChildBytes));
}

std::size_t IndexPageView::lowerBound(ByteView wanted) const {
    const std::size_t p = prefix();
    if (p != 0) {
        const ByteView shared = area().first(p);
        const int order = compareBytes(wanted.first(std::min(wanted.size(), p)), shared);
        if (order != 0)
            return order < 0 ? 0 : m_used;
        wanted = wanted.subspan(p);
    }
    std::size_t low = 0;
    std::size_t high = m_used;
    while (low < high) {
        const std::size_t at = lastBit(m_page, (low + high) / 2 + 1);  // the entry around the middle byte
        if (compareBytes(suffix(at), wanted) < 0)
            low = end(at);
        else
            high = at;
    }
    return low;
}

bool IndexPageView::equals(std::size_t at, ByteView wanted) const {
    const std::size_t p = prefix();
    return at < m_used && wanted.size() >= p && compareBytes(wanted.first(p), area().first(p)) == 0 &&
           compareBytes(wanted.subspan(p), suffix(at)) == 0;
}

ByteView EntryList::at(std::size_t i) const {
    const std::size_t from = i == 0 ? 0 : m_ends[i - 1];
    return ByteView(m_bytes).subspan(from, m_ends[i] - from);
}

std::size_t EntryList::bytes(std::size_t from, std::size_t to) const {
    return (to == 0 ? 0 : m_ends[to - 1]) - (from == 0 ? 0 : m_ends[from - 1]);
}

void EntryList::append(ByteView entry) {
    jet::append(m_bytes, entry);
    m_ends.push_back(m_bytes.size());
}

void EntryList::clear() {
    m_bytes.clear();
    m_ends.clear();
}

std::optional<std::size_t> EntryList::leafPrefix(std::size_t from, std::size_t to) const {
    const std::size_t total = bytes(from, to);
    if (total <= kEntryArea)
        return 0;
    const std::size_t shared = std::min(commonLength(at(from), at(to - 1)), kMaxPrefix);
    if (total - shared * (to - from - 1) <= kEntryArea)
        return shared;
    return std::nullopt;
}

bool EntryList::fit(std::size_t from, std::size_t to, bool leaf) const {
    return leaf ? leafPrefix(from, to).has_value() : bytes(from, to) <= kEntryArea;
}

IndexPageEditor::IndexPageEditor(Page& page, PageNo number, PageNo table)
    : m_page(&page), m_view(page.view(), number, table) {}

void IndexPageEditor::format(Page& page, PageNo table, unsigned level) {
    page.bytes.fill(0);
    page.bytes[0] = level == 0 ? kLeafType : kNodeType;
    page.bytes[1] = 1;
    putU16(page.span(), kFreeAt, kEntryArea);
    putU32(page.span(), kTableAt, table);
    page.bytes[kLevelAt] = static_cast<std::uint8_t>(level);
}

void IndexPageEditor::setUsed(std::size_t used) {
    m_view.m_used = used;
    putU16(m_page->span(), kFreeAt, static_cast<std::uint16_t>(kEntryArea - used));
}

bool IndexPageEditor::insert(std::size_t at, ByteView entry) {
    const std::size_t p = m_view.prefix();
    const std::size_t used = m_view.used();
    const std::span<std::uint8_t> area = m_page->span().subspan(kAreaAt);
    if (commonLength(entry, area.first(p)) < p || used + (entry.size() - p) > kEntryArea)
        return false;
    // A new first entry takes over the shared bytes where they stand.
    const std::size_t from = at == 0 ? p : at;
    const ByteView added = entry.subspan(p);
    std::memmove(area.data() + from + added.size(), area.data() + from, used - from);
    std::memcpy(area.data() + from, added.data(), added.size());
    Mask mask(m_page->view());
    mask.insert(at + 1, added.size());
    mask.set(from + added.size());
    mask.store(*m_page);
    setUsed(used + added.size());
    return true;
}

void IndexPageEditor::erase(std::size_t at) {
    const std::size_t used = m_view.used();
    const std::size_t end = m_view.end(at);
    const bool only = at == 0 && end == used;
    if (only)
        m_page->bytes[kPrefixAt] = 0;
    // When the first entry goes, the next one takes over the shared bytes where they stand.
    const std::size_t from = at == 0 ? m_view.prefix() : at;
    const std::span<std::uint8_t> area = m_page->span().subspan(kAreaAt);
    std::memmove(area.data() + from, area.data() + end, used - end);
    Mask mask(m_page->view());
    mask.clear(end);
    mask.erase(from + 1, end - from);
    mask.store(*m_page);
    setUsed(used - (end - from));
}

void IndexPageEditor::assign(const EntryList& list, std::size_t from, std::size_t to) {
    const std::size_t p = m_view.leaf() && from < to ? list.leafPrefix(from, to).value_or(0) : 0;
    assert(list.bytes(from, to) - (to > from ? p * (to - from - 1) : 0) <= kEntryArea);
    std::memset(m_page->bytes.data() + kMaskAt, 0, kPageSize - kMaskAt);
    m_page->bytes[kPrefixAt] = static_cast<std::uint8_t>(p);
    std::size_t used = 0;
    for (std::size_t i = from; i < to; ++i) {
        const ByteView entry = list.at(i).subspan(i == from ? 0 : p);
        std::memcpy(m_page->bytes.data() + kAreaAt + used, entry.data(), entry.size());
        used += entry.size();
        m_page->bytes[kMaskAt + used / 8] |= static_cast<std::uint8_t>(1U << used % 8);
    }
    setUsed(used);
}

void IndexPageEditor::takeAll(EntryList& list, std::size_t at, ByteView extra) const {
    list.clear();
    Bytes entry;
    for (std::size_t i = 0; i < m_view.used(); i = m_view.end(i)) {
        if (i == at)
            list.append(extra);
        m_view.text(i, entry);
        if (!m_view.leaf())
            append(entry, m_view.area().subspan(m_view.end(i) - kChildBytes, kChildBytes));
        list.append(entry);
    }
    if (at == m_view.used())
        list.append(extra);
}

void IndexPageEditor::setPrevious(PageNo page) {
    putU32(m_page->span(), kPreviousAt, page);
}

void IndexPageEditor::setNext(PageNo page) {
    putU32(m_page->span(), kNextAt, page);
}

void IndexPageEditor::setTail(PageNo page) {
    putU32(m_page->span(), kTailAt, page);
}

void IndexPageEditor::setChild(std::size_t at, PageNo page) {
    if (at == m_view.used()) {
        setTail(page);
        return;
    }
    const std::size_t where = kAreaAt + m_view.end(at) - kChildBytes;
    for (std::size_t i = 0; i < kChildBytes; ++i)
        m_page->bytes[where + i] = static_cast<std::uint8_t>(page >> (24 - 8 * i));
}

}  // namespace jet
