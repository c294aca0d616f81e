// SPDX-License-Identifier: MIT
// The account of every page: to whom it belongs by catalog, definitions and maps, and what is on it.
#include <map>

#include "commands.h"
#include "jet/disk/pager.h"
#include "jet/indexes/index_page.h"
#include "jet/pages/data_page.h"
#include "jet/pages/usage_map.h"
#include "jet/rows/long_value.h"
#include "jet/rows/row_codec.h"
#include "jet/values/bytes.h"
#include "jet/values/error.h"
#include "output.h"

namespace {

using jet::ByteView;
using jet::PageNo;
using jet::RowId;

std::string place(RowId id) {
    return std::to_string(id.page) + ":" + std::to_string(id.row);
}

std::string hex(ByteView bytes) {
    return jet::toDebugString(jet::Bytes(bytes.begin(), bytes.end())).substr(1);
}

// 1, 5-9, 12
std::string ranges(const std::vector<PageNo>& pages) {
    std::string out;
    for (std::size_t i = 0; i < pages.size();) {
        std::size_t last = i;
        while (last + 1 < pages.size() && pages[last + 1] == pages[last] + 1)
            ++last;
        out += (out.empty() ? "" : ", ") + std::to_string(pages[i]);
        if (last > i)
            out += "-" + std::to_string(pages[last]);
        i = last + 1;
    }
    return out.empty() ? "no page" : out;
}

class Account {
 public:
    explicit Account(jet::Database& db) : m_db(db), m_pager(db.pager()), m_pages(m_pager.pageCount()) {}

    void print(Output& output) {
        claim(0, "header", Kind::Header);
        claimMap({1, 0}, "free pages", Kind::None, nullptr, false);
        claimMap({1, 1}, "second global map", Kind::None, nullptr, false);
        for (const jet::CatalogEntry& entry : m_db.catalog())
            if (entry.type == jet::CatalogEntry::TableType)
                guarded("table " + entry.name, [&] { claimTable(m_db.table(entry.name)); });
        for (PageNo page = 0; page < m_pages.size(); ++page) {
            const Claim& claim = m_pages[page];
            std::string what = claim.what;
            if (what.empty())
                guarded("free pages",
                        [&] { what = m_db.space().isFree(page) ? "free" : "in use, but not known by whom"; });
            output.line("page " + std::to_string(page) + ": " + what);
            const std::size_t before = m_problems.size();
            guarded("page " + std::to_string(page), [&] { describe(page, claim, output); });
            for (std::size_t i = before; i < m_problems.size(); ++i)
                output.line("  damaged: " + m_problems[i]);
            m_problems.resize(before);
        }
        for (const std::string& problem : m_problems)
            output.line("damaged: " + problem);
    }

 private:
    enum class Kind { None, Header, Maps, Bitmap, Definition, Rows, LongValues, Index };
    struct Claim {
        std::string what;
        Kind kind = Kind::None;
        const jet::TableDef* def = nullptr;
    };

    jet::Database& m_db;
    jet::Pager& m_pager;
    std::vector<Claim> m_pages;
    std::map<RowId, std::string> m_maps;
    std::vector<std::string> m_problems;

    template <typename Work>
    void guarded(const std::string& what, Work&& work) {
        try {
            work();
        } catch (const jet::Error& e) {
            m_problems.push_back(what + ": " + e.what());
        }
    }

    void claim(PageNo page, const std::string& what, Kind kind, const jet::TableDef* def = nullptr) {
        if (page >= m_pages.size())
            return;
        Claim& claim = m_pages[page];
        if (!claim.what.empty() && !(kind == Kind::Maps && claim.kind == Kind::Maps)) {
            m_problems.push_back("page " + std::to_string(page) + " is of two owners: " + claim.what + "; " + what);
            return;
        }
        claim = {what, kind, def};
    }

