// SPDX-License-Identifier: MIT
// OFX 1 is SGML: a header of NAME:VALUE lines, then tags, where those that hold a value need not be closed. OFX 2 is
// the same as XML. Both become the same events.
#include <QXmlStreamReader>
#include <algorithm>
#include <charconv>

#include "statements/text.h"
#include "vbrt/ascii.h"

namespace statements {

namespace {

class OfxEntries {
 public:
    void open(std::string name, std::size_t line) {
        if (m_path.size() > 100)
            throw Error(line, "tags a hundred deep");
        if (name == "STMTTRN") {
            if (m_inside)
                throw Error(line, "a transaction inside another: the one before is not closed");
            m_inside = true;
            m_entry = {};
            m_entry.line = line;
            m_entry.account = m_account;
            m_has = {};
        } else if (name == "STMTRS" || name == "CCSTMTRS" || name == "INVSTMTRS") {
            m_account.clear();
        } else if (name == "INVTRAN") {
            ++m_investments;
        }
        m_path.push_back(std::move(name));
    }

    void value(const std::string& name, const std::string& text, std::size_t line) {
        if (name == "ACCTID" && (isIn("BANKACCTFROM") || isIn("CCACCTFROM") || isIn("INVACCTFROM"))) {
            m_account = text;
            if (m_inside)
                m_entry.account = text;
        }
        if (!m_inside)
            return;
        if (name == "DTPOSTED") {
            m_entry.date = dateOf(text, line);
            m_has.date = true;
        } else if (name == "TRNAMT") {
            const bool comma = text.find(',') != std::string::npos && text.find('.') == std::string::npos;
            const auto cents = readCents(text, comma ? ',' : '.', true);
            if (!cents || std::ranges::count(text, ',') + std::ranges::count(text, '.') > 1)
                throw Error(line, "'" + text.substr(0, 40) + "' is no amount");
            m_entry.cents = *cents;
            m_has.amount = true;
        } else if (name == "FITID") {
            m_entry.id = text;
        } else if (name == "CHECKNUM") {
            m_entry.number = text;
        } else if (name == "NAME" && !isIn("BANKACCTTO")) {
            m_entry.payee = text;
        } else if (name == "MEMO") {
            m_entry.comment = text;
        }
    }

    void close(const std::string& name, std::size_t line) {
        const auto found = std::find(m_path.rbegin(), m_path.rend(), name);
        if (found == m_path.rend())
            throw Error(line, "</" + name.substr(0, 40) + "> closes nothing");
        // What is passed over are tags without a value.
        m_path.erase(found.base() - 1, m_path.end());
        if (name == "STMTTRN") {
            if (!m_has.date || !m_has.amount)
                throw Error(line, "a transaction without a date or an amount");
            if (m_entry.payee.empty())
                std::swap(m_entry.payee, m_entry.comment);
            m_inside = false;
            m_statement.entries.push_back(std::move(m_entry));
        } else if (m_inside && !isIn("STMTTRN")) {
            throw Error(line, "a transaction is not closed before </" + name + ">");
        }
        m_finished |= name == "OFX";
    }

    Statement finish(std::size_t line) {
        if (!m_finished)
            throw Error(line, "the file is cut off: there is no </OFX>");
        if (m_investments != 0)
            m_statement.remarks.push_back("transactions in securities left out: " + std::to_string(m_investments));
        return std::move(m_statement);
    }

 private:
    struct Has {
        bool date = false;
        bool amount = false;
    };
    Statement m_statement;
    std::vector<std::string> m_path;
    std::string m_account;
    Entry m_entry;
    Has m_has;
    bool m_inside = false;
    bool m_finished = false;
    std::size_t m_investments = 0;  // trades, dividends and transfers have one INVTRAN each

    [[nodiscard]] bool isIn(std::string_view name) const { return std::ranges::find(m_path, name) != m_path.end(); }

