// SPDX-License-Identifier: MIT
// Random statements on a database and on a model in memory, which must agree all the way. COINVALE_STATEMENTS sets
// how many (2,000 unless given).
#include <QTest>
#include <map>
#include <random>
#include <set>

#include "jet/made_database.h"
#include "rows.h"

using namespace made;

namespace {

DatabaseSpec spec() {
    DatabaseSpec s;
    IndexSpec code = index("code", {{"code", true}});
    code.unique = true;
    s.tables = {
        table("groups", {text("name", 20), memo("about")}, {primary({"name"})}),
        table("things",
              {counter("id"), text("title", 200), text("group", 20), column("code", ColumnType::Long), memo("body"),
               column("grade", ColumnType::Integer)},
              {primary({"id"}), code, index("title", {{"title", false}}),
               index("grade", {{"grade", true}, {"title", true}})}),
        table("marks", {column("thing", ColumnType::Long), column("no", ColumnType::Byte), text("mark", 60)},
              {primary({"thing", "no"})}),
    };
    s.relationships = {relation("things of group", "things", "groups", {{"group", "name"}}, kCascadeBoth),
                       relation("marks of thing", "marks", "things", {{"thing", "id"}}, kCascadeBoth)};
    return s;
}

// What a unique index of names goes by.
std::string keyOf(std::string name) {
    name.erase(name.find_last_not_of(' ') + 1);
    for (char& c : name)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return name;
}

struct Group {
    std::string name;
    Value about;
};
struct Thing {
    Value title;
    std::optional<std::string> group;
    std::optional<std::int32_t> code;
    Value body;
    Value grade;
};

class Trial {
 public:
    explicit Trial(unsigned seed) : m_file(spec()), m_random(seed) {}

    void step() {
        static constexpr std::array kActions = {
            &Trial::addGroup,    &Trial::addThing,    &Trial::addThing,    &Trial::addThing,  &Trial::addThing,
            &Trial::changeThing, &Trial::changeThing, &Trial::changeThing, &Trial::addMark,   &Trial::addMark,
            &Trial::renameGroup, &Trial::renumber,    &Trial::eraseThing,  &Trial::eraseMark, &Trial::lookUp,
        };
        const unsigned die = number(1000);
        if (die < 8)
            eraseGroup();
        else if (die < 20)
            m_file.reopen();
        else if (die < 40)
            undone();
        else
            (this->*kActions[number(kActions.size())])();
    }

    void expectAgreement() {
        QCOMPARE(m_file["groups"].rowCount(), m_groups.size());
        QCOMPARE(m_file["things"].rowCount(), m_things.size());
        QCOMPARE(m_file["marks"].rowCount(), m_marks.size());
        QCOMPARE(rows("groups"), modelGroups());
        QCOMPARE(rows("things"), modelThings());
        QCOMPARE(rows("marks"), modelMarks());
    }

    void expectSound() { made::expectSound(*m_file.db); }

    [[nodiscard]] std::size_t refused() const { return m_refused; }
    [[nodiscard]] std::size_t size() const { return m_things.size(); }

 private:
    using Rows = std::multiset<std::string>;

    MadeDatabase m_file;
    std::mt19937 m_random;
    std::map<std::string, Group> m_groups;  // by key
    std::map<std::int32_t, Thing> m_things;
    std::map<std::pair<std::int32_t, std::uint8_t>, Value> m_marks;
    std::int32_t m_lastNumber = 0;
    std::size_t m_refused = 0;

    unsigned number(std::size_t below) { return static_cast<unsigned>(m_random() % below); }
    bool chance(unsigned percent) { return number(100) < percent; }

    std::string word(std::size_t longest) {
        std::string out(1 + number(longest), 'a');
        for (char& c : out)
            c = "abcdeABCDE -'"[number(13)];
        return out;
    }
    std::string name() {
        std::string out = "g" + std::to_string(number(30));
        if (chance(40))
            out[0] = 'G';
        if (chance(40))
            out += std::string(number(8), ' ');
        return out;
    }
    Value longText() {
        if (chance(40))
            return Null();
        const std::size_t longest = chance(90) ? 60 : chance(80) ? 4000 : 100000;
        return std::string(number(longest), static_cast<char>('a' + number(26)));
    }
    Value grade() { return chance(20) ? Value() : Value(static_cast<std::int16_t>(number(7))); }
    Thing thing() {
        Thing t;
        t.title = chance(10) ? Value() : Value(word(chance(80) ? 20 : 200));
        if (chance(90))
            t.group = name();
        if (chance(70))
            t.code = static_cast<std::int32_t>(number(3000));
        t.body = longText();
        t.grade = grade();
        return t;
    }
    template <typename Map>
    typename Map::iterator any(Map& map) {
        return std::next(map.begin(), number(map.size()));
    }

