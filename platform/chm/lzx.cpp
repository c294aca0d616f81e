// SPDX-License-Identifier: MIT
#include "chm/lzx.h"

#include "chm/error.h"

#include <algorithm>
#include <cassert>

namespace chm {

namespace {

constexpr std::size_t kSlots = 50;

struct Slots {
    std::array<unsigned, kSlots> extraBits{};
    std::array<std::size_t, kSlots> base{};
};

// A slot is the rough size of an offset; so many extra bits make it exact.
constexpr Slots makeSlots() {
    Slots slots;
    std::size_t base = 0;
    for (std::size_t i = 0; i < kSlots; ++i) {
        slots.extraBits[i] = i < 4 ? 0 : static_cast<unsigned>(std::min<std::size_t>(i / 2 - 1, 17));
        slots.base[i] = base;
        base += std::size_t{1} << slots.extraBits[i];
    }
    return slots;
}
constexpr Slots kSlotTable = makeSlots();

std::size_t slotCount(unsigned windowBits) {
    switch (windowBits) {
        case 20:
            return 42;
        case 21:
            return 50;
        default:
            return std::size_t{2} * windowBits;
    }
}

[[noreturn]] void damaged() {
    throw Error("the packed pages are damaged");
}

}  // namespace

// Bits come from 16-bit little-endian words, highest bit first.
class LzxDecoder::Bits {
 public:
    explicit Bits(std::span<const std::uint8_t> bytes) : m_bytes(bytes) {}

    // The next 16 bits without taking them; zeros beyond the end.
    [[nodiscard]] std::uint32_t peek() const { return ahead() >> 16; }

    std::uint32_t take(unsigned count) {
        if (count == 0)
            return 0;
        const std::uint32_t value = ahead() >> (32 - count);
        m_position += count;
        if (m_position > m_bytes.size() * 8)
            damaged();
        return value;
    }

    // Stored bytes stand on the next word: 1 to 16 bits are skipped.
    void skipToWord() { m_position = (m_position / 16 + 1) * 16; }

    // REQUIRES: at the beginning of a byte.
    std::span<const std::uint8_t> takeBytes(std::size_t count) {
        const std::size_t at = m_position / 8;
        if (at > m_bytes.size() || count > m_bytes.size() - at)
            damaged();
        m_position += count * 8;
        return m_bytes.subspan(at, count);
    }

 private:
    [[nodiscard]] std::uint32_t byteAt(std::size_t at) const { return at < m_bytes.size() ? m_bytes[at] : 0U; }

    // At least 17 bits from here on, at the top of the result.
    [[nodiscard]] std::uint32_t ahead() const {
        const std::size_t at = m_position / 16 * 2;
        const std::uint32_t words = byteAt(at + 1) << 24 | byteAt(at) << 16 | byteAt(at + 3) << 8 | byteAt(at + 2);
        return words << (m_position % 16);
    }

