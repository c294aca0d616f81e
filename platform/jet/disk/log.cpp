// SPDX-License-Identifier: MIT
#include "jet/disk/log.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <map>

#include "jet/values/bytes.h"

namespace jet {

namespace {

// Header, in the first sector:
//   00  8  magic
//   08  4  version
//   0C  4  pages in the file when the log was started
//   10  8  token
//   18  4  CRC-32 of the bytes before
constexpr std::array<std::uint8_t, 8> kMagic = {'J', 'e', 't', 'L', 'o', 'g', '\r', '\n'};
constexpr std::uint32_t kVersion = 1;
constexpr std::size_t kHeaderLength = 0x1C;

// Record, at the next multiple of the sector size; zeros fill it up to the images:
//   00  4  magic
//   04  4  number of the record, from 1
//   08  8  token of the log
//   10  4  pages in the file after this commit
//   14  4  n, pages in the record
//   18  n entries: page number, CRC-32 of its four sectors before, and after
//       4  CRC-32 of the bytes before: the commit mark
// then at the next multiple of the sector size n images.
constexpr std::uint32_t kRecordMagic = 0x64726F63;  // "cord"
constexpr std::size_t kRecordHead = 0x18;
constexpr std::size_t kEntryLength = 4 + 2 * 4 * (kPageSize / Log::kSectorSize);

constexpr std::uint64_t kChunk = 256 * 1024;             // the log grows by this, so that few flushes change its size
constexpr std::uint64_t kKeptWhenCleared = 4096 * 1024;  // room that a cleared log keeps

constexpr std::uint64_t roundUp(std::uint64_t n, std::uint64_t unit) {
    return (n + unit - 1) / unit * unit;
}

using CrcTables = std::array<std::array<std::uint32_t, 256>, 8>;

constexpr CrcTables makeCrcTables() {
    CrcTables tables{};
    for (std::uint32_t i = 0; i < 256; ++i) {
        std::uint32_t crc = i;
        for (int bit = 0; bit < 8; ++bit)
            crc = crc >> 1U ^ ((crc & 1U) != 0 ? 0xEDB88320U : 0U);
        tables[0][i] = crc;
    }
    for (std::size_t t = 1; t < 8; ++t) {
        for (std::size_t i = 0; i < 256; ++i)
            tables[t][i] = tables[t - 1][i] >> 8U ^ tables[0][tables[t - 1][i] & 0xFFU];
    }
    return tables;
}

constexpr CrcTables kCrc = makeCrcTables();

// CRC-32 as of zip and Ethernet, eight bytes a step: every commit runs all its pages through this.
std::uint32_t crc32(ByteView bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    std::size_t i = 0;
    for (; i + 8 <= bytes.size(); i += 8) {
        std::uint64_t word;
        std::memcpy(&word, bytes.data() + i, 8);
        word ^= crc;
        crc = 0;
        for (std::size_t t = 0; t < 8; ++t)
            crc ^= kCrc[7 - t][word >> 8 * t & 0xFFU];
    }
    for (; i < bytes.size(); ++i)
        crc = crc >> 8U ^ kCrc[0][(crc ^ bytes[i]) & 0xFFU];
    return ~crc;
}

void appendSums(Bytes& out, const std::array<std::uint32_t, 4>& sums) {
    for (const auto sum : sums)
        appendLe(out, sum);
}

// Reads all of `out`, or returns false at the end of the file.
bool readAll(File& file, std::uint64_t offset, std::span<std::uint8_t> out) {
    return file.read(offset, out) == out.size();
}

}  // namespace

bool zerosFrom(File& file, std::uint64_t offset) {
    Bytes block(kPageSize);
    while (const std::size_t count = file.read(offset, block)) {
        if (std::any_of(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(count),
                        [](std::uint8_t byte) { return byte != 0; }))
            return false;
        offset += count;
    }
    return true;
}

Log::SectorSums Log::sumsOf(const Page& page) {
    SectorSums sums;
    for (std::size_t i = 0; i < sums.size(); ++i)
        sums[i] = crc32(page.view().subspan(i * kSectorSize, kSectorSize));
    return sums;
}

Log::Found Log::load() {
    if (!m_disk.exists(m_path))
        return Found::Nothing;
    m_file = m_disk.open(m_path, OpenMode::Read);
    m_allocated = m_file->size();
    Bytes head(kSectorSize);
    m_file->read(0, head);
    if (!std::equal(kMagic.begin(), kMagic.end(), head.begin())) {
        const bool blank = std::all_of(head.begin(), head.end(), [](std::uint8_t b) { return b == 0; });
        return blank ? Found::Nothing : Found::Stranger;
    }
    if (getU32(head, 8) != kVersion)
        throw Error(Errc::UnsupportedVersion, m_path);
    if (getU32(head, kHeaderLength - 4) != crc32(slice(head, 0, kHeaderLength - 4)))
        return Found::Stranger;
    m_firstPageCount = m_pageCount = getU32(head, 0x0C);
    m_token = getLe<std::uint64_t>(head, 0x10);
    m_end = kSectorSize;
    while (loadRecord())
        ++m_records;
    return m_records == 0 ? Found::Nothing : Found::Records;
}

// Reads the record at m_end; false if it is not complete.
bool Log::loadRecord() {
    Bytes head(kRecordHead);
    if (!readAll(*m_file, m_end, head) || getU32(head, 0) != kRecordMagic || getU32(head, 4) != m_records + 1 ||
        getLe<std::uint64_t>(head, 8) != m_token)
        return false;
    const PageNo pageCount = getU32(head, 0x10);
    const std::uint64_t pages = getU32(head, 0x14);
    const std::uint64_t markAt = kRecordHead + pages * kEntryLength;
    const std::uint64_t headLength = roundUp(markAt + 4, kSectorSize);
    if (m_end + headLength + pages * kPageSize > m_allocated || pageCount < m_pageCount)
        return false;
    head.resize(static_cast<std::size_t>(markAt + 4));
    if (!readAll(*m_file, m_end, head) || getU32(head, markAt) != crc32(slice(head, 0, markAt)))
        return false;

    std::vector<Entry> entries;
    for (std::uint64_t i = 0; i < pages; ++i) {
        const std::size_t at = kRecordHead + i * kEntryLength;
        Entry entry{getU32(head, at), getLe<SectorSums>(head, at + 4), getLe<SectorSums>(head, at + 20),
                    m_end + headLength + i * kPageSize};
        Page image;
        if (entry.page >= pageCount || !readAll(*m_file, entry.imageAt, image.span()) || sumsOf(image) != entry.after)
            return false;
        entries.push_back(entry);
    }
    for (const Entry& entry : entries)
        m_newest[entry.page] = entry.imageAt;
    m_loaded.insert(m_loaded.end(), entries.begin(), entries.end());
    m_pageCount = pageCount;
    m_end += headLength + pages * kPageSize;
    return true;
}

// The file must carry the token, and every sector that the log knows must be as it was before the first record that
// changed it or after one of them: a crash leaves any mixture of these, and nothing else.
bool Log::belongsTo(File& file) const {
    const std::uint64_t size = file.size();
    const std::uint64_t end = std::uint64_t{m_pageCount} * kPageSize;
    if (size < std::uint64_t{m_firstPageCount} * kPageSize || (size > end && !zerosFrom(file, end)))
        return false;
    for (PageNo page = m_firstPageCount; page < m_pageCount; ++page) {
        if (!m_newest.contains(page))
            return false;
    }
    Bytes token(sizeof m_token);
    if (!readAll(file, kTokenOffset, token) || getLe<std::uint64_t>(token, 0) != m_token)
        return false;

    std::map<PageNo, std::vector<const Entry*>> history;
    for (const Entry& entry : m_loaded)
        history[entry.page].push_back(&entry);
    for (const auto& [page, entries] : history) {
        Page present;  // zero where the file has not grown yet
        file.read(std::uint64_t{page} * kPageSize, present.span());
        const SectorSums sums = sumsOf(present);
        for (std::size_t i = 0; i < sums.size(); ++i) {
            const auto isAfter = [&](const Entry* entry) { return entry->after[i] == sums[i]; };
            if (sums[i] != entries.front()->before[i] && std::none_of(entries.begin(), entries.end(), isAfter))
                return false;
        }
    }
    return true;
}

void Log::read(PageNo page, Page& image) const {
    if (!readAll(*m_file, m_newest.at(page), image.span()))
        throw Error(Errc::Io, m_path);
}

bool Log::changes(File& file) const {
    Page image;
    Page present;
    return std::any_of(m_newest.begin(), m_newest.end(), [&](const auto& newest) {
        read(newest.first, image);
        return !readAll(file, std::uint64_t{newest.first} * kPageSize, present.span()) || present.bytes != image.bytes;
    });
}

void Log::copyTo(File& file) const {
    Page image;
    for (const auto& [page, offset] : m_newest) {
        read(page, image);
        file.write(std::uint64_t{page} * kPageSize, image.view());
    }
}

void Log::start(std::uint64_t token, PageNo pageCount) {
    if (!m_file) {
        auto file = m_disk.open(m_path, OpenMode::Create);
        m_disk.flushFolder(m_path);
        m_allocated = file->size();
        m_file = std::move(file);
    }
    Bytes head(kMagic.begin(), kMagic.end());
    appendLe(head, kVersion);
    appendLe(head, pageCount);
    appendLe(head, token);
    appendLe(head, crc32(head));
    head.resize(kSectorSize);
    m_file->write(0, head);
    m_token = token;
    m_records = 0;
    m_end = kSectorSize;
    m_pageCount = pageCount;
    m_started = true;
}

void Log::append(std::span<const LoggedPage> pages, PageNo pageCount) {
    assert(m_started);
    try {
        writeRecord(pages, pageCount);
        m_file->flush();
    } catch (...) {
        // The record may be complete all the same. Whoever reads the log from now on, short of a power cut, shall not
        // see what is being rolled back. Without a first record the whole log is given up, since its header may be
        // lost too.
        m_started = m_records > 0;
        wipe(m_started ? m_end : 0);
        throw;
    }
    m_end += roundUp(kRecordHead + pages.size() * kEntryLength + 4, kSectorSize);
    for (const auto& page : pages) {
        m_newest[page.number] = m_end;
        m_end += kPageSize;
    }
    m_pageCount = pageCount;
    ++m_records;
}

void Log::writeRecord(std::span<const LoggedPage> pages, PageNo pageCount) {
    Bytes buffer;
    buffer.reserve(std::min<std::size_t>(pages.size() * (kPageSize + kEntryLength) + 2 * kSectorSize, 2 * kChunk));
    appendLe(buffer, kRecordMagic);
    appendLe(buffer, m_records + 1);
    appendLe(buffer, m_token);
    appendLe(buffer, pageCount);
    appendLe(buffer, static_cast<std::uint32_t>(pages.size()));
    for (const auto& page : pages) {
        appendLe(buffer, page.number);
        appendSums(buffer, sumsOf(*page.before));
        appendSums(buffer, sumsOf(*page.after));
    }
    appendLe(buffer, crc32(buffer));
    buffer.resize(static_cast<std::size_t>(roundUp(buffer.size(), kSectorSize)));

    std::uint64_t at = m_end;
    const auto write = [&] {
        m_file->write(at, buffer);
        at += buffer.size();
        buffer.clear();
    };
    for (const auto& page : pages) {
        buffer.insert(buffer.end(), page.after->bytes.begin(), page.after->bytes.end());
        if (buffer.size() >= kChunk)
            write();
    }
    write();
    if (at <= m_allocated)
        return;
    m_allocated = at;
    buffer.assign(static_cast<std::size_t>(roundUp(at, kChunk) - at), 0);
    try {
        write();
        m_allocated = at;
    } catch (const Error& e) {
        if (e.code() != Errc::DiskFull)
            throw;  // the record itself has its place
    }
}

// Makes the header or record at `offset` unreadable. A failure leaves it to the next record or header in its place.
void Log::wipe(std::uint64_t offset) {
    try {
        m_file->write(offset, Bytes(kSectorSize));
    } catch (const Error&) {
    }
}

void Log::clear() {
    m_started = false;
    m_newest.clear();
    m_records = 0;
    m_end = 0;
    m_file->write(0, Bytes(kSectorSize));
    if (m_allocated > kKeptWhenCleared) {
        m_allocated = kKeptWhenCleared;
        m_file->truncate(m_allocated);
    }
    m_file->flush();
}

void Log::shrink() {
    m_allocated = kSectorSize;
    m_file->truncate(m_allocated);
}

void Log::remove() {
    if (!m_file)
        return;
    m_started = false;
    m_newest.clear();
    m_loaded.clear();
    const auto there = m_disk.status(m_path);
    const bool own = there && there->sameFile(m_file->status());
    m_file.reset();
    if (own)
        m_disk.remove(m_path);
}

void Log::setAside() {
    m_file.reset();
    m_newest.clear();
    m_loaded.clear();
    m_disk.rename(m_path, m_path + ".old");
}

}  // namespace jet
