// SPDX-License-Identifier: MIT
// Container: the files inside a compiled help file, by name.
//
// It holds the bytes of the whole container in memory. A container is a header, a directory (a chain of blocks of
// names) and the contents, stored either plainly or packed in one LZX stream (lzx.h). Integers are little-endian. Every
// offset, size and count is checked against the bytes that are there, and nothing is allocated for a claim alone.
#pragma once

#include "chm/lzx.h"

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace chm {

class Container {
 public:
    struct Entry {
        std::string name;  // as stored: "/html/Item.htm"
        bool packed = false;
        std::uint64_t offset = 0;  // within the plain part of the file, or within the unpacked stream
        std::uint64_t size = 0;
    };

    // Throws Error unless `bytes` begin with a container's header and a sound directory.
    explicit Container(std::vector<std::uint8_t> bytes);

    // By name in lower case.
    [[nodiscard]] const std::map<std::string, Entry, std::less<>>& entries() const { return m_entries; }

    // Null when there is none. Letter case does not count.
    [[nodiscard]] const Entry* find(std::string_view name) const;

    // Throws Error when the entry reaches beyond its part, or its packed bytes are damaged.
    [[nodiscard]] std::string read(const Entry& entry) const;

    // Where a plain entry stands in the file. Throws Error when the entry is packed or reaches beyond the file.
    [[nodiscard]] std::size_t positionOf(const Entry& entry) const;

    [[nodiscard]] const std::vector<std::uint8_t>& bytes() const { return m_bytes; }

 private:
    struct Stream {
        std::span<const std::uint8_t> packed;
        std::vector<std::uint64_t> frames;  // where each begins in `packed`, and the end
        std::uint64_t size = 0;             // unpacked
        std::size_t framesPerReset = 0;
        unsigned windowBits = 0;
    };

    [[nodiscard]] std::uint64_t number(std::uint64_t at, unsigned size) const;
    [[nodiscard]] std::span<const std::uint8_t> part(std::uint64_t at, std::uint64_t size) const;
    void readDirectory(std::uint64_t at, std::uint64_t size);
    void readDirectoryBlock(std::span<const std::uint8_t> block);
    [[nodiscard]] Stream openStream() const;
    [[nodiscard]] const std::string& interval(std::size_t number) const;

    std::vector<std::uint8_t> m_bytes;
    std::uint64_t m_dataStart = 0;
    std::map<std::string, Entry, std::less<>> m_entries;
    // The stream is looked at when the first packed page is read, and the last interval kept: pages are read in order.
    mutable std::optional<Stream> m_stream;
    mutable std::optional<std::size_t> m_intervalNumber;
    mutable std::string m_interval;
};

// Names are compared in lower case (ASCII).
std::string lowered(std::string_view text);

}  // namespace chm
