// SPDX-License-Identifier: MIT
// The laboratory of crashes: nothing that was answered may be lost, and nothing may be half done.
//
//   lab_crash [--kills N] [--stride N] [--seed S] [--folder DIR]
//
// Kills: a child process works on a budget on the real disk, and dies by SIGKILL at a random moment. Cuts: workloads on
// a disk in memory are stopped at every operation (or every `stride`-th), and the power cut there keeps any part of
// what was not flushed. Faults: every operation of every workload fails, once or until the statement ends, and the
// statement is tried again. After each, the file must hold what the model says and verify. Exits with 1 when anything
// was lost.
#include <sys/wait.h>
#include <unistd.h>
#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <csignal>

#include "ado/connection.h"
#include "ado/connection_string.h"
#include "ado/database_file.h"
#include "ado/jet_engine.h"
#include "jet/disk/fault_disk.h"
#include "jet/disk/memory_disk.h"
#include "jet/maintenance/compact.h"
#include "jet/maintenance/verify.h"
#include "jetsql/statement.h"
#include "lab/budget_model.h"
#include "vbrt/error.h"

using namespace lab;

namespace {

int g_lost = 0;

void lost(const std::string& what) {
    std::printf("LOST: %s\n", what.c_str());
    ++g_lost;
}

// What is wrong with a file that must hold one of these states; empty when nothing is. `state` is the one it holds.
std::string wrongWith(jet::Disk& disk, const std::string& path, const std::vector<State>& allowed,
                      State* state = nullptr) try {
    const auto db = jet::Database::open(path, {.password = kPassword, .disk = &disk});
    const State found = stateOf(*db);
    if (state != nullptr)
        *state = found;
    if (std::ranges::count(allowed, found) == 0)
        return "the rows are not those that were answered";
    const auto problems = jet::verify(*db, 1);
    return problems.empty() ? "" : problems[0];
} catch (const std::exception& e) {
    return e.what();
}

// --- Kills

// What the child does and the parent follows: the same random commands on the same model.
class Script {
 public:
    enum class Kind { Statement, Compact, SaveAs };
    struct Action {
        Kind kind = Kind::Statement;
        Budget::Step step;
    };

    Script() : m_budget(150, 250) {}

    // After a kill the rest of a command is forgotten.
    void start(unsigned seed) {
        m_random.seed(seed);
        m_waiting.clear();
    }
    Action next() {
        if (m_waiting.empty()) {
            const int die = below(m_random, 100);
            if (die < 4)
                return {die < 2 ? Kind::Compact : Kind::SaveAs, {}};
            m_waiting = m_budget.next(m_random);
            std::ranges::reverse(m_waiting);
        }
        Action action{Kind::Statement, m_waiting.back()};
        m_waiting.pop_back();
        return action;
    }
    void done(const Action& action) {
        if (action.kind == Kind::Statement)
            action.step.apply(m_budget);
    }
    [[nodiscard]] State state() const { return m_budget.state(); }

 private:
    Budget m_budget;
    Random m_random;
    Budget::Steps m_waiting;
};

class Kills {
 public:
    Kills(const QString& folder, unsigned seed) : m_folder(folder + "/"), m_seed(seed) {
        createBudget(jet::realDisk(), at("budget.mdb").toStdString());
    }