    std::span<const std::uint8_t> m_bytes;
    std::size_t m_position = 0;
};

void LzxDecoder::Code::build(std::span<const std::uint8_t> lengths) {
    std::array<std::uint32_t, kMaxLength + 1> count{};
    for (const std::uint8_t length : lengths)
        ++count[length];
    count[0] = 0;

    std::uint32_t code = 0;  // as 16 bits
    std::uint32_t index = 0;
    for (unsigned length = 1; length <= kMaxLength; ++length) {
        m_firstCode[length] = code;
        m_firstIndex[length] = index;
        code += count[length] << (kMaxLength - length);
        m_end[length] = code;
        index += count[length];
    }
    if (code > 0x10000)
        damaged();

    m_symbols.resize(index);
    std::array<std::uint32_t, kMaxLength + 1> next = m_firstIndex;
    for (std::size_t symbol = 0; symbol < lengths.size(); ++symbol) {
        if (lengths[symbol] != 0)
            m_symbols[next[lengths[symbol]]++] = static_cast<std::uint16_t>(symbol);
    }
}

std::size_t LzxDecoder::Code::next(Bits& bits) const {
    const std::uint32_t ahead = bits.peek();
    for (unsigned length = 1; length <= kMaxLength; ++length) {
        if (ahead < m_end[length]) {
            bits.take(length);
            return m_symbols[m_firstIndex[length] + ((ahead - m_firstCode[length]) >> (kMaxLength - length))];
        }
    }
    damaged();
}

LzxDecoder::LzxDecoder(unsigned windowBits)
    : m_windowSize(std::size_t{1} << windowBits), m_mainSymbols(256 + slotCount(windowBits) * 8) {
    assert(windowBits >= 15 && windowBits <= 21);
}

void LzxDecoder::reset() {
    m_started = false;
    m_block = Block::None;
    m_blockRest = 0;
    m_recent = {1, 1, 1};
    m_mainLengths.fill(0);
    m_lengthLengths.fill(0);
}

void LzxDecoder::unpackFrame(std::span<const std::uint8_t> packed, std::size_t size, std::string& out) {
    Bits bits(packed);
    if (!m_started) {
        if (bits.take(1) != 0)
            throw Error("the pages are packed as programs, not as text");
        m_started = true;
    }
    // The packer may have filled up the last frame, so what is packed goes on beyond `size`.
    const std::size_t wanted = out.size() + size;
    const std::size_t frameEnd = out.size() + kFrameSize;
    while (out.size() < wanted) {
        if (m_blockRest == 0)
            readBlockHeader(bits);
        const std::size_t before = out.size();
        const std::size_t runEnd = before + std::min(m_blockRest, frameEnd - before);
        if (m_block == Block::Stored) {
            const auto bytes = bits.takeBytes(std::min(runEnd, wanted) - before);
            out.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        } else {
            unpackRun(bits, wanted, runEnd, out);
        }
        m_blockRest -= out.size() - before;
        if (m_block == Block::Stored && m_blockRest == 0 && m_blockSize % 2 != 0 && out.size() < wanted)
            bits.takeBytes(1);
    }
    out.resize(wanted);
}

void LzxDecoder::readBlockHeader(Bits& bits) {
    const std::uint32_t type = bits.take(3);
    m_blockSize = bits.take(16) << 8;
    m_blockSize |= bits.take(8);
    m_blockRest = m_blockSize;
    if (type < 1 || type > 3 || m_blockSize == 0)
        damaged();
    m_block = static_cast<Block>(type);

    if (m_block == Block::Stored) {
        bits.skipToWord();
        for (std::size_t& offset : m_recent) {
            const auto bytes = bits.takeBytes(4);
            offset = bytes[0] | std::size_t{bytes[1]} << 8 | std::size_t{bytes[2]} << 16 | std::size_t{bytes[3]} << 24;
        }
        return;
    }
    if (m_block == Block::Aligned) {
        std::array<std::uint8_t, 8> lengths{};
        for (std::uint8_t& length : lengths)
            length = static_cast<std::uint8_t>(bits.take(3));
        m_aligned.build(lengths);
    }
    const std::span<std::uint8_t> main(m_mainLengths.data(), m_mainSymbols);
    readLengths(bits, main.first(256));
    readLengths(bits, main.subspan(256));
    m_main.build(main);
    readLengths(bits, m_lengthLengths);
    m_length.build(m_lengthLengths);
}

// Lengths are written as differences from those of the block before, through a small code of their own.
void LzxDecoder::readLengths(Bits& bits, std::span<std::uint8_t> lengths) {
    std::array<std::uint8_t, 20> small{};
    for (std::uint8_t& length : small)
        length = static_cast<std::uint8_t>(bits.take(4));
    Code code;
    code.build(small);

    const auto changed = [](std::uint8_t before, std::size_t difference) {
        if (difference > 16)
            damaged();
        return static_cast<std::uint8_t>((before + 17U - difference) % 17U);
    };
    for (std::size_t i = 0; i < lengths.size();) {
        const std::size_t symbol = code.next(bits);
        std::size_t run = 1;
        std::uint8_t length = 0;
        if (symbol == 17) {
            run = bits.take(4) + 4;
        } else if (symbol == 18) {
            run = bits.take(5) + 20;
        } else if (symbol == 19) {
            run = bits.take(1) + 4;
            length = changed(lengths[i], code.next(bits));
        } else {
            length = changed(lengths[i], symbol);
        }
        if (run > lengths.size() - i)
            damaged();
        std::fill_n(lengths.begin() + static_cast<std::ptrdiff_t>(i), run, length);
        i += run;
    }
}

void LzxDecoder::unpackRun(Bits& bits, std::size_t wanted, std::size_t end, std::string& out) {
    while (out.size() < std::min(wanted, end)) {
        const std::size_t symbol = m_main.next(bits);
        if (symbol < 256) {
            out.push_back(static_cast<char>(symbol));
            continue;
        }
        std::size_t length = (symbol & 7) + 2;
        if (length == 9)
            length += m_length.next(bits);
        const std::size_t offset = readOffset(bits, (symbol - 256) >> 3);
        if (offset == 0 || offset > out.size() || offset > m_windowSize || length > end - out.size())
            damaged();
        // Byte by byte: a repetition may overlap what it writes.
        for (std::size_t from = out.size() - offset; length > 0; --length)
            out.push_back(out[from++]);
    }
}

std::size_t LzxDecoder::readOffset(Bits& bits, std::size_t slot) {
    if (slot < 3) {
        std::swap(m_recent[0], m_recent[slot]);
        return m_recent[0];
    }
    const unsigned extra = kSlotTable.extraBits[slot];
    std::size_t offset = kSlotTable.base[slot] - 2;
    if (m_block == Block::Aligned && extra >= 3) {
        offset += std::size_t{bits.take(extra - 3)} << 3;
        offset += m_aligned.next(bits);
    } else {
        offset += bits.take(extra);
    }
    m_recent = {offset, m_recent[0], m_recent[1]};
    return offset;
}

}  // namespace chm
