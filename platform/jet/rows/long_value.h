// SPDX-License-Identifier: MIT
// Memo and OLE values: inline in the row up to 32 bytes, one row of a long-value page up to 1,731, else a chain.
//
// The row holds a 12-byte header: u24 length, u8 kind (0x80 inline, 0x40 one row, 0x00 chain), u32 pointer, u32 0.
// Each value has its rows to itself; replacing a value deletes them and writes new ones.
#pragma once

#include "jet/pages/usage_map.h"
#include "jet/rows/table_def.h"

namespace jet {

class LongValueStore {
 public:
    // `maps` of the column. Borrows the pager and the space.
    LongValueStore(Pager& pager, PageSpace& space, LongValueMaps maps);

    // `field` = the bytes in the row. Throws Corrupt, also for chains that do not end.
    [[nodiscard]] Bytes read(ByteView field) const;
    // Writes the value and returns the bytes for the row. Throws TooLong from 16 MiB up.
    Bytes write(ByteView value);
    // Deletes the rows of the value and frees the pages that this empties.
    void erase(ByteView field);

    [[nodiscard]] static std::size_t length(ByteView field);
    [[nodiscard]] static bool isInline(ByteView field);

 private:
    RowId writeRow(ByteView value);
    RowId writeChain(ByteView value);
    PageNo newPage();
    void eraseRow(RowId id);
    void offer(PageNo changed);

    Pager* m_pager;
    PageSpace* m_space;
    LongValueMaps m_maps;
};

}  // namespace jet
