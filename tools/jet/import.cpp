// SPDX-License-Identifier: MIT
// import: the lines of a bank statement as items.
//
// A line is known already when the budget has an item of the same envelope and amount with the bank's own id, or else
// one of the same envelope, amount, date and payee. Each item accounts for one line, so that two equal lines are two
// items, and a statement that is read twice adds nothing. The id is kept as the item's number where the bank gives no
// check number; an item with another number is another item.
#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <unordered_map>

#include "budget.h"
#include "commands.h"
#include "jet/values/codepage.h"
#include "jet/values/error.h"
#include "output.h"
#include "statements/reader.h"
#include "statements/text.h"
#include "vbrt/ascii.h"

namespace {

using statements::Entry;

constexpr std::size_t kMostText = 50;  // of a payee or number

// One line of the statement, and what becomes of it.
struct Line {
    Entry entry;  // account: the envelope
    std::int32_t known = 0;
    std::string why;
    std::size_t mirror = kNone;  // the line that is the other half
    bool transfer = false;
    std::vector<std::string> remarks;

    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);
};

std::string bytesOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream out;
    if (!file || !(out << file.rdbuf()) || out.str().empty())
        throw jet::Error(jet::Errc::FileNotFound, path);
    return out.str();
}

char signOf(const Arguments& arguments, const char* option) {
    const std::string text = arguments.value(option);
    if (text == "tab" || text == "\\t")
        return '\t';
    if (text.size() > 1 || text == "\n" || text == "\"")
        throw UsageError(std::string("--") + option + " is one character");
    return text.empty() ? '\0' : text[0];
}

statements::Options optionsOf(const Arguments& arguments) {
    statements::Options options;
    options.encoding = arguments.value("encoding");
    options.decimal = signOf(arguments, "decimal");
    if (options.decimal != 0 && options.decimal != '.' && options.decimal != ',')
        throw UsageError("--decimal is . or ,");
    options.separator = signOf(arguments, "separator");
    const std::string order = arguments.value("date-order");
    if (order == "mdy")
        options.order = statements::DateOrder::MonthDayYear;
    else if (order == "dmy")
        options.order = statements::DateOrder::DayMonthYear;
    else if (order == "ymd")
        options.order = statements::DateOrder::YearMonthDay;
    else if (!order.empty())
        throw UsageError("--date-order is mdy, dmy or ymd");
    std::istringstream columns(arguments.value("columns"));
    for (std::string name; std::getline(columns, name, ',');)
        options.columns.push_back(name);
    const std::string skip = arguments.value("skip", "0");
    if (skip.empty() || skip.size() > 6 || !std::ranges::all_of(skip, vbrt::isDigit))
        throw UsageError("--skip is a number of lines");
    options.skip = static_cast<std::size_t>(std::stoul(skip));
    return options;
}

statements::Format formatOf(const Arguments& arguments, const std::string& bytes) {
    const std::string name = arguments.value("format");
    if (name == "csv" || (name.empty() && arguments.has("columns")))
        return statements::Format::Csv;
    if (name == "qif")
        return statements::Format::Qif;
    if (name == "ofx" || name == "qfx")
        return statements::Format::Ofx;
    if (name == "camt")
        return statements::Format::Camt;
    if (!name.empty())
        throw UsageError("--format is csv, qif, ofx or camt");
    return statements::formatOf(bytes);
}

// The characters from `at` on are not kept by `text` any more, and answered.
std::string cutOff(std::string& text) {
    std::size_t at = 0;
    for (std::size_t n = 0; n < kMostText && at < text.size(); ++n)
        for (++at; at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U;)
            ++at;
    std::string rest = text.substr(at);
    text.resize(at);
    return rest;
}

