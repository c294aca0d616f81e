// SPDX-License-Identifier: MIT
#include "chm/container.h"

#include "chm/error.h"

#include <algorithm>
#include <bit>

namespace chm {

namespace {

constexpr std::uint64_t kMaxEntrySize = std::uint64_t{16} << 20;
constexpr std::uint64_t kMaxFramesPerReset = 64;

constexpr std::string_view kStorage = "::dataspace/storage/mscompressed/";
constexpr std::string_view kResetTable = "transform/{7fc28940-9d31-11d0-9b27-00a0c91e9c7c}/instancedata/resettable";

[[noreturn]] void damaged(const char* what) {
    throw Error(std::string("the help file is damaged: ") + what);
}

// Reads the numbers of a directory block: seven bits a byte, highest first, the top bit set in all but the last.
class BlockReader {
 public:
    explicit BlockReader(std::span<const std::uint8_t> bytes) : m_bytes(bytes) {}

    [[nodiscard]] bool atEnd() const { return m_bytes.empty(); }

    std::uint64_t number() {
        std::uint64_t value = 0;
        for (int i = 0; i < 9; ++i) {
            const std::uint8_t byte = take(1)[0];
            value = value << 7 | (byte & 0x7FU);
            if (byte < 0x80)
                return value;
        }
        damaged("a number in the directory is too long");
    }

    std::span<const std::uint8_t> take(std::uint64_t count) {
        if (count > m_bytes.size())
            damaged("the directory ends within an entry");
        const auto taken = m_bytes.first(count);
        m_bytes = m_bytes.subspan(count);
        return taken;
    }

