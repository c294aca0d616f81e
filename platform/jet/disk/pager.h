// SPDX-License-Identifier: MIT
// Pager gives the engine the pages of one file, and makes the changes of one transaction appear all or not at all.
//
// A commit appends the new images of the changed pages, checksummed and marked, to the log `<file>-log` and flushes it
// once; only then are the pages written into the file itself, unflushed. After a crash open() replays the complete
// records of the log, ignores a torn tail, flushes the file and removes the log. The log is emptied whenever the file
// has been flushed (on close, and when it has grown past a few megabytes). A log that does not belong to the file
// beside it is set aside as `<file>-log.old` and never replayed; both carry a token, which the pager keeps in the last
// 8 bytes of page 0 whatever a transaction writes there. docs/log.md describes the bytes.
//
// One Pager serves all users of a file within the process; everything runs on one thread.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "jet/disk/file.h"
#include "jet/disk/header.h"
#include "jet/values/types.h"

namespace jet {

using PageRef = std::shared_ptr<const Page>;

class Pager {
 public:
    struct Options {
        bool readOnly = false;          // never writes: a log that needs replaying is replayed in memory alone
        std::size_t cachePages = 8192;  // clean pages kept; changed ones are always kept
    };

    // Opens an existing file: takes the lock, repairs from the log, checks page 0. With readOnly unset and a file that
    // may only be read, or that cannot be repaired now, opens for reading only (see readOnly()).
    // Throws FileNotFound, PathNotFound, AccessDenied, Busy, NotADatabase, UnsupportedVersion, Corrupt, Io.
    static std::unique_ptr<Pager> open(Disk& disk, const std::string& path, Options options);
    // Makes (or empties) a file and removes a log left beside it. The first transaction must write page 0.
    static std::unique_ptr<Pager> create(Disk& disk, const std::string& path);

    virtual ~Pager() = default;

    [[nodiscard]] virtual const std::string& path() const = 0;
    [[nodiscard]] virtual bool readOnly() const = 0;
    // Whether a log beside the file is still to be put in order: the file could not be written, for lack of room or of
    // permission. It is read through the log.
    [[nodiscard]] virtual bool unrepaired() const = 0;
    // Re-read after every commit that changed page 0.
    [[nodiscard]] virtual const Header& header() const = 0;
    // Pages in the file, those added by the open transaction included.
    [[nodiscard]] virtual PageNo pageCount() const = 0;

    // The page as the open transaction sees it, decrypted. A PageRef keeps its bytes: it does not see later edits, so
    // read again after edit(). Throws Corrupt for a page outside the file.
    [[nodiscard]] virtual PageRef read(PageNo page) = 0;

    // Transactions do not nest. begin() throws ReadOnly on a read-only file.
    virtual void begin() = 0;
    [[nodiscard]] virtual bool inTransaction() const = 0;
    // The page for changing; the reference is good until commit() or rollback(). REQUIRES: inTransaction().
    virtual Page& edit(PageNo page) = 0;
    // Adds a zeroed page at the end of the file and returns its number. REQUIRES: inTransaction().
    virtual PageNo extend() = 0;
    // Nothing is written when the path of the file leads elsewhere by now or another program wrote the file: Displaced.
    // Everything can still be read then, from the file itself, the log or the cache.
    // Durable when it returns, and the file has the room for it. When it throws, the transaction has been rolled back.
    virtual void commit() = 0;
    virtual void rollback() = 0;
    // Counts rollbacks: whoever caches what it read from pages compares this number.
    [[nodiscard]] virtual std::uint64_t rollbacks() const = 0;

    // Writes a file that has what the last commit left, log included, with a token of its own, so that no log is ever
    // taken for the copy's. It is flushed; after an error it is gone again. REQUIRES: nobody uses `path`.
    virtual void copyTo(Disk& disk, const std::string& path) = 0;

    // Flushes the file and removes the log. Called by the destructor too, which swallows errors. Throws Unfinished when
    // the log has to stay. A Displaced file is left alone, and what was open is saved beside it under a name of its
    // own: Rescued, or NotRescued when that fails.
    virtual void close() = 0;
};

// Where the log of a file lies. Whoever replaces or deletes a budget file takes this away too.
std::string logPath(const std::string& path);

}  // namespace jet
