// SPDX-License-Identifier: MIT
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "jet/disk/file.h"
#include "jet/values/error.h"

namespace jet {

namespace {

// One byte, far past the largest file of the format.
constexpr std::uint64_t kLockOffset = std::uint64_t{1} << 40;

// The most that one call reads or writes; its length is 32 bits wide.
constexpr std::size_t kMostAtOnce = 64 * 1024 * 1024;

std::wstring toWide(const std::string& utf8) {
    const int length = ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(length), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), wide.data(), length);
    return wide;
}

std::string toUtf8(const std::wstring& wide) {
    const int size = static_cast<int>(wide.size());
    const int length = ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<std::size_t>(length), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, utf8.data(), length, nullptr, nullptr);
    return utf8;
}

[[noreturn]] void fail(DWORD error, const std::string& path) {
    switch (error) {
        case ERROR_FILE_NOT_FOUND:
            throw Error(Errc::FileNotFound, path);
        case ERROR_PATH_NOT_FOUND:
        case ERROR_BAD_PATHNAME:
        case ERROR_BAD_NETPATH:
        case ERROR_BAD_NET_NAME:
        case ERROR_INVALID_DRIVE:
        case ERROR_INVALID_NAME:
        case ERROR_FILENAME_EXCED_RANGE:
        case ERROR_DIRECTORY:
            throw Error(Errc::PathNotFound, path);
        case ERROR_ACCESS_DENIED:
        case ERROR_WRITE_PROTECT:
            throw Error(Errc::AccessDenied, path);
        case ERROR_SHARING_VIOLATION:
        case ERROR_LOCK_VIOLATION:
            throw Error(Errc::Busy, path);
        case ERROR_DISK_FULL:
        case ERROR_HANDLE_DISK_FULL:
        case ERROR_DISK_QUOTA_EXCEEDED:
        case ERROR_FILE_TOO_LARGE:
            throw Error(Errc::DiskFull, path);
        default:
            throw Error(Errc::Io, path + ": system error " + std::to_string(error));
    }
}

[[noreturn]] void failLast(const std::string& path) {
    fail(::GetLastError(), path);
}

class Handle {
 public:
    explicit Handle(HANDLE handle) : m_handle(handle) {}
    ~Handle() {
        if (valid())
            ::CloseHandle(m_handle);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    [[nodiscard]] bool valid() const { return m_handle != INVALID_HANDLE_VALUE; }
    [[nodiscard]] HANDLE get() const { return m_handle; }

 private:
    HANDLE m_handle;
};

// The place of one read, write or lock.
OVERLAPPED placeAt(std::uint64_t offset) {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32U);
    return place;
}

std::optional<FileStatus> statusOf(HANDLE handle) {
    BY_HANDLE_FILE_INFORMATION info{};
    if (!::GetFileInformationByHandle(handle, &info))
        return std::nullopt;
    const auto join = [](DWORD high, DWORD low) { return std::uint64_t{high} << 32U | low; };
    return FileStatus{info.dwVolumeSerialNumber, join(info.nFileIndexHigh, info.nFileIndexLow),
                      join(info.nFileSizeHigh, info.nFileSizeLow)};
}

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

class Win32File : public File {
 public:
    // Everything is shared, as it is between processes on other systems: who may use the file is up to lock().
    Win32File(const std::string& path, DWORD access, DWORD disposition)
        : m_path(path),
          m_handle(::CreateFileW(toWide(path).c_str(), access, kShareAll, nullptr, disposition, FILE_ATTRIBUTE_NORMAL,
                                 nullptr)) {
        if (!m_handle.valid())
            failLast(path);
        if (::GetFileType(m_handle.get()) != FILE_TYPE_DISK)
            fail(ERROR_ACCESS_DENIED, path);
    }

    std::size_t read(std::uint64_t offset, std::span<std::uint8_t> out) override {
        std::size_t done = 0;
        while (done < out.size()) {
            OVERLAPPED place = placeAt(offset + done);
            const auto wanted = static_cast<DWORD>(std::min(out.size() - done, kMostAtOnce));
            DWORD count = 0;
            if (!::ReadFile(m_handle.get(), out.data() + done, wanted, &count, &place)) {
                if (::GetLastError() == ERROR_HANDLE_EOF)
                    break;
                failLast(m_path);
            }
            if (count == 0)
                break;
            done += count;
        }
        return done;
    }

    void write(std::uint64_t offset, ByteView data) override {
        while (!data.empty()) {
            OVERLAPPED place = placeAt(offset);
            const auto wanted = static_cast<DWORD>(std::min(data.size(), kMostAtOnce));
            DWORD count = 0;
            if (!::WriteFile(m_handle.get(), data.data(), wanted, &count, &place))
                failWriting();
            data = data.subspan(count);
            offset += count;
        }
    }

