// SPDX-License-Identifier: MIT
// A robot at the keyboard: random commands through the real windows, each compared with a model in whole cents: the
// file, the list, the tree, the captions, what is enabled, and the messages.
//
// COINVALE_ROBOT_STEPS and COINVALE_ROBOT_SEED ask for another number of commands and another run. With COINVALE_KEYS
// the keys are real ones.
#include <QComboBox>
#include <QProcess>
#include <QStandardPaths>
#include <map>
#include <random>

#include "budget_schema.h"
#include "controls/date_picker.h"
#include "keyboard.h"
#include "program.h"

class tst_robot : public QObject {
    Q_OBJECT

 private slots:
    void run();
};

namespace {

struct Item {
    qint64 cents = 0;
    QString comment, envelope, number, payee, reconciled;
    QDate date;
    int partner = 0;  // transfer_id
};

QString money(qint64 cents) {
    QString dollars = QString::number(qAbs(cents) / 100);
    for (auto at = dollars.size() - 3; at > 0; at -= 3)
        dollars.insert(at, ',');
    return (cents < 0 ? "-$" : "$") + dollars + QString(".%1").arg(qAbs(cents) % 100, 2, 10, QChar('0'));
}

qint64 cents(const QString& dollars) {
    return qRound64(dollars.toDouble() * 100);
}

QString withoutBlanks(QString text) {
    while (text.startsWith(' '))
        text.remove(0, 1);
    while (text.endsWith(' '))
        text.chop(1);
    return text;
}

// Of an amount typed over another: a point is refused while the old text, though selected, still has its own.
qint64 typedOver(const QString& typed) {
    return cents(typed.startsWith('.') ? typed.mid(1) : typed);
}

class Robot {
 public:
    Robot(unsigned seed, Keyboard& keyboard) : m_random(seed), m_keys(keyboard) {
        // A budget of the time when an envelope's name could become empty.
        auto spec = jet::budgetTemplate();
        spec.tables[0].columns[0].properties.back() = jet::PropertySet::boolProperty("AllowZeroLength", true);
        jet::createDatabase(jet::realDisk(), m_program.path("Home.mdb").toStdString(), spec);
        m_program.open("Home.mdb");
        for (const char* name : {"Rent", "Food", " Rent", ""}) {
            objDatabase->objCnn()->Execute("insert into tbl_envelopes (envelope, budget) values ('" + QString(name) +
                                           "', 0)");
            m_envelopes[name] = 0;
        }
        reopen();
    }

    // One command. What went wrong with it, or nothing.
    QString step() {
        static const std::vector<std::pair<const char*, void (Robot::*)()>> commands = {
            {"select", &Robot::select},       {"select", &Robot::select},
            {"add item", &Robot::addItem},    {"add item", &Robot::addItem},
            {"add item", &Robot::addItem},    {"edit item", &Robot::editItem},
            {"edit item", &Robot::editItem},  {"delete item", &Robot::deleteItem},
            {"reconcile", &Robot::reconcile}, {"stuffer", &Robot::stuffer},
            {"find", &Robot::find},           {"sort", &Robot::sort},
            {"rename", &Robot::rename},       {"add envelope", &Robot::addEnvelope},
            {"reopen", &Robot::maybeReopen},  {"delete envelope", &Robot::deleteEnvelope},
        };
        const auto& [name, command] = commands[static_cast<std::size_t>(below(static_cast<int>(commands.size())))];
        m_said.clear();
        m_did = name;
        (this->*command)();
        return m_did + ": " + compare();
    }

    QString independentReader();

 private:
    int below(int n) { return static_cast<int>(m_random() % static_cast<unsigned>(n)); }
    bool chance(int percent) { return below(100) < percent; }
    template <class List>
    auto any(const List& list) {
        return list[static_cast<typename List::size_type>(below(static_cast<int>(list.size())))];
    }