// An id that is too long for a number keeps its beginning and a sum of all of it.
std::string shortened(const std::string& id) {
    if (id.size() <= kMostText)
        return id;
    std::uint64_t sum = 14695981039346656037U;
    for (const char c : id)
        sum = (sum ^ static_cast<unsigned char>(c)) * 1099511628211U;
    char text[32];
    std::snprintf(text, sizeof text, "~%016llx", static_cast<unsigned long long>(sum));
    std::string begin = id;
    cutOff(begin);
    while (begin.size() + 17 > kMostText || (!begin.empty() && (static_cast<unsigned char>(begin.back()) & 0x80U) != 0))
        begin.pop_back();
    return begin + text;
}

class Import {
 public:
    Import(Budget& budget, const Arguments& arguments) : m_budget(budget), m_arguments(arguments) {}

    void take(statements::Statement statement) {
        m_remarks = std::move(statement.remarks);
        choose(statement);
        for (Entry& entry : statement.entries) {
            Line& line = m_lines.emplace_back();
            line.entry = std::move(entry);
            findEnvelope(line);
            mendTexts(line);
        }
        findTransfers();
        findKnown();
    }

    // All of it or nothing.
    void write() {
        jet::Transaction transaction(m_budget.database());
        for (const statements::Account& account : m_made)
            m_budget.addEnvelope(account);
        std::vector<std::int32_t> ids(m_lines.size());
        for (std::size_t i = 0; i < m_lines.size(); ++i) {
            Line& line = m_lines[i];
            if (line.known != 0)
                continue;
            const bool halves = line.mirror != Line::kNone;
            const std::int32_t partner = halves ? ids[line.mirror] : 0;
            ids[i] = m_budget.addItem(line.entry, partner);
            std::int32_t other = partner;
            if (line.transfer && !halves) {
                Entry half = line.entry;
                half.account = line.entry.transfer;
                half.cents = -half.cents;
                other = m_budget.addItem(half, ids[i]);
            }
            if (halves && other != 0)
                m_budget.setPartner(other, ids[i]);
            else if (other != 0)
                m_budget.setPartner(ids[i], other);
        }
        transaction.commit();
    }

    void report(bool written) const {
        Output output;
        std::size_t added = 0;
        for (const statements::Account& account : m_made)
            output.line("envelope " + account.name);
        for (const Line& line : m_lines) {
            added += line.known == 0 ? 1 : 0;
            std::string amount = statements::centsText(line.entry.cents);
            amount.insert(0, amount.size() < 12 ? 12 - amount.size() : 0, ' ');
            output.text() += line.known == 0 ? "add    " : "known  ";
            output.text() += statements::isoText(line.entry.date).substr(0, 10) + amount + "  " + line.entry.account;
            if (line.transfer)
                output.text() += (line.entry.cents < 0 ? " to " : " from ") + line.entry.transfer;
            output.text() += "  " + line.entry.payee;
            if (line.known != 0)
                output.text() += "  (item " + std::to_string(line.known) + ": " + line.why + ")";
            output.endLine();
            for (const std::string& remark : line.remarks)
                output.line("       line " + std::to_string(line.entry.line) + ": " + remark);
        }
        for (const std::string& remark : m_remarks)
            output.line("remark: " + remark);
        output.line(std::to_string(added) + (written ? " added, " : " to add, ") +
                    std::to_string(m_lines.size() - added) + " known" +
                    (written || added == 0 ? "" : "; --write adds them"));
        output.flush();
    }

 private:
    Budget& m_budget;
    const Arguments& m_arguments;
    std::vector<Line> m_lines;
    std::vector<statements::Account> m_made;
    std::vector<std::string> m_remarks;

