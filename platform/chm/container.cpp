// SPDX-License-Identifier: MIT
#include "chm/container.h"

#include "chm/error.h"

#include <mspack.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace chm {

namespace {

// No page comes near this; a damaged directory claims anything.
constexpr off_t kMaxEntrySize = 64 << 20;

// What the library opens: the container to read from, or a text to write to. Nothing throws here: the callers are C.
struct MemoryFile {
    const std::vector<std::uint8_t>* source = nullptr;
    std::string* target = nullptr;
    std::size_t at = 0;
};

// The library knows files by name alone: these names are the addresses of what is behind them.
struct System : mspack_system {
    const std::vector<std::uint8_t>* container = nullptr;
    std::string* output = nullptr;
};

MemoryFile* opened(mspack_file* file) {
    return reinterpret_cast<MemoryFile*>(file);
}

mspack_file* openFile(mspack_system* self, const char*, int mode) {
    auto* system = static_cast<System*>(self);
    auto* file = new (std::nothrow) MemoryFile;
    if (file == nullptr)
        return nullptr;
    if (mode == MSPACK_SYS_OPEN_READ)
        file->source = system->container;
    else
        file->target = system->output;
    return reinterpret_cast<mspack_file*>(file);
}

void closeFile(mspack_file* file) {
    delete opened(file);
}

int readFile(mspack_file* handle, void* buffer, int bytes) {
    MemoryFile* file = opened(handle);
    if (file->source == nullptr || bytes < 0)
        return -1;
    const std::size_t rest = file->source->size() - std::min(file->at, file->source->size());
    const std::size_t count = std::min(rest, static_cast<std::size_t>(bytes));
    std::copy_n(file->source->data() + (file->source->size() - rest), count, static_cast<std::uint8_t*>(buffer));
    file->at += count;
    return static_cast<int>(count);
}

int writeFile(mspack_file* handle, void* buffer, int bytes) {
    MemoryFile* file = opened(handle);
    if (file->target == nullptr || bytes < 0 || file->target->size() > kMaxEntrySize)
        return -1;
    try {
        file->target->append(static_cast<const char*>(buffer), static_cast<std::size_t>(bytes));
    } catch (...) {
        return -1;
    }
    return bytes;
}

int seekFile(mspack_file* handle, off_t offset, int mode) {
    MemoryFile* file = opened(handle);
    const auto size = static_cast<off_t>(file->source != nullptr ? file->source->size() : 0);
    const off_t base = mode == MSPACK_SYS_SEEK_START ? 0
                       : mode == MSPACK_SYS_SEEK_CUR ? static_cast<off_t>(file->at)
                                                     : size;
    if (offset < -base || offset > size - base)
        return -1;
    file->at = static_cast<std::size_t>(base + offset);
    return 0;
}

off_t tellFile(mspack_file* file) {
    return static_cast<off_t>(opened(file)->at);
}

void ignoreMessage(mspack_file*, const char*, ...) {}

void* allocate(mspack_system*, std::size_t bytes) {
    return std::malloc(bytes);
}

void copyBytes(void* source, void* target, std::size_t bytes) {
    std::memcpy(target, source, bytes);
}

[[noreturn]] void damaged() {
    throw Error("the help file is damaged");
}

}  // namespace

class Container::Library {
 public:
    explicit Library(std::vector<std::uint8_t> bytes) : m_bytes(std::move(bytes)) {
        m_system.open = openFile;
        m_system.close = closeFile;
        m_system.read = readFile;
        m_system.write = writeFile;
        m_system.seek = seekFile;
        m_system.tell = tellFile;
        m_system.message = ignoreMessage;
        m_system.alloc = allocate;
        m_system.free = std::free;
        m_system.copy = copyBytes;
        m_system.null_ptr = nullptr;
        m_system.container = &m_bytes;
        m_decoder = mspack_create_chm_decompressor(&m_system);
        if (m_decoder == nullptr)
            throw Error("the help file cannot be read");
        m_header = m_decoder->open(m_decoder, "");
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library() {
        if (m_header != nullptr)
            m_decoder->close(m_decoder, m_header);
        mspack_destroy_chm_decompressor(m_decoder);
    }

    [[nodiscard]] const mschmd_header& header() const {
        if (m_header == nullptr)
            damaged();
        return *m_header;
    }

    std::string extract(mschmd_file* file) {
        std::string bytes;
        m_system.output = &bytes;
        const int fault = m_decoder->extract(m_decoder, file, "");
        m_system.output = nullptr;
        if (fault != MSPACK_ERR_OK || bytes.size() != static_cast<std::size_t>(file->length))
            damaged();
        return bytes;
    }

 private:
    std::vector<std::uint8_t> m_bytes;
    System m_system{};
    mschm_decompressor* m_decoder = nullptr;
    mschmd_header* m_header = nullptr;  // null when the bytes are no container
};

Container::Container(std::vector<std::uint8_t> bytes) : m_library(std::make_unique<Library>(std::move(bytes))) {
    for (mschmd_file* list : {m_library->header().files, m_library->header().sysfiles})
        for (mschmd_file* file = list; file != nullptr; file = file->next) {
            if (file->length < 0 || file->length > kMaxEntrySize)
                damaged();
            m_entries.emplace(lowered(file->filename),
                              Entry{file->filename, static_cast<std::uint64_t>(file->length), file});
        }
}

Container::~Container() = default;

const Container::Entry* Container::find(std::string_view name) const {
    const auto found = m_entries.find(lowered(name));
    return found == m_entries.end() ? nullptr : &found->second;
}

std::string Container::read(const Entry& entry) const {
    return m_library->extract(entry.file);
}

std::size_t Container::positionOf(const Entry& entry) const {
    if (entry.file->section->id != 0)
        throw Error("the entry is packed");
    return static_cast<std::size_t>(m_library->header().sec0.offset + entry.file->offset);
}

std::string lowered(std::string_view text) {
    std::string result(text);
    std::ranges::transform(result, result.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return result;
}

}  // namespace chm
