// SPDX-License-Identifier: MIT
#include "jet/pager.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "jet/bytes.h"

namespace jet {

namespace {

constexpr PageNo kMaxPages = 0x80000;  // 1 GB, where the original engine ends
constexpr PageNo kReadAhead = 32;

class FilePager : public Pager {
 public:
    FilePager(Disk& disk, std::string path, Options options)
        : m_disk(disk), m_path(std::move(path)), m_options(options) {}
    ~FilePager() override {
        try {
            close();
        } catch (...) {
            // The log stays and repairs the file on the next opening.
        }
    }

    void openExisting();
    void createNew();

    const std::string& path() const override { return m_path; }
    bool readOnly() const override { return m_options.readOnly; }
    const Header& header() const override { return m_header; }
    PageNo pageCount() const override { return static_cast<PageNo>(m_slots.size()); }
    PageRef read(PageNo page) override;
    void begin() override;
    bool inTransaction() const override { return m_inTransaction; }
    Page& edit(PageNo page) override;
    PageNo extend() override;
    void commit() override;
    void rollback() override;
    std::uint64_t rollbacks() const override { return m_rollbacks; }
    void close() override;

 private:
    // What is known of one page. At most one of `edited` and `snapshot` is looked at by read().
    struct Slot {
        std::shared_ptr<Page> clean;     // as committed; empty = still to be read
        std::unique_ptr<Page> edited;    // as the open transaction has it
        std::shared_ptr<Page> snapshot;  // the last copy of `edited` given out
        bool used = false;               // since the clock's hand passed
    };

    std::shared_ptr<Page> load(PageNo page);
    void keep(PageNo page, std::shared_ptr<Page> content);
    void writePage(PageNo page, const Page& content);

    Disk& m_disk;
    std::string m_path;
    Options m_options;
    std::unique_ptr<File> m_file;
    Header m_header;

    std::vector<Slot> m_slots;    // by page number
    std::vector<PageNo> m_clock;  // the pages whose clean content may be dropped
    std::size_t m_hand = 0;
    PageNo m_readEnd = 0;  // where the last read of the file ended

