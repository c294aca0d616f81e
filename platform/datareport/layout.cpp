// SPDX-License-Identifier: MIT
#include "datareport/layout.h"

#include "vbrt/qstring.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <optional>
#include <utility>

namespace datareport {

namespace {

constexpr double kGap = 6;                    // free at the right of a text, so that it never touches the next
constexpr double kSpaceBelow = 4;             // of a band's empty foot, this much stays below a text that grew
constexpr double kTolerance = 0.01;           // what adding up heights may lose
constexpr int kLeastLines = 3;                // of a text that is never cut, a page holds so many
constexpr std::size_t kRecordsPerCall = 256;  // of the progress
constexpr int kManyPages = 99999;             // stands for numbers of pages not yet known

// A control with its place on this paper.
struct Field {
    const Control* control = nullptr;
    std::size_t cell = 0;
    int typeface = -1;
    double left = 0;
    double width = 0;
    double lineHeight = 0;
    double ascent = 0;
    std::vector<std::size_t> above;  // the controls that push this one down when they grow

    [[nodiscard]] double top() const { return control->place.top; }
    // A line, but not its last fifth: designs set lines close.
    [[nodiscard]] bool standsAbove(const Field& other) const { return top() + lineHeight * 0.8 <= other.top(); }
};

struct PlacedBand {
    bool designed = false;
    double height = 0;
    double foot = 0;            // free below the lowest line
    std::vector<Field> fields;  // from top to bottom
};

// A caption with the number of a page; written when all pages are there.
struct NumberedCaption {
    const Field* field = nullptr;
    double top = 0;
};

// A band with its texts, measured from its own top.
struct Block {
    Band band = Band::Detail;
    double height = 0;
    std::vector<Item> items;
    std::vector<NumberedCaption> captions;
    std::vector<Item> repeated;  // those of `items` that are shown again on the next page
    QString title;               // of a group: its first text
};

bool namesPage(const QString& caption) {
    return caption.contains(QLatin1String("%p")) || caption.contains(QLatin1String("%P"));
}

QString expanded(const QString& caption, const QString& title, int page, int pages) {
    if (!caption.contains(u'%'))
        return caption;
    QString result;
    for (qsizetype i = 0; i < caption.size(); ++i) {
        const QStringView code = QStringView(caption).sliced(i).first(std::min<qsizetype>(2, caption.size() - i));
        if (code == QLatin1String("%d"))
            result += vbrt::qt::toQString(vbrt::CStr(vbrt::Today()));
        else if (code == QLatin1String("%p"))
            result += QString::number(page);
        else if (code == QLatin1String("%P"))
            result += QString::number(pages);
        else if (code == QLatin1String("%i"))
            result += title;
        else if (code == QLatin1String("%%"))
            result += u'%';
        else {
            result += caption[i];
            continue;
        }
        ++i;
    }
    return result;
}

class Layouter {
 public:
    Layouter(const Design& design, const Paper& paper) : m_design(design) {
        m_pages.paper = paper;
        for (const BandDesign& band : design.bands)
            measure(band);
        fitTo(paper);
    }

    Pages layOut(const Content& content, const Progress& progress) {
        startPage();
        std::size_t done = 0;
        // Bands that must not be parted are gathered in m_run: a group header with its first row, the last row with
        // what follows it.
        for (const Record& record : content) {
            if (progress && done++ % kRecordsPerCall == 0 && !progress(done, content.size()))
                throw Cancelled();
            const bool follows = !m_run.empty() && m_run.back().band == Band::GroupHeader;
            const bool footer = record.band == Band::GroupFooter || record.band == Band::ReportFooter;
            if (!follows && !footer)
                placeRun();
            m_run.push_back(block(record.band, &record.cells));
        }
        placeRun();
        endPage();
        writeCaptions();
        return std::move(m_pages);
    }

 private:
    PlacedBand& of(Band band) { return m_bands[static_cast<std::size_t>(band)]; }

