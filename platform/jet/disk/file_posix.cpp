// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vector>

#include "jet/disk/file.h"
#include "jet/values/error.h"

namespace jet {

namespace {

// One byte, far past the largest file of the format.
constexpr off_t kLockOffset = off_t{1} << 40;

std::string folderOf(const std::string& path) {
    const auto slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool isFolder(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

[[noreturn]] void fail(int error, const std::string& path) {
    switch (error) {
        case ENOENT:
        case ENOTDIR:
        case ENAMETOOLONG:
        case ELOOP:
            throw Error(isFolder(folderOf(path)) ? Errc::FileNotFound : Errc::PathNotFound, path);
        case EACCES:
        case EPERM:
        case EROFS:
        case EISDIR:
        case ETXTBSY:
            throw Error(Errc::AccessDenied, path);
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            throw Error(Errc::DiskFull, path);
        default:
            throw Error(Errc::Io, path + ": " + std::strerror(error));
    }
}

// Repeats a system call that a signal interrupted.
template <typename Call>
auto again(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

FileStatus statusOf(const struct stat& info) {
    return {static_cast<std::uint64_t>(info.st_dev), static_cast<std::uint64_t>(info.st_ino),
            static_cast<std::uint64_t>(info.st_size)};
}

class Descriptor {
 public:
    Descriptor(const std::string& path, int flags) : m_fd(again([&] { return ::open(path.c_str(), flags, 0666); })) {
        if (m_fd < 0)
            fail(errno, path);
    }
    ~Descriptor() { ::close(m_fd); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] int get() const { return m_fd; }

 private:
    int m_fd;
};

class PosixFile : public File {
 public:
    PosixFile(const std::string& path, int flags) : m_path(path), m_fd(path, flags) {
        if (!S_ISREG(info().st_mode))
            fail(EISDIR, path);
    }

    std::size_t read(std::uint64_t offset, std::span<std::uint8_t> out) override {
        std::size_t done = 0;
        while (done < out.size()) {
            const auto n = again([&] {
                return ::pread(m_fd.get(), out.data() + done, out.size() - done, static_cast<off_t>(offset + done));
            });
            if (n < 0)
                fail(errno, m_path);
            if (n == 0)
                break;
            done += static_cast<std::size_t>(n);
        }
        return done;
    }

    void write(std::uint64_t offset, ByteView data) override {
        while (!data.empty()) {
            const auto n =
                again([&] { return ::pwrite(m_fd.get(), data.data(), data.size(), static_cast<off_t>(offset)); });
            if (n < 0)
                fail(errno, m_path);
            data = data.subspan(static_cast<std::size_t>(n));
            offset += static_cast<std::uint64_t>(n);
        }
    }

    FileStatus status() override { return statusOf(info()); }

    void truncate(std::uint64_t size) override {
        if (again([&] { return ::ftruncate(m_fd.get(), static_cast<off_t>(size)); }) != 0)
            fail(errno, m_path);
    }

    void reserve(std::uint64_t size) override {
        const std::uint64_t from = this->size();
        if (size <= from)
            return;
        const auto length = static_cast<off_t>(size - from);
        if (again([&] { return ::fallocate(m_fd.get(), 0, static_cast<off_t>(from), length); }) == 0)
            return;
        if (errno != EOPNOTSUPP && errno != ENOSYS)
            fail(errno, m_path);
        writeZeros(from, size);  // file systems without the call
    }

    void flush() override {
        if (again([&] { return ::fdatasync(m_fd.get()); }) != 0)
            fail(errno, m_path);
    }

    bool lock(bool exclusive) override {
        // Of the open file, not of the process: closing another handle of the same file does not drop it, and a
        // second opening within the process meets it.
        struct flock range {};
        range.l_type = exclusive ? F_WRLCK : F_RDLCK;
        range.l_whence = SEEK_SET;
        range.l_start = kLockOffset;
        range.l_len = 1;
        if (again([&] { return ::fcntl(m_fd.get(), F_OFD_SETLK, &range); }) == 0)
            return true;
        if (errno == EAGAIN || errno == EACCES)
            return false;
        fail(errno, m_path);
    }

 private:
    void writeZeros(std::uint64_t from, std::uint64_t end) {
        const std::vector<std::uint8_t> zeros(64 * 1024);
        for (; from < end; from += zeros.size())
            write(from, {zeros.data(), static_cast<std::size_t>(std::min<std::uint64_t>(zeros.size(), end - from))});
    }

    struct stat info() {
        struct stat result {};
        if (::fstat(m_fd.get(), &result) != 0)
            fail(errno, m_path);
        return result;
    }

    std::string m_path;
    Descriptor m_fd;
};

class PosixDisk : public Disk {
 public:
    PosixDisk() {
        // A file beyond the user's limit is an error like a full disk, and not the end of the process.
        struct sigaction action {};
        if (::sigaction(SIGXFSZ, nullptr, &action) == 0 && action.sa_handler == SIG_DFL)
            ::signal(SIGXFSZ, SIG_IGN);
    }

    std::unique_ptr<File> open(const std::string& path, OpenMode mode) override {
        // O_NONBLOCK, so that opening a pipe does not wait for its other end; regular files ignore it.
        int flags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
        switch (mode) {
            case OpenMode::Read:
                flags |= O_RDONLY;
                break;
            case OpenMode::ReadWrite:
                flags |= O_RDWR;
                break;
            case OpenMode::Create:
                flags |= O_RDWR | O_CREAT;
                break;
            case OpenMode::CreateNew:
                flags |= O_RDWR | O_CREAT | O_TRUNC;
                break;
        }
        return std::make_unique<PosixFile>(path, flags);
    }

    bool exists(const std::string& path) override {
        struct stat info {};
        return ::stat(path.c_str(), &info) == 0;
    }

    std::optional<FileStatus> status(const std::string& path) override {
        struct stat info {};
        if (::stat(path.c_str(), &info) == 0)
            return statusOf(info);
        if (errno == ENOENT || errno == ENOTDIR || errno == ELOOP)
            return std::nullopt;
        fail(errno, path);
    }

    void remove(const std::string& path) override {
        if (::unlink(path.c_str()) != 0 && errno != ENOENT)
            fail(errno, path);
    }

    void rename(const std::string& from, const std::string& to) override {
        if (::rename(from.c_str(), to.c_str()) != 0)
            fail(errno, from);
    }

    void flushFolder(const std::string& path) override {
        const std::string folder = folderOf(path);
        const Descriptor fd(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        // EINVAL: a file system that does not flush folders.
        if (again([&] { return ::fsync(fd.get()); }) != 0 && errno != EINVAL)
            fail(errno, folder);
    }

    std::string identity(const std::string& path) override {
        std::error_code error;
        const auto resolved = std::filesystem::weakly_canonical(path, error);
        return error ? path : resolved.string();
    }
};

}  // namespace

Disk& realDisk() {
    static PosixDisk disk;
    return disk;
}

}  // namespace jet
