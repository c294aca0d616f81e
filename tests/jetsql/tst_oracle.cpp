// SPDX-License-Identifier: MIT
// Runs random statements of the common subset here and in SQLite, over the same random rows, and compares.
//
// Each statement is made in both spellings at once. Where the two languages differ on purpose (5/2, Null & 'a',
// IIf, patterns) the spelling for SQLite says what is meant. Amounts are multiples of 0.25, so that sums are exact in
// any order; texts are letters alone, as the order of other characters differs.
#include "jetsql/operations.h"
#include "jetsql/test_database.h"
#include "rows.h"

#include <QTest>

#include <sqlite3.h>

#include <random>

namespace {

struct Both {
    std::string jet;
    std::string lite;

    Both(const char* text) : jet(text), lite(text) {}             // NOLINT(google-explicit-constructor)
    Both(std::string text) : jet(text), lite(std::move(text)) {}  // NOLINT(google-explicit-constructor)
    Both(std::string forJet, std::string forLite) : jet(std::move(forJet)), lite(std::move(forLite)) {}

    Both& operator+=(const Both& other) {
        jet += other.jet;
        lite += other.lite;
        return *this;
    }
    friend Both operator+(Both a, const Both& b) { return a += b; }
};

using Rows = std::vector<std::vector<std::string>>;

std::string number(double d) {
    char text[40];
    std::snprintf(text, sizeof text, "%.12g", d == 0 ? 0 : d);  // no -0
    return text;
}

std::string line(const std::vector<std::string>& row) {
    std::string text;
    for (const std::string& v : row)
        text += v + " | ";
    return text;
}

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

class Lite {
 public:
    Lite() { sqlite3_open(":memory:", &m_db); }
    Lite(const Lite&) = delete;
    Lite& operator=(const Lite&) = delete;
    ~Lite() { sqlite3_close(m_db); }

    Rows run(const std::string& sql) {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(m_db, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK)
            throw std::runtime_error(std::string(sqlite3_errmsg(m_db)) + " in " + sql);
        Rows rows;
        while (sqlite3_step(statement) == SQLITE_ROW) {
            rows.emplace_back();
            for (int i = 0; i < sqlite3_column_count(statement); ++i)
                rows.back().push_back(value(statement, i));
        }
        sqlite3_finalize(statement);
        return rows;
    }
    [[nodiscard]] long changes() const { return sqlite3_changes(m_db); }

 private:
    static std::string value(sqlite3_stmt* statement, int i) {
        switch (sqlite3_column_type(statement, i)) {
            case SQLITE_NULL:
                return "Null";
            case SQLITE_TEXT:
                return lower(reinterpret_cast<const char*>(sqlite3_column_text(statement, i)));
            default:
                return number(sqlite3_column_double(statement, i));
        }
    }

    sqlite3* m_db = nullptr;
};

std::string valueText(const jet::Value& v) {
    if (const auto* text = std::get_if<std::string>(&v))
        return lower(*text);
    if (jet::isNull(v))
        return "Null";
    return number(jetsql::toDouble(v));
}

Rows textRows(const std::vector<jet::Row>& rows) {
    Rows result;
    for (const jet::Row& row : rows) {
        result.emplace_back();
        std::transform(row.begin(), row.end(), std::back_inserter(result.back()), valueText);
    }
    return result;
}

jet::DatabaseSpec budgetSpec() {
    using enum jet::ColumnType;
    using test::column;
    jet::DatabaseSpec spec;
    spec.tables = {
        test::table(
            "p",
            {column("id", Long), column("n", Long), column("x", Double), column("t", Text, 60), column("d", DateTime)},
            {made::primary({"id"}), made::index("t", {{"t", true}})}),
        test::table(
            "c", {column("id", Long), column("p_id", Long), column("n", Long), column("x", Double), column("t", Memo)},
            {made::primary({"id"}), made::index("p_id", {{"p_id", true}})})};
    for (jet::TableSpec& t : spec.tables)
        t.columns.front().autoNumber = true;
    spec.tables[0].columns[3].properties = {jet::PropertySet::boolProperty("AllowZeroLength", true)};
    spec.tables[1].columns[4].properties = {jet::PropertySet::boolProperty("AllowZeroLength", true)};
    return spec;
}

// Makes random statements over tables p(id, n, x, t, d) and c(id, p_id, n, x, t).
class Generator {
 public:
    explicit Generator(unsigned seed) : m_random(seed) {}

