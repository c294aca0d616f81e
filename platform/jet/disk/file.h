// SPDX-License-Identifier: MIT
// The seam to the disk: everything the engine does outside its own memory goes through these two interfaces.
//
// Three disks exist: the real one (file_posix.cpp, file_win32.cpp), one in memory (memory_disk.h) and one that fails
// at the Nth operation (fault_disk.h). Offsets and lengths are bytes. All operations throw jet::Error: Io or DiskFull
// when the system fails, and on opening FileNotFound, PathNotFound, AccessDenied or Busy.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "jet/values/types.h"

namespace jet {

// Which file it is, whatever it is called now (device and inode, or volume and index), and its length.
struct FileStatus {
    std::uint64_t volume = 0;
    std::uint64_t index = 0;
    std::uint64_t size = 0;

    [[nodiscard]] bool sameFile(const FileStatus& other) const {
        return volume == other.volume && index == other.index;
    }
};

class File {
 public:
    File() = default;
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    virtual ~File() = default;

    // Reads up to `out.size()` bytes at `offset`; returns how many there were (less only at the end of the file).
    virtual std::size_t read(std::uint64_t offset, std::span<std::uint8_t> out) = 0;
    // Writes all of `data`, growing the file if needed. After an exception any part may have been written.
    virtual void write(std::uint64_t offset, ByteView data) = 0;
    [[nodiscard]] virtual FileStatus status() = 0;
    [[nodiscard]] std::uint64_t size() { return status().size; }
    virtual void truncate(std::uint64_t size) = 0;
    // Takes the room that the file needs to grow to `size`, so that later writes up to there do not meet a full disk.
    // May lengthen the file with zeros to take it, and after an exception may have done so in part.
    virtual void reserve(std::uint64_t size) = 0;
    // Returns when everything written is on the medium.
    virtual void flush() = 0;
    // Takes the process lock of this file, without waiting: shared for readers, exclusive for a writer. False when
    // another process (or another File of this one) holds a lock that excludes it. Freed when the File goes away.
    virtual bool lock(bool exclusive) = 0;
};

enum class OpenMode {
    Read,       // must exist
    ReadWrite,  // must exist
    Create,     // made if missing, kept if there
    CreateNew,  // made or emptied
};

class Disk {
 public:
    Disk() = default;
    Disk(const Disk&) = delete;
    Disk& operator=(const Disk&) = delete;
    virtual ~Disk() = default;

    virtual std::unique_ptr<File> open(const std::string& path, OpenMode mode) = 0;
    [[nodiscard]] virtual bool exists(const std::string& path) = 0;
    // Of the file that the path leads to now; nothing when there is none.
    [[nodiscard]] virtual std::optional<FileStatus> status(const std::string& path) = 0;
    // Removing a file that is not there is no error.
    virtual void remove(const std::string& path) = 0;
    // Replaces `to` in one step.
    virtual void rename(const std::string& from, const std::string& to) = 0;
    // Makes creations, removals and renames in the folder of `path` durable.
    virtual void flushFolder(const std::string& path) = 0;
    // A text that is the same for every path that leads to the same file (links resolved).
    virtual std::string identity(const std::string& path) = 0;
};

// The real disk of this system; lives as long as the process. Paths are UTF-8.
Disk& realDisk();
// Where files are when nothing else is said: the real disk, unless a test has put another in its place (nullptr takes
// it away again).
Disk& defaultDisk();
void setDefaultDisk(Disk* disk);

}  // namespace jet
