// SPDX-License-Identifier: MIT
// camt.053, the statement of ISO 20022, in any of its versions: what is read has been the same in all of them.
#include <QXmlStreamReader>

#include "statements/text.h"

namespace statements {

namespace {

class CamtReader {
 public:
    explicit CamtReader(std::string_view text)
        : m_xml(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()))) {}

    Statement read() {
        while (!m_xml.atEnd()) {
            switch (m_xml.readNext()) {
                case QXmlStreamReader::DTD:
                    throw Error(line(), "a document type has no place in a statement");
                case QXmlStreamReader::StartElement:
                    m_path += '/' + m_xml.name().toString().toStdString();
                    if (m_path.size() > 2000)
                        throw Error(line(), "the elements are too deep");
                    m_text.clear();
                    begin();
                    break;
                case QXmlStreamReader::Characters:
                    m_text += m_xml.text().toString().toStdString();
                    break;
                case QXmlStreamReader::EndElement:
                    end(simplified(m_text));
                    m_path.resize(m_path.rfind('/'));
                    m_text.clear();
                    break;
                default:
                    break;
            }
        }
        if (m_xml.hasError())
            throw Error(line(), m_xml.errorString().toStdString());
        if (!m_known)
            throw Error(0, "this is no camt.053 statement (BkToCstmrStmt)");
        if (m_pending != 0)
            m_statement.remarks.push_back(std::to_string(m_pending) + " entries that are not booked are left out");
        return std::move(m_statement);
    }

 private:
    QXmlStreamReader m_xml;
    Statement m_statement;
    std::string m_path;
    std::string m_text;
    std::string m_account;
    bool m_known = false;
    std::size_t m_pending = 0;
    // Of the entry that is read.
    Entry m_entry;
    std::string m_sign, m_status, m_booked, m_value, m_creditor, m_debtor, m_purpose, m_info, m_detailId;
    std::size_t m_details = 0;
    bool m_hasAmount = false;

    [[nodiscard]] std::size_t line() const { return static_cast<std::size_t>(m_xml.lineNumber()); }

    void begin() {
        if (m_path == "/Document/BkToCstmrStmt/Stmt") {
            m_known = true;
            m_account.clear();
        } else if (m_path == "/Document/BkToCstmrStmt/Stmt/Ntry") {
            m_entry = {};
            m_entry.line = line();
            m_entry.account = m_account;
            for (std::string* text :
                 {&m_sign, &m_status, &m_booked, &m_value, &m_creditor, &m_debtor, &m_purpose, &m_info, &m_detailId})
                text->clear();
            m_details = 0;
            m_hasAmount = false;
        }
    }

    void end(const std::string& text) {
        constexpr std::string_view kStatement = "/Document/BkToCstmrStmt/Stmt/";
        std::string_view path = m_path;
        if (!path.starts_with(kStatement))
            return;
        path.remove_prefix(kStatement.size());
        if (path == "Acct/Id/IBAN" || path == "Acct/Id/Othr/Id") {
            m_account = text;
        } else if (path == "Ntry") {
            finish();
        } else if (path.starts_with("Ntry/")) {
            path.remove_prefix(5);
            inEntry(path, text);
        }
    }

    void inEntry(std::string_view path, const std::string& text) {
        if (path == "Amt") {
            const auto cents = readCents(text, '.', true);
            if (!cents || *cents < 0 || text.find_first_of(", '$+") != std::string::npos)
                throw Error(line(), "'" + text.substr(0, 40) + "' is no amount");
            m_entry.cents = *cents;
            m_hasAmount = true;
        } else if (path == "CdtDbtInd") {
            m_sign = text;
        } else if (path == "Sts" || path == "Sts/Cd") {
            m_status += text;
        } else if (path == "BookgDt/Dt" || path == "BookgDt/DtTm") {
            m_booked = text.substr(0, 10);
        } else if (path == "ValDt/Dt" || path == "ValDt/DtTm") {
            m_value = text.substr(0, 10);
        } else if (path == "AcctSvcrRef") {
            m_entry.id = text;
        } else if (path == "AddtlNtryInf") {
            m_info = text;
        } else if (path == "NtryDtls/TxDtls") {
            ++m_details;
        } else if (path.starts_with("NtryDtls/TxDtls/") && m_details == 0) {
            path.remove_prefix(16);
            if (path == "Refs/AcctSvcrRef")
                m_detailId = text;
            else if (path == "Refs/ChqNb")
                m_entry.number = text;
            else if (path == "RltdPties/Cdtr/Nm" || path == "RltdPties/Cdtr/Pty/Nm")
                m_creditor = text;
            else if (path == "RltdPties/Dbtr/Nm" || path == "RltdPties/Dbtr/Pty/Nm")
                m_debtor = text;
            else if ((path == "RltdPties/UltmtCdtr/Nm" || path == "RltdPties/UltmtCdtr/Pty/Nm") && m_creditor.empty())
                m_creditor = text;
            else if ((path == "RltdPties/UltmtDbtr/Nm" || path == "RltdPties/UltmtDbtr/Pty/Nm") && m_debtor.empty())
                m_debtor = text;
            else if ((path == "RmtInf/Ustrd" || path == "RmtInf/Strd/CdtrRefInf/Ref") && !text.empty())
                m_purpose += (m_purpose.empty() ? "" : " ") + text;
        }
    }

    void finish() {
        if (m_status == "PDNG" || m_status == "INFO" || m_status == "FUTR") {
            ++m_pending;
            return;
        }
        if (!m_status.empty() && m_status != "BOOK")
            throw Error(line(), "the status '" + m_status.substr(0, 40) + "' is not known");
        if (!m_hasAmount || (m_sign != "CRDT" && m_sign != "DBIT"))
            throw Error(m_entry.line, "an entry without an amount, or neither credit nor debit");
        const std::string& date = m_booked.empty() ? m_value : m_booked;
        m_entry.date = readDates({{date, m_entry.line}}, DateOrder::YearMonthDay).front();
        if (m_sign == "DBIT")
            m_entry.cents = -m_entry.cents;
        m_entry.payee = m_sign == "DBIT" ? m_creditor : m_debtor;
        m_entry.comment = m_purpose.empty() ? m_info : m_purpose;
        if (m_details > 1) {
            // One line of the account for several payments.
            m_entry.payee = m_info;
            m_entry.comment = std::to_string(m_details) + " payments";
        }
        if (m_entry.payee.empty())
            std::swap(m_entry.payee, m_entry.comment);
        if (m_entry.id.empty() && m_details == 1)
            m_entry.id = m_detailId;
        m_statement.entries.push_back(std::move(m_entry));
    }
};

}  // namespace

Statement readCamt(std::string_view bytes, const Options& options) {
    std::optional<Encoding> encoding;
    const std::string_view head = bytes.substr(0, 200);
    const std::size_t declared = head.find("encoding=");
    if (!options.encoding.empty())
        encoding = encodingOf(options.encoding);
    else if (declared != std::string_view::npos && declared + 10 < head.size())
        encoding = encodingOf(head.substr(declared + 10, head.substr(declared + 10).find_first_of("\"'")));
    return CamtReader(decode(bytes, encoding)).read();
}

}  // namespace statements
