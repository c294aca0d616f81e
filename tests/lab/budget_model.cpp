// SPDX-License-Identifier: MIT
#include "lab/budget_model.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "budget_schema.h"
#include "jet/maintenance/create.h"
#include "vbrt/qstring.h"

namespace lab {

namespace {

constexpr int kFirstDay = 46023;  // 2026-01-01
constexpr std::size_t kMostEnvelopes = 12;

QString quoted(QString text) {
    return "'" + text.replace("'", "''") + "'";
}
QString dayText(int day) {
    return vbrt::qt::CStr(vbrt::qt::toQDate({static_cast<double>(day)}));
}
QString moneyText(int cents) {
    return vbrt::qt::CStr(cents / 100.0);
}

QString commentOf(int size) {
    return QString(size, QChar('a' + size % 26)).replace(0, size > 2 ? 1 : 0, size > 2 ? "'" : "");
}
QString payeeOf(unsigned number) {
    return "Payee's " + QString::number(number);
}
QString numberOf(unsigned number) {
    return number % 3 == 0 ? QString() : QString::number(number);
}

// Adds up rows in any order.
class Rows {
 public:
    void addEnvelope(const std::string& name, double budget) {
        text("E " + name);
        real(budget);
        row();
    }
    void addItem(const std::string& texts, int id, int transfer, double amount, int day) {
        text(texts);
        for (const int number : {id, transfer, day})
            word(static_cast<std::uint64_t>(number));
        real(amount);
        row();
    }
    [[nodiscard]] State sum() const { return m_sum; }

 private:
    void word(std::uint64_t value) { m_hash = std::rotl((m_hash ^ value) * 0x9E3779B97F4A7C15U, 29); }
    void real(double value) { word(std::bit_cast<std::uint64_t>(value + 0.0)); }
    void text(const std::string& value) { word(std::hash<std::string>()(value)); }
    void row() {
        word(0x2545F491);
        m_sum += m_hash;
        m_hash = 1;
    }

