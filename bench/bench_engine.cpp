// SPDX-License-Identifier: MIT
// The engine, through ado, beside SQLite reading and writing its own file with the same rows and indexes.
//
//   bench_engine [ITEMS]      100,000 unless given; files go into the current folder and are removed afterwards
#include <sqlite3.h>

#include <QString>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "ado/connection.h"
#include "sample_budget.h"

namespace {

using bench::best;

std::string connectionString(const std::string& path) {
    return "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + path + ";Jet OLEDB:Database Password=" + bench::kPassword +
           ";";
}

struct Peer {
    explicit Peer(const std::string& path) {
        if (sqlite3_open(path.c_str(), &db) != SQLITE_OK)
            throw std::runtime_error("cannot open " + path);
        run("pragma foreign_keys = on");
    }
    ~Peer() { sqlite3_close(db); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    void run(const char* sql) const {
        if (sqlite3_exec(db, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
            throw std::runtime_error(sqlite3_errmsg(db));
    }
    // Every field of every row, texts with their length; returns what keeps the reading from being left out.
    double readAll(const char* sql) const {
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(db, sql, -1, &statement, nullptr);
        double sum = 0;
        while (sqlite3_step(statement) == SQLITE_ROW)
            for (int i = 0; i < sqlite3_column_count(statement); ++i)
                if (sqlite3_column_type(statement, i) == SQLITE_TEXT)
                    sum += static_cast<double>(
                        QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(statement, i)),
                                          sqlite3_column_bytes(statement, i))
                            .size());
                else
                    sum += sqlite3_column_double(statement, i);
        sqlite3_finalize(statement);
        return sum;
    }

    sqlite3* db = nullptr;
};

double readAll(ado::Connection& cnn, const char* sql) {
    double sum = 0;
    const auto rs = cnn.Execute(sql);
    const int fields = rs->FieldCount();
    for (; !rs->AtEnd(); rs->MoveNext())
        for (int i = 0; i < fields; ++i) {
            if (rs->isNull(i))
                continue;
            if (i == 0 || i == 1 || i == 8)
                sum += rs->number(i);
            else if (i == 4)
                sum += rs->date(i).serial;
            else
                sum += static_cast<double>(rs->text(i).size());
        }
    return sum;
}

}  // namespace

int main(int argc, char* argv[]) {
    const int items = argc > 1 ? std::atoi(argv[1]) : 100000;
    const std::string ours = "bench.mdb";
    const std::string theirs = "bench.sqlite";
    bench::printMachine(std::filesystem::current_path().string());
    bench::print("items", items, "");
    bench::print("making the budget, one transaction", best(1, [&] { bench::makeBudget(ours, items, 50); }), "s");
    bench::print("making the SQLite file, one transaction", best(1, [&] { bench::makeSqlite(theirs, items, 50); }),
                 "s");

    double sum = 0;
    const char* list = "select * from tbl_items order by item_date, id";
    const double oursList = best(5, [&] {
        ado::Connection cnn;
        cnn.Open(QString::fromStdString(connectionString(ours)));
        sum += readAll(cnn, list);
    });
    const double theirsList = best(5, [&] { sum += Peer(theirs).readAll(list); });
    bench::printPair("open and read every row, sorted by date", oursList, theirsList, 1e3, "ms");

    ado::Connection cnn;
    cnn.Open(QString::fromStdString(connectionString(ours)));
    const Peer peer(theirs);
    const char* insert =
        "insert into tbl_items (amount, comment, envelope, item_date, item_num, payee, reconciled, transfer_id) "
        "values (-12.5, 'A note', 'Envelope 7', '11/15/2026', '17', 'Grocer', '', 0)";
    constexpr int kInserts = 100;
    double oursInsert = 1e9;
    double theirsInsert = 1e9;
    for (int round = 0; round < 3; ++round) {
        oursInsert = std::min(oursInsert, best(1, [&] {
                                  for (int i = 0; i < kInserts; ++i)
                                      cnn.Execute(insert);
                              }));
        theirsInsert = std::min(theirsInsert, best(1, [&] {
                                    for (int i = 0; i < kInserts; ++i)
                                        peer.run(insert);
                                }));
    }
    bench::printPair("one insert, durably committed", oursInsert / kInserts, theirsInsert / kInserts, 1e3, "ms");

    const double oursRename =
        best(1, [&] { cnn.Execute("update tbl_envelopes set envelope = 'Renamed' where envelope = 'Envelope 0'"); });
    const double theirsRename =
        best(1, [&] { peer.run("update tbl_envelopes set envelope = 'Renamed' where envelope = 'Envelope 0'"); });
    bench::printPair("renaming an envelope with half of all items", oursRename, theirsRename, 1e3, "ms");

    const char* maximum = "select max(id) from tbl_items";
    const double oursMax = best(5, [&] { sum += cnn.Execute(maximum)->number(0); });
    const double theirsMax = best(5, [&] { sum += peer.readAll(maximum); });
    bench::printPair("highest id", oursMax, theirsMax, 1e6, "us");

    const char* total = "select sum(amount) as total from tbl_items where envelope = 'Envelope 7'";
    const double oursTotal = best(5, [&] { sum += cnn.Execute(total)->number(0); });
    const double theirsTotal = best(5, [&] { sum += peer.readAll(total); });
    bench::printPair("total of one envelope", oursTotal, theirsTotal, 1e3, "ms");

    cnn.Close();
    std::filesystem::remove(ours);
    std::filesystem::remove(theirs);
    return sum == 0 ? 1 : 0;
}
