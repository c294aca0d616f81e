// SPDX-License-Identifier: MIT
// The key bytes of an index entry: per column a flag byte (Null or present), then bytes that compare as the values do.
//
// Ascending columns keep the bytes, descending ones complement them. Uniqueness and references go by these bytes.
#pragma once

#include <span>

#include "jet/rows/table_def.h"
#include "jet/values/error.h"
#include "jet/values/value.h"

namespace jet {

// Appends the key of one column. `stored` is the bytes of the field as the row has them (row_codec.h), nothing for
// Null. Throws UnsupportedSortOrder for text that is not in General order, Corrupt for a type that has no keys.
void appendKey(const ColumnDef& column, bool ascending, std::optional<ByteView> stored, Bytes& key);

struct IndexKey {
    Bytes bytes;
    bool allNull = true;   // every key column is Null
    bool anyNull = false;  // some key column is Null
};

// `field(position)` gives the stored bytes of def.columns[position].
template <typename FieldOf>
IndexKey makeKey(const TableDef& def, const RealIndex& index, FieldOf&& field) {
    IndexKey key;
    for (const IndexColumn& c : index.columns) {
        const auto position = def.columnByNumber(c.column);
        if (!position)
            corrupt(def.page, "an index names a column that is not there");
        const std::optional<ByteView> stored = field(*position);
        key.anyNull = key.anyNull || !stored;
        key.allNull = key.allNull && !stored;
        appendKey(def.columns[*position], c.ascending, stored, key.bytes);
    }
    return key;
}

}  // namespace jet