    // A map: its row, its bitmap pages, and the pages in it unless they are only listed.
    void claimMap(RowId row, const std::string& of, Kind kind, const jet::TableDef* def, bool owned) {
        claim(row.page, "map rows", Kind::Maps);
        m_maps[row] = of;
        const jet::UsageMap map(m_pager, row);
        guarded(of, [&] {
            for (const PageNo page : map.mapPages())
                claim(page, "bitmap: " + of, Kind::Bitmap);
            if (owned)
                for (const PageNo page : map.pages())
                    claim(page, of, kind, def);
        });
    }

    void claimTable(const jet::Table& table) {
        const jet::TableDef& def = table.def();
        for (const PageNo page : def.pages)
            claim(page, "definition of " + table.name(), Kind::Definition, &def);
        claimMap(def.ownedMap, "rows of " + table.name(), Kind::Rows, &def, true);
        claimMap(def.freeSpaceMap, "rows of " + table.name() + ", with room", Kind::None, nullptr, false);
        for (const jet::LongValueMaps& maps : def.longValues) {
            const auto position = def.columnByNumber(maps.column);
            const std::string of =
                "long values of " + table.name() + "." + (position ? def.columns[*position].name : "?");
            claimMap(maps.owned, of, Kind::LongValues, &def, true);
            if (maps.freeSpace)
                claimMap(*maps.freeSpace, of + ", with room", Kind::None, nullptr, false);
        }
        for (std::size_t i = 0; i < def.realIndexes.size(); ++i) {
            std::string names;
            for (const jet::LogicalIndex& index : def.logicalIndexes)
                if (index.real == i)
                    names += (names.empty() ? "" : ", ") + index.name;
            claimMap(def.realIndexes[i].map, "index of " + table.name() + " (" + names + ")", Kind::Index, &def, true);
        }
    }

    void describe(PageNo page, const Claim& claim, Output& output) {
        const jet::PageRef ref = m_pager.read(page);
        switch (claim.kind) {
            case Kind::Header:
                describeHeader(output);
                break;
            case Kind::Definition:
                if (claim.def->page == page)
                    describeDefinition(*claim.def, output);
                break;
            case Kind::Maps:
            case Kind::Rows:
            case Kind::LongValues:
                describeData(jet::DataPageView(ref->view(), page), page, claim, output);
                break;
            case Kind::Index:
                describeIndex(jet::IndexPageView(ref->view(), page, claim.def->page), output);
                break;
            case Kind::None:
            case Kind::Bitmap:
                break;
        }
    }

    void describeHeader(Output& output) {
        const jet::Header& header = m_pager.header();
        output.line("  sort order " + std::to_string(header.language) + ", code page " +
                    std::to_string(header.codePage) + ", build " + std::to_string(header.build) +
                    (header.password.empty() ? ", no password" : ", password") +
                    (header.encryptionKey == 0 ? ", plain pages" : ", encrypted pages"));
    }

    void describeDefinition(const jet::TableDef& def, Output& output) {
        output.line("  " + std::to_string(def.rowCount) + " rows, last AutoNumber " +
                    std::to_string(def.lastAutoNumber) + ", pages " + ranges(def.pages));
        for (const jet::ColumnDef& c : def.columns)
            output.line("  column " + std::to_string(c.number) + " " + c.name + ": type " +
                        std::to_string(static_cast<int>(c.type)) + ", length " + std::to_string(c.length) + ", flags " +
                        hex(jet::Bytes{c.flags}) +
                        (c.isFixed() ? ", at " + std::to_string(c.fixedOffset)
                                     : ", variable " + std::to_string(c.variableIndex)));
        for (std::size_t i = 0; i < def.realIndexes.size(); ++i)
            output.line("  real index " + std::to_string(i) + ": root " + std::to_string(def.realIndexes[i].root) +
                        ", flags " + hex(jet::Bytes{def.realIndexes[i].flags}) + ", " +
                        std::to_string(def.realIndexes[i].distinctKeys) + " distinct keys");
        for (const jet::LogicalIndex& l : def.logicalIndexes)
            output.line("  index " + std::to_string(l.number) + " " + l.name + ": real " + std::to_string(l.real) +
                        (l.kind == jet::LogicalIndex::Kind::Relation
                             ? ", partner " + std::to_string(l.partnerNumber) + " of the table on page " +
                                   std::to_string(l.partnerTable)
                             : ""));
    }

