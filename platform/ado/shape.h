// SPDX-License-Identifier: MIT
// The statement that gives the rows of a query by groups, and the groups. Private to this layer.
//
//   shape {select * from tbl_items order by item_date} as cmdEnvelope compute cmdEnvelope by envelope
//
// docs/sql.md says what it means. The rows of the query are held once, shared by all groups.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ado/row_source.h"

namespace ado {

struct Shape {
    std::string query;    // what stands in the braces, a SELECT
    std::string chapter;  // the name of the column that holds the rows of a group
    std::vector<std::string> by;
};

// Empty when the statement does not begin with the word SHAPE. Throws jetsql::Error for one that does and cannot be
// read; its subject is the text from the wrong place on.
std::optional<Shape> parseShape(std::string_view sql);

class Groups {
 public:
    // Reads all rows. Throws jetsql::Error for a column in `shape` that the query does not have.
    Groups(const Shape& shape, jetsql::Rows& rows);

    // A row for each group: its number, then the values that its rows have in common.
    [[nodiscard]] std::unique_ptr<RowSource> parents() const;
    // The rows of a group, in the order of the query. They outlive this object.
    [[nodiscard]] std::unique_ptr<RowSource> children(std::size_t group) const;

 private:
    std::vector<jetsql::OutputColumn> m_columns;
    std::vector<jetsql::OutputColumn> m_parentColumns;
    SharedRows m_rows;
    SharedRows m_parents;
    std::vector<std::vector<std::uint32_t>> m_groups;  // places in m_rows
};

}  // namespace ado
