// SPDX-License-Identifier: MIT
// A disk that fails on purpose, for tests: the Nth operation throws, once or from then on.
//
// It wraps another disk and passes everything through to it. Counted are open, read, write, truncate, reserve, flush,
// rename, remove and flushFolder, on all its files together. Both disks must outlive the Files.
#pragma once

#include <functional>

#include "jet/disk/file.h"
#include "jet/values/error.h"

namespace jet {

class FaultDisk : public Disk {
 public:
    struct Plan {
        std::uint64_t failAt = 0;  // counted from 1; 0 = never
        bool onwards = false;      // every later operation fails too
        bool halfWrite = false;    // a failing write leaves its first half
        bool full = false;         // files can grow by `room` bytes together; everything else goes on
        std::uint64_t room = 0;    // truncating a file adds to it
        Errc error = Errc::Io;
        std::string only = {};  // the path whose operations count; empty = all
        std::function<void(const std::string& path)> onFailedFlush = {};
    };

    explicit FaultDisk(Disk& under) : m_under(under) {}

    // Takes a new plan and counts from the start.
    void setPlan(Plan plan);
    [[nodiscard]] std::uint64_t operations() const { return m_operations; }
    // Whether the plan has failed anything yet.
    [[nodiscard]] bool failed() const { return m_failed; }

    std::unique_ptr<File> open(const std::string& path, OpenMode mode) override;
    [[nodiscard]] bool exists(const std::string& path) override { return m_under.exists(path); }
    [[nodiscard]] std::optional<FileStatus> status(const std::string& path) override { return m_under.status(path); }
    void remove(const std::string& path) override;
    void rename(const std::string& from, const std::string& to) override;
    void flushFolder(const std::string& path) override;
    std::string identity(const std::string& path) override { return m_under.identity(path); }

 private:
    class FaultFile;

    [[nodiscard]] bool counts(const std::string& path) const { return m_plan.only.empty() || path == m_plan.only; }
    // Counts an operation; true if it shall fail.
    bool next(const std::string& path);
    void step(const std::string& path);
    void needRoom(File& file, const std::string& path, std::uint64_t size);

    Disk& m_under;
    Plan m_plan;
    std::uint64_t m_operations = 0;
    bool m_failed = false;
};

}  // namespace jet
