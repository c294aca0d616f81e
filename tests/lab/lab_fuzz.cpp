// SPDX-License-Identifier: MIT
// The laboratory of hostile input.
//
//   lab_fuzz TARGET|all [--runs N] [--seed S] [--slow MS]      made inputs
//   lab_fuzz TARGET --input FILE                               one input, in this process, for a debugger
//
// Each target has seeds, a mutation that knows their structure, and a function with the signature and the rules of
// LLVMFuzzerTestOneInput: any input is taken or refused by the errors that its layer declares; a broken promise (a rule
// that holds for every input) ends the process. Input i is made from the number S and i alone. The inputs run in a
// child process; when it dies (a signal, an assertion, a sanitizer, an exception that is not declared, more memory than
// the budget, no answer in 20 seconds), its input is written to <target>-S-i.input in the current folder, and another
// child goes on behind it, up to 20 times. Exits with 1 if there was such an input. Best built with the preset asan.
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <QCommandLineParser>
#include <QFile>
#include <QTemporaryDir>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <sstream>

#include "chm/file.h"
#include "chm/html_text.h"
#include "jet/disk/log.h"
#include "jet/disk/memory_disk.h"
#include "jet/maintenance/compact.h"
#include "jet/maintenance/verify.h"
#include "jet/values/bytes.h"
#include "jetsql/error.h"
#include "jetsql/parser.h"
#include "jetsql/statement.h"
#include "lab/budget_model.h"
#include "statements/reader.h"
#include "statements/writer.h"
#include "vbrt/convert.h"
#include "vbrt/error.h"
#include "vbrt/format.h"

#if defined(__SANITIZE_ADDRESS__)
// The budget of memory: a single request, and all of the process. Where memory was taken is not kept, for speed; run a
// saved input with ASAN_OPTIONS=malloc_context_size=30 to see it.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
    return "max_allocation_size_mb=256:hard_rss_limit_mb=1024:detect_leaks=0:allocator_may_return_null=0:"
           "malloc_context_size=1:quarantine_size_mb=16:allocator_release_to_os_interval_ms=-1";
}
#else
constexpr rlim_t kMemory = rlim_t{1} << 30U;
#endif

using namespace lab;

namespace {

using jet::Bytes;

constexpr const char* kPath = "budget";
constexpr const char* kLog = "budget-log";
constexpr const char* kCopy = "copy";

void promise(bool kept, const char* text) {
    if (!kept) {
        std::fprintf(stderr, "broken: %s\n", text);
        std::abort();
    }
}

// Lets the declared errors pass, and nothing else. Whether there was none.
template <class Work>
bool tried(Work&& work) {
    try {
        work();
        return true;
    } catch (const jet::Error&) {
    } catch (const jetsql::Error&) {
    } catch (const vbrt::Error&) {
    } catch (const chm::Error&) {
    } catch (const statements::Error&) {
    }
    return false;
}

std::string textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}
Bytes bytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

std::size_t pick(Random& random, std::size_t limit) {
    return limit == 0 ? 0 : random() % limit;
}

std::uint32_t hurtfulNumber(Random& random) {
    static constexpr std::array<std::uint32_t, 14> kNumbers = {
        0, 1, 2, 0x7F, 0x80, 0xFF, 0x7FFF, 0x8000, 0xFFFF, 0xFFFFFF, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF};
    return random() % 3 == 0 ? static_cast<std::uint32_t>(random()) : kNumbers[pick(random, kNumbers.size())];
}

// Overwrites 1, 2 or 4 bytes.
void putNumber(Bytes& bytes, std::size_t at, std::uint32_t number, std::size_t width) {
    for (std::size_t i = 0; i < width && at + i < bytes.size(); ++i)
        bytes[at + i] = static_cast<std::uint8_t>(number >> (8U * i));
}

Bytes fileBytes(const QString& path) {
    QFile file(path);
    const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    return {bytes.begin(), bytes.end()};
}

// --- Database files

