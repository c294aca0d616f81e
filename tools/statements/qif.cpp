// SPDX-License-Identifier: MIT
// QIF: a letter and a value on each line, "^" behind each record, "!Type:..." before records of a kind.
#include <array>

#include "statements/text.h"
#include "vbrt/ascii.h"

namespace statements {

namespace {

enum class Section { None, Entries, Account, Other };

bool isEntries(std::string_view type) {
    static constexpr std::array<std::string_view, 5> kTypes = {"bank", "cash", "ccard", "oth a", "oth l"};
    for (const std::string_view each : kTypes)
        if (vbrt::equalsIgnoringCase(each, type))
            return true;
    return false;
}

// "[Savings]/class" is a transfer with Savings; a category is none.
std::string transferOf(std::string_view category) {
    if (!category.starts_with('['))
        return {};
    const std::size_t end = category.rfind(']');
    return end == std::string_view::npos ? std::string() : std::string(category.substr(1, end - 1));
}

struct Split {
    std::string transfer;
    std::string comment;
    std::string amount;
    std::size_t line = 0;
};

struct Record {
    Entry entry;
    std::string date;
    std::size_t dateLine = 0;
    std::string amount;
    std::size_t amountLine = 0;
    std::vector<Split> splits;
};

class QifReader {
 public:
    QifReader(std::string_view text, const Options& options) : m_lines(text), m_options(options) {}

    Statement read() {
        std::string_view raw;
        while (m_lines.next(raw)) {
            const std::string_view line = trimmed(raw);
            if (line.empty())
                continue;
            if (line[0] == '!')
                header(trimmed(line.substr(1)));
            else if (line[0] == '^')
                finishRecord();
            else
                field(line[0], trimmed(line.substr(1)));
        }
        if (m_open)
            throw Error(m_lines.number(), "the file is cut off: the last record has no ^");
        if (m_skipped != 0)
            m_statement.remarks.push_back(std::to_string(m_skipped) + " records of other kinds are left out");
        finishNumbers();
        return std::move(m_statement);
    }

 private:
    Lines m_lines;
    const Options& m_options;
    Statement m_statement;
    std::vector<Record> m_records;
    Record m_now;
    Section m_section = Section::None;
    std::string m_account;
    std::string m_named;
    bool m_open = false;
    std::size_t m_skipped = 0;

    void header(std::string_view text) {
        if (m_open)
            throw Error(m_lines.number(), "a record has no ^");
        const std::size_t colon = text.find(':');
        const std::string_view word = trimmed(text.substr(0, colon));
        if (vbrt::equalsIgnoringCase(word, "Account"))
            m_section = Section::Account;
        else if (vbrt::equalsIgnoringCase(word, "Type") && colon != std::string_view::npos)
            m_section = isEntries(trimmed(text.substr(colon + 1))) ? Section::Entries : Section::Other;
        else if (!vbrt::equalsIgnoringCase(word, "Option") && !vbrt::equalsIgnoringCase(word, "Clear"))
            throw Error(m_lines.number(), "'!" + std::string(text.substr(0, 40)) + "' is no header of QIF");
    }

    void field(char letter, std::string_view value) {
        if (m_section == Section::None)
            throw Error(m_lines.number(), "the file does not begin with a header such as !Type:Bank");
        if (!m_open)
            m_now.entry.line = m_lines.number();
        m_open = true;
        if (m_section == Section::Account && letter == 'N')
            m_named = value;
        if (m_section != Section::Entries)
            return;
        Entry& entry = m_now.entry;
        switch (letter) {
            case 'D':
                m_now.date = value;
                m_now.dateLine = m_lines.number();
                break;
            case 'T':
            case 'U':  // the same with more room
                m_now.amount = value;
                m_now.amountLine = m_lines.number();
                break;
            case 'P':
                entry.payee = value;
                break;
            case 'M':
                entry.comment += (entry.comment.empty() ? "" : "\n") + std::string(value);
                break;
            case 'N':
                entry.number = value;
                break;
            case 'C':
                entry.reconciled = value == "X" || value == "x" || value == "R";
                break;
            case 'L':
                entry.transfer = transferOf(value);
                break;
            case 'S':
                m_now.splits.push_back({transferOf(value), {}, {}, m_lines.number()});
                break;
            case 'E':
            case '$':
                if (m_now.splits.empty())
                    throw Error(m_lines.number(), "a part of a split without its category");
                (letter == 'E' ? m_now.splits.back().comment : m_now.splits.back().amount) = value;
                break;
            default:  // addresses and what a budget does not keep
                break;
        }
    }

    void finishRecord() {
        if (!m_open)
            return;
        if (m_section == Section::Account) {
            m_account = m_named;
        } else if (m_section == Section::Other) {
            ++m_skipped;
        } else {
            if (m_now.dateLine == 0 || m_now.amountLine == 0)
                throw Error(m_now.entry.line, "a transaction without a date or an amount");
            m_now.entry.account = m_account;
            m_records.push_back(std::move(m_now));
        }
        m_now = {};
        m_open = false;
    }

    void finishNumbers() {
        std::vector<DateText> dates;
        std::vector<AmountText> amounts;
        for (const Record& record : m_records) {
            dates.push_back({record.date, record.dateLine});
            amounts.push_back({record.amount, record.amountLine});
            for (const Split& split : record.splits)
                amounts.push_back(
                    {split.amount.empty() ? std::string_view("0") : std::string_view(split.amount), split.line});
        }
        const std::vector<vbrt::Date> days = readDates(dates, m_options.order);
        const std::vector<std::int64_t> cents = readAmounts(amounts, m_options.decimal);
        std::size_t at = 0;
        for (std::size_t i = 0; i < m_records.size(); ++i) {
            Entry& entry = m_records[i].entry;
            entry.date = days[i];
            entry.cents = cents[at++];
            add(m_records[i], &cents[at]);
            at += m_records[i].splits.size();
        }
    }

    // One entry, unless parts of it are transfers: then one for each part.
    void add(Record& record, const std::int64_t* parts) {
        std::int64_t sum = 0;
        bool transfers = false;
        for (std::size_t i = 0; i < record.splits.size(); ++i) {
            sum += parts[i];
            transfers |= !record.splits[i].transfer.empty();
        }
        if (!record.splits.empty() && sum != record.entry.cents)
            throw Error(record.amountLine,
                        "the parts come to " + centsText(sum) + ", not to " + centsText(record.entry.cents));
        if (!transfers) {
            m_statement.entries.push_back(std::move(record.entry));
            return;
        }
        for (std::size_t i = 0; i < record.splits.size(); ++i) {
            Entry part = record.entry;
            part.cents = parts[i];
            part.transfer = record.splits[i].transfer;
            if (!record.splits[i].comment.empty())
                part.comment = record.splits[i].comment;
            m_statement.entries.push_back(std::move(part));
        }
    }
};

}  // namespace

Statement readQif(std::string_view text, const Options& options) {
    return QifReader(text, options).read();
}

}  // namespace statements