    // One account for one envelope, or each for its own.
    void choose(statements::Statement& statement) {
        if (m_arguments.has("account")) {
            const std::string wanted = m_arguments.value("account");
            std::erase_if(statement.entries, [&](const Entry& entry) { return entry.account != wanted; });
            if (statement.entries.empty())
                throw statements::Error(0, "there is no account " + wanted);
        }
        if (m_arguments.has("envelope")) {
            std::set<std::string> accounts;
            for (const Entry& entry : statement.entries)
                accounts.insert(entry.account);
            std::string list;
            for (const std::string& account : accounts)
                list += (list.empty() ? "" : ", ") + account;
            if (accounts.size() > 1)
                throw statements::Error(0, "--account must say which of the accounts is meant: " + list);
            for (Entry& entry : statement.entries)
                entry.account = m_arguments.value("envelope");
            return;
        }
        if (m_arguments.has("create-envelopes"))
            for (const statements::Account& account : statement.accounts)
                make(account);
    }

    [[nodiscard]] std::optional<std::string> envelope(const std::string& name) {
        for (const statements::Account& account : m_made)
            if (vbrt::equalsIgnoringCase(account.name, name))
                return account.name;
        return m_budget.envelope(name);
    }

    void make(const statements::Account& account) {
        if (!account.name.empty() && !envelope(account.name))
            m_made.push_back(account);
    }

    void findEnvelope(Line& line) {
        Entry& entry = line.entry;
        if (entry.account.empty())
            throw statements::Error(entry.line, "--envelope must say where the items belong");
        if (m_arguments.has("create-envelopes"))
            make({entry.account, 0});
        const auto found = envelope(entry.account);
        if (!found)
            throw statements::Error(
                m_arguments.has("envelope") ? 0 : entry.line,
                "there is no envelope '" + entry.account + "'; --envelope names another, --create-envelopes makes it");
        entry.account = *found;
    }

    void mendTexts(Line& line) {
        Entry& entry = line.entry;
        entry.payee = statements::simplified(entry.payee);
        entry.number = statements::simplified(entry.number);
        for (std::string* text : {&entry.payee, &entry.number, &entry.comment, &entry.id})
            checkCharacters(line, *text);
        if (const std::string whole = entry.payee; !cutOff(entry.payee).empty()) {
            entry.comment = whole + (entry.comment.empty() ? "" : "\n") + entry.comment;
            line.remarks.push_back("the payee is cut to 50 characters, all of it is in the comment");
        }
        if (entry.number.empty())
            entry.number = shortened(entry.id);
        else if (const std::string whole = entry.number; !cutOff(entry.number).empty())
            throw statements::Error(entry.line, "the number '" + whole.substr(0, 40) + "...' is too long");
    }