    void measure(const BandDesign& design) {
        PlacedBand& band = of(design.band);
        if (std::exchange(band.designed, true))
            return;
        band.height = design.height;
        double bottom = 0;
        for (std::size_t i = 0; i < design.controls.size(); ++i) {
            const Control& control = design.controls[i];
            Field field;
            field.control = &control;
            field.cell = i;
            if (control.kind != Control::Kind::Rule) {
                field.typeface = typeface(control.style);
                field.lineHeight = m_pages.typefaces[static_cast<std::size_t>(field.typeface)].lineHeight();
                field.ascent = m_pages.typefaces[static_cast<std::size_t>(field.typeface)].ascent();
            }
            bottom = std::max(bottom, control.place.top + field.lineHeight);
            band.fields.push_back(std::move(field));
        }
        band.foot = std::clamp(design.height - bottom, 0.0, kSpaceBelow);
        std::ranges::stable_sort(band.fields, {}, [](const Field& field) { return field.top(); });
        for (std::size_t i = 0; i < band.fields.size(); ++i)
            for (std::size_t j = 0; j < i; ++j)
                if (band.fields[j].standsAbove(band.fields[i]))
                    band.fields[i].above.push_back(j);
    }

    int typeface(const Style& style) {
        const std::pair key(style.size, style.bold);
        auto found = std::ranges::find(m_styles, key);
        if (found == m_styles.end()) {
            m_pages.typefaces.emplace_back(style.size, style.bold);
            found = m_styles.insert(found, key);
        }
        return static_cast<int>(found - m_styles.begin());
    }

    // Spreads the bands over the paper, or shrinks them. Shrunk until a page holds every band with all its lines,
    // nothing is ever taller than a page.
    void fitTo(const Paper& paper) {
        const double width = std::max(1.0, paper.size.width() - 2 * paper.margin);
        const double height = std::max(1.0, paper.size.height() - 2 * paper.margin);
        double tallest = 0;
        for (PlacedBand& band : m_bands)
            tallest += heightOf(
                band,
                [&](std::size_t i) {
                    const int lines = band.fields[i].control->style.lines;
                    return lines == kAllLines ? kLeastLines : lines;
                },
                nullptr);
        const double designWidth = m_design.width > 0 ? m_design.width : width;
        m_pages.scale = std::min({1.0, width / designWidth, height / std::max(1.0, tallest)});
        const double spread = width / m_pages.scale / designWidth;
        m_bottom = m_pageHeight = height / m_pages.scale;
        for (PlacedBand& band : m_bands)
            for (Field& field : band.fields) {
                const Place& place = field.control->place;
                const bool atEdge = place.left + place.width > designWidth - 0.5;
                field.left = place.left * spread;
                field.width = place.width * spread - (atEdge || field.typeface < 0 ? 0 : kGap);
            }
    }

    // The height of a band whose i-th field takes `lines(i)` lines; `tops` receives where the fields then are.
    template <typename Lines>
    static double heightOf(const PlacedBand& band, Lines lines, std::vector<double>* tops) {
        if (!band.designed)
            return 0;
        std::vector<double> grown(band.fields.size());  // what stands below a field is pushed down by this
        double bottom = 0;
        for (std::size_t i = 0; i < band.fields.size(); ++i) {
            const Field& field = band.fields[i];
            double pushed = 0;
            for (const std::size_t above : field.above)
                pushed = std::max(pushed, grown[above]);
            const int count = std::max(1, lines(i));
            grown[i] = pushed + (count - 1) * field.lineHeight;
            bottom = std::max(bottom, field.top() + pushed + count * field.lineHeight);
            if (tops != nullptr)
                tops->push_back(field.top() + pushed);
        }
        return std::max(band.height, bottom + band.foot);
    }

    [[nodiscard]] std::vector<TextLine> linesOf(const Field& field, const Cell* cell, int page, int pages) const {
        const Style& style = field.control->style;
        const Typeface& face = m_pages.typefaces[static_cast<std::size_t>(field.typeface)];
        if (field.control->kind == Control::Kind::Label)
            return face.wrap(expanded(field.control->caption, m_design.title, page, pages), field.width, style.lines);
        if (cell == nullptr || cell->text.isEmpty())
            return {};
        if (cell->whole)
            return {face.wholeOrFilled(cell->text, field.width)};
        return face.wrap(cell->text, field.width, style.lines);
    }

