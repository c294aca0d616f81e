// SPDX-License-Identifier: MIT
// Bounds-checked access to integers in bytes that may be hostile.
//
// Every getter throws Errc::Corrupt when it would read outside; every setter asserts, since what we write is our own.
#pragma once

#include <bit>
#include <cassert>
#include <cstring>

#include "jet/values/error.h"
#include "jet/values/types.h"

namespace jet {

[[noreturn]] void outOfBounds();

inline ByteView slice(ByteView b, std::size_t offset, std::size_t length) {
    if (offset > b.size() || length > b.size() - offset)
        outOfBounds();
    return b.subspan(offset, length);
}

template <typename T>
T getLe(ByteView b, std::size_t offset) {
    static_assert(std::endian::native == std::endian::little, "the file is little-endian and so is every host so far");
    T value;
    std::memcpy(&value, slice(b, offset, sizeof(T)).data(), sizeof(T));
    return value;
}

inline std::uint8_t getU8(ByteView b, std::size_t offset) {
    return getLe<std::uint8_t>(b, offset);
}
inline std::uint16_t getU16(ByteView b, std::size_t offset) {
    return getLe<std::uint16_t>(b, offset);
}
inline std::uint32_t getU32(ByteView b, std::size_t offset) {
    return getLe<std::uint32_t>(b, offset);
}

template <typename T>
void putLe(std::span<std::uint8_t> b, std::size_t offset, T value) {
    assert(offset <= b.size() && sizeof(T) <= b.size() - offset);
    std::memcpy(b.data() + offset, &value, sizeof(T));
}

inline void putU8(std::span<std::uint8_t> b, std::size_t offset, std::uint8_t v) {
    putLe(b, offset, v);
}
inline void putU16(std::span<std::uint8_t> b, std::size_t offset, std::uint16_t v) {
    putLe(b, offset, v);
}
inline void putU32(std::span<std::uint8_t> b, std::size_t offset, std::uint32_t v) {
    putLe(b, offset, v);
}

template <typename T>
void appendLe(Bytes& b, T value) {
    const auto at = b.size();
    b.resize(at + sizeof(T));
    putLe<T>(b, at, value);
}

}  // namespace jet
