// SPDX-License-Identifier: MIT
#include "budget.h"

#include <algorithm>
#include <cmath>

#include "commands.h"
#include "vbrt/error.h"

namespace {

constexpr long kNoBudget = 3001;

std::size_t placeIn(jet::Table& table, const char* column) {
    const auto place = table.def().columnByName(column);
    if (!place)
        throw vbrt::Error(kNoBudget, "The file is no budget: " + table.name() + " has no column " + column + ".");
    return *place;
}

jet::Table& tableOf(jet::Database& db, const char* name) {
    if (!db.hasTable(name))
        throw vbrt::Error(kNoBudget, std::string("The file is no budget: it has no table ") + name + ".");
    return db.table(name);
}

std::string textIn(const jet::Value& value) {
    const auto* text = std::get_if<std::string>(&value);
    return text != nullptr ? *text : std::string();
}

// Whole cents; what a double cannot hold as such is cut to the nearest.
std::int64_t centsIn(const jet::Value& value, std::size_t* rounded) {
    const auto* dollars = std::get_if<double>(&value);
    if (dollars == nullptr)
        return 0;
    const double cents = *dollars * 100;
    if (!(std::fabs(cents) < 1e15))
        throw vbrt::Error(6, "Overflow");
    const double whole = std::round(cents);
    if (rounded != nullptr && std::fabs(cents - whole) > 1e-4)
        ++*rounded;
    return static_cast<std::int64_t>(whole);
}

}  // namespace

Budget::Budget(std::shared_ptr<jet::Database> db)
    : m_db(std::move(db)), m_items(&tableOf(*m_db, "tbl_items")), m_envelopes(&tableOf(*m_db, "tbl_envelopes")) {
    for (const char* name :
         {"id", "amount", "comment", "envelope", "item_date", "item_num", "payee", "reconciled", "transfer_id"})
        m_places.push_back(placeIn(*m_items, name));
    m_name = placeIn(*m_envelopes, "envelope");
    m_budget = placeIn(*m_envelopes, "budget");
}

std::optional<std::string> Budget::envelope(const std::string& name) {
    const auto known = m_known.find(name);
    if (known != m_known.end())
        return known->second;
    std::optional<std::string> found;
    const std::size_t key[] = {m_name};
    const auto index = m_envelopes->indexOn(key);
    if (!index)
        throw vbrt::Error(kNoBudget, "The file is no budget: tbl_envelopes has no key.");
    const jet::Value wanted[] = {name};
    const auto rows = m_envelopes->lookup(*index, wanted);
    if (!rows.empty()) {
        jet::Row row;
        m_envelopes->read(rows.front(), key, row);
        found = textIn(row[0]);
    }
    m_known[name] = found;
    return found;
}

std::vector<BudgetItem> Budget::items(std::size_t* rounded) {
    std::vector<BudgetItem> items;
    jet::Row row;
    for (const auto rows = m_items->scan(m_places); rows->next(row);) {
        BudgetItem item;
        if (const auto* id = std::get_if<std::int32_t>(&row[Id]))
            item.id = *id;
        if (const auto* partner = std::get_if<std::int32_t>(&row[Partner]))
            item.partner = *partner;
        if (const auto* date = std::get_if<jet::Date>(&row[Day]); date != nullptr && vbrt::isInRange({date->serial}))
            item.entry.date = vbrt::Date{date->serial};
        item.entry.cents = centsIn(row[Amount], rounded);
        item.entry.account = textIn(row[Envelope]);
        item.entry.number = textIn(row[Number]);
        item.entry.payee = textIn(row[Payee]);
        item.entry.comment = textIn(row[Comment]);
        item.entry.reconciled = !textIn(row[Reconciled]).empty();
        items.push_back(std::move(item));
    }
    std::ranges::sort(items, {}, &BudgetItem::id);
    return items;
}

std::vector<statements::Account> Budget::envelopes() {
    std::vector<statements::Account> all;
    jet::Row row;
    for (const auto rows = m_envelopes->scan({m_name, m_budget}); rows->next(row);)
        all.push_back({textIn(row[0]), centsIn(row[1], nullptr)});
    return all;
}

void Budget::addEnvelope(const statements::Account& account) {
    jet::Row row(m_envelopes->columns().size());
    row[m_name] = account.name;
    row[m_budget] = static_cast<double>(account.budget) / 100;
    m_envelopes->insert(row);
    m_known.clear();
}

std::int32_t Budget::addItem(const statements::Entry& entry, std::int32_t partner) {
    jet::Row row(m_items->columns().size());
    row[m_places[Amount]] = static_cast<double>(entry.cents) / 100;
    row[m_places[Comment]] = entry.comment;
    row[m_places[Envelope]] = entry.account;
    if (entry.date)
        row[m_places[Day]] = jet::Date{entry.date->serial};
    row[m_places[Number]] = entry.number;
    row[m_places[Payee]] = entry.payee;
    row[m_places[Reconciled]] = std::string(entry.reconciled ? "*" : "");
    row[m_places[Partner]] = partner;
    const jet::RowId place = m_items->insert(row);
    const std::int32_t id = std::get<std::int32_t>(row[m_places[Id]]);
    m_added[id] = place;
    return id;
}

void Budget::setPartner(std::int32_t id, std::int32_t partner) {
    const std::size_t places[] = {m_places[Partner]};
    const jet::Value values[] = {partner};
    m_items->update(m_added.at(id), places, values);
}