    void expect(const QString& message, controls::MsgAnswer answer = controls::MsgAnswer::Ok) {
        m_program.dialogs.answer(answer);
        m_said << message;
    }
    void reopen() {
        m_program.trigger("mnuFileClose");
        m_program.open("Home.mdb");
        m_selected.reset();
        m_rows = -1;
    }
    // Leaves a dialog without OK, by one of its ways.
    void cancel(QDialog* dialog) {
        const int way = below(3);
        m_did += way == 0 ? " Esc" : way == 1 ? " Cancel" : " close";
        if (way == 0)
            m_keys.press(Qt::Key_Escape);
        else if (way == 1)
            click(dialog, dialog->findChild<QWidget*>("cmdCancel") != nullptr ? "cmdCancel" : "cmdClose");
        else
            dialog->close();
    }
    void ok() {
        while (qobject_cast<QLineEdit*>(QApplication::focusWidget()) == nullptr &&
               QApplication::focusWidget()->objectName() != "cmdOk")
            m_keys.press(Qt::Key_Tab);
        m_keys.press(QApplication::focusWidget()->objectName() == "cmdOk" && chance(50) ? Qt::Key_Space
                                                                                        : Qt::Key_Return);
    }

    // By keys, as far as there are some: the menu's, or the list's own.
    void inDialog(const char* command, Qt::Key menu, Qt::Key entry, const std::function<void(QDialog*)>& work) {
        if (Keyboard::real())
            inModal(
                [&] {
                    m_keys.press(menu, Qt::AltModifier);
                    m_keys.press(entry);
                },
                work);
        else
            m_program.inDialog(command, work);
    }

    QString name() {
        static const QStringList names = {"Rent",      "rent",    " Rent", "Rent ", "Food & Drink",
                                          "O'Brien's", "\"Fun\"", "100%",  "[x]",   "*",
                                          "Car",       "Gas",     "a_b",   "r",     "1"};
        return any(names);
    }
    QString amount() {
        static const QStringList amounts = {"0", "0.01", "12", "12.5", "34.56", "100000", "1234.07", ".5", "7."};
        return any(amounts);
    }
    QDate day() { return QDate(2026, 1, 1).addDays(below(40)); }
    QString dateText(QDate date) {
        static const QStringList forms = {"M/d/yyyy", "MM-dd-yy", "MMddyyyy", "yyyy-MM-dd", "MMM d, yyyy", "d MMM yy"};
        return QLocale::c().toString(date, any(forms));
    }
    // To the file, names are the same without regard to case and to blanks at the end.
    bool taken(const QString& name) const {
        const auto key = [](QString text) { return withoutBlanks("." + text).toLower(); };
        return std::any_of(m_envelopes.begin(), m_envelopes.end(),
                           [&](const auto& entry) { return key(entry.first) == key(name); });
    }

    void select() {
        auto* tree = m_program.tree();
        const int node = 1 + below(tree->nodeCount());
        m_did += " " + tree->nodeText(node);
        tree->setFocus();
        if (Keyboard::real() || chance(30)) {
            m_keys.press(Qt::Key_Home);
            for (int i = 1; i < node; ++i)
                m_keys.press(Qt::Key_Down);
        } else {
            const auto items = tree->findItems("*", Qt::MatchWildcard | Qt::MatchRecursive);
            auto* const item = items.value(node - 1);
            tree->scrollToItem(item);
            QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualItemRect(item).center());
        }
        m_selected = node == 1 ? std::nullopt : std::optional(tree->nodeText(node));
    }

    bool selectRow() {
        if (!m_selected || m_program.list()->rowCount() == 0)
            return false;
        m_program.list()->setFocus();
        m_program.list()->selectRow(below(m_program.list()->rowCount()));
        return true;
    }
    int selectedId() { return m_program.list()->tag(m_program.list()->selectedRow()); }
    // The item and the half that points at it.
    std::vector<int> withPartner(int id) const {
        std::vector<int> ids;
        for (const auto& [at, item] : m_items)
            if (at == id || item.partner == id)
                ids.push_back(at);
        return ids;
    }
    int pointingAt(int id) const {
        for (const auto& [at, item] : m_items)
            if (item.partner == id)
                return at;
        return 0;
    }

