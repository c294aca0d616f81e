// SPDX-License-Identifier: MIT
// The laboratory of long use: one budget grows item by item, through the database object and the statements of the
// program, with everything that a user does to it in between.
//
//   lab_long [--items N] [--seed S] [--folder DIR]
//
// Every tenth of the way it reads what the windows and reports read, compares every balance with the model in whole
// cents, saves a copy, compacts, verifies the file and prints the memory of the process. Exits with 1 when anything
// differs, or when the memory of the second half grows by more than the data explains (kGrowth).
#include <malloc.h>
#include <unistd.h>
#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <cmath>
#include <cstdio>

#include "ado/database_file.h"
#include "controls/testing.h"
#include "db/basMain.h"
#include "jet/maintenance/verify.h"
#include "lab/budget_model.h"
#include "ledger/frmStuffer.h"
#include "reports/basReports.h"

using namespace lab;

namespace {

constexpr double kGrowth = 1.5;  // of the memory, while the budget doubles

int g_wrong = 0;

void wrong(const QString& what) {
    std::printf("WRONG: %s\n", qPrintable(what));
    ++g_wrong;
}

double residentMegabytes() {
    QFile file("/proc/self/statm");
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toDouble() * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1e6;
}

class Use {
 public:
    Use(const QString& folder, unsigned seed, std::size_t items)
        : m_path(folder + "/long.mdb"), m_copy(folder + "/copy.mdb"), m_budget(items, 4), m_random(seed) {
        createBudget(jet::realDisk(), m_path.toStdString());
        strPassword = kPassword;
        open(m_path);
    }
    ~Use() { objDatabase.reset(); }

    void grow(std::size_t items) {
        while (m_budget.itemCount() < items)
            for (const Budget::Step& step : m_budget.next(m_random)) {
                objDatabase->objCnn()->Execute(step.sql);
                step.apply(m_budget);
                ++statements;
            }
    }

    // What the windows show and the reports print.
    void read() {
        const std::map<QString, long long> expected = m_budget.balances();
        long long total = 0;
        for (const auto& [name, cents] : expected)
            total += cents;
        compareBalances("the stuffer", query(StufferListSql("envelope", "asc")), "current_balance", expected);
        compareBalances("a summary", query("select envelope, sum(amount) as balance from tbl_items group by envelope"),
                        "balance", expected);
        const auto sum = query("select sum(amount) as total, count(*) as items from tbl_items");
        if (std::llround(sum->number("total") * 100) != total || sum->number("items") != double(m_budget.itemCount()))
            wrong("the total is " + sum->text("total"));
        ado::Connection shape;
        shape.setProvider(ado::kShapeProvider);
        shape.Open(ShapeConnectionString());
        std::map<QString, long long> groups;
        for (const auto rows = shape.Execute(EnvelopeShapeSql(" order by item_date desc")); !rows->AtEnd();
             rows->MoveNext()) {
            long long& cents = groups[rows->text("envelope")];
            for (const auto items = rows->chapter(0); !items->AtEnd(); items->MoveNext())
                cents += std::llround(items->number("amount") * 100);
        }
        if (groups != expected)
            wrong("the groups of the report differ");
    }

    void compact() {
        if (!objDatabase->CompactDatabase())
            wrong("no compaction");
    }

    // Save As: the program works on with the first file; the copy holds the same.
    void saveAs() {
        ado::copyDatabaseFile(m_path, m_copy);
        verifyFile(m_copy);
    }

    void verifyFile(const QString& path) {
        const bool own = path == m_path;
        if (own)
            objDatabase.reset();
        {
            const auto db = jet::Database::open(path.toStdString(), {.password = kPassword, .readOnly = true});
            for (const std::string& problem : jet::verify(*db, 10))
                wrong(path + ": " + QString::fromStdString(problem));
            if (stateOf(*db) != m_budget.state())
                wrong(path + ": the rows differ from the model");
        }
        if (own)
            open(path);
    }

    [[nodiscard]] qint64 fileSize() const { return QFileInfo(m_path).size(); }
    [[nodiscard]] const QString& path() const { return m_path; }

    long statements = 0;
    controls::DialogQueue dialogs;  // a message box would be a fault

 private:
    static void open(const QString& path) {
        strDatabasePath = path;
        strDatabaseTitle = "long.mdb";
        objDatabase = std::make_unique<clsDatabase>();
        if (!blnDatabaseOpen)
            qFatal("the budget does not open");
    }
    static std::shared_ptr<ado::Recordset> query(const QString& sql) {
        return objDatabase->OpenRecordset(sql, ado::adOpenStatic, ado::adLockReadOnly, ado::adCmdText);
    }
    static void compareBalances(const char* what, const std::shared_ptr<ado::Recordset>& rows, const char* field,
                                const std::map<QString, long long>& expected) {
        std::map<QString, long long> found;
        for (; !rows->AtEnd(); rows->MoveNext()) {
            const long long cents = std::llround(rows->number(field) * 100);
            found[rows->text("envelope")] = cents;
            // The sum itself must be the number nearest to the cents.
            if (rows->number(field) != static_cast<double>(cents) / 100)
                wrong(QString("%1: %2 is not in whole cents").arg(what, rows->text(field)));
        }
        if (found != expected)
            wrong(QString("%1: the balances differ from the model").arg(what));
    }

    QString m_path;
    QString m_copy;
    Budget m_budget;
    Random m_random;
};

}  // namespace

int main(int argc, char** argv) {
    const QApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addOptions({{"items", "How far the budget grows.", "N", "200000"},
                       {"seed", "Of all that is random.", "S", "1"},
                       {"folder", "Where the budget lies.", "DIR", QDir::tempPath()}});
    parser.addHelpOption();
    parser.process(app);
    const std::size_t items = parser.value("items").toULong();

    QTemporaryDir folder(parser.value("folder") + "/lab_long-XXXXXX");
    Use use(folder.path(), parser.value("seed").toUInt(), items);
    double half = 0;
    QElapsedTimer clock;
    clock.start();
    std::printf("%9s %11s %8s %9s %9s %8s\n", "items", "statements", "file MB", "work MB", "idle MB", "seconds");
    for (std::size_t tenth = 1; tenth <= 10; ++tenth) {
        use.grow(items * tenth / 10);
        use.read();
        const double working = residentMegabytes();
        use.saveAs();
        use.compact();
        use.verifyFile(use.path());
        ::malloc_trim(0);
        const double idle = residentMegabytes();
        std::printf("%9zu %11ld %8.1f %9.1f %9.1f %8lld\n", items * tenth / 10, use.statements,
                    static_cast<double>(use.fileSize()) / 1e6, working, idle, clock.elapsed() / 1000);
        std::fflush(stdout);
        if (tenth == 5)
            half = idle;
        else if (tenth == 10 && idle > half * kGrowth)
            wrong(QString("the memory grew from %1 to %2 MB in the second half").arg(half).arg(idle));
    }
    for (const QString& problem : use.dialogs.problems())
        wrong(problem);
    std::printf("items %zu, statements %ld, wrong %d\n", items, use.statements, g_wrong);
    return g_wrong == 0 ? 0 : 1;
}