    int below(int n) { return static_cast<int>(m_random() % static_cast<unsigned>(n)); }
    bool chance(int percent) { return below(100) < percent; }
    Both oneOf(std::initializer_list<Both> list) { return *(list.begin() + below(static_cast<int>(list.size()))); }

    Both whole() { return std::to_string(below(12) - 2); }
    Both fraction() { return number((below(80) - 20) * 0.25); }
    Both word() {
        static constexpr const char* kWords[] = {"a", "B", "ab", "AB", "abc", "Rent", "rent", "food", "Zoo", ""};
        return "'" + std::string(kWords[below(10)]) + "'";
    }
    Both date() {
        const int day = 1 + below(28);
        const int serial = 46023 + (day - 1);  // January 2026
        return {"#1/" + std::to_string(day) + "/2026#", std::to_string(serial)};
    }

    // An expression over the sources `from`, such as "p" or "c".
    Both numeric(const std::vector<std::string>& from, int depth = 0) {
        const std::string source = from[static_cast<std::size_t>(below(static_cast<int>(from.size())))];
        if (depth > 2 || chance(45))
            return oneOf({source + ".n", source + ".x", source + ".id", whole(), fraction()});
        const Both a = numeric(from, depth + 1);
        const Both b = numeric(from, depth + 1);
        const int kind = below(8);
        return kind == 0   ? "(" + a + " + " + b + ")"
               : kind == 1 ? "(" + a + " - " + b + ")"
               : kind == 2 ? "(" + a + " * 3)"
               : kind == 3 ? Both("(", "(1.0 * ") + a + " / 4)"
               : kind == 4 ? Both("(- ") + a + ")"
               : kind == 5 ? Both("Abs(", "abs(") + a + ")"
               : kind == 6 ? Both("IIf(", "iif(") + condition(from, depth + 1) + ", " + a + ", " + b + ")"
                           : Both("Len(", "length(") + text(from, depth + 1) + ")";
    }

    Both text(const std::vector<std::string>& from, int depth = 0) {
        const std::string source = from[static_cast<std::size_t>(below(static_cast<int>(from.size())))];
        if (depth > 2 || chance(60))
            return chance(70) ? Both(source + ".t") : word();
        const Both a = text(from, depth + 1);
        const int kind = below(4);
        if (kind < 3)
            return kind == 0   ? Both("UCase(", "upper(") + a + ")"
                   : kind == 1 ? Both("Left(", "substr(") + a + Both(", 2)", ", 1, 2)")
                               : Both("Mid(", "substr(") + a + ", 2, 1)";
        const Both b = text(from, depth + 1);
        return {"(" + a.jet + " & " + b.jet + ")", "(case when " + a.lite + " is null and " + b.lite +
                                                       " is null then null else coalesce(" + a.lite +
                                                       ", '') || coalesce(" + b.lite + ", '') end)"};
    }

