// SPDX-License-Identifier: MIT
#include "ado/row_source.h"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <utility>

#include "ado/errors.h"
#include "jetsql/sort_key.h"

namespace ado {
namespace {

class Forward : public RowSource {
 public:
    explicit Forward(std::unique_ptr<jetsql::Rows> rows) : m_rows(std::move(rows)) {
        m_atEnd = !m_rows->next(m_row);
        m_empty = m_atEnd;
    }

    const std::vector<jetsql::OutputColumn>& columns() const override { return m_rows->columns(); }
    const jet::Row* current() const override { return m_atEnd ? nullptr : &m_row; }
    bool atBeginning() const override { return m_empty; }
    bool atEnd() const override { return m_atEnd; }
    long count() const override { return -1; }

    void moveFirst() override {
        if (m_empty)
            raise(kNoCurrentRecord);
        if (m_moved)
            raise(kOnlyForward);
    }

    void moveNext() override {
        if (m_atEnd)
            raise(kNoCurrentRecord);
        m_moved = true;
        m_atEnd = !m_rows->next(m_row);
    }

    void movePrevious() override { raise(m_empty ? kNoCurrentRecord : kOnlyForward); }

    void moveLast() override {
        if (m_empty)
            raise(kNoCurrentRecord);
        if (m_atEnd)
            raise(kOnlyForward);
        jet::Row row;
        while (m_rows->next(row)) {
            m_moved = true;
            std::swap(m_row, row);
        }
    }

    void sort(const std::vector<SortKey>&) override { raise(kNotAllowedHere); }

 private:
    std::unique_ptr<jetsql::Rows> m_rows;
    jet::Row m_row;
    bool m_empty = false;
    bool m_moved = false;
    bool m_atEnd = false;
};

class Snapshot : public RowSource {
 public:
    Snapshot(std::vector<jetsql::OutputColumn> columns, SharedRows rows, std::vector<std::uint32_t> places)
        : m_columns(std::move(columns)), m_rows(std::move(rows)), m_order(std::move(places)) {}

    const std::vector<jetsql::OutputColumn>& columns() const override { return m_columns; }
    const jet::Row* current() const override {
        return m_place < 0 || m_place >= size() ? nullptr : &(*m_rows)[m_order[static_cast<std::size_t>(m_place)]];
    }
    bool atBeginning() const override { return m_place < 0 || size() == 0; }
    bool atEnd() const override { return m_place >= size(); }
    long count() const override { return static_cast<long>(size()); }

    void moveFirst() override { moveTo(0); }
    void moveLast() override { moveTo(size() - 1); }
    void moveNext() override {
        if (atEnd())
            raise(kNoCurrentRecord);
        ++m_place;
    }
    void movePrevious() override {
        if (atBeginning())
            raise(kNoCurrentRecord);
        --m_place;
    }

    void sort(const std::vector<SortKey>& keys) override {
        std::sort(m_order.begin(), m_order.end());
        std::vector<jet::Bytes> sortKeys(m_rows->size());
        for (const std::uint32_t place : m_order)
            for (const SortKey& key : keys)
                jetsql::appendSortKey((*m_rows)[place][key.column], key.descending, sortKeys[place]);
        std::stable_sort(m_order.begin(), m_order.end(),
                         [&](std::uint32_t a, std::uint32_t b) { return sortKeys[a] < sortKeys[b]; });
        m_place = 0;
    }

 private:
    [[nodiscard]] std::ptrdiff_t size() const { return static_cast<std::ptrdiff_t>(m_order.size()); }
    void moveTo(std::ptrdiff_t place) {
        if (size() == 0)
            raise(kNoCurrentRecord);
        m_place = place;
    }

    std::vector<jetsql::OutputColumn> m_columns;
    SharedRows m_rows;
    std::vector<std::uint32_t> m_order;  // places in m_rows; ascending is the order of the query
    std::ptrdiff_t m_place = 0;          // -1 = before the first, size() = behind the last
};

}  // namespace

SharedRows readAll(jetsql::Rows& rows) {
    std::vector<jet::Row> all;
    jet::Row row;
    while (rows.next(row))
        all.push_back(std::exchange(row, {}));
    return std::make_shared<const std::vector<jet::Row>>(std::move(all));
}

std::unique_ptr<RowSource> forwardRows(std::unique_ptr<jetsql::Rows> rows) {
    return std::make_unique<Forward>(std::move(rows));
}

std::unique_ptr<RowSource> snapshotRows(std::vector<jetsql::OutputColumn> columns, SharedRows rows) {
    std::vector<std::uint32_t> places(rows->size());
    std::iota(places.begin(), places.end(), 0U);
    return snapshotRows(std::move(columns), std::move(rows), std::move(places));
}

std::unique_ptr<RowSource> snapshotRows(std::vector<jetsql::OutputColumn> columns, SharedRows rows,
                                        std::vector<std::uint32_t> places) {
    return std::make_unique<Snapshot>(std::move(columns), std::move(rows), std::move(places));
}

}  // namespace ado
