// SPDX-License-Identifier: MIT
// The envelopes and items of a budget for import and export.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "jet/database.h"
#include "statements/entry.h"

struct BudgetItem {
    std::int32_t id = 0;
    std::int32_t partner = 0;  // 0 = no transfer
    statements::Entry entry;   // account: the envelope
};

class Budget {
 public:
    // Throws vbrt::Error for a file that is no budget.
    explicit Budget(std::shared_ptr<jet::Database> db);

    // The envelope of that name, spelled as in the budget.
    [[nodiscard]] std::optional<std::string> envelope(const std::string& name);
    // All items, in the order of their numbers. `rounded` counts those with fractions of a cent.
    [[nodiscard]] std::vector<BudgetItem> items(std::size_t* rounded = nullptr);
    [[nodiscard]] std::vector<statements::Account> envelopes();

    // Changes want a transaction.
    void addEnvelope(const statements::Account& account);
    // Returns the number of the item.
    std::int32_t addItem(const statements::Entry& entry, std::int32_t partner);
    void setPartner(std::int32_t id, std::int32_t partner);
    [[nodiscard]] jet::Database& database() { return *m_db; }

 private:
    enum Column { Id, Amount, Comment, Envelope, Day, Number, Payee, Reconciled, Partner, kColumns };
    std::shared_ptr<jet::Database> m_db;
    jet::Table* m_items;
    jet::Table* m_envelopes;
    std::vector<std::size_t> m_places;
    std::size_t m_name = 0;
    std::size_t m_budget = 0;
    std::map<std::string, std::optional<std::string>> m_known;
    std::map<std::int32_t, jet::RowId> m_added;
};