    // Runs one statement, which must be refused exactly when the model says so.
    template <typename Work>
    void statement(bool allowed, Work&& work) {
        const QString result = thrown([&] { m_file.change(work); });
        if (allowed)
            QCOMPARE(result, QString("nothing"));
        else
            QVERIFY(result != "nothing");
        m_refused += !allowed;
    }

    bool codeTaken(const std::optional<std::int32_t>& code, std::int32_t except) const {
        return code && std::any_of(m_things.begin(), m_things.end(),
                                   [&](auto& t) { return t.first != except && t.second.code == code; });
    }
    bool groupMissing(const Thing& t) const { return t.group && !m_groups.contains(keyOf(*t.group)); }

    static Row rowOf(Value id, const Thing& t) {
        return {std::move(id), t.title, t.group ? Value(*t.group) : Value(), t.code ? Value(*t.code) : Value(),
                t.body,        t.grade};
    }
    RowId thingRow(std::int32_t id) {
        const auto found = m_file["things"].lookup(0, std::array<Value, 1>{id});
        return found.size() == 1 ? found[0] : RowId{};
    }
    RowId groupRow(const std::string& groupName) {
        const auto found = m_file["groups"].lookup(0, std::array<Value, 1>{groupName});
        return found.size() == 1 ? found[0] : RowId{};
    }

    void addGroup() {
        const Group g{name(), longText()};
        const bool allowed = !m_groups.contains(keyOf(g.name));
        statement(allowed, [&] {
            Row row = {g.name, g.about};
            m_file["groups"].insert(row);
        });
        if (allowed)
            m_groups[keyOf(g.name)] = g;
    }

    void addThing() {
        const Thing t = thing();
        Value id;
        if (chance(5))
            id = static_cast<std::int32_t>(m_lastNumber + static_cast<std::int32_t>(number(5)) - 2);
        const std::int32_t taken = isNull(id) ? m_lastNumber + 1 : std::get<std::int32_t>(id);
        const bool allowed = !m_things.contains(taken) && !codeTaken(t.code, 0) && !groupMissing(t);
        statement(allowed, [&] {
            Row row = rowOf(id, t);
            m_file["things"].insert(row);
        });
        if (!allowed)
            return;
        m_things[taken] = t;
        m_lastNumber = taken;
    }

    void changeThing() {
        if (m_things.empty())
            return;
        auto& [id, t] = *any(m_things);
        const Thing fresh = thing();
        Thing after = t;
        std::vector<std::size_t> positions;
        std::vector<Value> values;
        const Row row = rowOf(id, fresh);
        const auto take = [&](std::size_t position, auto member) {
            if (!chance(30))
                return;
            after.*member = fresh.*member;
            positions.push_back(position);
            values.push_back(row[position]);
        };
        take(1, &Thing::title);
        take(2, &Thing::group);
        take(3, &Thing::code);
        take(4, &Thing::body);
        take(5, &Thing::grade);
        const bool allowed = !codeTaken(after.code, id) && !groupMissing(after);
        const std::int32_t number = id;
        statement(allowed, [&] { m_file["things"].update(thingRow(number), positions, values); });
        if (allowed)
            t = after;
    }

    void renameGroup() {
        if (m_groups.empty())
            return;
        const auto at = any(m_groups);
        Group g = at->second;
        const std::string before = at->first;
        g.name = name();
        const std::string after = keyOf(g.name);
        const bool allowed = after == before || !m_groups.contains(after);
        statement(allowed, [&] {
            m_file["groups"].update(groupRow(before), std::array<std::size_t, 1>{0}, std::array<Value, 1>{g.name});
        });
        if (!allowed)
            return;
        const bool sameText = at->second.name == g.name;
        m_groups.erase(at);
        m_groups[after] = g;
        for (auto& [id, t] : m_things)
            if (!sameText && t.group && keyOf(*t.group) == before)
                t.group = g.name;
    }

    // A new number for a thing, which its marks follow.
    void renumber() {
        if (m_things.empty())
            return;
        const auto at = any(m_things);
        const std::int32_t from = at->first;
        const auto to = static_cast<std::int32_t>(number(static_cast<std::size_t>(m_lastNumber) + 2));
        const bool allowed = to == from || !m_things.contains(to);
        statement(allowed, [&] {
            m_file["things"].update(thingRow(from), std::array<std::size_t, 1>{0}, std::array<Value, 1>{to});
        });
        if (!allowed || to == from)
            return;
        m_things[to] = at->second;
        m_things.erase(from);
        m_lastNumber = std::max(m_lastNumber, to);
        for (int no = 0; no < 256; ++no)
            if (const auto mark = m_marks.extract({from, static_cast<std::uint8_t>(no)})) {
                auto moved = mark.mapped();
                m_marks[{to, static_cast<std::uint8_t>(no)}] = std::move(moved);
            }
    }

    void dropMarks(std::int32_t id) {
        std::erase_if(m_marks, [&](auto& mark) { return mark.first.first == id; });
    }

