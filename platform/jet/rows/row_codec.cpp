// SPDX-License-Identifier: MIT
#include "jet/rows/row_codec.h"

#include <algorithm>

#include "jet/pages/data_page.h"
#include "jet/values/bytes.h"
#include "jet/values/codepage.h"

namespace jet {
namespace {

constexpr std::array<std::uint8_t, 2> kBooleans{0, 1};

bool inVariableArea(const ColumnDef& c) {
    return !c.isFixed();
}

// The variable columns that a row of the first `columns` columns has, as far as the definition can still tell.
bool hadVariableColumns(const TableDef& def, std::size_t columns) {
    if (def.variableColumns == 0)
        return false;
    if (columns >= def.maxColumns)
        return true;
    // The first column added later knows how many variable columns there were before it.
    const auto later = std::ranges::lower_bound(def.columns, columns, {}, &ColumnDef::number);
    return later == def.columns.end() || later->variableIndex > 0;
}

template <typename T>
T& reuse(Value& out) {
    if (T* held = std::get_if<T>(&out))
        return *held;
    return out.emplace<T>();
}

template <typename T>
Bytes bytesOf(T value) {
    Bytes out;
    appendLe<T>(out, value);
    return out;
}

}  // namespace

RowView::RowView(const TableDef& def, ByteView row, PageNo page) : m_def(&def), m_row(row), m_page(page) {
    if (row.empty())
        corrupt(page, "an empty row");
    m_columns = row[0];
    if (m_columns > def.maxColumns)
        corrupt(page, "a row has more columns than its table");
    const std::size_t maskLength = (m_columns + 7) / 8;
    if (row.size() < 1 + maskLength)
        corrupt(page, "a row is shorter than its null mask");
    m_mask = row.size() - maskLength;
    m_fixedEnd = m_mask;
    m_dataEnd = m_mask;
    if (!hadVariableColumns(def, m_columns))
        return;

    // From the end: mask, count of variable columns, jump bytes, offset table with the end of the data first.
    const std::size_t jumpBytes = (row.size() - 1) / 256;
    if (m_mask < 1 + 1 + jumpBytes + 1)
        corrupt(page, "a row is shorter than its table of offsets");
    m_variable = row[m_mask - 1];
    if (m_mask - 1 - jumpBytes - 1 < 1 + m_variable)
        corrupt(page, "a row is shorter than its table of offsets");
    m_firstOffset = m_mask - 1 - jumpBytes - 1;
    m_dataEnd = m_firstOffset - m_variable;
    m_jumps = std::min(jumpBytes, m_dataEnd / 256);
    m_fixedEnd = variableOffset(0);
    if (variableOffset(m_variable) != m_dataEnd || m_fixedEnd < 1 || m_fixedEnd > m_dataEnd)
        corrupt(page, "the offsets of a row do not add up");
}

// Offsets are stored by their low byte; jump k names the first one that reaches 256 * (k + 1).
std::size_t RowView::variableOffset(std::size_t index) const {
    std::size_t offset = m_row[m_firstOffset - index];
    for (std::size_t k = 0; k < m_jumps && m_row[m_mask - 2 - k] <= index; ++k)
        offset += 256;
    return offset;
}

std::optional<ByteView> RowView::field(std::size_t position) const {
    const ColumnDef& column = m_def->columns[position];
    const std::size_t number = column.number;
    const bool present = number < m_columns && (m_row[m_mask + number / 8] >> (number % 8) & 1U) != 0;
    if (column.type == ColumnType::Boolean)
        return ByteView(kBooleans).subspan(present ? 1 : 0, 1);
    if (!present)
        return std::nullopt;
    if (!inVariableArea(column)) {
        const std::size_t size = column.storedSize();
        if (1 + column.fixedOffset + size > m_fixedEnd)
            corrupt(m_page, "a fixed column reaches into the variable part of its row");
        return m_row.subspan(1 + std::size_t{column.fixedOffset}, size);
    }
    if (column.variableIndex >= m_variable)
        corrupt(m_page, "a row has a value where it has no room for one");
    const std::size_t start = variableOffset(column.variableIndex);
    const std::size_t end = variableOffset(column.variableIndex + std::size_t{1});
    if (start < m_fixedEnd || start > end || end > m_dataEnd)
        corrupt(m_page, "the offsets of a row do not ascend");
    return m_row.subspan(start, end - start);
}

void decodeField(const ColumnDef& column, ByteView bytes, Value& out) {
    const auto number = [&]<typename T>(T) {
        if (bytes.size() != sizeof(T))
            corrupt(0, "a value of a wrong length in column " + column.name);
        return getLe<T>(bytes, 0);
    };
    switch (column.type) {
        case ColumnType::Boolean:
            out = number(std::uint8_t{}) != 0;
            return;
        case ColumnType::Byte:
            out = number(std::uint8_t{});
            return;
        case ColumnType::Integer:
            out = number(std::int16_t{});
            return;
        case ColumnType::Long:
            out = number(std::int32_t{});
            return;
        case ColumnType::Currency:
            out = Currency{number(std::int64_t{})};
            return;
        case ColumnType::Single:
            out = number(float{});
            return;
        case ColumnType::Double:
            out = number(double{});
            return;
        case ColumnType::DateTime:
            out = Date{number(double{})};
            return;
        case ColumnType::Text: {
            auto& text = reuse<std::string>(out);
            text.clear();
            appendFromCodePage(bytes, text);
            return;
        }
        case ColumnType::Guid:
            out = Guid{number(std::array<std::uint8_t, 16>{})};
            return;
        case ColumnType::Binary:
        case ColumnType::Ole:
        case ColumnType::Memo:
            reuse<Bytes>(out).assign(bytes.begin(), bytes.end());
            return;
    }
}

std::optional<Bytes> encodeField(const ColumnDef& column, const Value& value, const std::string& table) {
    if (isNull(value))
        return std::nullopt;
    const auto as = [&]<typename T>(std::in_place_type_t<T>) -> const T& {
        const T* held = std::get_if<T>(&value);
        if (!held)
            throw Error(Errc::TypeMismatch, column.name, table);
        return *held;
    };
    const auto limited = [&](Bytes bytes) {
        if (bytes.size() > column.length)
            throw Error(Errc::TooLong, column.name, table);
        if (column.isFixed())
            bytes.resize(column.length);
        return bytes;
    };
    switch (column.type) {
        case ColumnType::Boolean:
            return bytesOf<std::uint8_t>(as(std::in_place_type<bool>));
        case ColumnType::Byte:
            return bytesOf(as(std::in_place_type<std::uint8_t>));
        case ColumnType::Integer:
            return bytesOf(as(std::in_place_type<std::int16_t>));
        case ColumnType::Long:
            return bytesOf(as(std::in_place_type<std::int32_t>));
        case ColumnType::Currency:
            return bytesOf(as(std::in_place_type<Currency>).units);
        case ColumnType::Single:
            return bytesOf(as(std::in_place_type<float>));
        case ColumnType::Double:
            return bytesOf(as(std::in_place_type<double>));
        case ColumnType::DateTime:
            return bytesOf(as(std::in_place_type<Date>).serial);
        case ColumnType::Text:
            return limited(toCodePage(as(std::in_place_type<std::string>)));
        case ColumnType::Guid:
            return bytesOf(as(std::in_place_type<Guid>).bytes);
        case ColumnType::Binary:
            return limited(as(std::in_place_type<Bytes>));
        case ColumnType::Ole:
        case ColumnType::Memo:
            return as(std::in_place_type<Bytes>);
    }
    throw Error(Errc::TypeMismatch, column.name, table);
}

Bytes encodeRow(const TableDef& def, std::span<const std::optional<Bytes>> fields, const std::string& table) {
    assert(fields.size() == def.columns.size());
    std::size_t fixedEnd = 1;
    for (const ColumnDef& c : def.columns) {
        if (!inVariableArea(c))
            fixedEnd = std::max(fixedEnd, 1 + c.fixedOffset + c.storedSize());
    }
    Bytes row(fixedEnd);
    row[0] = static_cast<std::uint8_t>(def.maxColumns);
    Bytes mask((def.maxColumns + std::size_t{7}) / 8);
    std::vector<ByteView> variable(def.variableColumns);
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const ColumnDef& c = def.columns[i];
        if (!fields[i])
            continue;
        if (c.type != ColumnType::Boolean || fields[i]->at(0) != 0)
            mask[c.number / 8] = static_cast<std::uint8_t>(mask[c.number / 8] | 1U << (c.number % 8));
        if (c.type == ColumnType::Boolean)
            continue;
        if (inVariableArea(c)) {
            variable[c.variableIndex] = *fields[i];
            continue;
        }
        assert(fields[i]->size() == c.storedSize());
        std::ranges::copy(*fields[i], row.begin() + 1 + c.fixedOffset);
    }

    if (!variable.empty()) {
        std::vector<std::size_t> offsets{row.size()};
        for (const ByteView value : variable) {
            row.insert(row.end(), value.begin(), value.end());
            offsets.push_back(row.size());
        }
        // A jump byte per 256 bytes of the whole row, itself included.
        const std::size_t rest = row.size() + offsets.size() + 1 + mask.size();
        std::size_t jumps = 0;
        while ((rest + jumps - 1) / 256 > jumps)
            ++jumps;
        for (std::size_t i = offsets.size(); i-- > 0;)
            row.push_back(static_cast<std::uint8_t>(offsets[i]));
        for (std::size_t k = jumps; k-- > 0;) {
            const auto hit = std::ranges::lower_bound(offsets, 256 * (k + 1));
            row.push_back(hit == offsets.end() ? 0xFF : static_cast<std::uint8_t>(hit - offsets.begin()));
        }
        row.push_back(static_cast<std::uint8_t>(def.variableColumns));
    }
    row.insert(row.end(), mask.begin(), mask.end());
    if (row.size() > kMaxRowOnPage)
        throw Error(Errc::RowTooLarge, {}, table);
    return row;
}

}  // namespace jet