    // Fills in some of the boxes, from the first to the last. True when OK is to follow; `transfer` is then the
    // envelope of the other half.
    bool fillIn(QDialog* dialog, Item& item, std::optional<QString>& transfer) {
        const auto box = [&](const char* expected) {
            if (QApplication::focusWidget()->objectName() != expected)
                m_wrong += "the focus is not in " + QString(expected) + "\n";
            return chance(60);
        };
        bool deposit = item.cents > 0;
        qint64 value = qAbs(item.cents);
        if (box("dtpItemDate")) {
            item.date = day();
            m_keys.type(dateText(item.date));
        }
        m_keys.press(Qt::Key_Tab);
        const auto text = [&](const char* name, QString& field, const QStringList& texts) {
            if (box(name)) {
                const QString typed = any(texts);
                m_keys.type(typed);
                field = withoutBlanks(typed);
            }
            m_keys.press(Qt::Key_Tab);
        };
        text("txtItemNum", item.number, {"101", " 7", "a'b", "b/c "});
        text("txtPayee", item.payee, {"Grocer", "O'Brien & Sons", " x y ", "Budget Allocation", "\"q\""});
        if (box("txtAmount")) {
            const QString typed = amount();
            m_keys.type(typed);
            value = typedOver(typed);
        }
        m_keys.press(Qt::Key_Tab);
        if (chance(40)) {
            m_keys.press(Qt::Key_Space);
            deposit = !deposit;
        }
        m_keys.press(Qt::Key_Tab);
        m_keys.press(Qt::Key_Tab);
        if (box("cboTransfer")) {
            auto* combo = dialog->findChild<QComboBox*>("cboTransfer");
            const int index = chance(50) ? 0 : below(combo->count());
            m_keys.press(Qt::Key_Home);
            for (int i = 0; i < index; ++i)
                m_keys.press(Qt::Key_Down);
            transfer = index == 0 ? std::nullopt : std::optional(combo->itemText(index));
        }
        m_keys.press(Qt::Key_Tab);
        if (box("chkReconciled") && chance(50)) {
            m_keys.press(Qt::Key_Space);
            item.reconciled = item.reconciled.isEmpty() ? "*" : "";
        }
        m_keys.press(Qt::Key_Tab);
        if (box("txtComment")) {
            static const QStringList comments = {"one", "two\nlines", " it's ", "100% & more"};
            const QString typed = any(comments);
            m_keys.type(typed);
            item.comment = withoutBlanks(typed).replace("\n", "\r\n");
        }
        m_keys.press(Qt::Key_Tab);
        item.cents = deposit ? value : -value;
        if (chance(15)) {
            cancel(dialog);
            return false;
        }
        ok();
        return true;
    }
    Item partnerOf(Item item, int id, const QString& envelope) const {
        item.cents = -item.cents;
        item.envelope = envelope;
        item.partner = id;
        return item;
    }

    void addItem() {
        if (!m_selected)
            return;
        Item item;
        item.envelope = *m_selected;
        item.date = QDate(2026, 11, 15);
        std::optional<QString> transfer;
        bool done = false;
        inDialog("mnuItemAdd", Qt::Key_I, Qt::Key_A, [&](QDialog* dialog) { done = fillIn(dialog, item, transfer); });
        if (!done)
            return;
        const int id = m_next++;
        if (transfer) {
            item.partner = m_next++;
            m_items[item.partner] = partnerOf(item, id, *transfer);
        }
        m_items[id] = item;
    }