    Both condition(const std::vector<std::string>& from, int depth = 0) {
        const Both compared = oneOf({" = ", " <> ", " < ", " <= ", " > ", " >= "});
        if (depth > 2 || chance(55)) {
            switch (below(9)) {
                case 0:
                case 1:
                    return "(" + numeric(from, 2) + compared + numeric(from, 2) + ")";
                case 2:
                    return "(" + text(from, 2) + Both("") + compared + text(from, 2) + Both("", " collate nocase") +
                           ")";
                case 3: {
                    const Both low = whole();
                    const Both high = whole();
                    const Both v = numeric(from, 2);
                    return {"(" + v.jet + " between " + low.jet + " and " + high.jet + ")",
                            "(" + v.lite + " between min(" + low.lite + "," + high.lite + ") and max(" + low.lite +
                                "," + high.lite + "))"};
                }
                case 4:
                    return "(" + numeric(from, 2) + " in (" + whole() + ", " + whole() + ", " + fraction() + "))";
                case 5:
                    return "(" + text(from, 2) + oneOf({" is null", " is not null"}) + ")";
                case 6:
                    return "(" + from.front() + ".t like " +
                           oneOf({{"'a*'", "'a%'"}, {"'*b*'", "'%b%'"}, {"'?b'", "'_b'"}, {"'r[a-z]?*'", "'r__%'"}}) +
                           ")";
                case 7:
                    return "(" + from.front() + ".id = " + whole() + ")";
                default:
                    return "(" + from.front() + ".d" + compared + date() + ")";
            }
        }
        const Both a = condition(from, depth + 1);
        const Both b = condition(from, depth + 1);
        return chance(25) ? Both("(not ") + a + ")" : "(" + a + oneOf({" and ", " or "}) + b + ")";
    }

    Both select() {
        std::vector<std::string> from;
        const Both clause = this->from(from);
        const bool grouped = chance(35);
        std::vector<Both> keys;
        std::vector<Both> outputs;
        if (grouped) {
            for (int i = below(3); i > 0; --i)
                keys.push_back(oneOf({from.back() + ".t", from.front() + ".n", "p.n - " + numeric(from, 2)}));
            outputs = keys;
            for (int i = 1 + below(3); i > 0; --i)
                outputs.push_back(aggregate(from));
        } else {
            for (int i = 1 + below(4); i > 0; --i)
                outputs.push_back(chance(50)   ? numeric(from)
                                  : chance(70) ? text(from)
                                               : Both("", "-") + condition(from));
        }
        m_ordered = chance(50);
        Both sql = "select ";
        const bool distinct = !grouped && chance(15);
        sql += distinct ? "distinct " : "";
        for (std::size_t i = 0; i < outputs.size(); ++i)
            sql += (i > 0 ? Both(", ") : Both("")) + outputs[i] + " as o" + std::to_string(i);
        sql += clause;
        if (chance(60))
            sql += " where " + condition(from);
        for (std::size_t i = 0; i < keys.size(); ++i)
            sql += (i > 0 ? Both(", ") : Both(" group by ")) + keys[i] + Both("", " collate nocase");
        if (grouped && chance(30))
            sql += " having " + aggregate(from) + " > 1";
        if (m_ordered) {
            for (std::size_t i = 0; i < outputs.size(); ++i) {
                const std::string direction = chance(40) ? " desc" : "";
                sql += (i > 0 ? Both(", ") : Both(" order by ")) +
                       Both(std::to_string(i + 1), "o" + std::to_string(i) + " collate nocase") + direction;
            }
        }
        if (distinct)  // SQLite tells apart what differs in case
            sql.lite = "select distinct " + listOf(outputs.size()) + " from (" + sql.lite + ")" + orderOf(sql.lite);
        return sql;
    }

    [[nodiscard]] bool ordered() const { return m_ordered; }

    Both change() {
        switch (below(4)) {
            case 0:
                return Both("insert into p (n, x, t, d) values (") + whole() + ", " + fraction() + ", " + word() +
                       ", " + date() + ")";
            case 1:
                return Both("insert into c (p_id, n, x, t) select id, n + 1, x / 2, t from p where ") +
                       condition({"p"}) + " and p.id < 12";
            case 2:
                return Both("update p set x = ") + numeric({"p"}) + ", t = " + word() + ", n = " + whole() + " where " +
                       condition({"p"});
            default:
                return Both("delete from c where id = ") + whole() + " or p_id = " + whole() + " or " +
                       oneOf({"x = 3.25", "n = 7 and t = 'ab'"});
        }
    }

