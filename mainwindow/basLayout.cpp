// SPDX-License-Identifier: MIT
#include "mainwindow/basLayout.h"

#include <cstdlib>

LayoutResult LayoutFor(const LayoutInput& in) {
    constexpr int kBesidesTheList = 375;
    constexpr int kGap = 100;

    LayoutResult out;
    // Kept: the absolute value, so that a tiny window still gives a positive height.
    out.intListHeight = std::abs(in.intHeight - in.intTaken);
    if (!in.blnToolbar)
        out.intListHeight += in.intToolbarHeight;
    if (!in.blnStatusBar)
        out.intListHeight += in.intStatusBarHeight;
    out.intTreeWidth = static_cast<int>(in.intWidth * 0.3);
    out.intItemsWidth = in.intWidth - out.intTreeWidth - kBesidesTheList;
    out.intItemsLeft = in.intEnvelopesLeft + out.intTreeWidth + kGap;
    return out;
}
