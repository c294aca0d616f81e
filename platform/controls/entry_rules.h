// SPDX-License-Identifier: MIT
// The rules that every form follows for its boxes.
//
// A text box that is entered by Tab, by a mnemonic or by a click is selected whole, so that typing replaces it; not
// when its window comes back to the front, a message box closes or a menu was open. Who drags over a text selects that.
// The wheel changes a combo box only while that has the focus.
#pragma once

class QWidget;

namespace controls {

// For all boxes that `form` holds now. The form owns what watches them.
void applyEntryRules(QWidget* form);

}  // namespace controls
