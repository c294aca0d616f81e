// SPDX-License-Identifier: MIT
#include "jet/maintenance/new_file.h"

#include <algorithm>
#include <optional>

#include "jet/indexes/btree.h"
#include "jet/pages/data_page.h"

namespace jet {

void startFile(Pager& pager, const Header& header) {
    while (pager.pageCount() < kFixedPages)
        (void)pager.extend();
    header.writeTo(pager.edit(0));
    Bytes freePages = UsageMap::freshRow();
    constexpr std::size_t kBitmap = 5;
    for (std::size_t page = kFixedPages; page < (freePages.size() - kBitmap) * 8; ++page)
        freePages[kBitmap + page / 8] |= static_cast<std::uint8_t>(1U << page % 8);
    DataPageEditor maps(pager.edit(kGlobalMaps), kGlobalMaps);
    maps.format(kGlobalMaps);
    (void)maps.append(freePages);
    (void)maps.append(UsageMap::freshRow());
    for (const PageNo page : {kObjectMaps, kLastObjectMap, kNameIndexMap, kIdIndexMap, kOtherMaps})
        DataPageEditor(pager.edit(page), page).format(kOwnerMapRows);
}

void givePages(Pager& pager, PageSpace& space, TableDef& def, const TablePlaces& places) {
    const std::size_t pages = TableDef::pagesFor(def.encode().size());
    def.pages.clear();
    if (places.definition != 0)
        def.pages.push_back(places.definition);
    while (def.pages.size() < pages)
        def.pages.push_back(space.allocate());
    def.page = def.pages.front();

    std::optional<PageNo> lastMaps;
    const auto addMapRow = [&](const std::vector<PageNo>& wanted) -> RowId {
        const Bytes fresh = UsageMap::freshRow();
        for (const PageNo page : wanted) {
            DataPageEditor editor(pager.edit(page), page);
            if (editor.view().hasRoom(fresh.size()))
                return {page, editor.append(fresh)};
        }
        const RowId row = space.newMapRow(lastMaps);
        lastMaps = row.page;
        return row;
    };
    def.ownedMap = addMapRow(places.maps);
    def.freeSpaceMap = addMapRow(places.maps);
    for (const ColumnDef& column : def.columns) {  // the maps may be listed in another order
        for (LongValueMaps& maps : def.longValues) {
            if (maps.column != column.number)
                continue;
            maps.owned = addMapRow(places.maps);
            if (maps.freeSpace)
                maps.freeSpace = addMapRow(places.maps);
        }
    }
    for (std::size_t i = 0; i < def.realIndexes.size(); ++i) {
        std::vector<PageNo> wanted;
        if (!places.indexMaps.empty())
            wanted.push_back(places.indexMaps[std::min(i, places.indexMaps.size() - 1)]);
        def.realIndexes[i].map = addMapRow(wanted);
    }
    for (std::size_t i = 0; i < def.realIndexes.size(); ++i) {
        RealIndex& index = def.realIndexes[i];
        index.root = i < places.roots.size() ? places.roots[i] : space.allocate();
        UsageMap(pager, index.map).add(index.root, space);
        BTree::formatRoot(pager.edit(index.root), def.page);
    }
}

}  // namespace jet
