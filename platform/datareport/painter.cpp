// SPDX-License-Identifier: MIT
#include "datareport/painter.h"

#include <QPainter>

namespace datareport {

namespace {
constexpr double kRuleWidth = 0.5;  // points
}

void paintPage(QPainter& painter, const Pages& pages, std::size_t page) {
    painter.save();
    painter.translate(pages.paper.margin, pages.paper.margin);
    painter.scale(pages.scale / kUnitsPerPoint, pages.scale / kUnitsPerPoint);
    QPen pen(Qt::black, kRuleWidth * kUnitsPerPoint);
    pen.setCapStyle(Qt::FlatCap);
    painter.setPen(pen);
    int typeface = -1;
    for (const Item& item : pages.pages[page].items) {
        const QPointF start(item.left * kUnitsPerPoint, item.baseline * kUnitsPerPoint);
        if (item.typeface < 0) {
            painter.drawLine(start, start + QPointF(item.width * kUnitsPerPoint, 0));
            continue;
        }
        if (item.typeface != typeface) {
            typeface = item.typeface;
            painter.setFont(pages.typefaces[static_cast<std::size_t>(typeface)].font());
        }
        painter.drawText(start, item.text);
    }
    painter.restore();
}

}  // namespace datareport
