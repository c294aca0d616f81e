// SPDX-License-Identifier: MIT
// A file in memory with nothing but a header and the two global maps: room for pages, maps and rows under test.
#pragma once

#include <QByteArray>

#include "jet/disk/memory_disk.h"
#include "jet/pages/data_page.h"
#include "jet/pages/usage_map.h"
#include "jet/values/error.h"

struct BareFile {
    jet::MemoryDisk disk;
    std::unique_ptr<jet::Pager> pager = jet::Pager::create(disk, "bare");
    jet::PageSpace space{*pager};

    // Leaves a transaction open.
    BareFile() {
        pager->begin();
        (void)pager->extend();
        jet::Header().writeTo(pager->edit(0));
        jet::DataPageEditor maps(pager->edit(pager->extend()), 1);
        maps.format(1);
        jet::Bytes freePages = jet::UsageMap::freshRow();
        for (std::size_t i = 5; i < freePages.size(); ++i)
            freePages[i] = i == 5 ? 0xFC : 0xFF;
        (void)maps.append(freePages);
        (void)maps.append(jet::UsageMap::freshRow());
    }

    [[nodiscard]] jet::Bytes row(jet::RowId id) const {
        const jet::PageRef page = pager->read(id.page);
        const jet::ByteView bytes = jet::DataPageView(page->view(), id.page).row(id.row);
        return {bytes.begin(), bytes.end()};
    }
};

inline QByteArray hex(jet::ByteView bytes, std::size_t from = 0, std::size_t length = SIZE_MAX) {
    const auto part = bytes.subspan(from, std::min(length, bytes.size() - from));
    return QByteArray(reinterpret_cast<const char*>(part.data()), static_cast<qsizetype>(part.size())).toHex(' ');
}

inline jet::Bytes fromHex(const QByteArray& text) {
    const QByteArray bytes = QByteArray::fromHex(text);
    return {bytes.begin(), bytes.end()};
}

// True when `action` throws jet::Error with this code.
template <typename Action>
bool throwsError(jet::Errc code, Action&& action) {
    try {
        action();
    } catch (const jet::Error& e) {
        return e.code() == code;
    }
    return false;
}