    void editItem() {
        if (!selectRow())
            return;
        const int id = selectedId();
        Item item = m_items[id];
        const int before = pointingAt(id);
        item.partner = before;
        std::optional<QString> transfer;
        if (before != 0)
            transfer = m_items[before].envelope;
        bool done = false;
        inDialog("mnuItemEdit", Qt::Key_I, Qt::Key_E, [&](QDialog* dialog) { done = fillIn(dialog, item, transfer); });
        if (!done)
            return;
        if (transfer) {
            item.partner = before != 0 ? before : m_next++;
            m_items[item.partner] = partnerOf(item, id, *transfer);
        } else if (before != 0) {
            m_items.erase(before);
            item.partner = 0;
        }
        m_items[id] = item;
    }

    void deleteItem() {
        if (!selectRow())
            return;
        const int id = selectedId();
        const bool yes = chance(80);
        expect("Are you sure you want to delete this item?", yes ? controls::MsgAnswer::Yes : controls::MsgAnswer::No);
        m_keys.press(Qt::Key_Delete);
        if (yes)
            for (const int gone : withPartner(id))
                m_items.erase(gone);
    }

    void reconcile() {
        if (!selectRow())
            return;
        const int id = selectedId();
        m_program.trigger("mnuItemReconcile");
        const QString mark = m_items[id].reconciled.isEmpty() ? "*" : "";
        for (const int at : withPartner(id))
            m_items[at].reconciled = mark;
    }

    void stuffer() {
        if (m_envelopes.empty())
            return;
        inDialog("mnuToolsStuffer", Qt::Key_T, Qt::Key_E, [&](QDialog* dialog) {
            auto* list = dialog->findChild<controls::ListView*>("lvwStuffer");
            if (list->rowCount() > 0 && chance(50)) {
                list->setFocus();
                list->selectRow(below(list->rowCount()));
                const QString envelope = list->text(list->selectedRow());
                const QString typed = amount();
                inModal([&] { m_keys.press(Qt::Key_F2); },
                        [&](QDialog* budget) {
                            m_keys.type(typed);
                            if (chance(20))
                                return cancel(budget);
                            m_keys.press(Qt::Key_Return);
                            m_envelopes[envelope] = typedOver(typed);
                        });
            }
            const QDate date = day();
            dialog->findChild<QWidget*>("dtpBudgetDate")->setFocus();
            m_keys.press(Qt::Key_A, Qt::ControlModifier);
            m_keys.type(dateText(date));
            if (list->rowCount() > 0 && chance(70)) {
                if (chance(60)) {
                    stuff(date);
                    click(dialog, "cmdStuff");
                } else {
                    undo(date);
                    click(dialog, "cmdUndoStuff");
                }
            }
            cancel(dialog);
        });
    }
    void stuff(QDate date) {
        int count = 0;
        for (const auto& [name, budget] : m_envelopes)
            if (budget > 0) {
                Item item;
                item.cents = budget;
                item.envelope = name;
                item.date = date;
                item.payee = "Budget Allocation";
                m_stuffed.push_back(item);
                ++count;
            }
        expect(QString::number(count) + " budget items created.");
    }
    void undo(QDate date) {
        int count = 0;
        for (auto at = m_items.begin(); at != m_items.end();)
            if (at->second.date == date && at->second.payee == "Budget Allocation") {
                at = m_items.erase(at);
                ++count;
            } else {
                ++at;
            }
        expect(QString::number(count) + " budget items removed.");
    }

    void find() {
        auto* list = m_program.list();
        if (list->rowCount() == 0)
            return;
        list->selectRow(below(list->rowCount()));
        const int from = list->selectedRow();
        const QString wanted = list->shownText(below(list->rowCount()), 5);
        if (wanted.isEmpty())
            return;
        int found = from + 1;
        while (found < list->rowCount() && list->shownText(found, 5) != wanted)
            ++found;
        if (found == list->rowCount()) {
            expect("Match not found.");
            found = from;
        }
        inDialog("mnuItemFind", Qt::Key_I, Qt::Key_F, [&](QDialog* dialog) {
            m_keys.type(wanted);
            m_keys.press(Qt::Key_Tab);
            m_keys.type("C");
            m_keys.press(Qt::Key_Return);
            cancel(dialog);
        });
        if (list->selectedRow() != found)
            m_wrong = QString("row %1 found instead of %2").arg(list->selectedRow()).arg(found);
    }