    // YYYYMMDD, with a time of day behind it that a bank does not mean.
    static vbrt::Date dateOf(const std::string& text, std::size_t line) {
        const bool digits = text.size() >= 8 && std::all_of(text.begin(), text.begin() + 8, vbrt::isDigit);
        const auto number = [&](std::size_t at, std::size_t count) {
            int value = 0;
            for (std::size_t i = 0; i < count; ++i)
                value = value * 10 + (text[at + i] - '0');
            return value;
        };
        const auto date = digits ? vbrt::makeDate(number(0, 4), number(4, 2), number(6, 2)) : std::nullopt;
        if (!date)
            throw Error(line, "'" + text.substr(0, 40) + "' is no date");
        return *date;
    }
};

// &amp; and its like.
std::string withoutEntities(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::size_t end = text[i] == '&' ? text.substr(i, 8).find(';') : std::string_view::npos;
        const std::string_view name = end == std::string_view::npos ? std::string_view() : text.substr(i + 1, end - 1);
        const char* plain = name == "amp"    ? "&"
                            : name == "lt"   ? "<"
                            : name == "gt"   ? ">"
                            : name == "quot" ? "\""
                            : name == "apos" ? "'"
                            : name == "nbsp" ? " "
                                             : nullptr;
        int code = 0;
        if (name.starts_with('#'))
            std::from_chars(name.data() + 1, name.data() + name.size(), code);
        if (plain != nullptr || (code >= 32 && code < 127)) {
            out += plain != nullptr ? std::string(plain) : std::string(1, static_cast<char>(code));
            i += end;
        } else {
            out += text[i];
        }
    }
    return out;
}

std::string upper(std::string_view name) {
    std::string out;
    for (const char c : name)
        out += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    return out;
}

Statement readSgml(std::string_view text) {
    OfxEntries entries;
    std::size_t line = 1;
    std::size_t at = std::min(text.find('<'), text.size());
    line += static_cast<std::size_t>(std::ranges::count(text.substr(0, at), '\n'));
    while (at < text.size()) {
        const std::size_t end = text.find_first_of("<>", at + 1);
        if (end == std::string_view::npos || text[end] != '>')
            throw Error(line, "a tag is not closed by >");
        const std::string name = upper(trimmed(text.substr(at + 1, end - at - 1)));
        const std::size_t next = std::min(text.find('<', end), text.size());
        const std::string value = withoutEntities(trimmed(text.substr(end + 1, next - end - 1)));
        if (name.starts_with('/')) {
            // A value that was closed was never opened here.
            entries.close(name.substr(1), line);
        } else if (name.starts_with('?') || name.starts_with('!')) {
            // A declaration.
        } else if (value.empty()) {
            entries.open(name, line);
        } else {
            entries.value(name, value, line);
            const std::string closing = upper(text.substr(next, std::min(name.size() + 3, text.size() - next)));
            if (closing == "</" + name + ">") {
                line += static_cast<std::size_t>(std::ranges::count(text.substr(at, next - at), '\n'));
                at = next;
                const std::size_t behind = std::min(text.find('<', next + 1), text.size());
                line += static_cast<std::size_t>(std::ranges::count(text.substr(at, behind - at), '\n'));
                at = behind;
                continue;
            }
        }
        line += static_cast<std::size_t>(std::ranges::count(text.substr(at, next - at), '\n'));
        at = next;
    }
    return entries.finish(line);
}

Statement readXml(std::string_view text) {
    OfxEntries entries;
    QXmlStreamReader xml(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())));
    const auto line = [&xml] { return static_cast<std::size_t>(xml.lineNumber()); };
    std::string value;
    std::vector<std::pair<std::string, bool>> path;  // and whether it holds tags
    while (!xml.atEnd()) {
        switch (xml.readNext()) {
            case QXmlStreamReader::DTD:
                throw Error(line(), "a document type has no place in a statement");
            case QXmlStreamReader::StartElement:
                if (!path.empty() && !path.back().second) {
                    path.back().second = true;
                    entries.open(path.back().first, line());
                }
                path.emplace_back(upper(xml.name().toString().toStdString()), false);
                value.clear();
                break;
            case QXmlStreamReader::Characters:
                value += xml.text().toString().toStdString();
                break;
            case QXmlStreamReader::EndElement:
                if (path.back().second)
                    entries.close(path.back().first, line());
                else if (const std::string_view plain = trimmed(value); !plain.empty())
                    entries.value(path.back().first, std::string(plain), line());
                path.pop_back();
                value.clear();
                break;
            default:
                break;
        }
    }
    if (xml.hasError())
        throw Error(line(), xml.errorString().toStdString());
    return entries.finish(line());
}

// Some banks put the header of OFX 2 above a body of OFX 1, which shows in the first code: every answer has one.
bool closesValues(std::string_view text) {
    const std::size_t code = text.find("<CODE>");
    const std::size_t next = code == std::string_view::npos ? code : text.find('<', code + 1);
    return next == std::string_view::npos || text.substr(next).starts_with("</CODE>");
}

std::string headerValue(std::string_view head, std::string_view name) {
    const std::size_t at = head.find(name);
    if (at == std::string_view::npos)
        return {};
    const std::string_view rest = head.substr(at + name.size());
    return std::string(trimmed(rest.substr(0, rest.find_first_of("\r\n< "))));
}

}  // namespace

Statement readOfx(std::string_view bytes, const Options& options) {
    const std::string_view head = bytes.substr(0, std::min(bytes.find("<OFX>"), std::size_t{4096}));
    const bool xml = head.find("<?xml") != std::string_view::npos || head.find("<?OFX") != std::string_view::npos;
    std::optional<Encoding> encoding;
    if (!options.encoding.empty()) {
        encoding = encodingOf(options.encoding);
    } else if (xml) {
        const std::size_t quote = head.find("encoding=");
        if (quote != std::string_view::npos && quote + 10 < head.size())
            encoding = encodingOf(head.substr(quote + 10, head.substr(quote + 10).find_first_of("\"'")));
    } else {
        // USASCII with a CHARSET means that one; UNICODE and UTF-8 mean UTF-8.
        const std::string name = headerValue(head, "ENCODING:");
        const std::string set = headerValue(head, "CHARSET:");
        const bool wide = vbrt::equalsIgnoringCase(name, "UNICODE") || vbrt::equalsIgnoringCase(name, "UTF-8");
        if (!wide && !set.empty() && !vbrt::equalsIgnoringCase(set, "NONE"))
            encoding = encodingOf(set);
        else if (!wide && !name.empty())
            encoding = Encoding::CodePage1252;
    }
    const std::string text = decode(bytes, encoding);
    return xml && closesValues(text) ? readXml(text) : readSgml(text);
}

}  // namespace statements