    FileStatus status() override {
        const auto status = statusOf(m_handle.get());
        if (!status)
            failLast(m_path);
        return *status;
    }

    void truncate(std::uint64_t size) override {
        FILE_END_OF_FILE_INFO info{};
        info.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
        if (!::SetFileInformationByHandle(m_handle.get(), FileEndOfFileInfo, &info, sizeof info))
            failWriting();
    }

    // The system takes the room when the end of a file moves.
    void reserve(std::uint64_t size) override {
        if (size > this->size())
            truncate(size);
    }

    void flush() override {
        if (!::FlushFileBuffers(m_handle.get()))
            failWriting();
    }

    bool lock(bool exclusive) override {
        // Unlike elsewhere a handle's second lock does not replace its first, and conflicts with it.
        if (m_locked) {
            OVERLAPPED place = placeAt(kLockOffset);
            ::UnlockFileEx(m_handle.get(), 0, 1, 0, &place);
            m_locked = false;
        }
        OVERLAPPED place = placeAt(kLockOffset);
        const DWORD flags = LOCKFILE_FAIL_IMMEDIATELY | (exclusive ? LOCKFILE_EXCLUSIVE_LOCK : 0U);
        if (::LockFileEx(m_handle.get(), flags, 0, 1, 0, &place)) {
            m_locked = true;
            return true;
        }
        const DWORD error = ::GetLastError();
        if (error == ERROR_LOCK_VIOLATION || error == ERROR_IO_PENDING)
            return false;
        fail(error, m_path);
    }

 private:
    // A handle without the right to write is our caller's mistake or a failing share, not a file that may be opened
    // for reading instead.
    [[noreturn]] void failWriting() const {
        const DWORD error = ::GetLastError();
        if (error == ERROR_ACCESS_DENIED)
            throw Error(Errc::Io, m_path);
        fail(error, m_path);
    }

    std::string m_path;
    Handle m_handle;
    bool m_locked = false;
};

// A file or folder, to ask about it alone.
HANDLE openAsIs(const std::wstring& path) {
    return ::CreateFileW(path.c_str(), 0, kShareAll, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

class Win32Disk : public Disk {
 public:
    std::unique_ptr<File> open(const std::string& path, OpenMode mode) override {
        switch (mode) {
            case OpenMode::Read:
                return std::make_unique<Win32File>(path, GENERIC_READ, OPEN_EXISTING);
            case OpenMode::ReadWrite:
                return std::make_unique<Win32File>(path, GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING);
            case OpenMode::Create:
                return std::make_unique<Win32File>(path, GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS);
            case OpenMode::CreateNew:
                return std::make_unique<Win32File>(path, GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS);
        }
        throw Error(Errc::Io, path);
    }

    bool exists(const std::string& path) override {
        return ::GetFileAttributesW(toWide(path).c_str()) != INVALID_FILE_ATTRIBUTES;
    }

    std::optional<FileStatus> status(const std::string& path) override {
        const Handle handle(openAsIs(toWide(path)));
        if (handle.valid())
            return statusOf(handle.get());
        const DWORD error = ::GetLastError();
        if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND)
            return std::nullopt;
        fail(error, path);
    }

    void remove(const std::string& path) override {
        if (::DeleteFileW(toWide(path).c_str()))
            return;
        const DWORD error = ::GetLastError();
        if (error != ERROR_FILE_NOT_FOUND)
            fail(error, path);
    }

    void rename(const std::string& from, const std::string& to) override {
        const DWORD flags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
        if (!::MoveFileExW(toWide(from).c_str(), toWide(to).c_str(), flags))
            failLast(from);
    }

    // NTFS keeps names in its own journal, and flushing a file takes the journal along.
    void flushFolder(const std::string& /*path*/) override {}

    std::string identity(const std::string& path) override {
        const std::wstring wide = toWide(path);
        const Handle handle(openAsIs(wide));
        const auto ask = [&](wchar_t* buffer, DWORD size) {
            return handle.valid() ? ::GetFinalPathNameByHandleW(handle.get(), buffer, size, FILE_NAME_NORMALIZED)
                                  : ::GetFullPathNameW(wide.c_str(), size, buffer, nullptr);
        };
        const DWORD size = ask(nullptr, 0);
        if (size == 0)
            return path;
        std::vector<wchar_t> buffer(size + 1);
        const DWORD length = ask(buffer.data(), size + 1);
        return length == 0 || length > size ? path : toUtf8({buffer.data(), length});
    }
};

}  // namespace

Disk& realDisk() {
    static Win32Disk disk;
    return disk;
}

}  // namespace jet