 private:
    std::span<const std::uint8_t> m_bytes;
};

bool startsWith(std::span<const std::uint8_t> bytes, std::string_view text) {
    return bytes.size() >= text.size() && std::equal(text.begin(), text.end(), bytes.begin());
}

}  // namespace

std::string lowered(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return result;
}

Container::Container(std::vector<std::uint8_t> bytes) : m_bytes(std::move(bytes)) {
    if (!startsWith(m_bytes, "ITSF"))
        throw Error("not a help file");
    const std::uint64_t version = number(4, 4);
    if (version != 2 && version != 3)
        throw Error("a help file of an unknown version");
    const std::uint64_t directory = number(0x48, 8);
    const std::uint64_t directorySize = number(0x50, 8);
    m_dataStart = version == 3 ? number(0x58, 8) : directory + directorySize;
    readDirectory(directory, directorySize);
}

std::uint64_t Container::number(std::uint64_t at, unsigned size) const {
    const auto bytes = part(at, size);
    std::uint64_t value = 0;
    for (unsigned i = size; i > 0; --i)
        value = value << 8 | bytes[i - 1];
    return value;
}

std::span<const std::uint8_t> Container::part(std::uint64_t at, std::uint64_t size) const {
    if (at > m_bytes.size() || size > m_bytes.size() - at)
        damaged("something reaches beyond its end");
    return std::span(m_bytes).subspan(at, size);
}

void Container::readDirectory(std::uint64_t at, std::uint64_t size) {
    constexpr std::uint64_t kHeaderSize = 0x54;
    constexpr std::uint64_t kNone = 0xFFFFFFFF;
    if (size < kHeaderSize || !startsWith(part(at, size), "ITSP"))
        damaged("no directory");
    const std::uint64_t headerSize = number(at + 0x08, 4);
    const std::uint64_t blockSize = number(at + 0x10, 4);
    if (headerSize < kHeaderSize || headerSize > size || blockSize < 0x20)
        damaged("the directory's header");

    const std::uint64_t blocks = (size - headerSize) / blockSize;
    std::uint64_t visited = 0;
    for (std::uint64_t block = number(at + 0x20, 4); block != kNone; ++visited) {
        if (block >= blocks || visited >= blocks)
            damaged("the chain of the directory");
        const std::uint64_t blockAt = at + headerSize + block * blockSize;
        readDirectoryBlock(part(blockAt, blockSize));
        block = number(blockAt + 0x10, 4);
    }
}

void Container::readDirectoryBlock(std::span<const std::uint8_t> block) {
    constexpr std::size_t kHeaderSize = 0x14;
    if (!startsWith(block, "PMGL"))
        damaged("a block of the directory");
    const std::size_t unused =
        block[4] | std::size_t{block[5]} << 8 | std::size_t{block[6]} << 16 | std::size_t{block[7]} << 24;
    if (unused > block.size() - kHeaderSize)
        damaged("a block of the directory");
    BlockReader reader(block.subspan(kHeaderSize, block.size() - kHeaderSize - unused));
    while (!reader.atEnd()) {
        const auto name = reader.take(reader.number());
        const std::uint64_t section = reader.number();
        Entry entry;
        entry.name.assign(name.begin(), name.end());
        entry.packed = section == 1;
        entry.offset = reader.number();
        entry.size = reader.number();
        if (section > 1)
            damaged("a page in an unknown section");
        m_entries.emplace(lowered(entry.name), std::move(entry));
    }
}

const Container::Entry* Container::find(std::string_view name) const {
    const auto found = m_entries.find(lowered(name));
    return found == m_entries.end() ? nullptr : &found->second;
}

std::size_t Container::positionOf(const Entry& entry) const {
    if (entry.packed || m_dataStart > m_bytes.size() || entry.offset > m_bytes.size())
        damaged("a plain part");
    const auto bytes = part(m_dataStart + entry.offset, entry.size);
    return static_cast<std::size_t>(bytes.data() - m_bytes.data());
}

std::string Container::read(const Entry& entry) const {
    if (entry.size > kMaxEntrySize)
        damaged("a page of impossible size");
    if (!entry.packed) {
        const auto bytes = part(positionOf(entry), entry.size);
        return {bytes.begin(), bytes.end()};
    }
    if (!m_stream)
        m_stream = openStream();
    if (entry.offset > m_stream->size || entry.size > m_stream->size - entry.offset)
        damaged("a page reaches beyond the packed pages");

    const std::uint64_t intervalSize = m_stream->framesPerReset * kFrameSize;
    std::string result;
    for (std::uint64_t at = entry.offset; result.size() < entry.size; at = entry.offset + result.size()) {
        const std::string& unpacked = interval(at / intervalSize);
        result.append(unpacked, at % intervalSize, entry.size - result.size());
    }
    return result;
}

Container::Stream Container::openStream() const {
    const auto storage = [this](std::string_view name) -> const Entry& {
        const Entry* entry = find(std::string(kStorage) + std::string(name));
        if (entry == nullptr || entry->packed)
            damaged("the packed pages are missing");
        return *entry;
    };
    const Entry& content = storage("content");
    const Entry& control = storage("controldata");
    const Entry& table = storage(kResetTable);
    Stream stream;
    stream.packed = part(positionOf(content), content.size);

    const std::size_t controlAt = positionOf(control);
    if (control.size < 0x18 || !startsWith(part(controlAt + 4, 4), "LZXC"))
        damaged("unknown packing");
    const std::uint64_t unit = number(controlAt + 0x08, 4) == 2 ? kFrameSize : 1;
    const std::uint64_t resetInterval = number(controlAt + 0x0C, 4) * unit;
    const std::uint64_t windowSize = number(controlAt + 0x10, 4) * unit;
    if (!std::has_single_bit(windowSize) || windowSize < 1U << 15 || windowSize > 1U << 21)
        damaged("the window of the packed pages");
    stream.windowBits = static_cast<unsigned>(std::countr_zero(windowSize));
    if (resetInterval == 0 || resetInterval % kFrameSize != 0 || resetInterval / kFrameSize > kMaxFramesPerReset)
        damaged("the reset interval of the packed pages");
    stream.framesPerReset = resetInterval / kFrameSize;

    const std::size_t tableAt = positionOf(table);
    if (table.size < 0x28 || number(tableAt + 0x20, 8) != kFrameSize)
        damaged("the table of the packed pages");
    const std::uint64_t frames = number(tableAt + 0x04, 4);
    const std::uint64_t firstFrame = number(tableAt + 0x0C, 4);
    stream.size = number(tableAt + 0x10, 8);
    const std::uint64_t packedSize = number(tableAt + 0x18, 8);
    if (firstFrame > table.size || frames > (table.size - firstFrame) / 8 || stream.size > frames * kFrameSize ||
        packedSize > stream.packed.size())
        damaged("the table of the packed pages");
    for (std::uint64_t i = 0; i <= frames; ++i) {
        const std::uint64_t at = i < frames ? number(tableAt + firstFrame + i * 8, 8) : packedSize;
        if (at > packedSize || (!stream.frames.empty() && at < stream.frames.back()))
            damaged("the table of the packed pages");
        stream.frames.push_back(at);
    }
    return stream;
}

const std::string& Container::interval(std::size_t number) const {
    if (m_intervalNumber == number)
        return m_interval;
    m_intervalNumber.reset();
    m_interval.clear();
    LzxDecoder decoder(m_stream->windowBits);
    decoder.reset();
    const std::size_t first = number * m_stream->framesPerReset;
    for (std::size_t frame = first; frame < first + m_stream->framesPerReset; ++frame) {
        const std::uint64_t start = frame * kFrameSize;
        if (start >= m_stream->size)
            break;
        const std::uint64_t packedStart = m_stream->frames[frame];
        decoder.unpackFrame(m_stream->packed.subspan(packedStart, m_stream->frames[frame + 1] - packedStart),
                            std::min<std::uint64_t>(kFrameSize, m_stream->size - start), m_interval);
    }
    m_intervalNumber = number;
    return m_interval;
}

}  // namespace chm