    void describeData(const jet::DataPageView& view, PageNo page, const Claim& claim, Output& output) {
        output.line("  " + std::to_string(view.slotCount()) + " slots, " + std::to_string(view.freeSpace()) +
                    " bytes free");
        for (std::size_t slot = 0; slot < view.slotCount(); ++slot)
            guarded("row " + std::to_string(slot),
                    [&] { output.line("  " + std::to_string(slot) + ": " + describeSlot(view, slot, page, claim)); });
    }

    std::string describeSlot(const jet::DataPageView& view, std::size_t slot, PageNo page, const Claim& claim) {
        const jet::SlotKind kind = view.kind(slot);
        if (kind == jet::SlotKind::Deleted)
            return "deleted";
        const ByteView bytes = view.row(slot);
        const std::string length = std::to_string(bytes.size()) + " bytes";
        if (claim.kind == Kind::Maps) {
            const RowId row{page, static_cast<std::uint8_t>(slot)};
            const auto named = m_maps.find(row);
            return length + ", " + (named != m_maps.end() ? named->second : "a map of nobody") + ": " +
                   ranges(jet::UsageMap(m_pager, row).pages(true));
        }
        if (claim.kind == Kind::LongValues)
            return length;
        if (kind == jet::SlotKind::Pointer)
            return "moved to " + place(jet::fromPointer(bytes.size() == 4 ? jet::getU32(bytes, 0) : 0));
        return length + (kind == jet::SlotKind::Moved ? ", moved here: " : ": ") + values(*claim.def, bytes, page);
    }

    static std::string values(const jet::TableDef& def, ByteView bytes, PageNo page) {
        const jet::RowView row(def, bytes, page);
        std::string out;
        for (std::size_t i = 0; i < def.columns.size(); ++i) {
            out += i == 0 ? "" : " ";
            const auto field = row.field(i);
            if (field && def.columns[i].isLongValue()) {
                out += "(" + std::to_string(jet::LongValueStore::length(*field)) + " bytes)";
                continue;
            }
            jet::Value value;
            if (field)
                jet::decodeField(def.columns[i], *field, value);
            out += jet::toDebugString(value);
        }
        return out;
    }

    static void describeIndex(const jet::IndexPageView& view, Output& output) {
        output.line("  level " + std::to_string(view.level()) + ", " + std::to_string(view.count()) +
                    " entries, prefix " + std::to_string(view.prefix()) + ", previous " +
                    std::to_string(view.previous()) + ", next " + std::to_string(view.next()) + ", tail " +
                    std::to_string(view.tail()));
        for (std::size_t at = 0; at < view.used(); at = view.end(at)) {
            const jet::Bytes text = view.text(at);
            if (text.size() < jet::kRowBytes)
                jet::corrupt(0, "an index entry without a row");
            const ByteView key = ByteView(text).first(text.size() - jet::kRowBytes);
            const ByteView row = ByteView(text).last(jet::kRowBytes);
            output.line("  " + hex(key) + " row " +
                        place({PageNo{row[0]} << 16U | PageNo{row[1]} << 8U | row[2], row[3]}) +
                        (view.leaf() ? "" : ", child " + std::to_string(view.child(at))));
        }
    }
};

}  // namespace

int dumpPages(const Arguments& arguments) {
    const auto db = openFile(arguments, Access::Read);
    Output output;
    Account(*db).print(output);
    output.flush();
    return 0;
}
