// SPDX-License-Identifier: MIT
#include "jet/disk/header.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <numeric>
#include <string_view>
#include <utility>

#include "jet/values/bytes.h"
#include "jet/values/codepage.h"

namespace jet {

namespace {

constexpr std::string_view kMark("Standard Jet DB\0", 16);
constexpr std::string_view kLaterMark("Standard ACE DB\0", 16);
constexpr std::size_t kMarkOffset = 0x04;
constexpr std::size_t kVersionOffset = 0x14;

constexpr std::size_t kMaskStart = 0x18;
constexpr std::size_t kMaskLength = 126;
constexpr std::array<std::uint8_t, 4> kMaskKey = {0xC7, 0xDA, 0x39, 0x6B};

constexpr std::size_t kFreeMapOffset = 0x18;
constexpr std::size_t kSecondMapOffset = 0x1C;
constexpr std::size_t kSystemTablesOffset = 0x20;
constexpr std::size_t kGenerationOffset = 0x38;
constexpr std::size_t kLanguageOffset = 0x3A;
constexpr std::size_t kCodePageOffset = 0x3C;
constexpr std::size_t kKeyOffset = 0x3E;
constexpr std::size_t kPasswordOffset = 0x42;
constexpr std::size_t kPasswordLength = 20;
constexpr std::size_t kBuildOffset = 0x56;
constexpr std::size_t kCountersOffset = 0x600;

constexpr RowId kFreeMap = {1, 0};
constexpr RowId kSecondMap = {1, 1};

void rc4(std::span<std::uint8_t> data, const std::array<std::uint8_t, 4>& key) {
    std::uint8_t state[256];
    std::iota(state, state + 256, std::uint8_t{0});
    std::uint8_t j = 0;
    for (unsigned i = 0; i < 256; ++i) {
        j = static_cast<std::uint8_t>(j + state[i] + key[i % 4]);
        std::swap(state[i], state[j]);
    }
    std::uint8_t* const bytes = data.data();
    std::uint8_t i = 0;
    j = 0;
    for (std::size_t at = 0; at < data.size(); ++at) {
        const std::uint8_t a = state[++i];
        j = static_cast<std::uint8_t>(j + a);
        const std::uint8_t b = state[j];
        state[i] = b;
        state[j] = a;
        bytes[at] ^= state[static_cast<std::uint8_t>(a + b)];
    }
}

void mask(std::span<std::uint8_t> page) {
    rc4(page.subspan(kMaskStart, kMaskLength), kMaskKey);
}

bool hasMark(ByteView page, std::string_view mark) {
    return std::equal(mark.begin(), mark.end(), page.begin() + kMarkOffset,
                      [](char c, std::uint8_t b) { return static_cast<std::uint8_t>(c) == b; });
}

}  // namespace

Header Header::parse(ByteView page0) {
    if (page0.size() < kPageSize || getU32(page0, 0) != 0x100)
        throw Error(Errc::NotADatabase);
    if (hasMark(page0, kLaterMark))
        throw Error(Errc::UnsupportedVersion);
    if (!hasMark(page0, kMark))
        throw Error(Errc::NotADatabase);
    if (getU32(page0, kVersionOffset) != 0)
        throw Error(Errc::UnsupportedVersion);

    Page page;
    std::copy_n(page0.begin(), kPageSize, page.bytes.begin());
    mask(page.span());
    const ByteView plain = page.view();
    if (getU32(plain, kFreeMapOffset) != toPointer(kFreeMap) ||
        getU32(plain, kSecondMapOffset) != toPointer(kSecondMap) || getU32(plain, kSystemTablesOffset) != 2)
        corrupt(0, "page 0 does not point at the usage maps and the catalog");

    Header header;
    header.engineGeneration = getU16(plain, kGenerationOffset);
    header.language = getU16(plain, kLanguageOffset);
    header.codePage = getU16(plain, kCodePageOffset);
    header.encryptionKey = getU32(plain, kKeyOffset);
    const ByteView field = plain.subspan(kPasswordOffset, kPasswordLength);
    const auto length = std::find(field.begin(), field.end(), 0) - field.begin();
    header.password = fromCodePage(field.first(static_cast<std::size_t>(length)));
    header.build = getU16(plain, kBuildOffset);
    return header;
}

void Header::writeTo(Page& page0) const {
    const Bytes encoded = toCodePage(password);
    assert(encoded.size() <= kPasswordLength);

    page0.bytes.fill(0);
    const auto page = page0.span();
    putU32(page, 0, 0x100);
    std::copy(kMark.begin(), kMark.end(), page.begin() + kMarkOffset);
    putU32(page, kFreeMapOffset, toPointer(kFreeMap));
    putU32(page, kSecondMapOffset, toPointer(kSecondMap));
    for (std::uint32_t i = 0; i < 4; ++i)
        putU32(page, kSystemTablesOffset + 4 * i, 2 + i);
    putU16(page, kGenerationOffset, engineGeneration);
    putU16(page, kLanguageOffset, language);
    putU16(page, kCodePageOffset, codePage);
    putU32(page, kKeyOffset, encryptionKey);
    std::copy(encoded.begin(), encoded.end(), page.begin() + kPasswordOffset);
    putU16(page, kBuildOffset, build);
    mask(page);
    for (std::size_t at = kCountersOffset; at < kPageSize; at += 2)
        putU16(page, at, 0x100);
}

void cryptPage(std::span<std::uint8_t> page, std::uint32_t key, PageNo number) {
    const std::uint32_t mixed = key ^ number;
    rc4(page, {static_cast<std::uint8_t>(mixed), static_cast<std::uint8_t>(mixed >> 8U),
               static_cast<std::uint8_t>(mixed >> 16U), static_cast<std::uint8_t>(mixed >> 24U)});
}

}  // namespace jet
