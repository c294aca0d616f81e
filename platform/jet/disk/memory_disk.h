// SPDX-License-Identifier: MIT
// A disk in memory, for tests and for building files that are handed on as bytes.
//
// Paths are plain names: there are no folders. Several Files on one path share its content, and their locks exclude
// each other as those of processes do. The disk knows which writes and names have been flushed, so that a test can ask
// for a disk as a crash might leave it. It must outlive its Files.
#pragma once

#include <functional>
#include <map>

#include "jet/disk/file.h"

namespace jet {

class MemoryDisk : public Disk {
 public:
    static constexpr std::size_t kSectorSize = 512;

    MemoryDisk();
    ~MemoryDisk() override;

    std::unique_ptr<File> open(const std::string& path, OpenMode mode) override;
    [[nodiscard]] bool exists(const std::string& path) override;
    [[nodiscard]] std::optional<FileStatus> status(const std::string& path) override;
    void remove(const std::string& path) override;
    void rename(const std::string& from, const std::string& to) override;
    void flushFolder(const std::string& path) override;
    std::string identity(const std::string& path) override;

    // The bytes of a file; empty if there is none.
    [[nodiscard]] Bytes content(const std::string& path) const;
    // Makes or replaces a file, durably. Files open on the path keep the old one.
    void setContent(const std::string& path, Bytes bytes);
    // A write-protected file opens for reading only, as one does whose permissions forbid writing.
    void setWriteProtected(const std::string& path, bool on);
    // What a failed flush may leave behind: the writes since the last good one stay visible, but no later flush makes
    // them durable.
    void loseUnflushed(const std::string& path);
    [[nodiscard]] std::vector<std::string> names() const;

    // The disk after a crash now: all that was flushed, and of the rest what `survives` returns true for. It is asked
    // once for each name made, moved or removed since the folder was flushed, in order until the first that does not
    // survive, then file by file for each sector written and each truncation since that file was flushed.
    [[nodiscard]] std::unique_ptr<MemoryDisk> crashed(const std::function<bool()>& survives) const;

 private:
    struct Node;
    class OpenFile;
    using Names = std::map<std::string, std::shared_ptr<Node>>;

    Names m_names;
    Names m_durableNames;
    std::vector<Names> m_laterNames;  // after each change since then
};

}  // namespace jet
