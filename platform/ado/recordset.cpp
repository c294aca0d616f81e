// SPDX-License-Identifier: MIT
#include "ado/recordset.h"

#include <QByteArray>
#include <QStringList>
#include <algorithm>
#include <type_traits>

#include "ado/errors.h"
#include "ado/row_source.h"
#include "ado/session.h"
#include "ado/shape.h"
#include "ado/text.h"
#include "jetsql/operations.h"
#include "jetsql/statement.h"
#include "vbrt/convert.h"

namespace ado {
namespace {

constexpr double kCurrencyUnits = 10'000.0;

// Cuts "[a name] asc, other" at the commas outside brackets.
std::vector<QStringView> splitCriteria(QStringView criteria) {
    std::vector<QStringView> parts;
    bool bracketed = false;
    qsizetype start = 0;
    for (qsizetype i = 0; i < criteria.size(); ++i) {
        if (criteria[i] == u'[')
            bracketed = true;
        if (criteria[i] == u']')
            bracketed = false;
        if (criteria[i] == u',' && !bracketed) {
            parts.push_back(criteria.mid(start, i - start));
            start = i + 1;
        }
    }
    parts.push_back(criteria.mid(start));
    return parts;
}

// The name in one part, and whether it ends in "desc".
QStringView sortedName(QStringView part, bool& descending) {
    part = part.trimmed();
    descending = false;
    const qsizetype blank = part.lastIndexOf(u' ');
    const QStringView word = part.mid(blank + 1);
    const bool down = word.compare(u"desc", Qt::CaseInsensitive) == 0;
    if (blank > 0 && (down || word.compare(u"asc", Qt::CaseInsensitive) == 0)) {
        descending = down;
        part = part.left(blank).trimmed();
    }
    if (part.startsWith(u'[') && part.endsWith(u']'))
        part = part.mid(1, part.size() - 2);
    if (part.isEmpty())
        raise(kWrongArgument);
    return part;
}

const jet::Value& cell(const RowSource& rows, int field) {
    const jet::Row* row = rows.current();
    if (row == nullptr)
        raise(kNoCurrentRecord);
    if (field < 0 || static_cast<std::size_t>(field) >= row->size())
        raise(kNoSuchItem);
    return (*row)[static_cast<std::size_t>(field)];
}

// The number in a value; error 94 for Null, 13 for bytes.
double numberOf(const jet::Value& value) {
    if (jet::isNull(value))
        raise(vbrt::kInvalidNull);
    if (std::holds_alternative<jet::Bytes>(value) || std::holds_alternative<jet::Guid>(value))
        raise(vbrt::kTypeMismatch);
    const auto* text = std::get_if<std::string>(&value);
    return text != nullptr ? vbrt::CDbl(*text) : jetsql::toDouble(value);
}

QString textOf(const jet::Value& value) {
    if (const auto* text = std::get_if<std::string>(&value))
        return fromUtf8(*text);
    if (const auto* flag = std::get_if<bool>(&value))
        return fromUtf8(vbrt::CStr(*flag));  // SQL says -1
    if (const auto* date = std::get_if<jet::Date>(&value))
        return fromUtf8(vbrt::CStr(vbrt::Date{date->serial}));
    static_cast<void>(numberOf(value));  // throws for what is no number
    return fromUtf8(jetsql::toText(value));
}

QByteArray byteArray(std::span<const std::uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size())};
}

QVariant variantOf(const jet::Value& value) {
    return std::visit(
        [](const auto& v) -> QVariant {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, jet::Null>)
                return {};
            else if constexpr (std::is_same_v<T, bool>)
                return v;
            else if constexpr (std::is_integral_v<T>)
                return static_cast<int>(v);
            else if constexpr (std::is_floating_point_v<T>)
                return static_cast<double>(v);
            else if constexpr (std::is_same_v<T, jet::Currency>)
                return static_cast<double>(v.units) / kCurrencyUnits;
            else if constexpr (std::is_same_v<T, jet::Date>)
                return QVariant::fromValue(vbrt::Date{v.serial});
            else if constexpr (std::is_same_v<T, std::string>)
                return fromUtf8(v);
            else if constexpr (std::is_same_v<T, jet::Guid>)
                return byteArray(v.bytes);
            else
                return byteArray(v);
        },
        value);
}

}  // namespace

Recordset::Recordset() = default;

Recordset::~Recordset() {
    detach();
}

void Recordset::setCursorLocation(int location) {
    if (m_rows)
        raise(kObjectOpen);
    if (location != adUseServer && location != adUseClient)
        raise(kWrongArgument);
    m_location = location;
}

