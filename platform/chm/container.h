// SPDX-License-Identifier: MIT
// Container: the files inside a compiled help file, by name. Private to this layer.
//
// libmspack reads it, out of memory and into memory: the file on the disk is no longer needed once it is loaded.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct mschmd_file;

namespace chm {

class Container {
 public:
    // Throws Error unless `bytes` are a container with a sound directory.
    explicit Container(std::vector<std::uint8_t> bytes);
    Container(const Container&) = delete;
    Container& operator=(const Container&) = delete;
    ~Container();

    struct Entry {
        std::string name;  // as stored: "/html/Item.htm"
        std::uint64_t size = 0;
        mschmd_file* file = nullptr;  // the library's
    };

    // By name in lower case.
    [[nodiscard]] const std::map<std::string, Entry, std::less<>>& entries() const { return m_entries; }

    // Null when there is none. Letter case does not count.
    [[nodiscard]] const Entry* find(std::string_view name) const;

    // Throws Error when the entry's bytes are damaged.
    [[nodiscard]] std::string read(const Entry& entry) const;

    // Where an entry that is not packed stands in the container. Throws Error for one that is.
    [[nodiscard]] std::size_t positionOf(const Entry& entry) const;

 private:
    class Library;
    std::unique_ptr<Library> m_library;
    std::map<std::string, Entry, std::less<>> m_entries;
};

// Names are compared in lower case (ASCII).
std::string lowered(std::string_view text);

}  // namespace chm
