// SPDX-License-Identifier: MIT
#include "sample_budget.h"

#include <sqlite3.h>

#include <algorithm>
#include <fstream>
#include <random>
#include <stdexcept>
#include <thread>

#include "budget_schema.h"
#include "jet/database.h"
#include "jet/maintenance/create.h"

namespace bench {

namespace {

struct Item {
    double amount;
    std::string comment;
    std::string envelope;
    int date;  // days since 1899-12-30
    std::string number;
    std::string payee;
    std::string reconciled;
};

std::string envelopeName(int i) {
    return "Envelope " + std::to_string(i);
}

// The i-th item; the generator makes the same sequence for both files.
Item makeItem(std::mt19937& random, int i, int envelopes) {
    const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    Item item;
    item.amount = (below(400000) - 300000) / 100.0;
    item.comment = below(3) == 0 ? "A note about item " + std::to_string(i) : "";
    // Half of all items are in the first envelope.
    item.envelope = envelopeName(below(2) == 0 ? 0 : below(envelopes));
    item.date = 43831 + below(2500);
    item.number = below(2) == 0 ? std::to_string(1000 + i) : "";
    item.payee = "Payee " + std::to_string(below(700));
    item.reconciled = below(2) == 0 ? "*" : "";
    return item;
}

void run(sqlite3* db, const char* sql) {
    if (sqlite3_exec(db, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        throw std::runtime_error(sqlite3_errmsg(db));
}

}  // namespace

void makeBudget(const std::string& path, int items, int envelopes) {
    jet::createDatabase(jet::realDisk(), path, jet::budgetTemplate());
    auto db = jet::Database::open(path, {.password = kPassword});
    jet::Transaction change(*db);
    for (int i = 0; i < envelopes; ++i) {
        jet::Row row = {envelopeName(i), 100.0};
        db->table("tbl_envelopes").insert(row);
    }
    auto& table = db->table("tbl_items");
    std::mt19937 random(1);
    for (int i = 0; i < items; ++i) {
        Item item = makeItem(random, i, envelopes);
        jet::Row row = {
            jet::Null{}, item.amount, item.comment,    item.envelope,  jet::Date{static_cast<double>(item.date)},
            item.number, item.payee,  item.reconciled, std::int32_t{0}};
        table.insert(row);
    }
    change.commit();
}

void makeSqlite(const std::string& path, int items, int envelopes) {
    std::remove(path.c_str());
    sqlite3* db = nullptr;
    if (sqlite3_open(path.c_str(), &db) != SQLITE_OK)
        throw std::runtime_error("cannot make " + path);
    run(db, "create table tbl_envelopes (envelope text collate nocase primary key, budget real default 0)");
    run(db,
        "create table tbl_items (id integer primary key autoincrement, amount real default 0, comment text, "
        "envelope text collate nocase references tbl_envelopes on update cascade on delete cascade, item_date real, "
        "item_num text collate nocase, payee text, reconciled text, transfer_id integer default 0)");
    run(db, "create index item_num on tbl_items(item_num)");
    run(db, "create index transfer_id on tbl_items(transfer_id)");
    run(db, "create index by_envelope on tbl_items(envelope)");
    run(db, "begin");
    for (int i = 0; i < envelopes; ++i)
        run(db, ("insert into tbl_envelopes values ('" + envelopeName(i) + "', 100)").c_str());
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(db, "insert into tbl_items values (null,?,?,?,?,?,?,?,0)", -1, &insert, nullptr);
    std::mt19937 random(1);
    for (int i = 0; i < items; ++i) {
        const Item item = makeItem(random, i, envelopes);
        sqlite3_bind_double(insert, 1, item.amount);
        sqlite3_bind_text(insert, 2, item.comment.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(insert, 3, item.envelope.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_double(insert, 4, item.date);
        sqlite3_bind_text(insert, 5, item.number.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(insert, 6, item.payee.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(insert, 7, item.reconciled.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_step(insert);
        sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    run(db, "commit");
    sqlite3_close(db);
}

void printMachine(const std::string& folder) {
    std::ifstream cpuinfo("/proc/cpuinfo");
    std::string line;
    std::string model = "unknown processor";
    while (std::getline(cpuinfo, line))
        if (line.rfind("model name", 0) == 0) {
            model = line.substr(line.find(':') + 2);
            break;
        }
    std::printf("machine : %s, %u cores; files in %s; SQLite %s\n", model.c_str(), std::thread::hardware_concurrency(),
                folder.c_str(), sqlite3_libversion());
}

double best(int runs, const std::function<void()>& work) {
    double seconds = 1e9;
    for (int i = 0; i < runs; ++i) {
        const auto start = std::chrono::steady_clock::now();
        work();
        seconds = std::min(seconds, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return seconds;
}

void printPair(const char* name, double ours, double peer, double scale, const char* unit) {
    std::printf("%-46s : %9.3f %s, SQLite %9.3f %s, ratio %.2f\n", name, ours * scale, unit, peer * scale, unit,
                ours / peer);
}

void print(const char* name, double value, const char* unit) {
    std::printf("%-46s : %9.3f %s\n", name, value, unit);
}

}  // namespace bench
