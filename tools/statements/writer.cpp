// SPDX-License-Identifier: MIT
#include "statements/writer.h"

#include <cstdio>
#include <deque>
#include <map>
#include <set>

#include "statements/text.h"

namespace statements {

namespace {

void addCell(std::string_view text, std::string& out, bool last = false) {
    if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
        out += text;
    } else {
        out += '"';
        for (const char c : text) {
            out += c;
            if (c == '"')
                out += c;
        }
        out += '"';
    }
    out += last ? "\r\n" : ",";
}

// What has no date stands on the first day that all readers know.
vbrt::DateParts dayOf(const Entry& entry) {
    return entry.date ? vbrt::partsOf(*entry.date) : vbrt::DateParts{1900, 1, 1, 0, 0, 0};
}

std::string oneLine(std::string_view text) {
    std::string out = simplified(text);
    for (char& c : out)
        if (static_cast<unsigned char>(c) < 0x20)
            c = ' ';
    return out;
}

std::string replaced(std::string text, std::string_view unwanted, char by) {
    for (char& c : text)
        if (unwanted.find(c) != std::string_view::npos)
            c = by;
    return text;
}

// ledger reads lines of 4096 bytes at most.
void addComment(std::string_view text, std::string& out) {
    constexpr std::size_t kMost = 1000;
    while (!text.empty()) {
        std::size_t end = text.size() <= kMost ? text.size() : text.rfind(' ', kMost);
        if (end == std::string_view::npos || end == 0)
            for (end = kMost; (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U;)
                --end;
        out += "    ; " + std::string(text.substr(0, end)) + "\n";
        text = trimmed(text.substr(end));
    }
}

// The name of an account for each envelope, no two alike: ":" parts accounts, two blanks end a name.
std::map<std::string, std::string> accountNames(const Statement& budget) {
    std::map<std::string, std::string> names;
    std::set<std::string> taken;
    const auto add = [&](const std::string& envelope) {
        if (names.contains(envelope))
            return;
        std::string plain = replaced(oneLine(envelope), ":;()[]{}@=*!|\"", '-');
        if (plain.empty())
            plain = "Unnamed";
        std::string own = plain;
        for (int n = 2; !taken.insert(own).second; ++n)
            own = plain + " " + std::to_string(n);
        names[envelope] = "Assets:" + own;
    };
    for (const Account& account : budget.accounts)
        add(account.name);
    for (const Entry& entry : budget.entries)
        add(entry.account);
    return names;
}

}  // namespace

std::string writeCsv(const Statement& budget) {
    std::string out = "envelope,date,amount,num,payee,comment,reconciled,transfer,budget\r\n";
    for (const Account& account : budget.accounts) {
        addCell(account.name, out);
        out += ",,,,,,,";
        addCell(centsText(account.budget), out, true);
    }
    for (const Entry& entry : budget.entries) {
        addCell(entry.account, out);
        addCell(isoText(entry.date), out);
        addCell(centsText(entry.cents), out);
        addCell(entry.number, out);
        addCell(entry.payee, out);
        addCell(entry.comment, out);
        addCell(entry.reconciled ? "*" : "", out);
        addCell(entry.transfer, out);
        addCell("", out, true);
    }
    return out;
}

std::string writeQif(const Statement& budget) {
    std::map<std::string, std::vector<const Entry*>> accounts;
    for (const Account& account : budget.accounts)
        accounts[account.name];
    for (const Entry& entry : budget.entries)
        accounts[entry.account].push_back(&entry);
    std::string out;
    for (const auto& [name, entries] : accounts) {
        out += "!Account\nN" + oneLine(name) + "\nTBank\n^\n!Type:Bank\n";
        for (const Entry* entry : entries) {
            const vbrt::DateParts day = dayOf(*entry);
            char date[64];
            std::snprintf(date, sizeof date, "D%02d/%02d/%04d\n", day.month, day.day, day.year);
            out += date;
            out += "T" + centsText(entry->cents) + "\n";
            const auto add = [&out](const char* letter, const std::string& text) {
                if (!text.empty())
                    out += letter + text + "\n";
            };
            add("C", entry->reconciled ? "X" : "");
            add("N", oneLine(entry->number));
            add("P", oneLine(entry->payee));
            add("M", oneLine(entry->comment));
            if (!entry->transfer.empty())
                out += "L[" + oneLine(entry->transfer) + "]\n";
            out += "^\n";
        }
    }
    return out;
}

std::string writeLedger(const Statement& budget) {
    const std::map<std::string, std::string> names = accountNames(budget);
    std::string out = "commodity $\n    format $1000.00\naccount Expenses\naccount Income\n";
    for (const auto& [envelope, account] : names)
        out += "account " + account + "\n";
    // The second half of a transfer stands in the transaction of the first.
    std::map<std::string, std::deque<std::size_t>> halves;
    const auto key = [](const std::string& from, const std::string& to, const Entry& entry, std::int64_t cents) {
        return from + '\n' + to + '\n' + isoText(entry.date) + '\n' + centsText(cents) + '\n' + entry.payee;
    };
    for (std::size_t i = 0; i < budget.entries.size(); ++i) {
        const Entry& entry = budget.entries[i];
        if (!entry.transfer.empty())
            halves[key(entry.account, entry.transfer, entry, entry.cents)].push_back(i);
    }
    std::vector<bool> done(budget.entries.size());
    for (std::size_t i = 0; i < budget.entries.size(); ++i) {
        const Entry& entry = budget.entries[i];
        if (done[i])
            continue;
        std::string other = entry.cents < 0 ? "Expenses" : "Income";
        if (!entry.transfer.empty()) {
            auto& own = halves[key(entry.account, entry.transfer, entry, entry.cents)];
            std::erase(own, i);
            auto& partners = halves[key(entry.transfer, entry.account, entry, -entry.cents)];
            if (!partners.empty()) {
                done[partners.front()] = true;
                partners.pop_front();
                other = names.at(entry.transfer);
            }
        }
        const vbrt::DateParts day = dayOf(entry);
        char date[64];
        std::snprintf(date, sizeof date, "\n%04d-%02d-%02d ", day.year, day.month, day.day);
        out += date;
        out += entry.reconciled ? "* " : "";
        const std::string number = replaced(oneLine(entry.number), "();", '-');
        if (!number.empty())
            out += "(" + number + ") ";
        std::string payee = replaced(replaced(oneLine(entry.payee), ";", ','), "|@", '/');
        if (!payee.empty() && std::string_view("*!(=").find(payee.front()) != std::string_view::npos)
            payee.front() = '-';
        out += (payee.empty() ? "-" : payee) + "\n";
        addComment(replaced(oneLine(entry.comment), "[]:", ' '), out);
        out += "    " + names.at(entry.account) + "  $" + centsText(entry.cents) + "\n";
        out += "    " + other + "  $" + centsText(-entry.cents) + "\n";
    }
    return out;
}

}  // namespace statements