    void sort() {
        const int column = below(7);
        if (m_program.list()->rowCount() == 0)
            return;
        auto* header = m_program.list()->header();
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                          QPoint(header->sectionViewportPosition(column) + 5, header->height() / 2));
        QString last;
        const bool descending = m_program.list()->headerImage(column) == 1;
        for (int row = 0; column == 4 && row + 1 < m_program.list()->rowCount(); ++row) {
            const qint64 one = m_items[m_program.list()->tag(row)].cents;
            const qint64 two = m_items[m_program.list()->tag(row + 1)].cents;
            if (descending ? one < two : one > two)
                m_wrong = "the amounts are not in order";
        }
    }

    void rename() {
        if (!m_selected)
            return;
        const QString typed = chance(10) ? QString() : name();
        m_did += " to '" + typed + "'";
        m_program.tree()->setFocus();
        m_keys.press(Qt::Key_F2);
        m_keys.press(Qt::Key_A, Qt::ControlModifier);
        m_keys.press(Qt::Key_Delete);
        const bool esc = chance(20);
        if (!esc && typed != *m_selected && taken(typed))
            expect(
                "Cannot rename Envelope. An envelope with the name you specified already exists. Specify a "
                "different envelope name.");
        else if (!esc && typed != *m_selected)
            renamed(typed);
        m_keys.type(typed);
        m_keys.press(esc ? Qt::Key_Escape : Qt::Key_Return);
        (void)QTest::qWaitFor([this] { return !m_program.tree()->isEditing(); });
    }
    void renamed(const QString& to) {
        m_envelopes[to] = m_envelopes[*m_selected];
        m_envelopes.erase(*m_selected);
        for (auto& [id, item] : m_items)
            if (item.envelope == *m_selected)
                item.envelope = to;
        m_selected = to;
    }

    void addEnvelope() {
        if (m_envelopes.size() > 8)
            return;
        const QString typed = name();
        const QString balance = chance(30) ? QString() : amount();
        m_did += " '" + typed + "'";
        inDialog("mnuEnvelopeAdd", Qt::Key_E, Qt::Key_A, [&](QDialog* dialog) {
            m_keys.type(typed);
            m_keys.press(Qt::Key_Tab);
            m_keys.type(balance);
            if (chance(15))
                return cancel(dialog);
            if (taken(typed)) {
                expect(
                    "Cannot create new Envelope. An envelope with the name you specified already exists. Specify a "
                    "different envelope name.");
                m_keys.press(Qt::Key_Return);
                return cancel(dialog);
            }
            m_keys.press(Qt::Key_Return);
            m_envelopes[typed] = 0;
            m_selected = typed;
            Item item;
            item.cents = cents(balance);
            item.comment = "Start of Envelope.";
            item.envelope = typed;
            item.date = QDate(2026, 11, 15);
            item.payee = "Starting Balance";
            m_items[m_next++] = item;
        });
    }

    void deleteEnvelope() {
        if (!m_selected || chance(60))
            return;
        const bool yes = chance(70);
        expect("Are you sure you want to delete the envelope '" + *m_selected + "' and all of its items?",
               yes ? controls::MsgAnswer::Yes : controls::MsgAnswer::No);
        m_program.tree()->setFocus();
        const int node = m_program.tree()->selectedNode();
        m_keys.press(Qt::Key_Delete);
        if (!yes)
            return;
        m_envelopes.erase(*m_selected);
        std::erase_if(m_items, [&](const auto& entry) { return entry.second.envelope == *m_selected; });
        const bool last = node > m_program.tree()->nodeCount();
        m_selected = last ? std::nullopt : std::optional(m_program.tree()->nodeText(node));
    }

    void maybeReopen() {
        if (chance(30))
            reopen();
    }

    // Items of the stuffer get their numbers in the order of the envelopes in the file, which is not ours to say.
    void adoptStuffed() {
        for (const QString& row : Program::rows("select id, envelope from tbl_items order by id")) {
            const int id = row.section('|', 0, 0).toInt();
            const auto at = std::find_if(m_stuffed.begin(), m_stuffed.end(),
                                         [&](const Item& item) { return item.envelope == row.section('|', 1); });
            if (id < m_next || at == m_stuffed.end())
                continue;
            m_items[id] = *at;
            m_stuffed.erase(at);
        }
        if (!m_items.empty())
            m_next = std::max(m_next, m_items.rbegin()->first + 1);
        m_stuffed.clear();
    }

    QString compare();

    Program m_program;
    std::mt19937 m_random;
    Keyboard& m_keys;
    std::map<QString, qint64> m_envelopes;  // budgets
    std::map<int, Item> m_items;
    std::vector<Item> m_stuffed;  // not yet numbered
    int m_next = 1;
    int m_rows = -1;
    std::optional<QString> m_selected;  // an envelope, or the root
    QStringList m_said;                 // what the message boxes of this command say
    QString m_did;
    QString m_wrong;
};

