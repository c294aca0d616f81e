// SPDX-License-Identifier: MIT
#include "jet/disk/memory_disk.h"

#include <algorithm>
#include <optional>

#include "jet/values/error.h"

namespace jet {

// What a file holds now, what it held when it was flushed, and the way between.
struct MemoryDisk::Node {
    struct Change {
        std::uint64_t offset = 0;  // of a write within one sector, or the new size
        std::optional<Bytes> data;
    };

    Bytes content;
    Bytes durable;
    std::vector<Change> changes;
    bool writeProtected = false;
    int readers = 0;
    bool writer = false;

    static void apply(Bytes& bytes, const Change& change) {
        const auto at = static_cast<std::size_t>(change.offset);
        if (!change.data) {
            bytes.resize(at);
            return;
        }
        if (bytes.size() < at + change.data->size())
            bytes.resize(at + change.data->size());
        std::copy(change.data->begin(), change.data->end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
    }

    [[nodiscard]] FileStatus status() const {
        return {0, static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(this)), content.size()};
    }

    void change(Change change) {
        apply(content, change);
        changes.push_back(std::move(change));
    }
};

// Shared, because a File keeps its content when the name is taken away or given to another.
class MemoryDisk::OpenFile : public File {
 public:
    OpenFile(std::shared_ptr<Node> node, std::string path, bool writable)
        : m_node(std::move(node)), m_path(std::move(path)), m_writable(writable) {}
    ~OpenFile() override { unlock(); }

    std::size_t read(std::uint64_t offset, std::span<std::uint8_t> out) override {
        const Bytes& content = m_node->content;
        if (offset >= content.size())
            return 0;
        const auto from = static_cast<std::size_t>(offset);
        const std::size_t length = std::min(out.size(), content.size() - from);
        std::copy_n(content.begin() + static_cast<std::ptrdiff_t>(from), length, out.begin());
        return length;
    }

    void write(std::uint64_t offset, ByteView data) override {
        requireWritable();
        while (!data.empty()) {
            const auto length = std::min<std::size_t>(data.size(), kSectorSize - offset % kSectorSize);
            m_node->change({offset, Bytes(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(length))});
            data = data.subspan(length);
            offset += length;
        }
    }

    FileStatus status() override { return m_node->status(); }

    void truncate(std::uint64_t size) override {
        requireWritable();
        m_node->change({size, std::nullopt});
    }

    // Lengthens the file, as the real disks do: a crash may leave zeros behind its end.
    void reserve(std::uint64_t size) override {
        if (size > m_node->content.size())
            truncate(size);
    }

    void flush() override {
        for (const auto& change : m_node->changes)
            Node::apply(m_node->durable, change);
        m_node->changes.clear();
    }

    bool lock(bool exclusive) override {
        unlock();
        if (m_node->writer || (exclusive && m_node->readers > 0))
            return false;
        if (exclusive)
            m_node->writer = true;
        else
            ++m_node->readers;
        m_lock = exclusive ? Lock::Exclusive : Lock::Shared;
        return true;
    }

 private:
    enum class Lock { None, Shared, Exclusive };

    void unlock() {
        if (m_lock == Lock::Exclusive)
            m_node->writer = false;
        else if (m_lock == Lock::Shared)
            --m_node->readers;
        m_lock = Lock::None;
    }

    void requireWritable() const {
        if (!m_writable)
            throw Error(Errc::Io, m_path);
    }

    std::shared_ptr<Node> m_node;
    std::string m_path;
    bool m_writable;
    Lock m_lock = Lock::None;
};

MemoryDisk::MemoryDisk() = default;
MemoryDisk::~MemoryDisk() = default;

std::unique_ptr<File> MemoryDisk::open(const std::string& path, OpenMode mode) {
    const auto it = m_names.find(path);
    std::shared_ptr<Node> node = it == m_names.end() ? nullptr : it->second;
    const bool create = mode == OpenMode::Create || mode == OpenMode::CreateNew;
    if (!node && !create)
        throw Error(Errc::FileNotFound, path);
    if (node && node->writeProtected && mode != OpenMode::Read)
        throw Error(Errc::AccessDenied, path);
    if (!node) {
        node = m_names[path] = std::make_shared<Node>();
        m_laterNames.push_back(m_names);
    }
    auto file = std::make_unique<OpenFile>(node, path, mode != OpenMode::Read);
    if (mode == OpenMode::CreateNew && !node->content.empty())
        file->truncate(0);
    return file;
}

bool MemoryDisk::exists(const std::string& path) {
    return m_names.contains(path);
}

std::optional<FileStatus> MemoryDisk::status(const std::string& path) {
    const auto it = m_names.find(path);
    return it == m_names.end() ? std::nullopt : std::optional(it->second->status());
}

void MemoryDisk::remove(const std::string& path) {
    if (m_names.erase(path) != 0)
        m_laterNames.push_back(m_names);
}

void MemoryDisk::rename(const std::string& from, const std::string& to) {
    const auto it = m_names.find(from);
    if (it == m_names.end())
        throw Error(Errc::FileNotFound, from);
    auto node = std::move(it->second);
    m_names.erase(it);
    m_names[to] = std::move(node);
    m_laterNames.push_back(m_names);
}

void MemoryDisk::flushFolder(const std::string& /*path*/) {
    m_durableNames = m_names;
    m_laterNames.clear();
}

std::string MemoryDisk::identity(const std::string& path) {
    return path;
}

Bytes MemoryDisk::content(const std::string& path) const {
    const auto it = m_names.find(path);
    return it == m_names.end() ? Bytes{} : it->second->content;
}

void MemoryDisk::setContent(const std::string& path, Bytes bytes) {
    auto node = std::make_shared<Node>();
    node->content = node->durable = std::move(bytes);
    m_names[path] = node;
    flushFolder(path);
}

void MemoryDisk::setWriteProtected(const std::string& path, bool on) {
    m_names.at(path)->writeProtected = on;
}

void MemoryDisk::loseUnflushed(const std::string& path) {
    m_names.at(path)->changes.clear();
}

std::vector<std::string> MemoryDisk::names() const {
    std::vector<std::string> result;
    for (const auto& [name, node] : m_names)
        result.push_back(name);
    return result;
}

std::unique_ptr<MemoryDisk> MemoryDisk::crashed(const std::function<bool()>& survives) const {
    const Names* names = &m_durableNames;
    for (const auto& later : m_laterNames) {
        if (!survives())
            break;
        names = &later;
    }
    auto disk = std::make_unique<MemoryDisk>();
    for (const auto& [name, node] : *names) {
        Bytes bytes = node->durable;
        for (const auto& change : node->changes) {
            if (survives())
                Node::apply(bytes, change);
        }
        disk->setContent(name, std::move(bytes));
    }
    return disk;
}

}  // namespace jet