    void placeLines(const Field& field, double top, std::vector<TextLine> lines, std::vector<Item>& items) const {
        const Typeface& face = m_pages.typefaces[static_cast<std::size_t>(field.typeface)];
        const Align align = field.control->style.align;
        double baseline = top + field.ascent;
        for (TextLine& line : lines) {
            const double spare = field.width - line.width;
            const double indent = align == Align::Left ? 0 : align == Align::Center ? spare / 2 : spare;
            // A closing parenthesis stands in the gap behind the column, so that the digits line up.
            const double hanging = align == Align::Decimal && line.text.endsWith(u')') ? face.width(u")") : 0;
            if (!line.text.isEmpty())
                items.push_back(
                    {field.typeface, field.left + indent + hanging, baseline, line.width, std::move(line.text)});
            baseline += field.lineHeight;
        }
    }

    Block block(Band which, const std::vector<Cell>* cells) {
        const PlacedBand& band = of(which);
        std::vector<std::vector<TextLine>> lines;
        lines.reserve(band.fields.size());
        for (std::size_t i = 0; i < band.fields.size(); ++i) {
            const Field& field = band.fields[i];
            const Cell* cell = cells != nullptr ? &(*cells)[field.cell] : nullptr;
            lines.push_back(field.typeface < 0 ? std::vector<TextLine>()
                                               : linesOf(field, cell, kManyPages, kManyPages));
        }
        Block block;
        block.band = which;
        if (which == Band::GroupHeader && cells != nullptr && !cells->empty())
            block.title = cells->front().text;
        std::vector<double> tops;
        tops.reserve(band.fields.size());
        block.height = heightOf(
            band, [&](std::size_t i) { return static_cast<int>(lines[i].size()); }, &tops);
        for (std::size_t i = 0; i < band.fields.size(); ++i) {
            const Field& field = band.fields[i];
            if (field.typeface < 0)
                block.items.push_back({-1, field.left, tops[i], field.width, {}});
            else if (field.control->kind == Control::Kind::Label && namesPage(field.control->caption))
                block.captions.push_back({&field, tops[i]});
            else {
                if (field.control->repeats)
                    placeLines(field, tops[i], lines[i], block.repeated);
                placeLines(field, tops[i], std::move(lines[i]), block.items);
            }
        }
        return block;
    }

    void place(Block block) {
        for (const NumberedCaption& caption : block.captions)
            m_captions.emplace_back(m_pages.pages.size(), NumberedCaption{caption.field, m_y + caption.top});
        std::vector<Item>& items = m_pages.pages.back().items;
        for (Item& item : block.items) {
            item.baseline += m_y;
            items.push_back(std::move(item));
        }
        m_y += block.height;
    }

    [[nodiscard]] double ascent(const Item& item) const {
        return item.typeface < 0 ? 0 : m_pages.typefaces[static_cast<std::size_t>(item.typeface)].ascent();
    }
    [[nodiscard]] double bottom(const Item& item) const {
        if (item.typeface < 0)
            return item.baseline;
        return item.baseline - ascent(item) + m_pages.typefaces[static_cast<std::size_t>(item.typeface)].lineHeight();
    }

    // A row that may be taller than a page: as many lines as fit go here. The next page shows again whose they are.
    void placeDetail(Block block) {
        while (m_y + block.height > m_bottom + kTolerance) {
            const double room = m_bottom - m_y + kTolerance;
            Block head{block.band, 0, {}, {}, {}, {}};
            std::vector<Item> rest;
            double cut = block.height;  // where the rest begins
            for (Item& item : block.items) {
                const bool fits = bottom(item) <= room;
                if (!fits)
                    cut = std::min(cut, item.baseline - ascent(item));
                (fits ? head.items : rest).push_back(std::move(item));
            }
            block.items = std::move(rest);
            if (head.items.empty() ||
                block.items.empty()) {  // not even a line fits, or nothing but blank space is left
                std::ranges::move(head.items, std::back_inserter(block.items));
                break;
            }
            place(std::move(head));
            endPage();
            startPage();
            if (m_groupHeader)
                place(*m_groupHeader);
            block.height -= cut;
            for (Item& item : block.items)
                item.baseline -= cut;
            block.items.insert(block.items.end(), block.repeated.begin(), block.repeated.end());
        }
        place(std::move(block));
    }