 private:
    Both from(std::vector<std::string>& from) {
        static const std::pair<const char*, std::vector<std::string>> kClauses[] = {
            {"p inner join c on p.id = c.p_id", {"p", "c"}},
            {"p left join c on p.id = c.p_id", {"p", "c"}},
            {"(p inner join c on p.id = c.p_id) inner join p as q on (q.t = c.t and q.n = p.n)", {"p", "c", "q"}},
            {"p, c", {"p", "c"}},
            {"p", {"p"}},
            {"p", {"p"}}};
        const auto& [clause, names] = kClauses[below(6)];
        from = names;
        return std::string(" from ") + clause;
    }

    Both aggregate(const std::vector<std::string>& from) {
        if (chance(20))
            return "count(*)";
        const Both a = numeric(from, 2);
        return oneOf({"sum(", "count(", "avg(", "min(", "max("}) + a + ")";
    }

    static std::string listOf(std::size_t count) {
        std::string list;
        for (std::size_t i = 0; i < count; ++i)
            list += (i > 0 ? ", o" : "o") + std::to_string(i) + " collate nocase as o" + std::to_string(i);
        return list;
    }

    static std::string orderOf(const std::string& sql) {
        const std::size_t at = sql.rfind(" order by ");
        return at == std::string::npos ? "" : sql.substr(at);
    }

    std::mt19937 m_random;
    bool m_ordered = false;
};

}  // namespace

class tst_oracle : public QObject {
    Q_OBJECT

 private slots:
    void statements_data() {
        addColumns<unsigned>("seed");
        for (unsigned seed = 1; seed <= 4; ++seed)
            addRow(("seed " + std::to_string(seed)).c_str(), seed);
    }
    void statements() {
        QFETCH(unsigned, seed);
        test::Database db(budgetSpec());
        Lite lite;
        lite.run(
            "create table p (id integer primary key autoincrement, n integer, x real, t text collate nocase, d real)");
        lite.run(
            "create table c (id integer primary key autoincrement, p_id integer, n integer, x real, t text collate "
            "nocase)");
        Generator random(seed);
        const auto change = [&](const Both& sql) {
            lite.run(sql.lite);
            const long affected = db.execute(sql.jet).affected;
            QVERIFY2(affected == lite.changes(), sql.jet.c_str());
        };
        const auto maybe = [&](const Both& value) { return random.chance(15) ? Both("null") : value; };
        for (int i = 0; i < 40; ++i)
            change(Both("insert into p (n, x, t, d) values (") + maybe(random.whole()) + ", " +
                   maybe(random.fraction()) + ", " + maybe(random.word()) + ", " + maybe(random.date()) + ")");
        for (int i = 0; i < 60; ++i)
            change(Both("insert into c (p_id, n, x, t) values (") + maybe(random.whole()) + ", " +
                   maybe(random.whole()) + ", " + maybe(random.fraction()) + ", " + maybe(random.word()) + ")");
        int found = 0;
        for (int round = 0; round < 300; ++round) {
            if (round % 10 == 9) {
                change(random.change());
                for (const char* all : {"select * from p order by id", "select * from c order by id"})
                    QCOMPARE(textRows(db.rows(all)), lite.run(all));
                continue;
            }
            const Both sql = random.select();
            Rows expected = lite.run(sql.lite);
            Rows actual = textRows(db.rows(sql.jet));
            if (!random.ordered()) {
                std::sort(expected.begin(), expected.end());
                std::sort(actual.begin(), actual.end());
            }
            const auto [a, e] = std::mismatch(actual.begin(), actual.end(), expected.begin(), expected.end());
            QVERIFY2(actual == expected,
                     (sql.jet + "\n" + sql.lite + "\n" + (a == actual.end() ? "no more" : line(*a)) + "\n" +
                      (e == expected.end() ? "no more" : line(*e)))
                         .c_str());
            found += !expected.empty();
        }
        QVERIFY(found > 100);
    }
};

QTEST_APPLESS_MAIN(tst_oracle)
#include "tst_oracle.moc"
