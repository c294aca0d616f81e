// SPDX-License-Identifier: MIT
// LzxDecoder unpacks the LZX stream of a help file, one reset interval at a time.
//
// The stream is cut into frames of 32,768 unpacked bytes, each packed frame beginning on a 16-bit word; after every so
// many frames (the reset interval) the packer forgets all it knew, so that reading can begin there. Nothing in a packed
// frame is trusted: a read beyond the frame, an offset before the interval or an impossible code throws Error.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace chm {

inline constexpr std::size_t kFrameSize = 0x8000;

class LzxDecoder {
 public:
    // The window is 2^windowBits bytes: how far back a repetition may reach. REQUIRES: 15 <= windowBits <= 21.
    explicit LzxDecoder(unsigned windowBits);

    // Begins a reset interval.
    void reset();

    // Unpacks one frame and appends its first `size` bytes (all, but for the last frame of a file) to `out`, which
    // holds the frames since reset() and nothing else.
    void unpackFrame(std::span<const std::uint8_t> packed, std::size_t size, std::string& out);

 private:
    class Bits;
    static constexpr std::size_t kMaxSymbols = 256 + 50 * 8;
    static constexpr std::size_t kLengthSymbols = 249;
    enum class Block : std::uint8_t { None = 0, Verbatim = 1, Aligned = 2, Stored = 3 };

    // A canonical prefix code: shorter codes first, codes of one length in the order of their symbols.
    class Code {
     public:
        void build(std::span<const std::uint8_t> lengths);
        [[nodiscard]] std::size_t next(Bits& bits) const;

     private:
        static constexpr unsigned kMaxLength = 16;
        std::array<std::uint32_t, kMaxLength + 1> m_end{};         // first 16-bit value beyond the codes of a length
        std::array<std::uint32_t, kMaxLength + 1> m_firstCode{};   // of a length
        std::array<std::uint32_t, kMaxLength + 1> m_firstIndex{};  // of that code's symbol in m_symbols
        std::vector<std::uint16_t> m_symbols;
    };

    void readBlockHeader(Bits& bits);
    static void readLengths(Bits& bits, std::span<std::uint8_t> lengths);
    void unpackRun(Bits& bits, std::size_t wanted, std::size_t end, std::string& out);
    std::size_t readOffset(Bits& bits, std::size_t slot);

    std::size_t m_windowSize;
    std::size_t m_mainSymbols;
    bool m_started = false;
    Block m_block = Block::None;
    std::size_t m_blockSize = 0;
    std::size_t m_blockRest = 0;
    std::array<std::size_t, 3> m_recent{1, 1, 1};  // the last three offsets of repetitions
    std::array<std::uint8_t, kMaxSymbols> m_mainLengths{};
    std::array<std::uint8_t, kLengthSymbols> m_lengthLengths{};
    Code m_main;
    Code m_length;
    Code m_aligned;
};

}  // namespace chm
