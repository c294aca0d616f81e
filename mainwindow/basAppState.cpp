// SPDX-License-Identifier: MIT
#include "mainwindow/basAppState.h"

#include <QHash>

namespace {

using Rule = bool (*)(const AppState&);

bool Open(const AppState& s) {
    return s.blnOpen;
}
bool PrintSelection(const AppState& s) {
    return (s.blnEnvelopeSelected || s.blnRootSelected) && s.blnHasEnvelopes && s.blnOpen;
}
bool ChangeEnvelope(const AppState& s) {
    return s.blnEnvelopeSelected && !s.blnRootSelected && s.blnHasEnvelopes;
}
bool AddItem(const AppState& s) {
    return s.blnEnvelopeSelected && !s.blnRootSelected && s.blnOpen;
}
bool ChangeItem(const AppState& s) {
    return s.blnHasItems && !s.blnRootSelected;
}
bool HasItems(const AppState& s) {
    return s.blnHasItems;
}
bool WholeBudget(const AppState& s) {
    return s.blnHasEnvelopes && s.blnOpen;
}

const QHash<QString, Rule>& Rules() {
    static const QHash<QString, Rule> hshRules = {
        {"mnuFileClose", Open},
        {"mnuFileSaveAs", Open},
        {"Save As", Open},
        {"mnuFilePrintSetup", Open},
        {"mnuFilePreview", PrintSelection},
        {"mnuFilePrint", PrintSelection},
        {"Preview", PrintSelection},
        {"Print", PrintSelection},
        {"mnuEnvelopeAdd", Open},
        {"mnuEnvelopeDelete", ChangeEnvelope},
        {"mnuEnvelopeRename", ChangeEnvelope},
        {"mnuItemAdd", AddItem},
        {"mnuItemEdit", ChangeItem},
        {"mnuItemDelete", ChangeItem},
        {"mnuItemReconcile", ChangeItem},
        {"mnuItemFind", HasItems},
        {"Find", HasItems},
        {"mnuToolsCompact", Open},
        {"mnuToolsStuffer", WholeBudget},
        {"mnuToolsReports", WholeBudget},
        {"Reports", WholeBudget},
    };
    return hshRules;
}

}  // namespace

bool CommandEnabled(const QString& strCommand, const AppState& state) {
    const Rule rule = Rules().value(strCommand, nullptr);
    return rule == nullptr || rule(state);
}

const QStringList& RuledCommands() {
    static const QStringList lstNames = Rules().keys();
    return lstNames;
}
