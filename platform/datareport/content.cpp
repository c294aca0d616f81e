// SPDX-License-Identifier: MIT
#include "datareport/content.h"

#include "vbrt/exact_sum.h"
#include "vbrt/qstring.h"

#include <QVariant>
#include <algorithm>
#include <string>
#include <utility>

namespace datareport {

namespace {

double numberOf(const QVariant& value) {
    if (!value.isValid())
        return 0;
    if (value.metaType() == QMetaType::fromType<vbrt::Date>())
        return value.value<vbrt::Date>().serial;
    switch (value.typeId()) {
        case QMetaType::Bool:
            return value.toBool() ? -1 : 0;
        case QMetaType::QString:
            return vbrt::qt::CDbl(value.toString());
        default:
            return value.toDouble();
    }
}

Cell shownNumber(double value, const std::string& picture) {
    return {vbrt::qt::toQString(picture.empty() ? vbrt::CStr(value) : vbrt::Format(value, picture)), true};
}

Cell shown(const QVariant& value, const std::string& picture) {
    if (!value.isValid())
        return {};
    if (value.metaType() == QMetaType::fromType<vbrt::Date>()) {
        const auto date = value.value<vbrt::Date>();
        return {vbrt::qt::toQString(picture.empty() ? vbrt::CStr(date) : vbrt::Format(date, picture)), true};
    }
    if (value.typeId() == QMetaType::QString)
        return {picture.empty() ? value.toString() : vbrt::qt::Format(value.toString(), picture), false};
    if (value.typeId() == QMetaType::Bool && picture.empty())
        return {vbrt::qt::CStr(value.toBool()), false};
    return shownNumber(numberOf(value), picture);
}

// The text boxes of one band and the columns that they show.
class Binding {
 public:
    Binding(const Design& design, Band band) : m_band(findBand(design, band)) {
        if (m_band == nullptr)
            return;
        for (std::size_t i = 0; i < m_band->controls.size(); ++i)
            if (const Control& control = m_band->controls[i]; control.kind == Control::Kind::TextBox)
                m_boxes.push_back({i, -1, vbrt::qt::utf8(control.format)});
    }
    void bind(Rows& rows) {
        for (Box& box : m_boxes)
            box.column = rows.column(m_band->controls[box.control].field);
    }
    [[nodiscard]] Record read(Rows& row) const {
        Record record = empty();
        for (const Box& box : m_boxes)
            record.cells[box.control] = shown(row.value(box.column), box.picture);
        return record;
    }
    [[nodiscard]] Record empty() const { return {m_band->band, std::vector<Cell>(m_band->controls.size())}; }
    [[nodiscard]] bool isDesigned() const { return m_band != nullptr; }

 private:
    struct Box {
        std::size_t control;
        int column;
        std::string picture;
    };
    const BandDesign* m_band;
    std::vector<Box> m_boxes;
};

// The sums of one band.
class Totals {
 public:
    Totals(const Design& design, Band band) : m_band(findBand(design, band)) {
        if (m_band == nullptr)
            return;
        for (std::size_t i = 0; i < m_band->controls.size(); ++i)
            if (m_band->controls[i].kind == Control::Kind::Sum)
                m_sums.push_back({i, -1, {}});
    }
    void bind(Rows& rows) {
        for (Sum& sum : m_sums)
            sum.column = rows.column(m_band->controls[sum.control].field);
    }
    void add(Rows& row) {
        for (Sum& sum : m_sums)
            sum.total.add(numberOf(row.value(sum.column)));
    }
    void writeInto(Record& record) const {
        for (const Sum& sum : m_sums) {
            const Control& control = m_band->controls[sum.control];
            record.cells[sum.control] = shownNumber(sum.total.result(), vbrt::qt::utf8(control.format));
        }
    }
    void clear() {
        for (Sum& sum : m_sums)
            sum.total = {};
    }

 private:
    struct Sum {
        std::size_t control;
        int column;
        vbrt::ExactSum total;
    };
    const BandDesign* m_band;
    std::vector<Sum> m_sums;
};

class Reader {
 public:
    explicit Reader(const Design& design)
        : m_design(design),
          m_groupHeader(design, Band::GroupHeader),
          m_detail(design, Band::Detail),
          m_groupFooter(design, Band::GroupFooter),
          m_reportFooter(design, Band::ReportFooter),
          m_groupTotals(design, Band::GroupFooter),
          m_reportTotals(design, Band::ReportFooter) {}

    Content read(Rows& rows) {
        if (m_design.childMember.isEmpty())
            readDetails(rows);
        else
            readGroups(rows);
        if (m_reportFooter.isDesigned()) {
            m_content.push_back(m_reportFooter.empty());
            m_reportTotals.writeInto(m_content.back());
        }
        return std::move(m_content);
    }

 private:
    void readGroups(Rows& groups) {
        const int member = groups.column(m_design.childMember);
        m_groupHeader.bind(groups);
        m_groupFooter.bind(groups);
        while (groups.next()) {
            if (m_groupHeader.isDesigned())
                m_content.push_back(m_groupHeader.read(groups));
            readDetails(*groups.children(member));
            if (m_groupFooter.isDesigned()) {
                m_content.push_back(m_groupFooter.read(groups));
                m_groupTotals.writeInto(m_content.back());
            }
            m_groupTotals.clear();
        }
    }

    void readDetails(Rows& rows) {
        m_detail.bind(rows);
        m_groupTotals.bind(rows);
        m_reportTotals.bind(rows);
        while (rows.next()) {
            if (m_detail.isDesigned())
                m_content.push_back(m_detail.read(rows));
            m_groupTotals.add(rows);
            m_reportTotals.add(rows);
        }
    }

    const Design& m_design;
    Binding m_groupHeader;
    Binding m_detail;
    Binding m_groupFooter;
    Binding m_reportFooter;
    Totals m_groupTotals;
    Totals m_reportTotals;
    Content m_content;
};

}  // namespace

Content readContent(const Design& design, Rows& rows) {
    return Reader(design).read(rows);
}

}  // namespace datareport
