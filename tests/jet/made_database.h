// SPDX-License-Identifier: MIT
// Databases for tests, made on a disk in memory from descriptions, and short words for what tests do with them.
#pragma once

#include <QByteArray>
#include <QString>
#include <QTest>

#include "jet/database.h"
#include "jet/disk/memory_disk.h"
#include "jet/maintenance/create.h"
#include "jet/maintenance/verify.h"
#include "jet/values/error.h"
#include "jet/values/text_order.h"

namespace made {

using namespace jet;  // NOLINT: tests alone include this

constexpr const char* kPath = "made.mdb";

inline Property allowEmpty() {
    return PropertySet::boolProperty("AllowZeroLength", true);
}
inline Property required() {
    return PropertySet::boolProperty("Required", true);
}

inline ColumnSpec column(std::string name, ColumnType type, std::uint16_t length = 0,
                         std::vector<Property> properties = {}) {
    return {std::move(name), type, length, false, std::move(properties)};
}
inline ColumnSpec text(std::string name, std::uint16_t length, std::vector<Property> properties = {allowEmpty()}) {
    return column(std::move(name), ColumnType::Text, length, std::move(properties));
}
inline ColumnSpec memo(std::string name) {
    return column(std::move(name), ColumnType::Memo, 0, {allowEmpty()});
}
inline ColumnSpec counter(std::string name) {
    return {std::move(name), ColumnType::Long, 0, true, {}};
}

inline IndexSpec primary(std::vector<std::string> columns) {
    IndexSpec index{.name = "PrimaryKey", .columns = {}, .primary = true};
    for (std::string& c : columns)
        index.columns.emplace_back(std::move(c), true);
    return index;
}
inline IndexSpec index(std::string name, std::vector<std::pair<std::string, bool>> columns) {
    return {.name = std::move(name), .columns = std::move(columns)};
}

inline TableSpec table(std::string name, std::vector<ColumnSpec> columns, std::vector<IndexSpec> indexes = {}) {
    return {std::move(name), std::move(columns), std::move(indexes), {}};
}

inline Relationship relation(std::string name, std::string child, std::string parent,
                             std::vector<std::pair<std::string, std::string>> columns, std::uint32_t flags) {
    return {std::move(name), std::move(child), std::move(parent), std::move(columns), flags};
}

inline QueryRow queryRow(std::uint8_t attribute, std::optional<std::string> name = {},
                         std::optional<std::string> expression = {}, std::optional<std::int16_t> flag = {}) {
    QueryRow row;
    row.attribute = attribute;
    row.name1 = std::move(name);
    row.expression = std::move(expression);
    row.flag = flag;
    return row;
}

constexpr std::uint32_t kCascadeUpdate = 0x100;
constexpr std::uint32_t kCascadeDelete = 0x1000;
constexpr std::uint32_t kCascadeBoth = kCascadeUpdate | kCascadeDelete;

// All rows as text, one a line, in the order of the pages.
inline QString show(Database& db, std::string_view name) {
    Table& t = db.table(name);
    std::vector<std::size_t> all(t.columns().size());
    for (std::size_t i = 0; i < all.size(); ++i)
        all[i] = i;
    QString out;
    const auto rows = t.scan(all);
    Row row;
    while (rows->next(row)) {
        QStringList fields;
        for (const Value& v : row)
            fields += QString::fromStdString(toDebugString(v));
        out += fields.join(' ') + '\n';
    }
    return out;
}

// A new file with its disk. `db` may be reset and opened again.
struct MadeDatabase {
    explicit MadeDatabase(const DatabaseSpec& spec) {
        createDatabase(disk, kPath, spec);
        open();
    }

    void open(const std::string& password = {}) {
        db = Database::open(kPath, {.password = password, .readOnly = false, .disk = &disk});
    }
    void reopen() {
        db.reset();
        open();
    }

    Table& operator[](std::string_view name) const { return db->table(name); }

    // One statement: durable, or undone when it throws.
    template <typename Work>
    void change(Work&& work) const {
        Transaction t(*db);
        work();
        t.commit();
    }
    RowId insert(std::string_view name, Row row) const {
        RowId id;
        change([&] { id = db->table(name).insert(row); });
        return id;
    }
    void set(std::string_view name, RowId id, std::string_view columnName, const Value& value) const {
        Table& t = db->table(name);
        const std::size_t position = *t.def().columnByName(columnName);
        change([&] { t.update(id, std::array{position}, std::array{value}); });
    }
    void erase(std::string_view name, RowId id) const {
        change([&] { db->table(name).erase(id); });
    }
    // The first row whose column has this value; equal texts are equal as keys are.
    RowId find(std::string_view name, std::string_view columnName, const Value& value) const {
        Table& t = db->table(name);
        const auto rows = t.scan({*t.def().columnByName(columnName)});
        Row row;
        while (rows->next(row)) {
            const auto* a = std::get_if<std::string>(&row[0]);
            const auto* b = std::get_if<std::string>(&value);
            if (row[0] == value || (a != nullptr && b != nullptr && equalText(*a, *b)))
                return rows->rowId();
        }
        return {};
    }
    [[nodiscard]] QString show(std::string_view name) const { return made::show(*db, name); }

    MemoryDisk disk;
    std::shared_ptr<Database> db;
};

inline Value str(const char* text) {
    return std::string(text);
}
inline Value num(int number) {
    return std::int32_t{number};
}

inline void expectSound(Database& db) {
    for (const std::string& problem : verify(db))
        QFAIL(problem.c_str());
}

// The code that `work` throws with its names, as "code table subject"; "nothing" when it does not throw.
template <typename Work>
QString thrown(Work&& work) {
    try {
        work();
    } catch (const Error& e) {
        return QString("%1 %2 %3")
            .arg(static_cast<int>(e.code()))
            .arg(QString::fromStdString(e.table()), QString::fromStdString(e.subject()))
            .trimmed();
    }
    return "nothing";
}
// What thrown() answers for these.
inline QString error(Errc code, const char* tableName = "", const char* subject = "") {
    return QString("%1 %2 %3").arg(static_cast<int>(code)).arg(tableName, subject).trimmed();
}

}  // namespace made