    bool m_inTransaction = false;
    PageNo m_committedPages = 0;
    std::vector<PageNo> m_changed;
    std::uint64_t m_rollbacks = 0;
};

void FilePager::openExisting() {
    if (!m_options.readOnly) {
        try {
            m_file = m_disk.open(m_path, OpenMode::ReadWrite);
        } catch (const Error& e) {
            if (e.code() != Errc::AccessDenied)
                throw;
            m_options.readOnly = true;
        }
    }
    if (!m_file)
        m_file = m_disk.open(m_path, OpenMode::Read);
    if (!m_file->lock(!m_options.readOnly))
        throw Error(Errc::Busy, m_path);
    const auto size = m_file->size();
    if (size < kPageSize)
        throw Error(Errc::NotADatabase, m_path);
    Page page0;
    m_file->read(0, page0.span());
    try {
        m_header = Header::parse(page0.view());
    } catch (const Error& e) {
        throw Error(e.code(), m_path);
    }
    if (size % kPageSize != 0)
        corrupt(static_cast<PageNo>(size / kPageSize), "the file ends within a page");
    if (size / kPageSize > kMaxPages)
        corrupt(kMaxPages, "the file is larger than the format allows");
    m_committedPages = static_cast<PageNo>(size / kPageSize);
    m_slots.resize(m_committedPages);
}

void FilePager::createNew() {
    m_file = m_disk.open(m_path, OpenMode::Create);
    if (!m_file->lock(true))
        throw Error(Errc::Busy, m_path);
    m_file->truncate(0);
    m_disk.flushFolder(m_path);
}

PageRef FilePager::read(PageNo page) {
    if (page >= m_slots.size())
        corrupt(page, "a page outside the file");
    Slot& slot = m_slots[page];
    if (!slot.edited) {
        slot.used = true;
        return slot.clean ? slot.clean : load(page);
    }
    // The caller keeps what it gets while the page is edited further, so it gets a copy.
    if (slot.snapshot && std::memcmp(slot.snapshot.get(), slot.edited.get(), kPageSize) == 0)
        return slot.snapshot;
    if (slot.snapshot.use_count() == 1)
        *slot.snapshot = *slot.edited;
    else
        slot.snapshot = std::make_shared<Page>(*slot.edited);
    return slot.snapshot;
}

// Reads a page and, when the file is being read through, those after it.
std::shared_ptr<Page> FilePager::load(PageNo page) {
    const bool onward = page >= m_readEnd && page - m_readEnd < kReadAhead;
    const auto room = static_cast<PageNo>(std::max<std::size_t>(m_options.cachePages / 4, 1));
    const PageNo wanted = std::min({onward ? kReadAhead : 4, room, m_committedPages - page});
    Bytes block(wanted * kPageSize);
    const std::size_t length = m_file->read(std::uint64_t{page} * kPageSize, block);
    if (length < kPageSize)
        throw Error(Errc::Io, m_path, {}, page);
    const auto count = static_cast<PageNo>(length / kPageSize);
    m_readEnd = page + count;
    std::shared_ptr<Page> result;
    for (PageNo i = 0; i < count; ++i) {
        if (m_slots[page + i].clean)
            continue;  // the one known may be newer than the file
        auto content = std::make_shared<Page>();
        std::memcpy(content->bytes.data(), block.data() + i * kPageSize, kPageSize);
        if (m_header.encryptionKey != 0 && page + i != 0)
            cryptPage(content->span(), m_header.encryptionKey, page + i);
        if (i == 0)
            result = content;
        keep(page + i, std::move(content));
    }
    return result;
}

// Puts committed content into the cache, in the place of a page that was not used lately if the cache is full.
void FilePager::keep(PageNo page, std::shared_ptr<Page> content) {
    Slot& slot = m_slots[page];
    const bool listed = slot.clean != nullptr;
    slot.clean = std::move(content);
    slot.used = true;
    if (listed)
        return;
    if (m_clock.size() < std::max<std::size_t>(m_options.cachePages, kReadAhead + 1)) {
        m_clock.push_back(page);
        return;
    }
    for (;; m_hand = (m_hand + 1) % m_clock.size()) {
        Slot& old = m_slots[m_clock[m_hand]];
        if (!old.used)
            break;
        old.used = false;
    }
    m_slots[m_clock[m_hand]].clean.reset();
    m_clock[m_hand] = page;
    m_hand = (m_hand + 1) % m_clock.size();
}

void FilePager::begin() {
    assert(!m_inTransaction);
    if (readOnly())
        throw Error(Errc::ReadOnly, m_path);
    m_inTransaction = true;
}

Page& FilePager::edit(PageNo page) {
    assert(m_inTransaction);
    if (page >= m_slots.size())
        corrupt(page, "a page outside the file");
    if (!m_slots[page].edited) {
        const auto clean = m_slots[page].clean ? m_slots[page].clean : load(page);
        m_slots[page].edited = std::make_unique<Page>(*clean);
        m_changed.push_back(page);
    }
    return *m_slots[page].edited;
}

PageNo FilePager::extend() {
    assert(m_inTransaction);
    if (m_slots.size() >= kMaxPages)
        throw Error(Errc::DiskFull, m_path);
    const PageNo page = pageCount();
    m_slots.emplace_back().edited = std::make_unique<Page>();
    m_changed.push_back(page);
    return page;
}

void FilePager::writePage(PageNo page, const Page& content) {
    if (m_header.encryptionKey == 0 || page == 0) {
        m_file->write(std::uint64_t{page} * kPageSize, content.view());
        return;
    }
    Page image = content;
    cryptPage(image.span(), m_header.encryptionKey, page);
    m_file->write(std::uint64_t{page} * kPageSize, image.view());
}

void FilePager::commit() {
    assert(m_inTransaction);
    std::sort(m_changed.begin(), m_changed.end());
    if (!m_changed.empty() && m_changed.front() == 0)
        m_header = Header::parse(m_slots[0].edited->view());
    for (const PageNo page : m_changed)
        writePage(page, *m_slots[page].edited);
    for (const PageNo page : m_changed) {
        Slot& slot = m_slots[page];
        keep(page, std::move(slot.edited));
        slot.snapshot.reset();
    }
    m_committedPages = pageCount();
    m_changed.clear();
    m_inTransaction = false;
}

void FilePager::rollback() {
    assert(m_inTransaction);
    for (const PageNo page : m_changed) {
        m_slots[page].edited.reset();
        m_slots[page].snapshot.reset();
    }
    m_slots.resize(m_committedPages);
    m_changed.clear();
    m_inTransaction = false;
    ++m_rollbacks;
}

void FilePager::close() {
    if (!m_file)
        return;
    if (m_inTransaction)
        rollback();
    if (!readOnly())
        m_file->flush();
    m_file.reset();
}

}  // namespace

std::unique_ptr<Pager> Pager::open(Disk& disk, const std::string& path, Options options) {
    auto pager = std::make_unique<FilePager>(disk, path, options);
    pager->openExisting();
    return pager;
}

std::unique_ptr<Pager> Pager::create(Disk& disk, const std::string& path) {
    auto pager = std::make_unique<FilePager>(disk, path, Options{});
    pager->createNew();
    return pager;
}

std::string logPath(const std::string& path) {
    return path + "-log";
}

}  // namespace jet
