// SPDX-License-Identifier: MIT
// The text of a stored query out of the rows of the catalog that hold its parts.
#include "jet/values/text_order.h"
#include "jetsql/error.h"
#include "jetsql/parser.h"
#include "jetsql/statement.h"

#include <algorithm>

namespace jetsql {

namespace {

// QueryRow::attribute
enum Attribute : std::uint8_t {
    kKind = 1,
    kOptions = 3,
    kInput = 5,
    kOutput = 6,
    kJoin = 7,
    kWhere = 8,
    kGroupBy = 9,
    kHaving = 10,
    kOrderBy = 11,
};

// The flag of kKind.
constexpr int kSelect = 1;
constexpr int kDataDefinition = 7;
constexpr int kPassThrough = 8;

// The flag of kOptions.
constexpr int kAllColumns = 0x01;
constexpr int kDistinct = 0x02;
constexpr int kDistinctRow = 0x08;
constexpr int kTop = 0x10;
constexpr int kPercent = 0x20;

constexpr std::size_t kMaxInputs = 64;

// A table or a join of a FROM clause.
struct Item {
    std::vector<std::string> names;  // of the tables in it
    std::string text;
    // Of a join:
    std::string before;  // up to ON
    std::vector<std::string> conditions;

    [[nodiscard]] bool isJoin() const { return !conditions.empty(); }
    [[nodiscard]] bool has(const std::string& name) const {
        return std::any_of(names.begin(), names.end(), [&](const std::string& n) { return jet::equalText(n, name); });
    }
    void addCondition(const std::string& condition) {
        conditions.push_back(condition);
        text = before + conditions.front();
        if (conditions.size() == 1)
            return;
        text = before;
        for (const std::string& c : conditions)
            text += (text.size() > before.size() ? " AND (" : "(") + c + ")";
    }
};

class Writer {
 public:
    explicit Writer(const jet::StoredQuery& query) : m_query(query) {}

    std::string text() const {
        const jet::QueryRow* kind = first(kKind);
        const int number = kind ? kind->flag.value_or(kSelect) : kSelect;
        if (number == kDataDefinition || number == kPassThrough)
            return kind->expression.value_or("");
        if (number != kSelect)
            refuse();
        std::string sql = "SELECT " + options() + outputs();
        append(sql, " FROM ", from());
        append(sql, " WHERE ", list(kWhere, " AND "));
        append(sql, " GROUP BY ", list(kGroupBy, ", "));
        append(sql, " HAVING ", list(kHaving, " AND "));
        append(sql, " ORDER BY ", list(kOrderBy, ", "));
        return sql + ";";
    }

 private:
    [[noreturn]] void refuse() const { throw Error(Errc::UnsupportedSql, m_query.name); }

    [[nodiscard]] const jet::QueryRow* first(std::uint8_t attribute) const {
        for (const jet::QueryRow& row : m_query.rows) {
            if (row.attribute == attribute)
                return &row;
        }
        return nullptr;
    }

    static void append(std::string& sql, const char* word, const std::string& clause) {
        if (!clause.empty())
            sql += word + clause;
    }

    [[nodiscard]] int optionFlags() const {
        const jet::QueryRow* row = first(kOptions);
        return row ? row->flag.value_or(0) : 0;
    }

    [[nodiscard]] std::string options() const {
        const int flags = optionFlags();
        std::string text;
        if ((flags & kDistinct) != 0)
            text += "DISTINCT ";
        if ((flags & kDistinctRow) != 0)
            text += "DISTINCTROW ";
        if ((flags & kTop) != 0)
            text += "TOP " + first(kOptions)->name1.value_or("") + ((flags & kPercent) != 0 ? " PERCENT " : " ");
        return text;
    }

    [[nodiscard]] std::string outputs() const {
        std::string text = list(kOutput, ", ");
        if ((optionFlags() & kAllColumns) != 0)
            text += text.empty() ? "*" : ", *";
        return text;
    }

    [[nodiscard]] std::string list(std::uint8_t attribute, const std::string& separator) const {
        std::string text;
        for (const jet::QueryRow& row : m_query.rows) {
            if (row.attribute != attribute || !row.expression)
                continue;
            text += text.empty() ? "" : separator;
            text += *row.expression;
            if (attribute == kOutput && row.name1)
                text += " AS " + quotedName(*row.name1);
            if (attribute == kOrderBy && row.name1 == "D")
                text += " DESC";
        }
        return text;
    }

    [[nodiscard]] std::string from() const {
        std::vector<Item> items;
        for (const jet::QueryRow& row : m_query.rows) {
            if (row.attribute != kInput)
                continue;
            if (!row.name1 || items.size() == kMaxInputs)
                refuse();
            Item item;
            item.names.push_back(row.name2.value_or(*row.name1));
            item.text = quotedName(*row.name1) + (row.name2 ? " AS " + quotedName(*row.name2) : "");
            items.push_back(std::move(item));
        }
        for (const jet::QueryRow& row : m_query.rows) {
            if (row.attribute == kJoin)
                join(items, row);
        }
        std::string text;
        for (const Item& item : items)
            text += (text.empty() ? "" : ", ") + item.text;
        return text;
    }

    void join(std::vector<Item>& items, const jet::QueryRow& row) const {
        static constexpr const char* kWords[] = {" INNER JOIN ", " LEFT JOIN ", " RIGHT JOIN "};
        const int kind = row.flag.value_or(1);
        const auto find = [&](const std::optional<std::string>& name) {
            return std::find_if(items.begin(), items.end(), [&](const Item& i) { return name && i.has(*name); });
        };
        const auto left = find(row.name1);
        const auto right = find(row.name2);
        if (left == items.end() || right == items.end() || !row.expression || kind < 1 || kind > 3)
            refuse();
        if (left == right) {
            if (!left->isJoin())
                refuse();
            left->addCondition(*row.expression);
            return;
        }
        const auto operand = [](const Item& i) { return i.isJoin() ? "(" + i.text + ")" : i.text; };
        left->before = operand(*left) + kWords[kind - 1] + operand(*right) + " ON ";
        left->names.insert(left->names.end(), right->names.begin(), right->names.end());
        left->conditions.clear();
        left->addCondition(*row.expression);
        items.erase(right);
    }

    const jet::StoredQuery& m_query;
};

}  // namespace

std::string sqlOf(const jet::StoredQuery& query) {
    return Writer(query).text();
}

}  // namespace jetsql