void Recordset::run(const std::shared_ptr<Session>& session, const QString& sql, bool forwardOnly, long* affected) {
    guarded([&] {
        const std::string text = toUtf8(sql);
        const auto shape = session->shapes ? parseShape(text) : std::nullopt;
        jetsql::Outcome outcome = jetsql::execute(session->database, shape ? shape->query : text);
        if (affected != nullptr)
            *affected = outcome.affected;
        if (!outcome.rows)
            return;
        auto groups = shape ? std::make_unique<Groups>(*shape, *outcome.rows) : nullptr;
        if (groups) {
            m_location = adUseClient;
            show(groups->parents());
        } else if (forwardOnly) {
            show(forwardRows(std::move(outcome.rows)));
        } else {
            show(snapshotRows(outcome.rows->columns(), readAll(*outcome.rows)));
        }
        m_groups = std::move(groups);
        session->recordsets.push_back(this);
        m_session = session;
    });
}

void Recordset::show(std::unique_ptr<RowSource> rows) {
    m_names.clear();
    for (const auto& column : rows->columns())
        m_names.push_back(fromUtf8(column.name));
    m_sort.clear();
    m_rows = std::move(rows);
}

void Recordset::detach() {
    if (m_session)
        std::erase(m_session->recordsets, this);
    m_session.reset();
}

void Recordset::setActiveConnection(std::nullptr_t) {
    if (m_rows && m_location != adUseClient)
        raise(kObjectOpen);
    detach();
}

void Recordset::Close() {
    if (!m_rows)
        raise(kObjectClosed);
    m_rows.reset();
    m_groups.reset();
    detach();
}

ObjectState Recordset::State() const {
    return m_rows ? adStateOpen : adStateClosed;
}

RowSource& Recordset::rows() const {
    if (!m_rows)
        raise(kObjectClosed);
    return *m_rows;
}

bool Recordset::AtBeginning() const {
    return rows().atBeginning();
}

bool Recordset::AtEnd() const {
    return rows().atEnd();
}

long Recordset::RecordCount() const {
    return rows().count();
}

void Recordset::MoveFirst() {
    guarded([&] { rows().moveFirst(); });
}

void Recordset::MoveNext() {
    guarded([&] { rows().moveNext(); });
}

void Recordset::MovePrevious() {
    guarded([&] { rows().movePrevious(); });
}

void Recordset::MoveLast() {
    guarded([&] { rows().moveLast(); });
}

void Recordset::setSort(const QString& criteria) {
    guarded([&] {
        RowSource& source = rows();
        std::vector<SortKey> keys;
        if (!criteria.trimmed().isEmpty()) {
            for (const QStringView part : splitCriteria(criteria)) {
                bool descending = false;
                const QStringView name = sortedName(part, descending);
                const int field = fieldIndex(name);
                refuseChapter(field);
                keys.push_back({static_cast<std::size_t>(field), descending});
            }
        }
        source.sort(keys);
        m_sort = criteria;
    });
}

int Recordset::FieldCount() const {
    return static_cast<int>(rows().columns().size());
}

QString Recordset::FieldName(int field) const {
    if (field < 0 || field >= FieldCount())
        raise(kNoSuchItem);
    return m_names[static_cast<std::size_t>(field)];
}

int Recordset::fieldIndex(QAnyStringView name) const {
    if (!m_rows)
        raise(kObjectClosed);
    const auto found = std::find_if(m_names.begin(), m_names.end(), [&](const QString& known) {
        return QAnyStringView::compare(known, name, Qt::CaseInsensitive) == 0;
    });
    if (found == m_names.end())
        raise(kNoSuchItem);
    return static_cast<int>(found - m_names.begin());
}

void Recordset::refuseChapter(int field) const {
    if (isChapter(field))
        raise(vbrt::kTypeMismatch);
}

QVariant Recordset::Value(int field) const {
    refuseChapter(field);
    return variantOf(cell(rows(), field));
}

bool Recordset::isNull(int field) const {
    return jet::isNull(cell(rows(), field));
}

QString Recordset::text(int field) const {
    refuseChapter(field);
    return textOf(cell(rows(), field));
}

double Recordset::number(int field) const {
    refuseChapter(field);
    return numberOf(cell(rows(), field));
}

vbrt::Date Recordset::date(int field) const {
    refuseChapter(field);
    const jet::Value& value = cell(rows(), field);
    if (const auto* text = std::get_if<std::string>(&value))
        return vbrt::CDate(*text);
    return {numberOf(value)};
}

std::shared_ptr<Recordset> Recordset::chapter(int field) const {
    const jet::Value& group = cell(rows(), field);
    if (!isChapter(field))
        raise(vbrt::kTypeMismatch);
    auto children = std::make_shared<Recordset>();
    children->m_location = adUseClient;
    children->show(m_groups->children(static_cast<std::size_t>(std::get<std::int32_t>(group))));
    return children;
}

}  // namespace ado