    State m_sum = 0;
    std::uint64_t m_hash = 1;
};

// Null and empty texts are told apart.
std::string joined(std::initializer_list<const jet::Value*> values) {
    std::string out;
    for (const jet::Value* v : values)
        out += (jet::isNull(*v) ? "-" : "+" + std::get<std::string>(*v)) + "\n";
    return out;
}
jet::Value value(const QString& text) {
    return text.toStdString();
}

}  // namespace

void createBudget(jet::Disk& disk, const std::string& path) {
    jet::DatabaseSpec spec = jet::budgetTemplate();
    spec.password = kPassword;
    jet::createDatabase(disk, path, spec);
}

State stateOf(jet::Database& db) {
    Rows rows;
    jet::Row row;
    const auto scan = [&](const char* name, std::initializer_list<const char*> columns) {
        jet::Table& table = db.table(name);
        std::vector<std::size_t> wanted;
        for (const char* column : columns)
            wanted.push_back(table.def().columnByName(column).value());
        return table.scan(wanted);
    };
    for (const auto all = scan("tbl_envelopes", {"envelope", "budget"}); all->next(row);)
        rows.addEnvelope(std::get<std::string>(row[0]), std::get<double>(row[1]));
    const auto all = scan("tbl_items", {"id", "amount", "comment", "envelope", "item_date", "item_num", "payee",
                                        "reconciled", "transfer_id"});
    while (all->next(row)) {
        const bool stuffed = row[6] == jet::Value(std::string("Budget Allocation"));
        rows.addItem(joined({&row[2], &row[3], &row[5], &row[6], &row[7]}),
                     stuffed ? 0 : std::get<std::int32_t>(row[0]), std::get<std::int32_t>(row[8]),
                     std::get<double>(row[1]), static_cast<int>(std::get<jet::Date>(row[4]).serial));
    }
    return rows.sum();
}

Budget::Budget(std::size_t limit, unsigned envelopeCommands)
    : m_limit(limit), m_envelopeCommands(envelopeCommands), m_envelopes(kMostEnvelopes) {
    // All the memory there will be, so that what a long run takes more is not the model's.
    m_items.resize(limit + limit / 4);
    m_items.clear();
}

State Budget::state() const {
    Rows rows;
    for (int i = 0; i < static_cast<int>(m_envelopes.size()); ++i)
        if (m_envelopes[static_cast<std::size_t>(i)].exists)
            rows.addEnvelope(nameOf(i).toStdString(), m_envelopes[static_cast<std::size_t>(i)].cents / 100.0);
    for (const Item& item : m_items) {
        jet::Value comment;
        jet::Value number;
        jet::Value reconciled;
        jet::Value payee = value("Budget Allocation");
        const jet::Value envelope = value(nameOf(item.envelope));
        if (!item.stuffed) {
            comment = value(commentOf(item.comment));
            number = value(numberOf(item.number));
            payee = value(payeeOf(item.payee));
            reconciled = value(item.reconciled ? "*" : "");
        }
        rows.addItem(joined({&comment, &envelope, &number, &payee, &reconciled}), item.stuffed ? 0 : item.id,
                     item.transfer, item.cents / 100.0, item.day);
    }
    return rows.sum();
}

std::size_t Budget::envelopeCount() const {
    return static_cast<std::size_t>(std::ranges::count(m_envelopes, true, &Envelope::exists));
}

std::map<QString, long long> Budget::balances() const {
    std::vector<std::pair<long long, bool>> sums(m_envelopes.size());
    for (const Item& item : m_items) {
        sums[static_cast<std::size_t>(item.envelope)].first += item.cents;
        sums[static_cast<std::size_t>(item.envelope)].second = true;
    }
    std::map<QString, long long> result;
    for (std::size_t i = 0; i < sums.size(); ++i)
        if (sums[i].second)
            result[nameOf(static_cast<int>(i))] = sums[i].first;
    return result;
}

QString Budget::nameOf(int envelope, int renamings) const {
    const Envelope& of = m_envelopes[static_cast<std::size_t>(envelope)];
    return QString("Envelope's %1/%2").arg(envelope).arg(of.generation + renamings);
}

int Budget::anyEnvelope(Random& random) const {
    for (;;)
        if (const int i = below(random, static_cast<int>(m_envelopes.size()));
            m_envelopes[static_cast<std::size_t>(i)].exists)
            return i;
}

const Budget::Item* Budget::anyTyped(Random& random) const {
    for (int tries = 0; tries < 50 && !m_items.empty(); ++tries)
        if (const Item& item = m_items[random() % m_items.size()]; !item.stuffed)
            return &item;
    return nullptr;
}

Budget::Item* Budget::find(int id) {
    const auto at = std::ranges::lower_bound(m_items, id, {}, &Item::id);
    return at != m_items.end() && at->id == id ? &*at : nullptr;
}

void Budget::append(Item item) {
    item.id = ++m_lastId;
    m_items.push_back(item);
}

Budget::Item Budget::randomItem(Random& random, int commentSize) const {
    Item item;
    item.id = m_lastId + 1;
    item.envelope = anyEnvelope(random);
    item.cents = below(random, 2'000'000) - 1'000'000;
    item.day = kFirstDay + below(random, 365);
    const int die = below(random, 100);
    item.comment = commentSize >= 0 ? commentSize : below(random, die < 90 ? 40 : die < 98 ? 1500 : 9000);
    item.number = static_cast<std::uint16_t>(random());
    item.payee = static_cast<std::uint16_t>(random() % 900);
    item.reconciled = below(random, 4) == 0;
    return item;
}

Budget::Step Budget::insertStep(const Item& item) const {
    const QStringList values = {moneyText(item.cents),          quoted(commentOf(item.comment)),
                                quoted(nameOf(item.envelope)),  quoted(dayText(item.day)),
                                quoted(numberOf(item.number)),  quoted(payeeOf(item.payee)),
                                item.reconciled ? "'*'" : "''", QString::number(item.transfer)};
    return {
        "insert into tbl_items (amount, comment, envelope, item_date, item_num, payee, reconciled, transfer_id) "
        "values (" +
            values.join(", ") + ")",
        [item](Budget& b) { b.append(item); }};
}

Budget::Step Budget::updateStep(const Item& item) const {
    return {"update tbl_items set amount = " + moneyText(item.cents) +
                ", comment = " + quoted(commentOf(item.comment)) + ", envelope = " + quoted(nameOf(item.envelope)) +
                ", item_date = " + quoted(dayText(item.day)) + ", item_num = " + quoted(numberOf(item.number)) +
                ", payee = " + quoted(payeeOf(item.payee)) + ", reconciled = " + (item.reconciled ? "'*'" : "''") +
                QString(", transfer_id = %1 where id = %2").arg(item.transfer).arg(item.id),
            [item](Budget& b) { *b.find(item.id) = item; }};
}

Budget::Steps Budget::next(Random& random) const {
    const bool full = m_items.size() >= m_limit;
    if (envelopeCount() < 2)
        return addEnvelope();
    if (random() % 1000 < m_envelopeCommands) {
        switch (random() % 6) {
            case 0:
                return envelopeCount() < kMostEnvelopes ? addEnvelope() : renameEnvelope(random);
            case 1:
                return renameEnvelope(random);
            case 2:
                return setBudget(random);
            case 3:
                return stuff(random);
            case 4:
                return undoStuff();
            default:
                if (full || m_items.size() < 30 * kMostEnvelopes)
                    return deleteEnvelope(random);
        }
    }
    const int die = below(random, 100);
    if (anyTyped(random) == nullptr || die < (full ? 20 : 50))
        return addItem(random);
    if (die < (full ? 25 : 65))
        return transfer(random);
    if (die < (full ? 50 : 85))
        return editItem(random);
    if (die < (full ? 60 : 92))
        return reconcile(random);
    return deleteItem(random);
}

Budget::Steps Budget::addEnvelope() const {
    const auto free = std::ranges::find(m_envelopes, false, &Envelope::exists);
    const auto at = static_cast<std::size_t>(free - m_envelopes.begin());
    return {
        {"insert into tbl_envelopes (envelope) values (" + quoted(nameOf(static_cast<int>(at))) + ")", [at](Budget& b) {
             b.m_envelopes[at] = {b.m_envelopes[at].generation, 0, true};
         }}};
}

Budget::Steps Budget::addItem(Random& random, int commentSize) const {
    return {insertStep(randomItem(random, commentSize))};
}

Budget::Steps Budget::transfer(Random& random) const {
    const Item item = randomItem(random, -1);
    Item other = item;
    other.envelope = anyEnvelope(random);
    other.cents = -item.cents;
    other.transfer = item.id;
    const int id = item.id;
    return {insertStep(item),
            {QString("update tbl_items set transfer_id = %1 where id = %2").arg(id + 1).arg(id),
             [id](Budget& b) { b.find(id)->transfer = id + 1; }},
            insertStep(other)};
}

Budget::Steps Budget::editItem(Random& random, int commentSize) const {
    const Item& before = *anyTyped(random);
    Item item = randomItem(random, commentSize);
    item.id = before.id;
    item.transfer = before.transfer;
    Steps steps = {updateStep(item)};
    const auto other = std::ranges::find(m_items, item.id, &Item::transfer);
    if (other != m_items.end() && other->id != item.id) {
        Item half = item;
        half.id = other->id;
        half.transfer = item.id;
        half.cents = -item.cents;
        half.envelope = other->envelope;
        steps.push_back(updateStep(half));
    }
    return steps;
}

Budget::Steps Budget::reconcile(Random& random) const {
    const Item& item = *anyTyped(random);
    const bool on = !item.reconciled;
    return {{QString("update tbl_items set reconciled = '%1' where id = %2 or transfer_id = %2")
                 .arg(on ? "*" : "")
                 .arg(item.id),
             [id = item.id, on](Budget& b) {
                 for (Item& each : b.m_items)
                     if (each.id == id || each.transfer == id)
                         each.reconciled = on;
             }}};
}

Budget::Steps Budget::deleteItem(Random& random) const {
    const int id = anyTyped(random)->id;
    return {{QString("delete * from tbl_items where id = %1 or transfer_id = %1").arg(id), [id](Budget& b) {
                 std::erase_if(b.m_items, [&](const Item& each) { return each.id == id || each.transfer == id; });
             }}};
}

Budget::Steps Budget::setBudget(Random& random) const {
    const int at = anyEnvelope(random);
    const int cents = below(random, 100'000);
    return {{"update tbl_envelopes set budget = " + moneyText(cents) + " where envelope = " + quoted(nameOf(at)),
             [at, cents](Budget& b) { b.m_envelopes[static_cast<std::size_t>(at)].cents = cents; }}};
}

Budget::Steps Budget::stuff(Random& random) const {
    const int day = kFirstDay + below(random, 365);
    return {{"insert into tbl_items (amount, envelope, item_date, payee) select budget, envelope, " +
                 quoted(dayText(day)) + ", 'Budget Allocation' from tbl_envelopes where budget > 0",
             [day](Budget& b) {
                 for (std::size_t i = 0; i < b.m_envelopes.size(); ++i) {
                     if (!b.m_envelopes[i].exists || b.m_envelopes[i].cents == 0)
                         continue;
                     Item item;
                     item.envelope = static_cast<int>(i);
                     item.cents = b.m_envelopes[i].cents;
                     item.day = day;
                     item.stuffed = true;
                     b.append(item);
                 }
                 b.m_stuffed = day;
             }}};
}

Budget::Steps Budget::undoStuff() const {
    const int day = m_stuffed == 0 ? kFirstDay : m_stuffed;
    return {{"delete * from tbl_items where item_date = CDate(" + quoted(dayText(day)) +
                 ") and payee = 'Budget Allocation'",
             [day](Budget& b) {
                 std::erase_if(b.m_items, [&](const Item& item) { return item.stuffed && item.day == day; });
             }}};
}

Budget::Steps Budget::renameEnvelope(Random& random) const {
    const int at = anyEnvelope(random);
    return {{"update tbl_envelopes set envelope = " + quoted(nameOf(at, 1)) + " where envelope = " + quoted(nameOf(at)),
             [at](Budget& b) { ++b.m_envelopes[static_cast<std::size_t>(at)].generation; }}};
}

Budget::Steps Budget::deleteEnvelope(Random& random) const {
    const int at = anyEnvelope(random);
    return {{"delete * from tbl_envelopes where envelope = " + quoted(nameOf(at)), [at](Budget& b) {
                 b.m_envelopes[static_cast<std::size_t>(at)].exists = false;
                 std::erase_if(b.m_items, [&](const Item& item) { return item.envelope == at; });
             }}};
}

}  // namespace lab
