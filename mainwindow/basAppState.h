// SPDX-License-Identifier: MIT
// Which commands of the main window are enabled: a pure function of five facts about what is open and selected.
#pragma once

#include <QString>
#include <QStringList>

struct AppState {
    bool blnOpen = false;              // a budget is open
    bool blnHasEnvelopes = false;      // the tree holds more than its root
    bool blnRootSelected = false;      // the root of the tree is selected
    bool blnEnvelopeSelected = false;  // there is a current envelope
    bool blnHasItems = false;          // the item list has a row
};

// `strCommand` is the name of a menu entry or the key of a toolbar button. Commands that no rule names are enabled.
bool CommandEnabled(const QString& strCommand, const AppState& state);

// The commands that have a rule, for those who apply them all.
const QStringList& RuledCommands();
