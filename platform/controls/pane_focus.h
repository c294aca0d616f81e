// SPDX-License-Identifier: MIT
// Shows which of two lists beside each other has the focus: the selection of the other one is pale.
#pragma once

#include <QStyleOptionViewItem>

namespace controls {

// For a view's initViewItemOption().
inline void showPaneFocus(QStyleOptionViewItem& option, bool focused) {
    if (focused)
        return;
    const QColor base = option.palette.color(QPalette::Active, QPalette::Base);
    const QColor full = option.palette.color(QPalette::Active, QPalette::Highlight);
    const auto mixed = [](int a, int b) { return (a * 7 + b * 3) / 10; };
    option.palette.setColor(
        QPalette::Highlight,
        QColor(mixed(base.red(), full.red()), mixed(base.green(), full.green()), mixed(base.blue(), full.blue())));
    option.palette.setColor(QPalette::HighlightedText, option.palette.color(QPalette::Active, QPalette::Text));
}

}  // namespace controls