    // Kills one child, and compares.
    void kill(int round) {
        const unsigned seed = m_seed + static_cast<unsigned>(round) * 7919U;
        m_script.start(seed);
        int ends[2];
        if (::pipe(ends) != 0)
            qFatal("no pipe");
        const pid_t child = ::fork();
        if (child == 0) {
            try {
                work(ends[1]);
            } catch (const std::exception& e) {
                std::fprintf(stderr, "child: %s\n", e.what());
            }
            ::_exit(1);
        }
        ::close(ends[1]);
        Random random(seed);
        // Mostly while it works; sometimes in the opening, which may have a log to replay.
        char answer = 0;
        int answers = 0;
        if (below(random, 4) != 0)
            answers += ::read(ends[0], &answer, 1) == 1 ? 1 : 0;
        ::usleep(static_cast<unsigned>(below(random, 30'000)));
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        if (!WIFSIGNALED(status))
            lost("the child ended by itself in round " + std::to_string(round));
        std::vector<State> saved{m_saved};
        while (::read(ends[0], &answer, 1) == 1)
            ++answers;
        for (; answers > 0; --answers, ++answered) {
            const Script::Action action = m_script.next();
            m_script.done(action);
            if (action.kind == Script::Kind::SaveAs)
                saved = {m_script.state()};
        }
        ::close(ends[0]);
        compare(round, std::move(saved));
    }

    std::size_t answered = 0;

 private:
    [[nodiscard]] QString at(const char* name) const { return m_folder + name; }
    static QString connectionString(const QString& path) {
        return "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + ado::connectionValue(path) +
               ";Jet OLEDB:Database Password=" + kPassword + ";";
    }

    void work(int answers) {
        const QString path = at("budget.mdb");
        ado::Connection connection;
        connection.Open(connectionString(path));
        for (;;) {
            const Script::Action action = m_script.next();
            switch (action.kind) {
                case Script::Kind::Statement:
                    connection.Execute(action.step.sql);
                    break;
                case Script::Kind::SaveAs:
                    ado::copyDatabaseFile(path, at("saved.mdb"));
                    break;
                case Script::Kind::Compact:
                    connection.Close();
                    if (QFile::exists(at("temp.mdb")))
                        ado::deleteDatabaseFile(at("temp.mdb"));
                    ado::JetEngine().CompactDatabase(connectionString(path),
                                                     connectionString(at("temp.mdb")) + "Jet OLEDB:Engine Type=4;");
                    ado::replaceDatabaseFile(at("temp.mdb"), path);
                    connection.Open(connectionString(path));
            }
            m_script.done(action);
            if (::write(answers, "+", 1) != 1)
                return;
        }
    }

    // On copies, so that the next child finds what this one left.
    void compare(int round, std::vector<State> saved) {
        const State before = m_script.state();
        Script after = m_script;
        const Script::Action last = after.next();
        after.done(last);
        for (const char* suffix : {"", "-log"}) {
            QFile::remove(at("copy.mdb") + suffix);
            if (QFile::exists(at("budget.mdb") + suffix))
                QFile::copy(at("budget.mdb") + suffix, at("copy.mdb") + suffix);
        }
        State state = 0;
        std::string wrong = wrongWith(jet::realDisk(), at("copy.mdb").toStdString(), {before, after.state()}, &state);
        if (wrong.empty() && QFile::exists(at("copy.mdb-log.old")))
            wrong = "the log was set aside";
        if (state != before)
            m_script = after;
        if (last.kind == Script::Kind::SaveAs)
            saved.push_back(before);
        if (wrong.empty() && QFile::exists(at("saved.mdb"))) {
            wrong = wrongWith(jet::realDisk(), at("saved.mdb").toStdString(), saved, &m_saved);
            if (!wrong.empty())
                wrong = "the copy of Save As: " + wrong;
        }
        if (!wrong.empty()) {
            lost("kill " + std::to_string(round) + ": " + wrong);
            qFatal("the files are in %s", qPrintable(m_folder));
        }
    }

    QString m_folder;
    unsigned m_seed;
    Script m_script;
    State m_saved = 0;
};

// --- Cuts and faults

constexpr const char* kPath = "/budget";
constexpr const char* kCopy = "/copy";
constexpr const char* kSaved = "/saved";
const QString kCompact = "compact";
const QString kSaveAs = "save as";

// Save As as the program does it, on the disk of the trial.
void saveAs(jet::Disk& disk) {
    jet::setDefaultDisk(&disk);
    try {
        ado::copyDatabaseFile(kPath, kSaved);
    } catch (const vbrt::Error& e) {
        jet::setDefaultDisk(nullptr);
        throw jet::Error(e.number() == vbrt::kDiskFull ? jet::Errc::DiskFull : jet::Errc::Io, e.what());
    }
    jet::setDefaultDisk(nullptr);
}

struct Work {
    const char* name = "";
    jet::Bytes file;              // before
    std::vector<QString> steps;   // statements, kCompact or kSaveAs
    std::vector<State> states{};  // before the first and after each
};

class Run {
 public:
    explicit Run(const Work& work) : m_work(work) {
        disk.setContent(kPath, work.file);
        open();
    }

    void open() { db = jet::Database::open(kPath, {.password = kPassword, .disk = &faulty}); }
    void step() {
        const QString& sql = m_work.steps[done];
        if (sql == kCompact) {
            db.reset();
            jet::compactDatabase(kPath, kCopy, {.password = kPassword, .newPassword = {}, .disk = &faulty});
            open();
        } else if (sql == kSaveAs) {
            saveAs(faulty);
            saved = {m_work.states[done]};
        } else {
            jetsql::execute(db, sql.toStdString());
        }
        ++done;
    }
    [[nodiscard]] bool finished() const { return done == m_work.steps.size(); }
    // What is wrong with the file of Save As, which must be the last whole copy, or the one that is being made.
    [[nodiscard]] std::string wrongWithSaved(jet::Disk& on) const {
        std::vector<State> allowed = saved;
        if (!finished() && m_work.steps[done] == kSaveAs)
            allowed.push_back(m_work.states[done]);
        if (!on.exists(kSaved))
            return saved.empty() ? "" : "the copy of Save As is gone";
        const std::string wrong = wrongWith(on, kSaved, allowed);
        return wrong.empty() ? "" : "the copy of Save As: " + wrong;
    }

    jet::MemoryDisk disk;
    jet::FaultDisk faulty{disk};
    std::shared_ptr<jet::Database> db;
    std::size_t done = 0;
    std::vector<State> saved;  // what the last whole copy holds, if there is one

 private:
    const Work& m_work;
};

// Makes workloads: each from the file that the one before left.
class Works {
 public:
    explicit Works(unsigned seed) : m_random(seed) {
        createBudget(m_disk, kPath);
        for (int i = 0; i < 10; ++i)
            with("", m_budget.addEnvelope());
        for (int i = 0; i < 70; ++i)
            with("", m_budget.addItem(m_random));
        many("insert", 6, [&] { return m_budget.addItem(m_random); });
        many("update", 6, [&] { return m_budget.editItem(m_random, 30); });
        many("delete", 5, [&] { return m_budget.deleteItem(m_random); });
        many("transfers", 2, [&] { return m_budget.transfer(m_random); });
        for (const int size : {3'000, 70'000, 1'900})
            with("long values", m_budget.addItem(m_random, size));
        for (const int size : {50'000, 10, 5'000})
            with("long values", m_budget.editItem(m_random, size));
        many("index splits", 40, [&] { return m_budget.addItem(m_random, 3); });
        many("envelopes", 3, [&] { return m_budget.renameEnvelope(m_random); });
        with("envelopes", m_budget.deleteEnvelope(m_random));
        with("envelopes", m_budget.addEnvelope());
        for (int i = 0; i < 3; ++i)
            with("stuffing", m_budget.setBudget(m_random));
        with("stuffing", m_budget.stuff(m_random));
        with("stuffing", m_budget.undoStuff());
        with("compaction", m_budget.addItem(m_random, 2'500));
        with("compaction", {{kCompact, [](Budget&) {}}});
        with("compaction", m_budget.addItem(m_random));
        for (int i = 0; i < 3; ++i) {
            with("save as", m_budget.addItem(m_random, 1'000));
            with("save as", {{kSaveAs, [](Budget&) {}}});
        }
        many("all sorts", 20, [&] { return m_budget.next(m_random); });
    }

    std::vector<Work> all;

 private:
    template <class Command>
    void many(const char* name, int count, Command command) {
        for (int i = 0; i < count; ++i)
            with(name, command());
    }
    void with(const char* name, const Budget::Steps& steps) {
        const bool kept = *name != 0;
        if (kept && (all.empty() || std::string(all.back().name) != name))
            all.push_back({name, m_disk.content(kPath), {}, {m_budget.state()}});
        const auto db = jet::Database::open(kPath, {.password = kPassword, .disk = &m_disk});
        for (const Budget::Step& step : steps) {
            if (step.sql != kCompact && step.sql != kSaveAs)
                jetsql::execute(db, step.sql.toStdString());
            step.apply(m_budget);
            if (kept) {
                all.back().steps.push_back(step.sql);
                all.back().states.push_back(m_budget.state());
            }
        }
    }

    Random m_random;
    jet::MemoryDisk m_disk;
    Budget m_budget{100, 250};
};

struct Counts {
    long operations = 0;
    long cuts = 0;
    long faults = 0;
    long refused = 0;  // statements that a fault ended
};

// The power is cut after operation `n` of a workload, once for each way the disk may have taken what was not flushed.
// False when the workload has fewer operations.
bool cutAt(const Work& work, std::uint64_t n, Random& random, Counts& counts) {
    Run run(work);
    run.faulty.setPlan({.failAt = n, .onwards = true, .halfWrite = n % 2 == 0});
    try {
        while (!run.finished())
            run.step();
        run.db.reset();
    } catch (const jet::Error&) {
    }
    std::vector<State> allowed{work.states[run.done]};
    if (!run.finished())
        allowed.push_back(work.states[run.done + 1]);
    const bool compacted = run.done > 0 && work.steps[run.done - 1] == kCompact;

    int questions = 0;
    static_cast<void>(run.disk.crashed([&] { return ++questions > 0; }));
    // Every subset of a few writes; of many every prefix (at most 12 of them), each write missing in turn, and some.
    const auto check = [&](const std::function<bool(int)>& survives) {
        int at = 0;
        const auto crashed = run.disk.crashed([&] { return survives(at++); });
        ++counts.cuts;
        std::string wrong = wrongWith(*crashed, kPath, allowed);
        if (wrong.empty() && compacted)
            wrong = wrongWith(*crashed, kCopy, {work.states[run.done]});
        if (wrong.empty())
            wrong = run.wrongWithSaved(*crashed);
        if (wrong.empty() && crashed->exists("/budget-log.old"))
            wrong = "the log was set aside";
        if (!wrong.empty())
            lost(std::string(work.name) + ", power cut at operation " + std::to_string(n) + ": " + wrong);
    };
    if (questions <= 4) {
        for (unsigned subset = 0; subset < 1U << static_cast<unsigned>(questions); ++subset)
            check([&](int at) { return (subset >> static_cast<unsigned>(at) & 1U) != 0; });
    } else {
        const int prefixes = std::min(questions, 12);
        for (int i = 0; i <= prefixes; ++i)
            check([&](int at) { return at < questions * i / prefixes; });
        for (int i = 0; i < 4; ++i) {
            const int missing = below(random, questions);
            check([&](int at) { return at != missing; });
        }
        for (int i = 1; i < 8; ++i)
            check([&](int) { return below(random, 8) < i; });
    }
    return run.faulty.failed();
}

// Operation `n` of a workload fails; the statement is tried again, and the workload goes on to its end.
bool failAt(const Work& work, std::uint64_t n, bool onwards, jet::Errc error, Counts& counts) {
    Run run(work);
    run.faulty.setPlan({.failAt = n,
                        .onwards = onwards,
                        .halfWrite = n % 2 == 0,
                        .error = error,
                        .onFailedFlush = [&](const std::string& path) { run.disk.loseUnflushed(path); }});
    const std::string where = std::string(work.name) + ", fault at operation " + std::to_string(n) + ": ";
    while (!run.finished()) {
        try {
            if (!run.db)
                run.open();
            run.step();
            continue;
        } catch (const jet::Error& e) {
            ++counts.refused;
            if (e.code() != error || !run.faulty.failed()) {
                lost(where + e.what());
                return true;
            }
        }
        const bool over = run.faulty.failed();
        run.faulty.setPlan({});
        if (const auto wrong = run.wrongWithSaved(run.disk); !wrong.empty())
            lost(where + wrong);
        if (!onwards && run.disk.exists(std::string(kSaved) + "-new"))
            lost(where + "half a copy was left");
        if (run.db) {
            // A disk that takes nothing may keep the statement that it refused, for its record cannot be taken back.
            const State state = stateOf(*run.db);
            if (onwards && state == work.states[run.done + 1])
                ++run.done;
            else if (state != work.states[run.done])
                lost(where + "the statement was half done");
            if (!onwards)
                for (const bool survives : {true, false})
                    if (const auto wrong =
                            wrongWith(*run.disk.crashed([&] { return survives; }), kPath, {work.states[run.done]});
                        !wrong.empty())
                        lost(where + wrong);
        } else if (run.disk.exists(kCopy) && !onwards) {
            // Whole it may be: when the budget could not be opened again afterwards.
            if (const auto wrong = wrongWith(run.disk, kCopy, {work.states[run.done]}); !wrong.empty())
                lost(where + "half a copy was left: " + wrong);
        }
        if (!over)
            return true;
        run.disk.remove(kCopy);
        counts.faults += 1;
        for (; !run.finished(); run.step())
            if (!run.db)
                run.open();
        run.db.reset();
        if (const auto wrong = wrongWith(run.disk, kPath, {work.states.back()}); !wrong.empty())
            lost(where + "at the end: " + wrong);
        return true;
    }
    run.db.reset();
    const bool failed = run.faulty.failed();
    counts.faults += failed ? 1 : 0;
    run.faulty.setPlan({});
    if (const auto wrong = wrongWith(run.disk, kPath, {work.states.back()}); !wrong.empty())
        lost(where + "after a fault that was passed over: " + wrong);
    return failed;
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addOptions({{"kills", "How many children are killed.", "N", "1000"},
                       {"stride", "Every Nth operation is cut and fails.", "N", "1"},
                       {"seed", "Of all that is random.", "S", "1"},
                       {"folder", "Where the files of the children lie.", "DIR", QDir::tempPath()}});
    parser.addHelpOption();
    parser.process(app);
    const auto number = [&](const char* name) { return parser.value(name).toUInt(); };
    const unsigned seed = number("seed");

    QTemporaryDir folder(parser.value("folder") + "/lab_crash-XXXXXX");
    Kills kills(folder.path(), seed);
    for (int round = 0; round < static_cast<int>(number("kills")); ++round)
        kills.kill(round);
    std::printf("kills %u, statements answered %zu, lost %d\n", number("kills"), kills.answered, g_lost);
    std::fflush(stdout);

    Random random(seed);
    const Works works(seed);
    Counts total;
    for (const Work& work : works.all) {
        Counts counts;
        Run whole(work);
        while (!whole.finished())
            whole.step();
        whole.db.reset();
        counts.operations = static_cast<long>(whole.faulty.operations());
        const std::uint64_t stride = number("stride");
        const std::uint64_t first = 1 + random() % std::min(stride, whole.faulty.operations());
        for (std::uint64_t n = first; cutAt(work, n, random, counts);)
            n += stride;
        for (const bool onwards : {false, true})
            for (const jet::Errc error : {jet::Errc::Io, jet::Errc::DiskFull})
                for (std::uint64_t n = first; failAt(work, n, onwards, error, counts);)
                    n += stride;
        std::printf("%-13s: operations %ld, cuts %ld, faults %ld (statements refused %ld), lost so far %d\n", work.name,
                    counts.operations, counts.cuts, counts.faults, counts.refused, g_lost);
        std::fflush(stdout);
        total.cuts += counts.cuts;
        total.faults += counts.faults;
    }
    std::printf("kills %u, cuts %ld, faults %ld, lost %d\n", number("kills"), total.cuts, total.faults, g_lost);
    return g_lost == 0 ? 0 : 1;
}