QString difference(const char* what, const QStringList& seen, const QStringList& expected) {
    if (seen == expected)
        return {};
    QStringList more, less;
    for (const QString& line : seen)
        if (!expected.contains(line))
            more << line;
    for (const QString& line : expected)
        if (!seen.contains(line))
            less << line;
    return QString("%1: seen <%2>, expected <%3>\n").arg(what, more.join("> <"), less.join("> <"));
}

QString Robot::compare() {
    adoptStuffed();
    const auto isNull = [](QString field) { return field == "Null" ? QString() : field; };
    QStringList file, list, expectedFile, expectedList, messages;
    qint64 all = 0, shown = 0;
    int rows = 0;
    for (const QString& row : Program::rows("select id, transfer_id, item_date, amount, reconciled, item_num, payee, "
                                            "envelope, comment from tbl_items order by id")) {
        QStringList field = row.split('|');
        field[3] = QString::number(cents(field[3]));
        for (QString& text : field)
            text = isNull(text);
        file << field.join('|');
    }
    for (const auto& [id, item] : m_items) {
        expectedFile << QStringList({QString::number(id), QString::number(item.partner), item.date.toString("M/d/yyyy"),
                                     QString::number(item.cents), item.reconciled, item.number, item.payee,
                                     item.envelope, item.comment})
                            .join('|');
        all += item.cents;
        if (m_selected && item.envelope != *m_selected)
            continue;
        shown += item.cents;
        ++rows;
        expectedList << QStringList({QString::number(id), item.date.toString("MM/dd/yyyy"), item.number, item.payee,
                                     item.reconciled, money(item.cents), item.comment, item.envelope,
                                     item.cents < 0 ? "red" : "black"})
                            .join('|');
    }
    for (int row = 0; row < m_program.list()->rowCount(); ++row) {
        QStringList cells(QString::number(m_program.list()->tag(row)));
        for (int column = 0; column < 7; ++column)
            cells << m_program.list()->text(row, column);
        list << (cells << (m_program.list()->foreColor(row, 4) == controls::kRed ? "red" : "black")).join('|');
    }
    while (m_program.dialogs.messageCount() > 0)
        messages << m_program.dialogs.takeMessage().text;
    QStringList envelopes, tree = m_program.envelopes(), names;
    for (const auto& [name, budget] : m_envelopes) {
        names << name;
        envelopes << name + "|" + QString::number(budget);
    }
    QStringList stored;
    for (const QString& row : Program::rows("select envelope, budget from tbl_envelopes"))
        stored << row.section('|', 0, 0) + "|" + QString::number(cents(isNull(row.section('|', 1))));
    for (QStringList* lines : {&list, &expectedList, &tree, &names, &stored, &envelopes})
        lines->sort();

    const QString selected = m_selected ? *m_selected + " Envelope = " : QString("All Envelopes = ");
    const auto caption = [&](const char* name) { return m_program.caption(name).replace("&&", "&"); };
    const auto enabled = [&](const char* name) { return QString(m_program.command(name)->isEnabled() ? "on" : "off"); };
    const auto state = [](bool on) { return QString(on ? "on" : "off"); };
    const bool any = !m_envelopes.empty();
    QString wrong =
        std::exchange(m_wrong, {}) + difference("file", file, expectedFile) + difference("list", list, expectedList) +
        difference("envelopes", stored, envelopes) + difference("tree", tree, names) +
        difference("messages", messages, m_said) + difference("problems", m_program.dialogs.problems(), {}) +
        difference("captions",
                   {caption("lblEnvelopes"), caption("lblItems"), caption("stbMainPanel2"), caption("stbMainPanel3"),
                    m_program.main.SelectedNodeText()},
                   {"Budget Total = " + money(all), selected + money(shown),
                    QString::number(m_envelopes.size()) + " Envelope(s)", QString::number(rows) + " Item(s)",
                    m_selected.value_or("Envelopes")}) +
        difference("enabled",
                   {enabled("mnuItemAdd"), enabled("mnuItemEdit"), enabled("mnuItemReconcile"),
                    enabled("mnuEnvelopeRename"), enabled("mnuItemFind"), enabled("mnuToolsStuffer")},
                   {state(m_selected.has_value()), state(m_selected && rows > 0), state(m_selected && rows > 0),
                    state(m_selected.has_value()), state(rows > 0), state(any)});
    if (QApplication::activeModalWidget() != nullptr)
        wrong += "a dialog is still open\n";
    return wrong;
}

