// SPDX-License-Identifier: MIT
// A budget in memory that lives at random: each step is one statement as the program's windows make it, with what it
// does to the budget. The laboratory runs the statements on a file and compares the file with the model.
#pragma once

#include <QString>
#include <cstdint>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "jet/database.h"

namespace lab {

using Random = std::mt19937;
inline constexpr char kPassword[] = "lab";

inline int below(Random& random, int limit) {
    return static_cast<int>(random() % static_cast<unsigned>(limit));
}

// Writes the empty budget of the program, with kPassword.
void createBudget(jet::Disk& disk, const std::string& path);

// What a file or a model holds, as a number: equal for equal rows in any order. Items that were stuffed count without
// their id, which depends on the order of the pages.
using State = std::uint64_t;
State stateOf(jet::Database& db);

class Budget {
 public:
    struct Step {
        QString sql;
        std::function<void(Budget&)> apply;
    };
    using Steps = std::vector<Step>;  // what one command of the program does, statement by statement

    // Beyond `limit` items it deletes more than it adds. `envelopeCommands` of 1000 commands are about envelopes.
    Budget(std::size_t limit, unsigned envelopeCommands);

    // REQUIRES (of all commands but next and addEnvelope): there is an envelope, or an item that was typed.
    Steps next(Random& random) const;
    Steps addEnvelope() const;
    Steps addItem(Random& random, int commentSize = -1) const;
    Steps transfer(Random& random) const;
    Steps editItem(Random& random, int commentSize = -1) const;
    Steps reconcile(Random& random) const;
    Steps deleteItem(Random& random) const;
    Steps setBudget(Random& random) const;
    Steps stuff(Random& random) const;
    Steps undoStuff() const;
    Steps renameEnvelope(Random& random) const;
    Steps deleteEnvelope(Random& random) const;

    [[nodiscard]] State state() const;
    [[nodiscard]] std::size_t itemCount() const { return m_items.size(); }
    [[nodiscard]] std::size_t envelopeCount() const;
    // In cents, of the envelopes that have items.
    [[nodiscard]] std::map<QString, long long> balances() const;

 private:
    struct Item {
        int id = 0;
        int envelope = 0;
        int cents = 0;
        int day = 0;
        int transfer = 0;
        int comment = 0;  // its size
        std::uint16_t number = 0;
        std::uint16_t payee = 0;
        bool reconciled = false;
        bool stuffed = false;
    };
    struct Envelope {
        int generation = 0;  // counts the renamings
        int cents = 0;       // the budget
        bool exists = false;
    };

    [[nodiscard]] QString nameOf(int envelope, int renamings = 0) const;
    [[nodiscard]] int anyEnvelope(Random& random) const;
    [[nodiscard]] const Item* anyTyped(Random& random) const;
    [[nodiscard]] Item randomItem(Random& random, int commentSize) const;
    [[nodiscard]] Step insertStep(const Item& item) const;
    [[nodiscard]] Step updateStep(const Item& item) const;
    Item* find(int id);
    void append(Item item);

    std::size_t m_limit;
    unsigned m_envelopeCommands;
    std::vector<Item> m_items;  // in the order of their ids
    std::vector<Envelope> m_envelopes;
    int m_lastId = 0;
    int m_stuffed = 0;  // the day of the last stuffing
};

}  // namespace lab
