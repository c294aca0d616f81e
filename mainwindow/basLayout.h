// SPDX-License-Identifier: MIT
// Where the parts of the main window go when it is resized. All measures are twips (15 to a logical pixel).
//
// The tree always takes 30 % of the width; only heights, widths and the left edges of the right half change. What is
// at the top stays where it is.
#pragma once

// What frame, menus, toolbar, captions and status bar take of the height together, in the usual font.
inline constexpr int intUsuallyTaken = 1950;

struct LayoutInput {
    int intHeight = 0;  // outer height of the window, its frame included
    int intWidth = 0;   // outer width
    bool blnToolbar = true;
    bool blnStatusBar = true;
    int intToolbarHeight = 0;
    int intStatusBarHeight = 0;
    int intEnvelopesLeft = 0;  // left edge of the label and tree of the envelopes
    int intTaken = intUsuallyTaken;
};

struct LayoutResult {
    int intListHeight = 0;  // of the tree and of the list
    int intTreeWidth = 0;   // of the tree and of the label above it
    int intItemsWidth = 0;  // of the list and of the label above it
    int intItemsLeft = 0;
};

LayoutResult LayoutFor(const LayoutInput& in);