// What another program reads in the closed file.
QString Robot::independentReader() {
    m_program.trigger("mnuFileClose");
    QProcess reader;
    reader.start("mdb-export", {"-H", "-Q", "-d", "|", "-R", "\n~", m_program.path("Home.mdb"), "tbl_items"});
    reader.waitForFinished();
    QStringList seen, expected;
    for (const QString& row : QString::fromUtf8(reader.readAllStandardOutput()).split("\n~", Qt::SkipEmptyParts)) {
        const QStringList field = row.split('|');
        seen << QStringList({field.value(0), QString::number(cents(field.value(1))), field.value(3)}).join('|');
    }
    for (const auto& [id, item] : m_items)
        expected << QStringList({QString::number(id), QString::number(item.cents), item.envelope}).join('|');
    seen.sort();
    expected.sort();
    return difference("mdb-export", seen, expected);
}

}  // namespace

void tst_robot::run() {
    vbrt::qt::setToday(QDate(2026, 11, 15));
    const auto number = [](const char* name, int otherwise) {
        return qEnvironmentVariableIsSet(name) ? qEnvironmentVariableIntValue(name) : otherwise;
    };
    const int steps = number("COINVALE_ROBOT_STEPS", 400);
    Keyboard keyboard;
    Robot robot(static_cast<unsigned>(number("COINVALE_ROBOT_SEED", 20261115)), keyboard);
    for (int step = 1; step <= steps; ++step) {
        const QString said = robot.step();
        QVERIFY2(said.section(": ", 1).isEmpty(), qPrintable(QString("command %1, %2").arg(step).arg(said)));
        if (QTest::currentTestFailed())
            return;
    }
    if (QStandardPaths::findExecutable("mdb-export").isEmpty())
        QSKIP("mdb-export is not installed");
    const QString wrong = robot.independentReader();
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
}

QTEST_MAIN(tst_robot)
#include "tst_robot.moc"
