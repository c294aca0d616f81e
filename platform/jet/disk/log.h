// SPDX-License-Identifier: MIT
// The log of one file: the new images of the pages of every commit since the file was last flushed.
//
// The pager appends to it, and after a crash asks it whether it belongs to the file beside it and for the newest
// images. It knows pages only as the file holds them, encrypted or not. docs/log.md describes the bytes and why they
// suffice.
#pragma once

#include <array>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "jet/disk/file.h"
#include "jet/values/types.h"

namespace jet {

// A page of a commit, as it was in the file (all zero if it is new) and as it shall be.
struct LoggedPage {
    PageNo number = 0;
    const Page* before = nullptr;
    const Page* after = nullptr;
};

// Whether the rest of the file is nothing but zeros, as room is that was taken for a commit that never came.
bool zerosFrom(File& file, std::uint64_t offset);

class Log {
 public:
    static constexpr std::size_t kSectorSize = 512;
    // The mark that joins a file to its log: 8 bytes in the last commit counters of page 0.
    static constexpr std::size_t kTokenOffset = 0x7F8;

    Log(Disk& disk, std::string path) : m_disk(disk), m_path(std::move(path)) {}

    enum class Found {
        Nothing,   // no log, or none with a complete record
        Records,   // a log; ask belongsTo()
        Stranger,  // something else under the log's name
    };
    // Reads the log that an earlier process left, without changing anything. Throws UnsupportedVersion.
    Found load();
    // After Found::Records: whether `file` can be what a crash left of the file that this log was written for.
    bool belongsTo(File& file) const;
    // Pages in the file after the last record.
    [[nodiscard]] PageNo pageCount() const { return m_pageCount; }

    [[nodiscard]] bool contains(PageNo page) const { return m_newest.contains(page); }
    // The newest image. REQUIRES: contains(page).
    void read(PageNo page, Page& image) const;
    // Whether copyTo() would change the file.
    bool changes(File& file) const;
    // Writes the newest image of every page, and with that the right size, into the file. Does not flush.
    void copyTo(File& file) const;

    // Started: it has a token and can take records. A log is not started when it is loaded, cleared, or when its first
    // record failed.
    [[nodiscard]] bool started() const { return m_started; }
    [[nodiscard]] std::uint64_t token() const { return m_token; }
    // Makes an empty log for a file of `pageCount` pages that carries `token` durably.
    void start(std::uint64_t token, PageNo pageCount);
    // Adds a record; it is durable when this returns. `pageCount` is the size of the file that it leads to. After an
    // exception the record does not count, and the next one takes its place. REQUIRES: started().
    void append(std::span<const LoggedPage> pages, PageNo pageCount);
    [[nodiscard]] std::uint64_t size() const { return m_end; }
    [[nodiscard]] bool hasRecords() const { return m_records > 0; }

    // Takes back all records: the file holds them durably.
    void clear();
    // Gives back the room of a cleared log.
    void shrink();
    // Removes the log file that load() found or start() made, if any. What lies under its name by now may be another's
    // log, and stays.
    void remove();
    // Renames it to `<path>.old`.
    void setAside();

 private:
    using SectorSums = std::array<std::uint32_t, kPageSize / kSectorSize>;
    struct Entry {
        PageNo page = 0;
        SectorSums before{};
        SectorSums after{};
        std::uint64_t imageAt = 0;
    };

    static SectorSums sumsOf(const Page& page);
    bool loadRecord();
    void writeRecord(std::span<const LoggedPage> pages, PageNo pageCount);
    void wipe(std::uint64_t offset);

    Disk& m_disk;
    std::string m_path;
    std::unique_ptr<File> m_file;
    bool m_started = false;
    std::uint64_t m_token = 0;
    std::uint32_t m_records = 0;
    std::uint64_t m_end = 0;        // where the next record goes
    std::uint64_t m_allocated = 0;  // size of the log file
    PageNo m_firstPageCount = 0;
    PageNo m_pageCount = 0;
    std::unordered_map<PageNo, std::uint64_t> m_newest;  // where the newest image of a page lies
    std::vector<Entry> m_loaded;                         // of all records, in order
};

}  // namespace jet
