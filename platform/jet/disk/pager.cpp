// SPDX-License-Identifier: MIT
#include "jet/disk/pager.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <deque>
#include <optional>
#include <random>

#include "jet/disk/log.h"
#include "jet/values/bytes.h"

namespace jet {

namespace {

constexpr PageNo kMaxPages = 0x80000;  // 1 GB, where the original engine ends
constexpr PageNo kReadAhead = 32;
constexpr std::uint64_t kLogLimit = 4096 * 1024;  // a longer log is emptied
constexpr std::size_t kCopyBlock = 512 * kPageSize;

const Page kZeroPage;

// Never repeats. No commit counter may be zero, which would mean a commit under way, so each of the four is odd.
std::uint64_t newToken() {
    std::random_device random;
    return (std::uint64_t{random()} << 32U | random()) | 0x0001'0001'0001'0001U;
}

class FilePager : public Pager {
 public:
    FilePager(Disk& disk, const std::string& path, Options options)
        : m_disk(disk), m_path(path), m_options(options), m_log(disk, logPath(disk.identity(path))) {}
    ~FilePager() override {
        try {
            close();
        } catch (const Error&) {
            // The log stays and repairs the file on the next opening.
        }
    }

    void openExisting();
    void createNew();

    const std::string& path() const override { return m_path; }
    bool readOnly() const override { return m_options.readOnly; }
    bool unrepaired() const override { return m_unrepaired; }
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
    void copyTo(Disk& disk, const std::string& path) override;
    void close() override;

 private:
    struct Slot {
        std::shared_ptr<Page> clean;     // as committed; empty = to be read
        std::shared_ptr<Page> edited;    // as the open transaction has it
        std::shared_ptr<Page> snapshot;  // the last copy of `edited` given out
        bool used = false;               // since the clock's hand passed
    };
    struct Change {
        PageNo page = 0;
        std::shared_ptr<Page> before;  // empty for a new page
    };
    // The changed pages as they go into log and file. `copies` holds those that had to be encrypted.
    struct Images {
        std::vector<LoggedPage> pages;
        std::deque<Page> copies;
    };

    void lockOrFail();
    void recover();
    void repair(Log::Found found, std::uint64_t size);
    void keepReplaced();
    void dropLog();
    void checkOurs();
    void finish();
    void rescue();
    [[nodiscard]] std::string rescuePath() const;
    void writeCopy(File& copy);
    void readCommitted(PageNo page, Page& image);
    void checkHeader();

    void readStored(PageNo first, std::span<std::uint8_t> out);
    std::shared_ptr<Page> load(PageNo page);
    std::shared_ptr<Page> committed(PageNo page);
    void keep(PageNo page, std::shared_ptr<Page> content);

    void dropUnchanged();
    Images makeImages();
    void readAllOnce();
    void startLog();
    Images appendToLog();
    void catchUp();
    void reserve();
    void giveBack();
    void writeNewFile(const Images& images);
    void writeThrough(const Images& images);
    void adoptChanges();
    void settle();

    Disk& m_disk;
    std::string m_path;
    Options m_options;
    std::unique_ptr<File> m_file;
    FileStatus m_opened;                   // which file it is
    std::optional<std::uint64_t> m_token;  // in page 0 of the file; unknown while it is being changed
    std::optional<std::uint64_t> m_size;   // of the file; unknown after a failure
    Log m_log;
    Header m_header;
    bool m_unrepaired = false;
    bool m_overwritten = false;  // another program wrote into the file, so that nothing is read from it any more
    bool m_changed = false;      // something was committed into the open file
    bool m_new = false;          // made by create() and without its first commit
    bool m_reserved = false;     // room was taken for the pages that the open transaction adds
    bool m_behind = false;       // the file may lack pages that the log has; these are read from there

    std::vector<Slot> m_slots;    // by page number
    std::vector<PageNo> m_clock;  // the pages with clean content; the hand finds one to drop
    std::size_t m_hand = 0;
    PageNo m_readEnd = 0;  // where the last read of the file ended

