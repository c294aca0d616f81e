// SPDX-License-Identifier: MIT
// RowSource is where a Recordset stands among its rows. Private to this layer.
//
// Either produced while read (forward) or held in memory (snapshot). Throws 3021 and the like as Recordset says, and
// whatever producing a row throws.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "jetsql/statement.h"

namespace ado {

struct SortKey {
    std::size_t column = 0;
    bool descending = false;
};

class RowSource {
 public:
    RowSource(const RowSource&) = delete;
    RowSource& operator=(const RowSource&) = delete;
    virtual ~RowSource() = default;

    [[nodiscard]] virtual const std::vector<jetsql::OutputColumn>& columns() const = 0;
    // The row it stands on; nullptr before the first and behind the last.
    [[nodiscard]] virtual const jet::Row* current() const = 0;
    [[nodiscard]] virtual bool atBeginning() const = 0;
    [[nodiscard]] virtual bool atEnd() const = 0;
    [[nodiscard]] virtual long count() const = 0;  // -1 = unknown
    virtual void moveFirst() = 0;
    virtual void moveNext() = 0;
    virtual void movePrevious() = 0;
    virtual void moveLast() = 0;
    // An empty list restores the order of the query.
    virtual void sort(const std::vector<SortKey>& keys) = 0;

 protected:
    RowSource() = default;
};

using SharedRows = std::shared_ptr<const std::vector<jet::Row>>;

SharedRows readAll(jetsql::Rows& rows);

// All stand on the first row, if there is one.
std::unique_ptr<RowSource> forwardRows(std::unique_ptr<jetsql::Rows> rows);
std::unique_ptr<RowSource> snapshotRows(std::vector<jetsql::OutputColumn> columns, SharedRows rows);
// Those of `rows` at the ascending places.
std::unique_ptr<RowSource> snapshotRows(std::vector<jetsql::OutputColumn> columns, SharedRows rows,
                                        std::vector<std::uint32_t> places);

}  // namespace ado
