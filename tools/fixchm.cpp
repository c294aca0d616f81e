// SPDX-License-Identifier: MIT
// Copies a compiled help file and mends what the compiler leaves in it.
//   fixchm FROM TO
//
// The times of its making become a fixed one, so that equal pages give equal bytes: at 0x10 of the header, 32 bits with
// the highest byte first, and in entry 10 of #SYSTEM. And the second of the two identifiers in the header, which chmcmd
// writes like the first, becomes what strict readers ask for: {7C01FD11-...}, at 0x28.
#include "chm/container.h"
#include "chm/error.h"

#include <cstdio>
#include <fstream>
#include <iterator>

namespace {

constexpr std::size_t kHeaderSize = 0x60;
constexpr std::size_t kSecondIdentifier = 0x28;
constexpr std::uint8_t kTime[4] = {0x38, 0x6D, 0x43, 0x80};  // 2000-01-01 in seconds since 1970

void mend(std::vector<std::uint8_t>& bytes) {
    if (bytes.size() < kHeaderSize)
        throw chm::Error("not a help file");
    bytes[kSecondIdentifier] = 0x11;
    const chm::Container container(bytes);
    const chm::Container::Entry* system = container.find("/#SYSTEM");
    if (system == nullptr)
        throw chm::Error("no #SYSTEM");
    const std::string entries = container.read(*system);
    const std::size_t start = container.positionOf(*system);
    const auto number = [&entries](std::size_t at) {
        return static_cast<std::uint8_t>(entries[at]) | static_cast<std::uint8_t>(entries[at + 1]) << 8;
    };
    for (std::size_t at = 4; at + 8 <= entries.size(); at += 4 + static_cast<std::size_t>(number(at + 2))) {
        if (number(at) == 10 && number(at + 2) == 4)
            std::copy(std::rbegin(kTime), std::rend(kTime), &bytes[start + at + 4]);
    }
    std::copy(std::begin(kTime), std::end(kTime), &bytes[0x10]);
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 3) {
        std::fputs("usage: fixchm FROM TO\n", stderr);
        return 2;
    }
    std::ifstream from(argv[1], std::ios::binary);
    std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(from)), std::istreambuf_iterator<char>());
    mend(bytes);
    std::ofstream to(argv[2], std::ios::binary);
    to.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    to.close();
    if (!to)
        throw chm::Error("the file cannot be written");
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "fixchm: %s: %s\n", argv[1], error.what());
    return 1;
}
