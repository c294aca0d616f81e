// SPDX-License-Identifier: MIT
#include "budget_schema.h"

namespace jet {

namespace {

constexpr double kCreated = 36526.5;  // noon of 2000-01-01: the same bytes on every build
constexpr PageNo kPages = 69;

using Properties = std::vector<Property>;

// The properties of a column in the order in which they are stored; what is empty is left out.
Properties describe(const char* description, const char* format = nullptr, const char* defaultValue = nullptr) {
    Properties p{PropertySet::textProperty("Description", description)};
    if (format != nullptr)
        p.push_back(PropertySet::textProperty("Format", format));
    if (defaultValue != nullptr)
        p.push_back(PropertySet::memoProperty("DefaultValue", defaultValue));
    p.push_back(PropertySet::boolProperty("Required", false));
    return p;
}

// '' is what the program stores where nothing was entered; a name, though, must not be empty.
enum class Empty : bool { Refused, Allowed };
Properties describeText(const char* description, Empty empty = Empty::Allowed) {
    Properties p = describe(description);
    p.push_back(PropertySet::boolProperty("AllowZeroLength", empty == Empty::Allowed));
    return p;
}

TableSpec envelopes() {
    TableSpec table{.name = "tbl_envelopes", .columns = {}, .indexes = {}, .properties = {}};
    table.columns = {
        {"envelope", ColumnType::Text, 50, false, describeText("Envelope name.", Empty::Refused)},
        {"budget", ColumnType::Double, 0, false, describe("Budget amount.", "Fixed", "0")},
    };
    table.indexes = {{.name = "PrimaryKey", .columns = {{"envelope", true}}, .primary = true}};
    return table;
}

TableSpec items() {
    TableSpec table{.name = "tbl_items", .columns = {}, .indexes = {}, .properties = {}};
    table.columns = {
        {"id", ColumnType::Long, 0, true, {PropertySet::textProperty("Description", "Item identifier.")}},
        {"amount", ColumnType::Double, 0, false, describe("Deposit or payment amount.", "Fixed", "0")},
        {"comment", ColumnType::Memo, 0, false, describeText("Comment.")},
        {"envelope", ColumnType::Text, 50, false, describeText("Envelope name.")},
        {"item_date", ColumnType::DateTime, 0, false, describe("Item date.", "Short Date")},
        {"item_num", ColumnType::Text, 50, false, describeText("Item or check number.")},
        {"payee", ColumnType::Text, 50, false, describeText("Payee.")},
        {"reconciled", ColumnType::Text, 1, false, describeText("Reconciled.")},
        {"transfer_id", ColumnType::Long, 0, false, describe("Transfer item identifier.", nullptr, "0")},
    };
    table.indexes = {
        {.name = "id", .columns = {{"id", true}}, .unique = true},
        {.name = "item_num", .columns = {{"item_num", true}}},
        {.name = "PrimaryKey", .columns = {{"id", true}}, .primary = true},
        {.name = "transfer_id", .columns = {{"transfer_id", true}}},
    };
    return table;
}

// Makes the rows of a stored query. Rows of one attribute are numbered as they come.
class QueryRows {
 public:
    enum Attribute : std::uint8_t {
        Start = 0,
        Kind = 1,
        Options = 3,
        Input = 5,
        Output = 6,
        Join = 7,
        Group = 9,
        Order = 11,
        End = 255,
    };

    void add(Attribute attribute, std::optional<std::int16_t> flag, std::optional<std::string> name = {},
             std::optional<std::string> expression = {}) {
        QueryRow row;
        row.attribute = attribute;
        for (const QueryRow& before : m_rows)
            row.order += before.attribute == attribute;
        row.name1 = std::move(name);
        row.expression = std::move(expression);
        row.flag = flag;
        m_rows.push_back(std::move(row));
    }
    QueryRow& last() { return m_rows.back(); }
    std::vector<QueryRow> take() { return std::move(m_rows); }

 private:
    std::vector<QueryRow> m_rows;
};

struct Output {
    const char* name;
    const char* expression;
};

// Both queries sum up the items of each envelope; they differ in the sums, and in that only one is sorted.
std::vector<QueryRow> sumsOfEnvelopes(std::initializer_list<Output> sums, bool sorted) {
    constexpr std::int16_t kSelect = 1;
    constexpr std::int16_t kInnerJoin = 1;
    const std::vector<std::string> keys = {"tbl_envelopes.envelope", "tbl_envelopes.budget"};
    QueryRows rows;
    rows.add(QueryRows::Start, {});
    rows.add(QueryRows::Kind, kSelect);
    rows.add(QueryRows::Options, std::int16_t{0});
    rows.add(QueryRows::Input, {}, "tbl_envelopes");
    rows.add(QueryRows::Input, {}, "tbl_items");
    for (const std::string& key : keys)
        rows.add(QueryRows::Output, std::int16_t{0}, {}, key);
    for (const Output& sum : sums)
        rows.add(QueryRows::Output, std::int16_t{0}, sum.name, sum.expression);
    rows.add(QueryRows::Join, kInnerJoin, "tbl_envelopes", "tbl_envelopes.envelope = tbl_items.envelope");
    rows.last().name2 = "tbl_items";
    for (const std::string& key : keys)
        rows.add(QueryRows::Group, std::int16_t{0}, {}, key);
    if (sorted)
        rows.add(QueryRows::Order, {}, {}, keys.front());
    rows.add(QueryRows::End, {});
    return rows.take();
}

Property number(const char* name, std::uint8_t type, Bytes value) {
    return {.name = name, .ddl = 1, .type = type, .value = std::move(value)};
}

PropertyBlock queryProperties() {
    constexpr std::uint8_t kInteger = 3;
    constexpr std::uint8_t kLong = 4;
    return {.kind = 0,
            .name = {},
            .properties = {number("ODBCTimeout", kInteger, {60, 0}), number("MaxRecords", kLong, {0, 0, 0, 0})}};
}

QuerySpec stuffer() {
    QuerySpec query;
    query.name = "qry_stuffer";
    query.rows = sumsOfEnvelopes({{"current_balance", "Sum(tbl_items.amount)"},  //
                                  {"new_balance", "[current_balance]+[budget]"}},
                                 true);
    query.properties = {
        queryProperties(),
        {.kind = 1, .name = "new_balance", .properties = {PropertySet::textProperty("Format", "Standard")}}};
    return query;
}

QuerySpec summary() {
    QuerySpec query;
    query.name = "qry_summary";
    query.rows = sumsOfEnvelopes({{"deposits", "Sum(IIf([tbl_items]![amount]>0,[tbl_items]![amount],0))"},
                                  {"payments", "Sum(IIf([tbl_items]![amount]<0,[tbl_items]![amount],0))"},
                                  {"balance", "Sum(tbl_items.amount)"}},
                                 false);
    query.properties = {queryProperties()};
    return query;
}

}  // namespace

DatabaseSpec budgetTemplate() {
    DatabaseSpec spec;
    spec.password = "kqlmz47";
    spec.created = kCreated;
    spec.tables = {envelopes(), items()};
    spec.relationships = {{.name = "tbl_envelopestbl_items",
                           .table = "tbl_items",
                           .referencedTable = "tbl_envelopes",
                           .columns = {{"envelope", "envelope"}},
                           .flags = 0x1100}};  // cascades updates and deletions
    spec.queries = {stuffer(), summary()};
    spec.pages = kPages;
    return spec;
}

}  // namespace jet
