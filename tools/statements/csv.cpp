// SPDX-License-Identifier: MIT
// Rows of RFC 4180. Which column is what is said once, by the options or by the first row.
#include <algorithm>
#include <array>

#include "statements/text.h"
#include "vbrt/ascii.h"

namespace statements {

namespace {

struct CsvRow {
    std::vector<std::string> cells;
    std::size_t line = 0;
};

class CsvRows {
 public:
    CsvRows(std::string_view text, char separator, std::size_t line)
        : m_text(text), m_separator(separator), m_line(line) {}

    bool next(CsvRow& row) {
        row.cells.clear();
        if (m_at >= m_text.size())
            return false;
        row.line = m_line;
        for (;;) {
            row.cells.push_back(cell());
            if (m_at >= m_text.size())
                return true;
            const char c = m_text[m_at++];
            if (c == m_separator)
                continue;
            if (c == '\r' && m_at < m_text.size() && m_text[m_at] == '\n')
                ++m_at;
            else if (c != '\n' && c != '\r')
                throw Error(m_line, "something stands behind a closing quote");
            ++m_line;
            return true;
        }
    }

 private:
    std::string_view m_text;
    char m_separator;
    std::size_t m_at = 0;
    std::size_t m_line;

    std::string cell() {
        if (m_at >= m_text.size() || m_text[m_at] != '"') {
            const char ends[] = {m_separator, '\n', '\r', '\0'};
            const std::size_t end = std::min(m_text.find_first_of(ends, m_at), m_text.size());
            std::string plain(m_text.substr(m_at, end - m_at));
            m_at = end;
            return plain;
        }
        std::string quoted;
        const std::size_t begin = m_line;
        for (++m_at; m_at < m_text.size(); ++m_at) {
            const char c = m_text[m_at];
            if (c == '"') {
                if (m_at + 1 >= m_text.size() || m_text[m_at + 1] != '"') {
                    ++m_at;
                    return quoted;
                }
                ++m_at;
            }
            m_line += c == '\n' ? 1 : 0;
            quoted += c;
        }
        throw Error(begin, "a quote is never closed");
    }
};

enum Column : std::size_t {
    DateC,
    Amount,
    Payee,
    Number,
    Comment,
    Id,
    Envelope,
    Transfer,
    Reconciled,
    Budget,
    kColumns
};
constexpr std::array<std::string_view, kColumns> kNames = {"date", "amount",   "payee",    "num",        "comment",
                                                           "id",   "envelope", "transfer", "reconciled", "budget"};

// The place of each column, or none.
using Places = std::array<std::optional<std::size_t>, kColumns>;

Places placesOf(const std::vector<std::string>& names, std::size_t line) {
    Places places;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (names[i].empty() || names[i] == "-")
            continue;
        const auto found = std::ranges::find_if(
            kNames, [&](std::string_view name) { return vbrt::equalsIgnoringCase(name, trimmed(names[i])); });
        if (found == kNames.end()) {
            throw Error(line, "no column is called '" + names[i].substr(0, 40) +
                                  "'; --columns names them in their order, - for one to skip: date, amount, payee, "
                                  "num, comment, id, envelope, transfer, reconciled, budget");
        }
        auto& place = places[static_cast<std::size_t>(found - kNames.begin())];
        if (place)
            throw Error(line, "the column " + std::string(*found) + " is named twice");
        place = i;
    }
    if (!places[DateC] || !places[Amount])
        throw Error(line, "there must be a date and an amount column");
    return places;
}

}  // namespace

Statement readCsv(std::string_view text, const Options& options) {
    Lines lines(text);
    std::string_view line;
    std::size_t offset = 0;
    for (std::size_t i = 0; i < options.skip && lines.next(line); ++i)
        offset += line.size() + 1;
    CsvRows rows(text.substr(std::min(offset, text.size())), options.separator != 0 ? options.separator : ',',
                 options.skip + 1);
    CsvRow row;
    std::vector<std::string> names = options.columns;
    std::size_t namesLine = 0;
    if (names.empty() && rows.next(row)) {
        names = row.cells;
        namesLine = row.line;
    }
    const Places places = placesOf(names, namesLine);
    // A file that was written here: there are items without a date, and rows that are envelopes.
    const bool own = options.columns.empty() && places[Envelope];

    Statement statement;
    std::vector<std::string> dates;
    std::vector<std::string> amounts;
    std::vector<std::string> budgets;
    std::vector<std::size_t> accountLines;
    std::vector<std::size_t> dated;
    while (rows.next(row)) {
        if (row.cells.size() == 1 && trimmed(row.cells[0]).empty())
            continue;
        if (row.cells.size() != names.size())
            throw Error(row.line, std::to_string(row.cells.size()) + " values where there are " +
                                      std::to_string(names.size()) + " columns");
        const auto cell = [&](Column column) {
            return places[column] ? std::move(row.cells[*places[column]]) : std::string();
        };
        if (std::string budget = cell(Budget); own && !budget.empty()) {
            statement.accounts.push_back({cell(Envelope), 0});
            budgets.push_back(std::move(budget));
            accountLines.push_back(row.line);
            continue;
        }
        Entry entry;
        entry.line = row.line;
        entry.account = cell(Envelope);
        entry.payee = cell(Payee);
        entry.number = cell(Number);
        entry.comment = cell(Comment);
        entry.id = cell(Id);
        entry.transfer = cell(Transfer);
        const std::string reconciled = cell(Reconciled);
        if (!reconciled.empty() && reconciled != "*")
            throw Error(row.line, "reconciled is * or nothing");
        entry.reconciled = !reconciled.empty();
        std::string date = cell(DateC);
        if (!own || !date.empty()) {
            dates.push_back(std::move(date));
            dated.push_back(statement.entries.size());
        }
        amounts.push_back(cell(Amount));
        statement.entries.push_back(std::move(entry));
    }

    std::vector<AmountText> texts;
    for (std::size_t i = 0; i < amounts.size(); ++i)
        texts.push_back({amounts[i], statement.entries[i].line});
    for (std::size_t i = 0; i < budgets.size(); ++i)
        texts.push_back({budgets[i], accountLines[i]});
    const std::vector<std::int64_t> cents = readAmounts(texts, options.decimal);
    for (std::size_t i = 0; i < cents.size(); ++i)
        (i < amounts.size() ? statement.entries[i].cents : statement.accounts[i - amounts.size()].budget) = cents[i];
    texts.clear();
    for (std::size_t i = 0; i < dates.size(); ++i)
        texts.push_back({dates[i], statement.entries[dated[i]].line});
    const std::vector<vbrt::Date> days = readDates(texts, options.order);
    for (std::size_t i = 0; i < days.size(); ++i)
        statement.entries[dated[i]].date = days[i];
    return statement;
}

}  // namespace statements
