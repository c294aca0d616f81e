// SPDX-License-Identifier: MIT
// Files for the tests of pager and log: page 0 is a header, every other page is filled with one letter, so that the
// state of a whole file is a word: "abc" has three pages after page 0.
#pragma once

#include "jet/disk/memory_disk.h"
#include "jet/disk/pager.h"
#include "jet/values/error.h"

#include <QTest>

#include <cstring>
#include <functional>
#include <random>
#include <string>

// Lets a failure show the words that it compares.
template <>
inline char* QTest::toString(const std::string& text) {
    return qstrdup(text.c_str());
}

namespace jet {

inline void fill(Page& page, char letter) {
    page.bytes.fill(static_cast<std::uint8_t>(letter));
}

inline void makeFile(Disk& disk, const std::string& path, const std::string& word, std::uint32_t key = 0) {
    const auto pager = Pager::create(disk, path);
    pager->begin();
    Header header;
    header.encryptionKey = key;
    pager->extend();
    header.writeTo(pager->edit(0));
    for (const char letter : word)
        fill(pager->edit(pager->extend()), letter);
    pager->commit();
    pager->close();
}

// A page of more than one letter, torn, shows as '?'. Zeros at the end are room that was taken for nothing.
inline std::string wordOf(Pager& pager) {
    std::string word;
    for (PageNo page = 1; page < pager.pageCount(); ++page) {
        const PageRef content = pager.read(page);
        const auto first = content->bytes[0];
        const bool whole = std::memcmp(content->bytes.data(), content->bytes.data() + 1, kPageSize - 1) == 0;
        word += whole ? static_cast<char>(first) : '?';
    }
    word.erase(word.find_last_not_of('\0') + 1);
    return word;
}

inline std::string wordOf(Disk& disk, const std::string& path, bool readOnly = false) {
    const auto pager = Pager::open(disk, path, {.readOnly = readOnly});
    return wordOf(*pager);
}

// One transaction that makes `word` of what is there, which is no longer than it.
inline void change(Pager& pager, const std::string& word) {
    const std::string old = wordOf(pager);
    pager.begin();
    for (std::size_t i = 0; i < word.size(); ++i) {
        const auto page = static_cast<PageNo>(i + 1);
        if (i >= old.size())
            fill(pager.edit(pager.extend()), word[i]);
        else if (old[i] != word[i])
            fill(pager.edit(page), word[i]);
    }
    pager.commit();
}

constexpr auto kNoError = static_cast<Errc>(-1);

inline Errc codeOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const Error& e) {
        return e.code();
    }
    return kNoError;
}

// The disk as `kill -9` leaves it: the system still has every write.
inline std::unique_ptr<MemoryDisk> killed(const MemoryDisk& disk) {
    return disk.crashed([] { return true; });
}

}  // namespace jet