// A small budget, as it is after a kill: with its log, or closed.
std::unique_ptr<jet::MemoryDisk> smallBudget(bool closed) {
    auto disk = std::make_unique<jet::MemoryDisk>();
    createBudget(*disk, kPath);
    auto db = jet::Database::open(kPath, {.password = kPassword, .disk = disk.get()});
    Budget budget(60, 300);
    Random random(11);
    const auto run = [&](const Budget::Steps& steps) {
        for (const Budget::Step& step : steps) {
            jetsql::execute(db, step.sql.toStdString());
            step.apply(budget);
        }
    };
    for (int i = 0; i < 120; ++i) {
        if (i == 100) {  // so the log has the last twenty alone
            db.reset();
            db = jet::Database::open(kPath, {.password = kPassword, .disk = disk.get()});
        }
        run(i % 30 == 7 ? budget.addItem(random, i * 70) : budget.next(random));
    }
    if (closed) {
        db.reset();
        return disk;
    }
    return disk->crashed([] { return true; });
}

std::size_t hashOf(const Bytes& bytes) {
    return std::hash<std::string_view>()({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

// Everything that a program may do with a file; what changes it, which takes most of the time, with one in four.
void useDatabase(jet::MemoryDisk& disk) {
    const bool isChanged = hashOf(disk.content(kPath)) % 4 == 0;
    std::shared_ptr<jet::Database> db;
    if (!tried([&] { db = jet::Database::open(kPath, {.password = kPassword, .disk = &disk}); }))
        return;
    std::vector<jet::CatalogEntry> catalog;
    tried([&] { catalog = db->catalog(); });
    tried([&] { db->checkStructure(); });
    tried([&] { static_cast<void>(db->relationships()); });
    for (const jet::CatalogEntry& entry : catalog) {
        tried([&] { static_cast<void>(db->properties(entry.name)); });
        tried([&] {
            if (const auto query = db->query(entry.name))
                static_cast<void>(jetsql::sqlOf(*query));
        });
    }
    const auto sql = [&](const std::string& text) {
        return tried([&] {
            const auto outcome = jetsql::execute(db, text);
            jet::Row row;
            for (int i = 0; outcome.rows && i < 2'000 && outcome.rows->next(row); ++i) {
            }
        });
    };
    const bool sound = jet::verify(*db, 3).empty();
    for (const jet::CatalogEntry& entry : catalog)
        if (entry.type == jet::CatalogEntry::TableType || entry.type == jet::CatalogEntry::QueryType)
            sql("select * from " + jetsql::quotedName(entry.name));
    sql("select * from tbl_items order by payee, id desc");
    sql("select envelope, sum(amount) from tbl_items where id > 3 group by envelope");
    if (!isChanged)
        return;
    sql("insert into tbl_items (amount, envelope, comment) select top 5 budget, envelope, '" + std::string(3'000, 'x') +
        "' from tbl_envelopes");
    sql("update tbl_envelopes set envelope = envelope & '!' where budget >= 0");
    sql("update tbl_items set comment = '" + std::string(2'500, 'y') + "', item_num = 'n' where id < 40");
    sql("delete from tbl_items where id > 60");
    sql("delete from tbl_envelopes where envelope like '*1*'");
    if (sound)
        promise(jet::verify(*db, 3).empty(), "statements keep a sound file sound");
    db.reset();
    disk.remove(kCopy);
    if (tried([&] { jet::compactDatabase(kPath, kCopy, {.password = kPassword, .newPassword = {}, .disk = &disk}); })) {
        const auto copy = jet::Database::open(kCopy, {.password = kPassword, .disk = &disk});
        promise(jet::verify(*copy, 3).empty(), "a compacted copy is sound");
    }
}

int fuzzDatabase(const std::uint8_t* data, std::size_t size) {
    jet::MemoryDisk disk;
    disk.setContent(kPath, {data, data + size});
    useDatabase(disk);
    return 0;
}

std::vector<Bytes> databaseSeeds() {
    return {smallBudget(true)->content(kPath)};
}

// Pages are what a file is made of: their heads, their slot directories, and the numbers by which they find each other.
void mutateDatabase(Bytes& file, Random& random) {
    constexpr std::size_t kPage = jet::kPageSize;
    for (auto changes = 1 + pick(random, 4); changes > 0 && file.size() >= 2 * kPage; --changes) {
        const std::size_t pages = file.size() / kPage;
        const std::size_t page = (random() % 12 == 0 ? 0 : 1 + pick(random, pages - 1)) * kPage;
        const std::size_t head = page + pick(random, 64);
        const std::size_t anywhere = page + pick(random, kPage);
        const std::size_t width = std::size_t{1} << pick(random, 3);
        switch (pick(random, 12)) {
            case 0:
                putNumber(file, anywhere, static_cast<std::uint32_t>(random()), 1);
                break;
            case 1:
                file[anywhere] ^= static_cast<std::uint8_t>(1U << pick(random, 8));
                break;
            case 2:
            case 3:
                putNumber(file, head, hurtfulNumber(random), width);
                break;
            case 4:
                putNumber(file, head, static_cast<std::uint32_t>(pick(random, pages)), 2);
                break;
            case 5:
                putNumber(file, anywhere, hurtfulNumber(random), width);
                break;
            case 6: {  // a number that may be that of a page becomes that of another
                for (std::size_t at = anywhere; at + 4 < page + kPage; ++at)
                    if (file[at] != 0 && file[at] < pages && file[at + 1] == 0 && file[at + 2] == 0) {
                        file[at] = static_cast<std::uint8_t>(pick(random, pages));
                        break;
                    }
                break;
            }
            case 7:
                std::memmove(&file[page], &file[pick(random, pages) * kPage], kPage);
                break;
            case 8:
                std::memset(&file[anywhere], 0, std::min<std::size_t>(page + kPage - anywhere, random() % 200));
                break;
            case 9:
                putNumber(file, page + 8 + 2 * pick(random, 30), hurtfulNumber(random), 2);
                break;
            case 10:
                file[page] = static_cast<std::uint8_t>(pick(random, 6));
                break;
            default:
                if (random() % 6 == 0)
                    file.resize((2 + pick(random, pages - 1)) * kPage - (random() % 4 == 0 ? 1 : 0));
        }
    }
}

// --- Logs

const jet::MemoryDisk& killedBudget() {
    static const auto disk = smallBudget(false);
    return *disk;
}

int fuzzLog(const std::uint8_t* data, std::size_t size) {
    jet::MemoryDisk disk;
    disk.setContent(kPath, killedBudget().content(kPath));
    disk.setContent(kLog, {data, data + size});
    tried([&] { jet::Database::open(kPath, {.password = kPassword, .readOnly = true, .disk = &disk})->catalog(); });
    promise(disk.content(kLog) == Bytes(data, data + size), "a reader changes nothing");
    // Many logs leave the same file behind: what was replayed up to the same record need not be used again.
    if (!tried([&] { jet::Database::open(kPath, {.password = kPassword, .disk = &disk}); }))
        return 0;
    static std::set<std::size_t> used;
    if (used.insert(hashOf(disk.content(kPath))).second)
        useDatabase(disk);
    return 0;
}

std::vector<Bytes> logSeeds() {
    Bytes log = killedBudget().content(kLog);
    while (!log.empty() && log.back() == 0)
        log.pop_back();
    return {log};
}

std::uint32_t crc32(const std::uint8_t* data, std::size_t size) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (std::size_t i = 0; i < size; ++i) {
        crc ^= data[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = crc >> 1U ^ ((crc & 1U) != 0 ? 0xEDB88320U : 0U);
    }
    return ~crc;
}

// Most changes would stop at the first sum; so the sum of the record is made right again, more often than not.
void mutateLog(Bytes& log, Random& random) {
    constexpr std::size_t kSector = jet::Log::kSectorSize;
    for (auto changes = 1 + pick(random, 3); changes > 0 && log.size() > 2 * kSector; --changes) {
        std::vector<std::size_t> records;
        for (std::size_t at = kSector; at + 0x18 < log.size(); at += kSector)
            if (std::memcmp(&log[at], "cord", 4) == 0)
                records.push_back(at);
        if (records.empty() || random() % 10 == 0) {
            putNumber(log, pick(random, 0x18), hurtfulNumber(random), 4);
            putNumber(log, 0x18, crc32(log.data(), 0x18), 4);
            continue;
        }
        const std::size_t record = records[pick(random, records.size())];
        const std::size_t pages = jet::getLe<std::uint32_t>(log, record + 0x14);
        const std::size_t sumAt = record + 0x18 + 36 * pages;
        switch (pick(random, 6)) {
            case 0:
                putNumber(log, record + 4 + 4 * pick(random, 5), hurtfulNumber(random), 4);
                break;
            case 1:
                putNumber(log, record + 0x18 + 36 * pick(random, pages), hurtfulNumber(random), 4);
                break;
            case 2:
                putNumber(log, record + 0x18 + 36 * pick(random, pages), static_cast<std::uint32_t>(pick(random, 100)),
                          4);
                break;
            case 3:
                putNumber(log, record + pick(random, log.size() - record), hurtfulNumber(random), 4);
                break;
            case 4:
                log.resize(record + pick(random, log.size() - record));
                break;
            default:
                std::memmove(&log[record], &log[records[pick(random, records.size())]],
                             std::min(kSector, log.size() - std::max(record, records.back())));
        }
        if (sumAt + 4 < log.size() && random() % 4 != 0)
            putNumber(log, sumAt, crc32(&log[record], sumAt - record), 4);
    }
}

// --- SQL

int fuzzSql(const std::uint8_t* data, std::size_t size) {
    static const Bytes file = smallBudget(true)->content(kPath);
    static jet::MemoryDisk disk;
    static std::shared_ptr<jet::Database> db;
    if (!db) {
        disk.setContent(kPath, file);
        db = jet::Database::open(kPath, {.password = kPassword, .disk = &disk});
    }
    const std::string sql = textOf(data, size);
    long affected = 0;
    const State before = stateOf(*db);
    const bool done = tried([&] {
        const auto outcome = jetsql::execute(db, sql);
        affected = outcome.affected;
        jet::Row row;
        for (int i = 0; outcome.rows && i < 500 && outcome.rows->next(row); ++i)
            promise(row.size() == outcome.rows->columns().size(), "a row has all columns");
    });
    if (!done || affected == 0)
        promise(stateOf(*db) == before, "a statement that failed has changed nothing");
    if (affected != 0) {
        promise(jet::verify(*db, 1).empty(), "statements keep a sound file sound");
        db.reset();
    }
    return 0;
}

std::vector<Bytes> sqlSeeds() {
    std::vector<Bytes> seeds;
    for (const char* sql :
         {"select envelope, sum(amount) as total from tbl_items where item_date between #1/1/2026# and #6/30/2026# "
          "group by envelope having sum(amount) > 0 order by total desc",
          "select top 3 i.*, e.budget from tbl_items i left join tbl_envelopes as e on i.envelope = e.envelope "
          "where payee like 'Payee*[!5-7]?' and i.id not in (1, 2, 3)",
          "insert into tbl_items (amount, envelope, item_date, payee) select budget, envelope, '1/2/2026', 'Budget' "
          "from tbl_envelopes where budget > 0",
          "update tbl_items set comment = Left(comment, 3) & Format(amount, '0.00'), reconciled = Null where id < 9",
          "delete * from tbl_items where item_date = CDate('1/1/2026') and payee = 'Budget Allocation'",
          "select distinct iif([tbl_items]![amount] > 0, amount, 0) as a, [a] + 1 as b, Mid(payee, 2, 4) from "
          "qry_stuffer, "
          "tbl_items where not (budget is null or 5 \\ 2 mod 3 ^ 2 = -1)",
          "select max(id), count(*), avg(amount), Year(item_date) from tbl_items group by Year(item_date)"})
        seeds.push_back(bytesOf(sql));
    return seeds;
}

// Words are parted by blanks; each is put in, taken out, or doubled with what stands there.
void mutateText(Bytes& text, Random& random, const char* words) {
    std::vector<std::string> list;
    std::istringstream in(words);
    for (std::string word; in >> word;)
        list.push_back(word);
    for (auto changes = 1 + pick(random, 5); changes > 0; --changes) {
        const std::size_t at = pick(random, text.size() + 1);
        const auto from = text.begin() + static_cast<std::ptrdiff_t>(at);
        const auto to = from + static_cast<std::ptrdiff_t>(std::min(text.size() - at, pick(random, 12)));
        const Bytes part(from, to);
        const std::string word = (random() % 2 == 0 ? " " : "") + list[pick(random, list.size())];
        switch (pick(random, 6)) {
            case 0:
                text.erase(from, to);
                break;
            case 1:
                text.insert(from, static_cast<std::uint8_t>(random()));
                break;
            case 2: {
                Bytes many;
                for (auto n = random() % 20 == 0 ? pick(random, 3'000) : pick(random, 8); n > 0; --n)
                    many.insert(many.end(), part.begin(), part.end());
                text.insert(from, many.begin(), many.end());
                break;
            }
            default:
                text.insert(from, word.begin(), word.end());
        }
    }
    text.resize(std::min<std::size_t>(text.size(), 20'000));
}

void mutateSql(Bytes& text, Random& random) {
    mutateText(
        text, random,
        "select from where group by having order insert into values update set delete * ( ) , . ! = <> <= 'a' '' \" ' "
        "1 0 -1 2147483648 1e308 1e-400 99999999999999999999 &HFF #1/1/2026# #2/30/2026# null true not and or xor in "
        "is "
        "like between as inner left join on top distinct distinctrow iif( sum( count(*) min( avg( first( instr( mid( "
        "left( string( space( format( cdate( val( datepart( dateadd( datediff( nz( round( len( chr( ^ mod \\ / & [ ] "
        "tbl_items tbl_envelopes qry_stuffer amount envelope budget item_date comment transfer_id id payee "
        "MSysObjects ;");
}

// --- Help files

int fuzzChm(const std::uint8_t* data, std::size_t size) {
    static QTemporaryDir folder;
    const QString path = folder.filePath("made.chm");
    QFile out(path);
    if (!out.open(QIODevice::WriteOnly) || out.write(reinterpret_cast<const char*>(data), qint64(size)) < 0)
        std::abort();
    out.close();
    tried([&] {
        const chm::File file(path.toStdString());
        for (const std::string& page : file.pages())
            tried([&] { static_cast<void>(file.readText(page)); });
        for (const chm::Entry& entry : file.contents())
            static_cast<void>(file.resolve(entry.local));
    });
    static_cast<void>(chm::parseSitemap(chm::decodeHtml(textOf(data, std::min<std::size_t>(size, 5'000)))));
    return 0;
}

std::vector<Bytes> chmSeeds() {
    return {fileBytes(HELP_FILE)};
}

// The headers, the directory, the control data and the reset table are what counts; the rest is packed text.
void mutateChm(Bytes& file, Random& random) {
    static const std::vector<std::size_t> places = [] {
        const Bytes seed = fileBytes(HELP_FILE);
        std::vector<std::size_t> at{0};
        for (const char* mark : {"ITSF", "ITSP", "PMGL", "PMGI", "LZXC", "::DataSpace"})
            for (std::size_t i = 0; i + 12 < seed.size(); ++i)
                if (std::memcmp(&seed[i], mark, std::strlen(mark)) == 0)
                    at.push_back(i);
        return at;
    }();
    for (auto changes = 1 + pick(random, 6); changes > 0; --changes) {
        const std::size_t near = places[pick(random, places.size())] + pick(random, 0x60);
        const std::size_t at = random() % 3 == 0 ? pick(random, file.size()) : std::min(near, file.size() - 1);
        putNumber(file, at, hurtfulNumber(random), std::size_t{1} << pick(random, 3));
    }
    if (random() % 40 == 0)
        file.resize(1 + pick(random, file.size()));
}

// --- Numbers and dates

// Two lines: a value and a picture.
int fuzzConversions(const std::uint8_t* data, std::size_t size) {
    const std::string input = textOf(data, size);
    const std::string value = input.substr(0, input.find('\n'));
    const std::string picture = input.find('\n') == std::string::npos ? "" : input.substr(input.find('\n') + 1);
    double number = 0;
    bool overflow = false;
    const bool isNumber = tried([&] {
        try {
            number = vbrt::CDbl(value);
        } catch (const vbrt::Error& e) {
            overflow = e.number() == vbrt::kOverflow;
            throw;
        }
    });
    promise(vbrt::IsNumeric(value) == isNumber || overflow, "IsNumeric is what CDbl takes");
    static_cast<void>(vbrt::Val(value));
    if (isNumber && std::abs(number) < 1e308) {
        const std::string shown = vbrt::CStr(number);
        const double again = vbrt::CDbl(shown);
        promise(std::abs(again - number) <= std::abs(number) * 1e-14, "CStr keeps 15 digits");
        promise(vbrt::CStr(again) == shown, "a number that was shown is shown the same again");
        tried([&] { static_cast<void>(vbrt::Format(number, picture)); });  // too large for a date
    }
    vbrt::Date date;
    const bool isDate = tried([&] { date = vbrt::CDate(value); });
    promise(isDate || !vbrt::IsDate(value), "CDate takes what IsDate accepts");
    if (isDate) {
        promise(vbrt::isInRange(date), "CDate stays in the range of dates");
        std::string shown = vbrt::CStr(date);
        promise(vbrt::CStr(vbrt::CDate(shown)) == shown, "a date that was shown is read again");
        tried([&] { static_cast<void>(vbrt::Format(date, picture)); });
    }
    tried([&] { static_cast<void>(vbrt::CLng(value)); });
    if (!isNumber && !overflow && !isDate)
        promise(vbrt::Format(value, picture) == value, "a text that is no number comes back unchanged");
    else
        tried([&] { static_cast<void>(vbrt::Format(value, picture)); });
    return 0;
}

std::vector<Bytes> conversionSeeds() {
    std::vector<Bytes> seeds;
    for (const char* text :
         {"-$1,234.50\n$#,##0.00;-$#,##0.00", "(5)\n0.00%;\\x;\"zero\";nul", "&HFFFF\n0.0E+00",
          "1.7976931348623157E+308\n#,##0.############", "1/2/2026 3:04:05 PM\nmm/dd/yyyy hh:nn:ss AM/PM",
          "29-Feb-2024\nLong Date", "2026-12-31 23:59:59\ndddd, mmmm d, yyyy q w y ttttt",
          "December 31, 9999\nww yy m d h n s", ".0000001\nCurrency", "12:30 am\nMedium Time"})
        seeds.push_back(bytesOf(text));
    return seeds;
}

void mutateConversions(Bytes& text, Random& random) {
    mutateText(
        text, random,
        "0 9 1 00 31 12 2026 1e E+ e-400 - + $ , . ( ) &H &O7 / : AM pm a/p Jan february Sept \\ ; # @ & < > ! \" % "
        "General Percent Yes/No Scientific ddd mmmm yyyy hh nn ss AMPM ttttt 999999999999999999999 -657434 2958466 "
        "\xC3\xA9");
}

// --- Bank statements

int fuzzStatements(const std::uint8_t* data, std::size_t size) {
    const std::string bytes = textOf(data, size);
    using statements::Format;
    for (const Format format : {statements::formatOf(bytes), Format::Csv}) {
        statements::Options options;
        options.order = statements::DateOrder::MonthDayYear;
        statements::Statement read;
        if (!tried([&] { read = statements::read(bytes, format, options); }))
            continue;
        for (const statements::Entry& entry : read.entries)
            promise(format == Format::Csv || (entry.date && vbrt::isInRange(*entry.date)), "a line has a date");
        statements::Options own;
        own.order = statements::DateOrder::YearMonthDay;
        const std::string csv = statements::writeCsv(read);
        promise(statements::writeCsv(statements::read(csv, Format::Csv, own)) == csv, "what was written is read again");
        static_cast<void>(statements::writeQif(read));
        static_cast<void>(statements::writeLedger(read));
    }
    return 0;
}

std::vector<Bytes> statementSeeds() {
    std::vector<Bytes> seeds;
    for (const char* text :
         {"OFXHEADER:100\nENCODING:USASCII\nCHARSET:1252\n\n<OFX><STMTRS><BANKACCTFROM><ACCTID>7</BANKACCTFROM>"
          "<STMTTRN><DTPOSTED>20260102<TRNAMT>-3.50<FITID>a1<NAME>A &amp; B<MEMO></STMTTRN></STMTRS></OFX>",
          "<?xml version=\"1.0\"?><?OFX OFXHEADER=\"200\"?><OFX><STMTRS><STMTTRN><DTPOSTED>20260102</DTPOSTED>"
          "<TRNAMT>5</TRNAMT><NAME>A &lt;B</NAME></STMTTRN></STMTRS></OFX>",
          "<Document><BkToCstmrStmt><Stmt><Acct><Id><IBAN>D1</IBAN></Id></Acct><Ntry><Amt>1.50</Amt><CdtDbtInd>DBIT"
          "</CdtDbtInd><BookgDt><Dt>2026-01-02</Dt></BookgDt></Ntry></Stmt></BkToCstmrStmt></Document>",
          "!Account\nNHome\n^\n!Type:Bank\nD1/2/26\nT-1,234.50\nPShop\nMone\n^\nD1/ 3'26\nT5\nS[Rent]\n$2\nSx\n$3\n^\n",
          "envelope,date,amount,payee,transfer,budget\nHome,,,,,5\nHome,1/2/2026,\"1,234.50\",\"a\"\"b\",Rent,\n"})
        seeds.push_back(bytesOf(text));
    return seeds;
}

void mutateStatement(Bytes& text, Random& random) {
    mutateText(
        text, random,
        "<STMTTRN> </STMTTRN> </OFX> <NAME> </NAME> <MEMO> <!DOCTYPE &#9; &amp; &x; <![CDATA[ ]]> <Ntry> </Ntry> "
        "<Sts>PDNG</Sts> ^ ! !Type:Bank !Type:Cat D1/2/26 D31/12/26 T-1 T1.234,5 $0 S[Home] L[Home] \" \"\" , ; "
        "-0.00 99999999999999 999999999999 (5) 2026-02-30 2026-01-02T25:00:00 \xFF\xFE \xEF\xBB\xBF \xC3\xA9 \xE9 "
        "\r \n");
}

struct FuzzTarget {
    const char* name;
    int (*run)(const std::uint8_t* data, std::size_t size);
    std::vector<Bytes> (*seeds)();
    void (*mutate)(Bytes& input, Random& random);
};

constexpr FuzzTarget kTargets[] = {
    {"database", fuzzDatabase, databaseSeeds, mutateDatabase},
    {"log", fuzzLog, logSeeds, mutateLog},
    {"sql", fuzzSql, sqlSeeds, mutateSql},
    {"chm", fuzzChm, chmSeeds, mutateChm},
    {"conversions", fuzzConversions, conversionSeeds, mutateConversions},
    {"statements", fuzzStatements, statementSeeds, mutateStatement},
};

// --- The driver

constexpr int kMostCrashes = 20;

struct Progress {
    unsigned at = 0;  // the input that runs
    unsigned slow = 0;
    unsigned slowest = 0;
    double slowestSeconds = 0;
};

Bytes inputOf(const FuzzTarget& target, unsigned seed, unsigned number) {
    static const FuzzTarget* cachedFor = nullptr;
    static std::vector<Bytes> seeds;
    if (cachedFor != &target)
        seeds = target.seeds();
    cachedFor = &target;
    std::seed_seq mix{seed, number};
    Random random(mix);
    Bytes input = seeds[random() % seeds.size()];
    target.mutate(input, random);
    return input;
}

void work(const FuzzTarget& target, unsigned seed, unsigned runs, double slow, Progress& progress) {
#if !defined(__SANITIZE_ADDRESS__)
    const rlimit limit{kMemory, kMemory};
    ::setrlimit(RLIMIT_AS, &limit);
#endif
    for (; progress.at < runs; ++progress.at) {
        const Bytes input = inputOf(target, seed, progress.at);
        const auto start = std::chrono::steady_clock::now();
        ::alarm(20);
        target.run(input.data(), input.size());
        ::alarm(0);
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        progress.slow += seconds > slow ? 1 : 0;
        if (seconds > progress.slowestSeconds) {
            progress.slowestSeconds = seconds;
            progress.slowest = progress.at;
        }
    }
}

// How many inputs ended their process.
int fuzz(const FuzzTarget& target, unsigned seed, unsigned runs, double slow) {
    void* shared = ::mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    auto* progress = new (shared) Progress;
    int crashes = 0;
    inputOf(target, seed, 0);  // makes the seeds once for all children
    const auto start = std::chrono::steady_clock::now();
    while (progress->at < runs && crashes < kMostCrashes) {
        std::fflush(nullptr);
        const pid_t child = ::fork();
        if (child == 0) {
            try {
                work(target, seed, runs, slow, *progress);
            } catch (const std::exception& e) {
                std::fprintf(stderr, "not declared: %s\n", e.what());
                ::_exit(2);
            }
            std::exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        if (progress->at >= runs)
            break;
        ++crashes;
        const unsigned number = progress->at++;
        QFile file(QString("%1-%2-%3.input").arg(target.name).arg(seed).arg(number));
        const Bytes input = inputOf(target, seed, number);
        if (file.open(QIODevice::WriteOnly))
            file.write(reinterpret_cast<const char*>(input.data()), static_cast<qint64>(input.size()));
        std::printf("%s: input %u ended the process (%s %d): %s\n", target.name, number,
                    WIFSIGNALED(status) ? "signal" : "exit",
                    WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status), qPrintable(file.fileName()));
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("%-11s: runs %u, crashes %d, slow %u, slowest %.2f s (input %u), %.0f s in all\n", target.name,
                progress->at, crashes, progress->slow, progress->slowestSeconds, progress->slowest, seconds);
    std::fflush(stdout);
    ::munmap(shared, sizeof(Progress));
    return crashes;
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addPositionalArgument("target", "database, log, sql, chm, conversions, statements, or all");
    parser.addOptions({{"runs", "How many inputs are made.", "N", "1000"},
                       {"seed", "Of all that is random.", "S", "1"},
                       {"slow", "An input is slow beyond this.", "MS", "1000"},
                       {"input", "Runs one saved input.", "FILE"}});
    parser.addHelpOption();
    parser.process(app);
    const QString wanted = parser.positionalArguments().value(0);
    const unsigned seed = parser.value("seed").toUInt();
    int crashes = 0;
    int known = 0;
    for (const FuzzTarget& target : kTargets) {
        if (wanted != "all" && wanted != target.name)
            continue;
        ++known;
        if (parser.isSet("input")) {
            const Bytes input = fileBytes(parser.value("input"));
            target.run(input.data(), input.size());
        } else {
            crashes += fuzz(target, seed, parser.value("runs").toUInt(), parser.value("slow").toDouble() / 1000);
        }
    }
    if (known == 0)
        parser.showHelp(2);
    return crashes == 0 ? 0 : 1;
}
