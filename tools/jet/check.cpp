// SPDX-License-Identifier: MIT
#include <map>

#include "commands.h"
#include "jet/maintenance/verify.h"
#include "jet/values/error.h"
#include "output.h"

namespace {

struct Item {
    double amount = 0;
    std::int32_t partner = 0;  // 0 = no transfer
};

// A transfer is two items that name each other, of opposite amounts. The file allows for less: a budget may hold half
// a transfer after its other half was deleted, so these are remarks and no problems.
std::vector<std::string> remarksOnTransfers(jet::Database& db) {
    std::vector<std::string> remarks;
    if (!db.hasTable("tbl_items"))
        return remarks;
    jet::Table& table = db.table("tbl_items");
    const auto id = table.def().columnByName("id");
    const auto amount = table.def().columnByName("amount");
    const auto partner = table.def().columnByName("transfer_id");
    if (!id || !amount || !partner)
        return remarks;

    std::map<std::int32_t, Item> items;
    jet::Row row;
    for (const auto rows = table.scan({*id, *amount, *partner}); rows->next(row);) {
        const auto* number = std::get_if<std::int32_t>(&row[0]);
        const auto* dollars = std::get_if<double>(&row[1]);
        const auto* other = std::get_if<std::int32_t>(&row[2]);
        if (number != nullptr)
            items[*number] = {dollars != nullptr ? *dollars : 0, other != nullptr ? *other : 0};
    }
    for (const auto& [number, item] : items) {
        if (item.partner == 0)
            continue;
        const std::string name = "item " + std::to_string(number);
        const auto other = items.find(item.partner);
        if (other == items.end())
            remarks.push_back(name + " is half of a transfer: there is no item " + std::to_string(item.partner));
        else if (other->second.partner != number)
            remarks.push_back(name + " is half of a transfer: item " + std::to_string(item.partner) +
                              " does not name it");
        else if (item.amount != -other->second.amount && number < item.partner)
            remarks.push_back(name + " and item " + std::to_string(item.partner) +
                              " are a transfer, but their amounts are not opposite");
    }
    return remarks;
}

}  // namespace

int checkFile(const Arguments& arguments) {
    const auto db = openFile(arguments, Access::Read);
    Output output;
    std::vector<std::string> remarks;
    const std::vector<std::string> problems = jet::verify(*db, 1000, &remarks);
    for (const std::string& problem : problems)
        output.line(problem);
    try {
        for (std::string& remark : remarksOnTransfers(*db))
            remarks.push_back(std::move(remark));
    } catch (const jet::Error& e) {
        // A file too damaged for its items to be read has its problems listed above; only the disk is a matter here.
        if (e.code() != jet::Errc::Corrupt || problems.empty())
            throw;
    }
    for (const std::string& remark : remarks)
        output.line("remark: " + remark);
    output.line(std::to_string(problems.size()) + " problems");
    output.flush();
    return problems.empty() ? 0 : 1;
}
