// SPDX-License-Identifier: MIT
#include "jetsql/row_buffer.h"

#include <algorithm>
#include <cstring>

namespace jetsql {

namespace {

constexpr std::size_t kBlock = std::size_t{1} << 18U;

std::uint8_t* putBytes(const void* from, std::size_t size, std::uint8_t* to) {
    if (size > 0)
        std::memcpy(to, from, size);
    return to + size;
}

template <typename T>
std::uint8_t* put(const T& value, std::uint8_t* to) {
    return putBytes(&value, sizeof value, to);
}

template <typename T>
const std::uint8_t* get(const std::uint8_t* from, T& value) {
    std::memcpy(&value, from, sizeof value);
    return from + sizeof value;
}

template <typename T>
constexpr bool isSequence = std::is_same_v<T, std::string> || std::is_same_v<T, jet::Bytes>;

// Keeps the buffer of a text that is there already.
template <typename T>
const std::uint8_t* getValue(const std::uint8_t* from, jet::Value& out) {
    T* value = std::get_if<T>(&out);
    if (!value)
        value = &out.emplace<T>();
    if constexpr (isSequence<T>) {
        std::uint32_t size = 0;
        from = get(from, size);
        using Unit = typename T::value_type;
        const auto* first = reinterpret_cast<const Unit*>(from);
        value->assign(first, first + size);
        return from + size;
    } else if constexpr (std::is_same_v<T, jet::Null>) {
        return from;
    } else {
        return get(from, *value);
    }
}

template <std::size_t... I>
const std::uint8_t* getAlternative(std::size_t index, const std::uint8_t* from, jet::Value& out,
                                   std::index_sequence<I...>) {
    using Getter = const std::uint8_t* (*)(const std::uint8_t*, jet::Value&);
    static constexpr Getter kGetters[] = {getValue<std::variant_alternative_t<I, jet::Value>>...};
    return kGetters[index](from, out);
}

}  // namespace

std::uint8_t* Arena::take(std::size_t size) {
    if (size > m_left) {
        const std::size_t block = std::max(size, kBlock);
        m_blocks.push_back(std::make_unique_for_overwrite<std::uint8_t[]>(block));
        m_next = m_blocks.back().get();
        m_left = block;
    }
    std::uint8_t* result = m_next;
    m_next += size;
    m_left -= size;
    return result;
}

std::size_t packedSize(std::span<const jet::Value> row) {
    std::size_t size = row.size();
    for (const jet::Value& v : row) {
        size += std::visit(
            [](const auto& value) -> std::size_t {
                using T = std::decay_t<decltype(value)>;
                if constexpr (isSequence<T>)
                    return sizeof(std::uint32_t) + value.size();
                else
                    return std::is_same_v<T, jet::Null> ? 0 : sizeof value;
            },
            v);
    }
    return size;
}

std::uint8_t* packRow(std::span<const jet::Value> row, std::uint8_t* to) {
    for (const jet::Value& v : row) {
        *to++ = static_cast<std::uint8_t>(v.index());
        std::visit(
            [&to](const auto& value) {
                using T = std::decay_t<decltype(value)>;
                if constexpr (isSequence<T>) {
                    to = put(static_cast<std::uint32_t>(value.size()), to);
                    to = putBytes(value.data(), value.size(), to);
                } else if constexpr (!std::is_same_v<T, jet::Null>) {
                    to = put(value, to);
                }
            },
            v);
    }
    return to;
}

const std::uint8_t* unpackRow(const std::uint8_t* from, std::span<jet::Value> row) {
    for (jet::Value& v : row) {
        const std::size_t index = *from++;
        from = getAlternative(index, from, v, std::make_index_sequence<std::variant_size_v<jet::Value>>());
    }
    return from;
}

void Sorter::add(const jet::Bytes& key, std::span<const jet::Value> row) {
    const auto length = static_cast<std::uint32_t>(key.size());
    std::uint8_t* record = m_arena.take(sizeof length + length + packedSize(row));
    packRow(row, putBytes(key.data(), key.size(), put(length, record)));
    Entry entry;
    entry.record = record;
    for (std::size_t i = 0; i < sizeof entry.prefix; ++i)
        entry.prefix = entry.prefix << 8U | (i < key.size() ? key[i] : 0U);
    m_entries.push_back(entry);
}

int Sorter::compareKeys(const Entry& a, const Entry& b) {
    if (a.prefix != b.prefix)
        return a.prefix < b.prefix ? -1 : 1;
    std::uint32_t lengthA = 0;
    std::uint32_t lengthB = 0;
    const std::uint8_t* keyA = get(a.record, lengthA);
    const std::uint8_t* keyB = get(b.record, lengthB);
    const int difference = std::memcmp(keyA, keyB, std::min(lengthA, lengthB));
    if (difference != 0)
        return difference;
    return lengthA < lengthB ? -1 : int{lengthA > lengthB};
}

void Sorter::sort() {
    std::stable_sort(m_entries.begin(), m_entries.end(),
                     [](const Entry& a, const Entry& b) { return compareKeys(a, b) < 0; });
}

void Sorter::dropDuplicates() {
    const auto end = std::unique(m_entries.begin(), m_entries.end(),
                                 [](const Entry& a, const Entry& b) { return compareKeys(a, b) == 0; });
    m_entries.erase(end, m_entries.end());
}

void Sorter::keepTop(std::size_t count) {
    if (count == 0)
        m_entries.clear();
    if (count >= m_entries.size())
        return;
    const Entry last = m_entries[count - 1];
    while (count < m_entries.size() && compareKeys(m_entries[count], last) == 0)
        ++count;
    m_entries.resize(count);
}

void Sorter::read(std::size_t index, jet::Row& row) const {
    std::uint32_t length = 0;
    const std::uint8_t* key = get(m_entries[index].record, length);
    row.resize(m_row);
    unpackRow(key + length, row);
}

}  // namespace jetsql