    bool m_inTransaction = false;
    PageNo m_committedPages = 0;
    std::vector<Change> m_changes;
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
    lockOrFail();
    try {
        m_opened = m_file->status();
        recover();
    } catch (...) {
        m_file.reset();  // close() shall not take the log away
        throw;
    }
}

void FilePager::createNew() {
    m_file = m_disk.open(m_path, OpenMode::Create);
    lockOrFail();
    m_disk.remove(logPath(m_disk.identity(m_path)));
    m_file->truncate(0);
    m_opened = m_file->status();
    m_new = true;
}

void FilePager::lockOrFail() {
    if (m_file->lock(!readOnly()))
        return;
    m_file.reset();
    throw Error(Errc::Busy, m_path);
}

// Finds out what the file and its log together hold; then, with the file accepted, makes the file hold it alone.
void FilePager::recover() {
    const auto found = m_log.load();
    m_behind = found == Log::Found::Records && m_log.belongsTo(*m_file);
    const std::uint64_t size = m_behind ? std::uint64_t{m_log.pageCount()} * kPageSize : m_file->size();
    if (size < kPageSize)
        throw Error(Errc::NotADatabase, m_path);
    checkHeader();
    const std::uint64_t end = size - size % kPageSize;
    if (size != end && !zerosFrom(*m_file, end))
        corrupt(static_cast<PageNo>(size / kPageSize), "the file ends within a page");
    if (size / kPageSize > kMaxPages)
        corrupt(kMaxPages, "the file is larger than the format allows");
    m_committedPages = static_cast<PageNo>(size / kPageSize);
    m_slots.resize(m_committedPages);
    Page page0;
    readStored(0, page0.span());
    m_token = getLe<std::uint64_t>(page0.view(), Log::kTokenOffset);
    if (!readOnly())
        repair(found, end);
    m_unrepaired = m_behind || m_unrepaired;
    m_size = m_file->size();
}

// Makes the file hold all that it and its log together hold. Where that cannot be done now, everything is read, but
// nothing is changed.
void FilePager::repair(Log::Found found, std::uint64_t size) {
    const bool replays = m_behind;
    try {
        if (replays) {
            keepReplaced();
            settle();
        } else if (found != Log::Found::Nothing) {
            m_log.setAside();
        }
        if (m_file->size() > size)
            m_file->truncate(size);
    } catch (const Error&) {
        m_behind = replays;
        m_unrepaired = m_options.readOnly = true;
        return;
    }
    dropLog();
}

// A log that stays although the file holds everything does no harm: replaying it would change nothing.
void FilePager::dropLog() {
    try {
        m_log.remove();
    } catch (const Error&) {
    }
}

// What replaying the log would overwrite stays beside the file as `<file>.old`: it may be a copy of the open file that
// somebody put back after the crash, which looks like a file whose last writes did not arrive. Cut short and tried
// again, the first image is the one to keep.
void FilePager::keepReplaced() {
    if (!m_log.changes(*m_file))
        return;
    const std::string kept = m_disk.identity(m_path) + ".old";
    Bytes token(sizeof(std::uint64_t));
    if (m_disk.exists(kept) && m_disk.open(kept, OpenMode::Read)->read(Log::kTokenOffset, token) == token.size() &&
        getLe<std::uint64_t>(token, 0) == m_log.token())
        return;
    const std::string part = kept + "-new";
    const auto copy = m_disk.open(part, OpenMode::CreateNew);
    Bytes block(kCopyBlock);
    for (std::uint64_t offset = 0; const std::size_t count = m_file->read(offset, block); offset += count)
        copy->write(offset, ByteView(block).first(count));
    copy->flush();
    m_disk.rename(part, kept);
    m_disk.flushFolder(kept);
}

void FilePager::checkHeader() {
    Page page0;
    readStored(0, page0.span());
    try {
        m_header = Header::parse(page0.view());
    } catch (const Error& e) {
        if (e.code() == Errc::Corrupt)
            throw;
        throw Error(e.code(), m_path);
    }
}

PageRef FilePager::read(PageNo page) {
    if (page >= m_slots.size())
        corrupt(page, "a page outside the file");
    Slot& slot = m_slots[page];
    if (!slot.edited)
        return committed(page);
    // The caller keeps what it gets while the page is edited further, so it gets a copy.
    if (slot.snapshot && slot.snapshot->bytes == slot.edited->bytes)
        return slot.snapshot;
    if (slot.snapshot.use_count() == 1)
        *slot.snapshot = *slot.edited;
    else
        slot.snapshot = std::make_shared<Page>(*slot.edited);
    return slot.snapshot;
}

std::shared_ptr<Page> FilePager::committed(PageNo page) {
    Slot& slot = m_slots[page];
    slot.used = true;
    return slot.clean ? slot.clean : load(page);
}

// Reads pages as they are stored. More than one only while the file is not behind.
void FilePager::readStored(PageNo first, std::span<std::uint8_t> out) {
    if ((m_behind || m_overwritten) && m_log.contains(first)) {
        Page image;
        m_log.read(first, image);
        std::copy(image.bytes.begin(), image.bytes.end(), out.begin());
    } else if (m_overwritten) {
        throw Error(Errc::Displaced, m_path);
    } else if (m_file->read(std::uint64_t{first} * kPageSize, out) < out.size()) {
        throw Error(Errc::Io, m_path, {}, first);
    }
}

// Reads a page, with a few after it, or many when the file is being read through.
std::shared_ptr<Page> FilePager::load(PageNo page) {
    const bool onward = page >= m_readEnd && page - m_readEnd < kReadAhead;
    const auto room = static_cast<PageNo>(std::max<std::size_t>(m_options.cachePages / 4, 1));
    const PageNo count =
        m_behind || m_overwritten ? 1 : std::min({onward ? kReadAhead : 4, room, m_committedPages - page});
    Bytes block(count * kPageSize);
    readStored(page, block);
    m_readEnd = page + count;
    std::shared_ptr<Page> result;
    for (PageNo i = 0; i < count; ++i) {
        if (m_slots[page + i].clean)
            continue;
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
    if (m_clock.size() < std::max<std::size_t>(m_options.cachePages, kReadAhead)) {
        m_clock.push_back(page);
        return;
    }
    const auto advance = [this] { m_hand = (m_hand + 1) % m_clock.size(); };
    while (m_slots[m_clock[m_hand]].used) {
        m_slots[m_clock[m_hand]].used = false;
        advance();
    }
    m_slots[m_clock[m_hand]].clean.reset();
    m_clock[m_hand] = page;
    advance();
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
        auto before = committed(page);
        m_slots[page].edited = std::make_shared<Page>(*before);
        m_changes.push_back({page, std::move(before)});
    }
    return *m_slots[page].edited;
}

PageNo FilePager::extend() {
    assert(m_inTransaction);
    if (m_slots.size() >= kMaxPages)
        throw Error(Errc::DiskFull, m_path);
    const PageNo page = pageCount();
    m_slots.emplace_back().edited = std::make_shared<Page>();
    m_changes.push_back({page, nullptr});
    return page;
}

void FilePager::commit() {
    assert(m_inTransaction);
    dropUnchanged();
    if (m_changes.empty()) {
        m_inTransaction = false;
        return;
    }
    const Header oldHeader = m_header;
    Images images;
    try {
        if (m_changes.front().page == 0)
            m_header = Header::parse(m_slots[0].edited->view());
        if (!m_new && m_header.encryptionKey != oldHeader.encryptionKey)
            throw Error(Errc::UnsupportedFeature, "another encryption key");
        if (m_new) {
            images = makeImages();
            writeNewFile(images);
        } else {
            checkOurs();
            catchUp();
            reserve();
            images = appendToLog();
        }
    } catch (...) {
        m_header = oldHeader;
        rollback();
        giveBack();
        throw;
    }
    // The commit is durable from here on, whatever happens to the file.
    if (!m_new)
        writeThrough(images);
    adoptChanges();
    if (m_log.size() <= kLogLimit)
        return;
    try {
        settle();
        m_log.clear();
    } catch (const Error&) {
        // Tried again by the next commit; until then the log grows.
    }
}

// Sorts the changes and takes out pages that were edited back to what they had been.
void FilePager::dropUnchanged() {
    std::sort(m_changes.begin(), m_changes.end(), [](const auto& a, const auto& b) { return a.page < b.page; });
    std::erase_if(m_changes, [this](const Change& change) {
        Slot& slot = m_slots[change.page];
        if (!change.before)
            return false;
        if (change.page == 0)  // the token is ours
            std::copy_n(change.before->bytes.begin() + Log::kTokenOffset, sizeof(std::uint64_t),
                        slot.edited->bytes.begin() + Log::kTokenOffset);
        if (slot.edited->bytes != change.before->bytes)
            return false;
        slot.edited.reset();
        slot.snapshot.reset();
        return true;
    });
}

// Brings into the file what earlier commits could write into the log alone. While that fails nothing more is taken on.
void FilePager::catchUp() {
    if (!m_behind)
        return;
    m_size.reset();
    m_log.copyTo(*m_file);
    m_behind = false;
}

// Takes the room that the file grows by, so that a full disk refuses the commit and not the pages of one that counts.
void FilePager::reserve() {
    if (pageCount() == m_committedPages)
        return;
    m_reserved = true;
    m_size.reset();
    const std::uint64_t size = std::uint64_t{pageCount()} * kPageSize;
    try {
        m_file->reserve(size);
    } catch (const Error& e) {
        if (e.code() != Errc::DiskFull || !m_log.started())
            throw;
        // The log may have what the file needs.
        settle();
        m_log.clear();
        m_log.shrink();
        m_file->reserve(size);
    }
}

// What was taken for a commit that failed. If that fails too, the file ends in zeros, which are free pages.
void FilePager::giveBack() {
    if (!m_reserved)
        return;
    m_reserved = false;
    try {
        m_file->truncate(std::uint64_t{m_committedPages} * kPageSize);
        m_size = std::uint64_t{m_committedPages} * kPageSize;
    } catch (const Error&) {
    }
}

// Throws Displaced unless the path still leads to the file that was opened, and the file is as this session left it.
// Overwriting a file changes its token: each session that changes anything has one of its own.
void FilePager::checkOurs() {
    if (m_overwritten)
        throw Error(Errc::Displaced, m_path);
    const auto there = m_disk.status(m_path);
    if (!there || !there->sameFile(m_opened))
        throw Error(Errc::Displaced, m_path);
    Bytes token(sizeof(std::uint64_t));
    const std::size_t length = m_file->read(Log::kTokenOffset, token);
    const bool sameToken = length == token.size() && (!m_token || getLe<std::uint64_t>(token, 0) == *m_token);
    if (sameToken && (!m_size || there->size == *m_size))
        return;
    m_overwritten = true;
    throw Error(Errc::Displaced, m_path);
}

// Fills the cache, as far as the whole file fits there: should another program write over the file, all of it can
// still be saved.
void FilePager::readAllOnce() {
    if (m_committedPages > m_options.cachePages)
        return;
    try {
        for (PageNo page = 0; page < m_committedPages; ++page)
            (void)committed(page);
    } catch (const Error&) {
        // A page that cannot be read is an error to whoever needs it.
    }
}

// Marks the file as the one that the log belongs to. Records count only beside a file with this mark, so it must be
// durable before the first of them.
void FilePager::startLog() {
    readAllOnce();
    const std::uint64_t token = newToken();
    Bytes bytes;
    appendLe(bytes, token);
    m_token.reset();
    m_file->write(Log::kTokenOffset, bytes);
    m_file->flush();
    m_token = token;
    const auto page0 = std::make_shared<Page>(*committed(0));
    putLe(page0->span(), Log::kTokenOffset, token);
    keep(0, page0);
    if (m_changes.front().page == 0) {
        m_changes.front().before = page0;
        putLe(m_slots[0].edited->span(), Log::kTokenOffset, token);
    }
    m_log.start(token, m_committedPages);
}

// Logs the changes. Where the log cannot grow, the file takes over what is in it, and it starts anew in the same place.
FilePager::Images FilePager::appendToLog() {
    for (;;) {
        if (!m_log.started())
            startLog();
        Images images = makeImages();
        try {
            m_log.append(images.pages, pageCount());
            return images;
        } catch (const Error& e) {
            if (e.code() != Errc::DiskFull || !m_log.hasRecords())
                throw;
        }
        settle();
        m_log.clear();
    }
}

FilePager::Images FilePager::makeImages() {
    Images images;
    const auto stored = [&](PageNo page, const Page& content) -> const Page* {
        if (m_header.encryptionKey == 0 || page == 0)
            return &content;
        Page& copy = images.copies.emplace_back(content);
        cryptPage(copy.span(), m_header.encryptionKey, page);
        return &copy;
    };
    for (const auto& [page, before] : m_changes)
        images.pages.push_back(
            {page, before ? stored(page, *before) : &kZeroPage, stored(page, *m_slots[page].edited)});
    return images;
}

// A new file needs no log: it is no database until page 0 is there, which comes last.
void FilePager::writeNewFile(const Images& images) {
    assert(images.pages.front().number == 0);
    try {
        for (std::size_t i = 1; i < images.pages.size(); ++i)
            m_file->write(std::uint64_t{images.pages[i].number} * kPageSize, images.pages[i].after->view());
        m_file->flush();
        m_file->write(0, images.pages.front().after->view());
        m_file->flush();
        m_disk.flushFolder(m_path);
    } catch (...) {
        try {
            m_file->truncate(0);
        } catch (const Error&) {
            // The first failure is the one to report.
        }
        throw;
    }
}

// Writes what the log has just taken into the file. After a failure, which a full disk should not be the cause of, the
// file is behind, and the log stands in for it until a later attempt succeeds.
void FilePager::writeThrough(const Images& images) {
    try {
        for (const auto& page : images.pages)
            m_file->write(std::uint64_t{page.number} * kPageSize, page.after->view());
        m_size = std::uint64_t{pageCount()} * kPageSize;
    } catch (const Error&) {
        m_behind = true;
        m_size.reset();
    }
    m_changed = true;
}

void FilePager::adoptChanges() {
    for (const auto& change : m_changes) {
        Slot& slot = m_slots[change.page];
        slot.snapshot.reset();
        keep(change.page, std::move(slot.edited));
    }
    m_changes.clear();
    m_committedPages = pageCount();
    m_new = false;
    m_reserved = false;
    m_inTransaction = false;
}

// Makes the file hold durably all that the log has. Once a flush has failed nothing tells which pages arrived, so all
// are written again before the next.
void FilePager::settle() {
    if (m_behind)
        m_log.copyTo(*m_file);
    m_behind = true;
    m_file->flush();
    m_behind = false;
}

void FilePager::copyTo(Disk& disk, const std::string& path) {
    try {
        checkOurs();
    } catch (const Error&) {
        // What is still ours, here, in the log or under another name, is copied all the same.
    }
    const auto copy = disk.open(path, OpenMode::CreateNew);
    try {
        writeCopy(*copy);
    } catch (...) {
        disk.remove(path);
        throw;
    }
}

void FilePager::writeCopy(File& copy) {
    copy.reserve(std::uint64_t{m_committedPages} * kPageSize);
    Bytes block;
    std::uint64_t offset = 0;
    for (PageNo page = 0; page < m_committedPages; ++page) {
        Page image;
        readCommitted(page, image);
        if (page == 0)
            putLe(image.span(), Log::kTokenOffset, newToken());
        block.insert(block.end(), image.bytes.begin(), image.bytes.end());
        if (block.size() == kCopyBlock || page + 1 == m_committedPages) {
            copy.write(offset, block);
            offset += block.size();
            block.clear();
        }
    }
    copy.flush();
}

// As the file holds it. Neither fills the cache nor counts as a use.
void FilePager::readCommitted(PageNo page, Page& image) {
    if (!m_slots[page].clean) {
        readStored(page, image.span());
        return;
    }
    image = *m_slots[page].clean;
    if (m_header.encryptionKey != 0 && page != 0)
        cryptPage(image.span(), m_header.encryptionKey, page);
}

void FilePager::rollback() {
    assert(m_inTransaction);
    for (const auto& change : m_changes) {
        m_slots[change.page].edited.reset();
        m_slots[change.page].snapshot.reset();
    }
    m_changes.clear();
    m_slots.resize(m_committedPages);
    m_inTransaction = false;
    ++m_rollbacks;
}

void FilePager::close() {
    if (!m_file)
        return;
    if (m_inTransaction)
        rollback();
    if (!readOnly())
        finish();
    m_file.reset();
}

void FilePager::finish() {
    try {
        if (m_changed)
            checkOurs();
        if (m_log.started())
            settle();
    } catch (const Error& e) {
        if (e.code() == Errc::Displaced)
            rescue();
        throw Error(Errc::Unfinished, m_path);
    }
    dropLog();
}

// Saves what was open beside the place where the file was, and says so.
void FilePager::rescue() {
    const std::string copy = rescuePath();
    bool saved = true;
    try {
        copyTo(m_disk, copy);
        m_disk.flushFolder(copy);
    } catch (const Error&) {
        saved = false;
    }
    try {
        if (!m_overwritten)
            settle();  // under whatever name it may have now
    } catch (const Error&) {
    }
    if (saved)
        dropLog();
    m_file.reset();
    throw saved ? Error(Errc::Rescued, copy, m_path) : Error(Errc::NotRescued, m_path);
}

// "Home (rescued).mdb" for "Home.mdb".
std::string FilePager::rescuePath() const {
    const std::size_t name = m_path.find_last_of("/\\") + 1;
    const std::size_t dot = m_path.rfind('.');
    const std::size_t end = dot == std::string::npos || dot <= name ? m_path.size() : dot;
    for (int n = 1;; ++n) {
        const std::string mark = n == 1 ? " (rescued)" : " (rescued " + std::to_string(n) + ")";
        const std::string path = m_path.substr(0, end) + mark + m_path.substr(end);
        if (!m_disk.exists(path))
            return path;
    }
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
