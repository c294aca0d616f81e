// SPDX-License-Identifier: MIT
#include "ado/database_file.h"

#include <QFile>
#include <QFileInfo>
#include <vector>

#include "ado/data_source.h"
#include "ado/errors.h"
#include "ado/text.h"
#include "jet/database.h"
#include "jet/disk/file.h"
#include "jet/values/error.h"

namespace ado {
namespace {

constexpr long kDeviceError = 57;
constexpr std::size_t kCopyBlock = std::size_t{1} << 20U;

long numberOf(jet::Errc code) {
    switch (code) {
        case jet::Errc::FileNotFound:
            return vbrt::kFileNotFound;
        case jet::Errc::PathNotFound:
            return vbrt::kPathNotFound;
        case jet::Errc::AccessDenied:
            return vbrt::kPathFileAccess;
        case jet::Errc::Busy:
            return vbrt::kPermissionDenied;
        case jet::Errc::DiskFull:
            return vbrt::kDiskFull;
        default:
            return kDeviceError;
    }
}

// As guarded(), but a failure of the disk has the number that statements about files give it.
template <class Work>
void fileOperation(Work&& work) {
    guarded([&] {
        try {
            work();
        } catch (const jet::Error& e) {
            vbrt::raise(numberOf(e.code()));
        }
    });
}

// Links are followed, so that the file is replaced and not the link.
std::string resolved(const QString& path) {
    const QString canonical = QFileInfo(path).canonicalFilePath();
    return nativePath(canonical.isEmpty() ? path : canonical);
}

bool isOpen(const std::string& path) {
    try {
        return !jet::defaultDisk().open(path, jet::OpenMode::ReadWrite)->lock(true);
    } catch (const jet::Error&) {
        return false;
    }
}

// Throws 70 for a file that is open, and `writeProtected` for one that may not be changed or is a folder.
void checkReplaceable(const std::string& path, long writeProtected = vbrt::kPathFileAccess) {
    const QFileInfo info(fromUtf8(path));
    if (info.exists() && (info.isDir() || !info.isWritable()))
        vbrt::raise(writeProtected);
    if (isOpen(path))
        vbrt::raise(vbrt::kPermissionDenied);
}

void removeLog(const std::string& path) {
    jet::defaultDisk().remove(path + "-log");
}

void copyBytes(const std::string& from, const std::string& to) {
    jet::Disk& disk = jet::defaultDisk();
    const auto source = disk.open(from, jet::OpenMode::Read);
    const auto copy = disk.open(to, jet::OpenMode::CreateNew);
    std::vector<std::uint8_t> block(kCopyBlock);
    std::uint64_t offset = 0;
    while (const std::size_t count = source->read(offset, block)) {
        copy->write(offset, {block.data(), count});
        offset += count;
    }
    copy->flush();
}

void copyDatabaseOrBytes(const std::string& from, const std::string& to) {
    try {
        jet::copyDatabase(from, to);
    } catch (const jet::Error& e) {
        using enum jet::Errc;
        if (e.code() != NotADatabase && e.code() != UnsupportedVersion && e.code() != Corrupt)
            throw;
        copyBytes(from, to);
    }
}

// Puts a finished file in its place. The log of the file that was there goes last: until then it still belongs to it.
void moveIntoPlace(const std::string& from, const std::string& to) {
    const QString target = fromUtf8(to);
    if (QFile::exists(target))
        QFile::setPermissions(fromUtf8(from), QFile::permissions(target));
    jet::defaultDisk().rename(from, to);
    jet::defaultDisk().flushFolder(to);
    removeLog(to);
}

template <class Copy>
void copyIntoPlace(Copy&& copy, const std::string& from, const std::string& to) {
    const std::string part = to + "-new";
    try {
        copy(from, part);
        moveIntoPlace(part, to);
    } catch (...) {
        jet::defaultDisk().remove(part);
        throw;
    }
}

}  // namespace

bool isDatabaseOpen(const QString& path) {
    return guarded([&] { return isOpen(resolved(path)); });
}

void writeDatabaseFile(const QString& path, const QByteArray& bytes) {
    fileOperation([&] {
        jet::Disk& disk = jet::defaultDisk();
        const std::string target = resolved(path);
        const bool isNew = !disk.exists(target);
        checkReplaceable(target);
        removeLog(target);
        try {
            const auto file = disk.open(target, jet::OpenMode::Create);
            file->write(0,
                        {reinterpret_cast<const std::uint8_t*>(bytes.data()), static_cast<std::size_t>(bytes.size())});
            file->flush();
            disk.flushFolder(target);
        } catch (...) {
            if (isNew)
                disk.remove(target);
            throw;
        }
    });
}

void deleteDatabaseFile(const QString& path) {
    fileOperation([&] {
        const std::string target = nativePath(path);  // of a link, the link goes
        if (!QFileInfo::exists(path) && !QFileInfo(path).isSymLink())
            vbrt::raise(vbrt::kFileNotFound);
        checkReplaceable(target);
        jet::defaultDisk().remove(target);
        removeLog(target);
        jet::defaultDisk().flushFolder(target);
    });
}

void replaceDatabaseFile(const QString& from, const QString& to) {
    fileOperation([&] {
        const std::string source = nativePath(from);
        const std::string target = resolved(to);
        if (!QFileInfo::exists(from))
            vbrt::raise(vbrt::kFileNotFound);
        checkReplaceable(source);
        checkReplaceable(target);
        try {
            moveIntoPlace(source, target);
        } catch (const jet::Error&) {
            copyIntoPlace(copyBytes, source, target);  // on another file system
            jet::defaultDisk().remove(source);
        }
        jet::defaultDisk().flushFolder(source);
    });
}

void copyDatabaseFile(const QString& from, const QString& to) {
    fileOperation([&] {
        const std::string source = nativePath(from);
        const std::string target = resolved(to);
        checkReplaceable(target, vbrt::kPermissionDenied);
        copyIntoPlace(copyDatabaseOrBytes, source, target);
    });
}

}  // namespace ado