    void checkCharacters(Line& line, std::string& text) {
        for (jet::Bytes bytes; !jet::tryToCodePage(text, bytes); bytes.clear()) {
            const std::size_t at = jet::fromCodePage(bytes).size();
            std::size_t end = at + 1;
            while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U)
                ++end;
            const std::string character = text.substr(at, end - at);
            if (!m_arguments.has("replace"))
                throw statements::Error(line.entry.line, "a budget cannot hold the character '" + character +
                                                             "'; --replace puts a question mark in its place");
            text.replace(at, end - at, "?");
            line.remarks.push_back("'" + character + "' is replaced by a question mark");
        }
    }

    static std::string transferKey(const Entry& e, const std::string& from, const std::string& to, std::int64_t cents) {
        return from + '\n' + to + '\n' + statements::isoText(e.date) + '\n' + std::to_string(cents) + '\n' + e.payee +
               '\n' + e.number + '\n' + e.comment;
    }

    // A transfer whose halves are both in the file is one pair.
    void findTransfers() {
        std::map<std::string, std::vector<std::size_t>> waiting;
        for (std::size_t i = 0; i < m_lines.size(); ++i) {
            Line& line = m_lines[i];
            Entry& entry = line.entry;
            if (entry.transfer.empty())
                continue;
            const auto other = envelope(entry.transfer);
            if (!other || *other == entry.account) {
                line.remarks.push_back(other ? "a transfer with itself is an ordinary item"
                                             : "there is no envelope '" + entry.transfer + "': an ordinary item");
                continue;
            }
            entry.transfer = *other;
            line.transfer = true;
            const auto found = waiting.find(transferKey(entry, entry.transfer, entry.account, -entry.cents));
            if (found != waiting.end() && !found->second.empty()) {
                line.mirror = found->second.front();
                m_lines[line.mirror].mirror = i;
                found->second.erase(found->second.begin());
            } else {
                waiting[transferKey(entry, entry.account, entry.transfer, entry.cents)].push_back(i);
            }
        }
    }

    struct Candidate {
        std::int32_t id = 0;
        std::string number;
        bool used = false;
    };

    static std::string plainKey(const Entry& entry, const std::string& envelope) {
        std::string key =
            envelope + '\n' + statements::isoText(entry.date).substr(0, 10) + '\n' + std::to_string(entry.cents) + '\n';
        for (const char c : entry.payee)
            key += vbrt::toLower(c);
        return key;
    }

    void findKnown() {
        std::vector<Candidate> candidates;
        std::unordered_map<std::string, std::vector<std::size_t>> byId;
        std::unordered_map<std::string, std::vector<std::size_t>> byPlain;
        const auto idKey = [](const std::string& envelope, const std::string& number, std::int64_t cents) {
            return envelope + '\n' + number + '\n' + std::to_string(cents);
        };
        for (const BudgetItem& item : m_budget.items()) {
            const std::string name = m_budget.envelope(item.entry.account).value_or(item.entry.account);
            byPlain[plainKey(item.entry, name)].push_back(candidates.size());
            if (!item.entry.number.empty())
                byId[idKey(name, item.entry.number, item.entry.cents)].push_back(candidates.size());
            candidates.push_back({item.id, item.entry.number, false});
        }
        const auto match = [&](Line& line, std::vector<std::size_t>& places, const char* why, auto&& fits) {
            for (const std::size_t place : places) {
                Candidate& each = candidates[place];
                if (line.known != 0 || each.used || !fits(each))
                    continue;
                each.used = true;
                line.known = each.id;
                line.why = why;
            }
            std::erase_if(places, [&](std::size_t place) { return candidates[place].used; });
        };
        for (Line& line : m_lines) {
            const std::string id = shortened(line.entry.id);
            const auto found = id.empty() ? byId.end() : byId.find(idKey(line.entry.account, id, line.entry.cents));
            if (found != byId.end())
                match(line, found->second, "the same id of the bank", [](const Candidate&) { return true; });
        }
        for (const bool sameNumber : {true, false}) {
            for (Line& line : m_lines) {
                const auto found = byPlain.find(plainKey(line.entry, line.entry.account));
                if (line.known != 0 || found == byPlain.end())
                    continue;
                const std::string& number = line.entry.number;
                match(line, found->second, "the same date, amount and payee", [&](const Candidate& each) {
                    return sameNumber ? each.number == number : each.number.empty() || number.empty();
                });
            }
        }
        for (Line& line : m_lines) {
            if (line.mirror == Line::kNone)
                continue;
            // Where one half is there already, the other cannot be told from an ordinary item that was made by hand.
            Line& mirror = m_lines[line.mirror];
            if (line.known == 0 && mirror.known != 0) {
                line.remarks.push_back("the other half is item " + std::to_string(mirror.known) + ": an ordinary item");
                line.transfer = false;
                line.mirror = Line::kNone;
            }
        }
    }
};

}  // namespace

int importStatement(const Arguments& arguments) {
    const std::string& path = arguments.names[1];
    const bool writes = arguments.has("write");
    const statements::Options options = optionsOf(arguments);
    try {
        const std::string bytes = bytesOf(path);
        statements::Statement statement = statements::read(bytes, formatOf(arguments, bytes), options);
        Budget budget(openBudget(arguments, writes ? Access::Write : Access::Read));
        Import import(budget, arguments);
        import.take(std::move(statement));
        if (writes)
            import.write();
        import.report(writes);
        return 0;
    } catch (const statements::Error& error) {
        throw LineError(path, error.line(), error.what());
    }
}