    void startPage() {
        m_pages.pages.emplace_back();
        m_y = 0;
        if (m_pages.pages.size() == 1)
            place(block(Band::ReportHeader, nullptr));
        place(block(Band::PageHeader, nullptr));
        m_bottom = m_pageHeight - block(Band::PageFooter, nullptr).height;
    }

    void endPage() {
        m_y = m_bottom;
        place(block(Band::PageFooter, nullptr));
    }

    void placeRun() {
        double height = 0;
        for (const Block& block : m_run)
            height += block.height;
        if (m_y + height > m_bottom + kTolerance) {
            endPage();
            startPage();
            if (m_groupHeader && m_run.front().band == Band::Detail)
                place(*m_groupHeader);
        }
        for (Block& block : m_run) {
            if (block.band == Band::GroupHeader)
                m_groupHeader = block;
            if (block.band == Band::Detail) {
                placeDetail(std::move(block));
                continue;
            }
            if (m_y + block.height > m_bottom + kTolerance) {  // behind a row that filled the page
                endPage();
                startPage();
            }
            if (block.band == Band::GroupHeader)
                m_pages.bookmarks.push_back({block.title, m_pages.pages.size() - 1, m_y});
            place(std::move(block));
        }
        m_run.clear();
    }

    void writeCaptions() {
        const int pages = static_cast<int>(m_pages.pages.size());
        for (const auto& [page, caption] : m_captions)
            placeLines(*caption.field, caption.top, linesOf(*caption.field, nullptr, static_cast<int>(page), pages),
                       m_pages.pages[page - 1].items);
    }

    const Design& m_design;
    Pages m_pages;
    std::vector<std::pair<double, bool>> m_styles;  // of m_pages.typefaces
    std::array<PlacedBand, 7> m_bands;              // by Band
    double m_pageHeight = 0;
    double m_bottom = 0;  // where the page footer begins
    double m_y = 0;
    std::vector<Block> m_run;
    std::optional<Block> m_groupHeader;
    std::vector<std::pair<std::size_t, NumberedCaption>> m_captions;  // with the number of their page
};

}  // namespace

Pages layOut(const Design& design, const Content& content, const Paper& paper, const Progress& progress) {
    return Layouter(design, paper).layOut(content, progress);
}

QString pageText(const Page& page) {
    std::vector<const Item*> items;
    for (const Item& item : page.items)
        if (item.typeface >= 0)
            items.push_back(&item);
    std::ranges::sort(items, {}, [](const Item* item) { return std::pair(std::lround(item->baseline), item->left); });
    QString text;
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i > 0)
            text += std::lround(items[i - 1]->baseline) == std::lround(items[i]->baseline) ? u' ' : u'\n';
        text += items[i]->text;
    }
    return text;
}

QString dump(const Pages& pages) {
    QString text;
    int number = 0;
    for (const Page& page : pages.pages) {
        text += QStringLiteral("=== page %1\n").arg(++number);
        std::vector<const Item*> items;
        for (const Item& item : page.items)
            items.push_back(&item);
        const auto position = [](const Item* item) { return std::pair(std::lround(item->baseline), item->left); };
        std::ranges::sort(items, {}, position);
        for (std::size_t i = 0; i < items.size(); ++i) {
            if (i > 0)
                text += position(items[i - 1]).first == position(items[i]).first ? QStringLiteral(" | ")
                                                                                 : QStringLiteral("\n");
            text += QString::number(std::lround(items[i]->left)) + u' ';
            text += items[i]->typeface < 0 ? QStringLiteral("----") : items[i]->text;
        }
        text += u'\n';
    }
    return text;
}

}  // namespace datareport
