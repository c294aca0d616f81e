// SPDX-License-Identifier: MIT
// export: the whole budget as text. backup: a dated copy that was read again and checked.
#include <algorithm>
#include <cstdio>
#include <map>

#include "ado/errors.h"
#include "budget.h"
#include "commands.h"
#include "jet/maintenance/verify.h"
#include "jet/values/error.h"
#include "output.h"
#include "statements/writer.h"

int exportBudget(const Arguments& arguments) {
    const std::string format = arguments.value("format", "csv");
    std::string (*write)(const statements::Statement&) = format == "csv"      ? statements::writeCsv
                                                         : format == "qif"    ? statements::writeQif
                                                         : format == "ledger" ? statements::writeLedger
                                                                              : nullptr;
    if (write == nullptr)
        throw UsageError("--format is csv, qif or ledger");
    Budget budget(openBudget(arguments, Access::Read));
    statements::Statement all;
    all.accounts = budget.envelopes();
    std::size_t rounded = 0;
    std::vector<BudgetItem> items = budget.items(&rounded);
    std::map<std::int32_t, const BudgetItem*> numbers;
    for (const BudgetItem& item : items)
        numbers[item.id] = &item;
    std::vector<std::string> partners;
    for (const BudgetItem& item : items) {
        const auto other = item.partner == 0 ? numbers.end() : numbers.find(item.partner);
        const bool pair = other != numbers.end() && other->second->partner == item.id &&
                          other->second->entry.cents == -item.entry.cents;
        partners.push_back(pair ? budget.envelope(other->second->entry.account).value_or("") : std::string());
    }
    for (std::size_t i = 0; i < items.size(); ++i) {
        statements::Entry& entry = items[i].entry;
        entry.account = budget.envelope(entry.account).value_or(entry.account);
        entry.transfer = partners[i] == entry.account ? std::string() : partners[i];
        all.entries.push_back(std::move(entry));
    }
    if (rounded != 0)
        std::fprintf(stderr, "%zu amounts are rounded to whole cents\n", rounded);
    Output output;
    output.text() = write(all);
    output.flush();
    return 0;
}

int backupFile(const Arguments& arguments) {
    const std::string& from = arguments.names[0];
    const std::string password = budgetPasswordOf(arguments);
    jet::Disk& disk = jet::realDisk();
    const vbrt::DateParts day = vbrt::partsOf(vbrt::Today());
    const std::size_t slash = from.find_last_of("/\\");
    const std::string name = slash == std::string::npos ? from : from.substr(slash + 1);
    const std::size_t dot = std::min(name.rfind('.'), name.size());
    char date[64];
    std::snprintf(date, sizeof date, " %04d-%02d-%02d", day.year, day.month, day.day);
    const std::string begin = arguments.names[1] + "/" + name.substr(0, dot) + date;
    std::string to = begin + name.substr(dot);
    for (int n = 2; disk.exists(to); ++n)
        to = begin + " (" + std::to_string(n) + ")" + name.substr(dot);
    jet::copyDatabase(from, to);
    try {
        jet::OpenOptions options;
        options.password = password;
        options.readOnly = true;
        const std::vector<std::string> problems = jet::verify(*jet::Database::open(to, options), 1);
        if (!problems.empty())
            throw vbrt::Error(ado::kJetError, "The copy is damaged, as the budget may be: " + problems.front());
        disk.flushFolder(to);
    } catch (...) {
        disk.remove(to);
        throw;
    }
    Output output;
    output.line(to);
    output.flush();
    return 0;
}
