// SPDX-License-Identifier: MIT
#include "ado/shape.h"

#include <algorithm>
#include <map>

#include "jet/values/text_order.h"
#include "jetsql/error.h"
#include "jetsql/lexer.h"
#include "jetsql/sort_key.h"

namespace ado {
namespace {

using Kind = jetsql::Token::Kind;

class Scanner : public jetsql::TokenReader {
 public:
    using TokenReader::TokenReader;

    void expectWord(std::string_view word) {
        if (!acceptWord(word))
            refuse();
    }

    // A name as it is, or in [brackets], `backquotes` or 'quotes'.
    std::string expectName() {
        const jetsql::Token& token = peek();
        const auto* quoted = std::get_if<std::string>(&token.value);
        if (token.kind != Kind::Word && token.kind != Kind::Name && (quoted == nullptr || quoted->empty()))
            refuse();
        ++m_at;
        return quoted != nullptr ? *quoted : token.text;
    }

    void expectName(std::string_view name) {
        const std::size_t begin = m_at;
        if (!jet::equalText(expectName(), name)) {
            m_at = begin;
            refuse();
        }
    }

    // A SELECT in braces. Braces in texts and bracketed names are not symbols and do not count.
    std::string expectQuery() {
        if (!acceptSymbol("{"))
            refuse();
        const std::size_t begin = peek().begin;
        const std::size_t opening = m_at - 1;
        expectWord("select");
        for (int depth = 1;; ++m_at) {
            if (peek().kind == Kind::End) {
                m_at = opening;
                refuse();
            }
            if (isSymbol("{"))
                ++depth;
            if (isSymbol("}") && --depth == 0)
                break;
        }
        return std::string(m_sql.substr(begin, m_tokens[m_at++].begin - begin));
    }

    void expectEnd() {
        acceptSymbol(";");
        if (peek().kind != Kind::End)
            refuse();
    }

 private:
    // Names the place: the statement from here on, or all of it when something is missing at its end.
    [[noreturn]] void refuse() const {
        const std::size_t place = peek().kind == Kind::End ? 0 : peek().begin;
        throw jetsql::Error(jetsql::Errc::UnsupportedSql, std::string(m_sql.substr(place)), place);
    }
};

std::size_t columnNamed(const std::vector<jetsql::OutputColumn>& columns, const std::string& name) {
    const auto found =
        std::find_if(columns.begin(), columns.end(), [&](const auto& c) { return jet::equalText(c.name, name); });
    if (found == columns.end())
        throw jetsql::Error(jetsql::Errc::UnsupportedSql, name);
    return static_cast<std::size_t>(found - columns.begin());
}

}  // namespace

std::optional<Shape> parseShape(std::string_view sql) {
    Scanner scanner(sql);
    if (!scanner.acceptWord("shape"))
        return std::nullopt;
    Shape shape;
    shape.query = scanner.expectQuery();
    scanner.expectWord("as");
    shape.chapter = scanner.expectName();
    scanner.expectWord("compute");
    scanner.expectName(shape.chapter);
    if (scanner.acceptWord("by")) {
        do {
            shape.by.push_back(scanner.expectName());
        } while (scanner.acceptSymbol(","));
    }
    scanner.expectEnd();
    return shape;
}

Groups::Groups(const Shape& shape, jetsql::Rows& rows) : m_columns(rows.columns()) {
    m_parentColumns.push_back({shape.chapter, jet::ColumnType::Long, 0});
    std::vector<std::size_t> by;
    for (const std::string& name : shape.by) {
        by.push_back(columnNamed(m_columns, name));
        m_parentColumns.push_back(m_columns[by.back()]);
    }

    m_rows = readAll(rows);
    std::map<jet::Bytes, std::vector<std::uint32_t>> groups;
    if (by.empty())
        groups[{}];  // there even without rows
    jet::Bytes key;
    for (std::uint32_t place = 0; place < m_rows->size(); ++place) {
        key.clear();
        for (const std::size_t column : by)
            jetsql::appendSortKey((*m_rows)[place][column], false, key);
        groups[key].push_back(place);
    }

    std::vector<jet::Row> parents;
    for (auto& [values, places] : groups) {
        jet::Row parent{static_cast<std::int32_t>(m_groups.size())};
        for (const std::size_t column : by)
            parent.push_back((*m_rows)[places.front()][column]);
        parents.push_back(std::move(parent));
        m_groups.push_back(std::move(places));
    }
    m_parents = std::make_shared<const std::vector<jet::Row>>(std::move(parents));
}

std::unique_ptr<RowSource> Groups::parents() const {
    return snapshotRows(m_parentColumns, m_parents);
}

std::unique_ptr<RowSource> Groups::children(std::size_t group) const {
    return snapshotRows(m_columns, m_rows, m_groups[group]);
}

}  // namespace ado