    void eraseThing() {
        if (m_things.empty())
            return;
        const std::int32_t id = any(m_things)->first;
        statement(true, [&] { m_file["things"].erase(thingRow(id)); });
        m_things.erase(id);
        dropMarks(id);
    }

    void eraseGroup() {
        if (m_groups.empty())
            return;
        const std::string key = any(m_groups)->first;
        statement(true, [&] { m_file["groups"].erase(groupRow(key)); });
        m_groups.erase(key);
        std::erase_if(m_things, [&](auto& t) {
            const bool goes = t.second.group && keyOf(*t.second.group) == key;
            if (goes)
                dropMarks(t.first);
            return goes;
        });
    }

    void addMark() {
        const std::int32_t id = !m_things.empty() && chance(95) ? any(m_things)->first : -7;
        const auto no = static_cast<std::uint8_t>(number(4));
        const Value mark = word(60);
        const bool allowed = m_things.contains(id) && !m_marks.contains({id, no});
        statement(allowed, [&] {
            Row row = {id, no, mark};
            m_file["marks"].insert(row);
        });
        if (allowed)
            m_marks[{id, no}] = mark;
    }

    void eraseMark() {
        if (m_marks.empty())
            return;
        const auto at = any(m_marks);
        const std::array<Value, 2> key = {at->first.first, at->first.second};
        statement(true, [&] {
            for (const RowId row : m_file["marks"].lookup(0, key))
                m_file["marks"].erase(row);
        });
        m_marks.erase(at);
    }

    // A statement of many changes that ends in a refusal leaves nothing behind.
    void undone() {
        const auto lastNumber = m_lastNumber;
        statement(false, [&] {
            for (int i = 0; i < 20; ++i) {
                Thing t = thing();
                t.group.reset();
                t.code.reset();
                Row row = rowOf({}, t);
                m_file["things"].insert(row);
            }
            for (const RowId row : m_file["groups"].inOrder(0))
                m_file["groups"].erase(row);
            Row row = {std::int32_t{-7}, std::uint8_t{0}, Null()};
            m_file["marks"].insert(row);
        });
        m_lastNumber = lastNumber;
    }

    void lookUp() {
        const std::string wanted = name();
        const Table& things = m_file["things"];
        const std::size_t byGroup = things.indexOn(std::array<std::size_t, 1>{2}).value();
        const auto found = m_file["things"].lookup(byGroup, std::array<Value, 1>{wanted});
        const auto expected = std::count_if(m_things.begin(), m_things.end(), [&](auto& t) {
            return t.second.group && keyOf(*t.second.group) == keyOf(wanted);
        });
        QCOMPARE(static_cast<std::ptrdiff_t>(found.size()), static_cast<std::ptrdiff_t>(expected));
        const auto highest = m_file["things"].highest(0);
        QCOMPARE(highest.has_value(), !m_things.empty());
        if (highest)
            QCOMPARE(*highest, thingRow(m_things.rbegin()->first));
    }

    static std::string line(const Row& row) {
        std::string out;
        for (const Value& v : row)
            out += toDebugString(v) + " ";
        return out;
    }
    Rows rows(std::string_view tableName) {
        Table& t = m_file[tableName];
        std::vector<std::size_t> all(t.columns().size());
        for (std::size_t i = 0; i < all.size(); ++i)
            all[i] = i;
        Rows out;
        Row row;
        for (const auto scan = t.scan(all); scan->next(row);)
            out.insert(line(row));
        return out;
    }
    Rows modelGroups() const {
        Rows out;
        for (const auto& [key, g] : m_groups)
            out.insert(line({g.name, g.about}));
        return out;
    }
    Rows modelThings() const {
        Rows out;
        for (const auto& [id, t] : m_things)
            out.insert(line(rowOf(id, t)));
        return out;
    }
    Rows modelMarks() const {
        Rows out;
        for (const auto& [key, mark] : m_marks)
            out.insert(line({key.first, key.second, mark}));
        return out;
    }
};

}  // namespace

class TestRandom : public QObject {
    Q_OBJECT

 private slots:
    void agreesWithTheModel_data() {
        addColumns<unsigned>("seed");
        addRow("first seed", 1U);
        addRow("second seed", 20260101U);
    }
    void agreesWithTheModel() {
        QFETCH(unsigned, seed);
        const int wanted = qEnvironmentVariableIntValue("COINVALE_STATEMENTS");
        const int statements = (wanted > 0 ? wanted : 2000) / 2;
        Trial trial(seed);
        for (int i = 1; i <= statements; ++i) {
            trial.step();
            if (i % 100 == 0)
                trial.expectAgreement();
            if (i % 500 == 0)
                trial.expectSound();
            if (QTest::currentTestFailed())
                QFAIL(qPrintable(QString("after %1 statements").arg(i)));
        }
        // The trial was one: rows are there, and refusals occurred.
        QVERIFY(trial.size() > 20);
        QVERIFY(trial.refused() > 20);
    }
};

QTEST_APPLESS_MAIN(TestRandom)
#include "tst_random.moc"
