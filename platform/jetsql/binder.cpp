// SPDX-License-Identifier: MIT
#include "jetsql/binder.h"

#include "jet/values/text_order.h"
#include "jetsql/error.h"
#include "jetsql/parser.h"
#include "vbrt/ascii.h"

#include <algorithm>
#include <numeric>

namespace jetsql {

namespace {

constexpr std::size_t kMaxOutputs = 255;
constexpr std::size_t kMaxSources = 64;    // of a statement and the stored queries that it uses
constexpr std::size_t kMaxParts = 50'000;  // of the expressions of one SELECT; aliases inside aggregates multiply

[[noreturn]] void unsupported(const std::string& what, std::size_t position) {
    throw Error(Errc::UnsupportedSql, what, position);
}

bool sameName(std::string_view a, std::string_view b) {
    return jet::equalText(a, b);
}

std::optional<Aggregate::Kind> aggregateNamed(std::string_view name) {
    static constexpr std::pair<std::string_view, Aggregate::Kind> kNames[] = {{"count", Aggregate::Kind::Count},
                                                                              {"sum", Aggregate::Kind::Sum},
                                                                              {"avg", Aggregate::Kind::Average},
                                                                              {"min", Aggregate::Kind::Min},
                                                                              {"max", Aggregate::Kind::Max}};
    for (const auto& [word, kind] : kNames) {
        if (vbrt::equalsIgnoringCase(word, name))
            return kind;
    }
    return std::nullopt;
}

MaybeType aggregateType(Aggregate::Kind kind, MaybeType argument) {
    switch (kind) {
        case Aggregate::Kind::Rows:
        case Aggregate::Kind::Count:
            return ColumnType::Long;
        case Aggregate::Kind::Sum:
        case Aggregate::Kind::Average:
            if (argument && !isNumber(*argument) && *argument != ColumnType::DateTime)
                throw Error(Errc::TypeMismatch);
            return argument == ColumnType::Currency ? argument : ColumnType::Double;
        default:
            return argument;
    }
}

// What is shared by a statement and the stored queries below it.
struct Nesting {
    std::vector<std::string> queries;
    std::size_t sources = 0;
};

// Binds the expressions and clauses of one SELECT, or of another statement with at most one source.
class Binder {
 public:
    Binder(jet::Database& db, std::string_view sql, Nesting& nesting) : m_db(db), m_sql(sql), m_nesting(nesting) {}

    Query select(const ast::Select& s);
    Insertion insertion(const ast::Insert& s);
    Change change(const ast::Update& s);
    Deletion deletion(const ast::Delete& s);

 private:
    enum class Aliases { Hidden, First, Last };  // as against columns of the same name

    // What an expression may refer to.
    struct Context {
        Aliases aliases = Aliases::Hidden;
        bool aggregates = false;
        bool inAggregate = false;
    };

    struct Output {
        const ast::Expr* expr = nullptr;  // else a column of a star:
        std::size_t source = 0;
        std::size_t column = 0;
        std::string alias;
        std::string name;  // the alias or the name of the column; empty for other expressions
        enum class State { Waiting, Busy, Done } state = State::Waiting;
    };

    [[nodiscard]] std::string textOf(const ast::Expr& e) const {
        return std::string(m_sql.substr(e.begin, e.end - e.begin));
    }

    // sources
    std::unique_ptr<Join> from(const ast::FromItem& item);
    std::size_t addSource(const std::string& name, const std::string& alias, std::size_t position);
    jet::Table& target(const std::string& name);
    void addTarget(jet::Table& table, const std::string& alias);
    [[nodiscard]] std::optional<std::size_t> columnIn(std::size_t source, std::string_view name) const;
    [[nodiscard]] std::string columnName(std::size_t source, std::size_t column) const;
    Expr columnOf(std::size_t source, std::size_t column);
    std::vector<Expr> condition(const ast::ExprPtr& e);
    std::vector<Expr> joinCondition(const ast::FromItem& item, std::size_t firstSource);

    // expressions
    Expr expression(const ast::Expr& e, const Context& context);
    Expr column(const ast::Expr& e, const Context& context);
    std::optional<Expr> sourceColumn(const ast::Expr& e);
    std::optional<Expr> aliased(const ast::Expr& e, const Context& context);
    Expr binary(const ast::Expr& e, const Context& context);
    Expr call(const ast::Expr& e, const Context& context);
    Expr choice(const ast::Expr& e, std::vector<Expr> args);
    Expr aggregate(const ast::Expr& e, Aggregate::Kind kind, const Context& context);
    std::vector<Expr> arguments(const ast::Expr& e, const Context& context);

    // the parts of a SELECT
    void checkDistinctRow() const;
    void outputs(const ast::Select& s);
    void addStar(const ast::OutputItem& item);
    void addOutput(Output output);
    void checkNames() const;
    void bindOutput(std::size_t index);
    void nameOutputs();
    void groupOutputs(const ast::Select& s);
    void toGrouped(Expr& e, const std::string& subject) const;
    void order(const ast::Select& s);
    OrderKey orderKey(const ast::OrderItem& item);

    jet::Database& m_db;
    std::string_view m_sql;
    Nesting& m_nesting;
    Query m_query;
    std::vector<Output> m_outputs;
    std::size_t m_parts = 0;
    int m_depth = 0;
};

// --- sources

// The positions of all columns in display order, which is not always the order of storage.
std::vector<std::size_t> shownColumns(const jet::Table& table) {
    std::vector<std::size_t> shown(table.columns().size());
    std::iota(shown.begin(), shown.end(), std::size_t{0});
    std::stable_sort(shown.begin(), shown.end(), [&](std::size_t a, std::size_t b) {
        return table.columns()[a].position < table.columns()[b].position;
    });
    return shown;
}

std::vector<std::size_t> shownColumns(const Source& source) {
    if (source.table)
        return shownColumns(*source.table);
    std::vector<std::size_t> shown(source.query->columns.size());
    std::iota(shown.begin(), shown.end(), std::size_t{0});
    return shown;
}

std::unique_ptr<Query> boundQuery(jet::Database& db, const jet::StoredQuery& stored, Nesting& nesting) {
    const auto& open = nesting.queries;
    if (std::any_of(open.begin(), open.end(), [&](const std::string& n) { return sameName(n, stored.name); }))
        throw Error(Errc::CircularAlias, stored.name);
    nesting.queries.push_back(stored.name);
    const std::string sql = sqlOf(stored);
    const ast::Statement statement = parse(sql);
    const auto* select = std::get_if<ast::Select>(&statement);
    if (!select)
        unsupported(stored.name, 0);
    auto query = std::make_unique<Query>(Binder(db, sql, nesting).select(*select));
    nesting.queries.pop_back();
    return query;
}

std::size_t Binder::addSource(const std::string& name, const std::string& alias, std::size_t position) {
    if (++m_nesting.sources > kMaxSources)
        unsupported("too many tables", position);
    Source source;
    source.name = alias.empty() ? name : alias;
    if (m_db.hasTable(name))
        source.table = &m_db.table(name);
    else if (const auto stored = m_db.query(name))
        source.query = boundQuery(m_db, *stored, m_nesting);
    else
        throw Error(Errc::UnknownTable, name, position);
    for (const Source& other : m_query.sources) {
        if (sameName(other.name, source.name))
            throw Error(Errc::SyntaxFrom, source.name, position);
    }
    m_query.sources.push_back(std::move(source));
    return m_query.sources.size() - 1;
}

std::unique_ptr<Join> Binder::from(const ast::FromItem& item) {
    auto join = std::make_unique<Join>();
    if (item.kind == ast::FromItem::Kind::Table) {
        join->source = addSource(item.name, item.alias, item.begin);
        return join;
    }
    const std::size_t firstSource = m_query.sources.size();
    join->left = from(*item.left);
    join->right = from(*item.right);
    join->kind = item.kind == ast::FromItem::Kind::Inner ? Join::Kind::Inner : Join::Kind::Left;
    if (item.kind == ast::FromItem::Kind::Right)
        std::swap(join->left, join->right);
    join->on = joinCondition(item, firstSource);
    return join;
}

// The condition of a join sees the tables that it joins.
std::vector<Expr> Binder::joinCondition(const ast::FromItem& item, std::size_t firstSource) {
    std::vector<Expr> all = condition(item.on);
    for (const Expr& e : all) {
        visit(e, [&](const Expr& part) {
            if (part.kind == Expr::Kind::Column && part.source < firstSource)
                throw Error(Errc::SyntaxFrom, textOf(*item.on), item.begin);
        });
    }
    return all;
}

// The table that a statement changes.
jet::Table& Binder::target(const std::string& name) {
    if (m_db.hasTable(name))
        return m_db.table(name);
    if (m_db.query(name))
        throw Error(Errc::NotUpdatable, name);
    throw Error(Errc::UnknownTable, name);
}

void Binder::addTarget(jet::Table& table, const std::string& alias) {
    Source source;
    source.name = alias.empty() ? table.name() : alias;
    source.table = &table;
    m_query.sources.push_back(std::move(source));
    m_query.from = std::make_unique<Join>();
}

std::optional<std::size_t> Binder::columnIn(std::size_t source, std::string_view name) const {
    const Source& s = m_query.sources[source];
    if (s.table)
        return s.table->def().columnByName(name);
    const auto& columns = s.query->columns;
    const auto found =
        std::find_if(columns.begin(), columns.end(), [&](const OutputColumn& c) { return sameName(c.name, name); });
    if (found == columns.end())
        return std::nullopt;
    return static_cast<std::size_t>(found - columns.begin());
}

std::string Binder::columnName(std::size_t source, std::size_t column) const {
    const Source& s = m_query.sources[source];
    return s.table ? s.table->columns()[column].name : s.query->columns[column].name;
}

Expr Binder::columnOf(std::size_t source, std::size_t column) {
    Source& s = m_query.sources[source];
    Expr e;
    e.kind = Expr::Kind::Column;
    e.source = source;
    if (!s.table) {
        e.slot = column;
        e.type = s.query->outputs[column].type;
        e.length = s.query->columns[column].length;
        return e;
    }
    const jet::ColumnDef& def = s.table->columns()[column];
    e.type = def.type;
    e.length = def.type == ColumnType::Text ? def.length : std::uint16_t{0};
    const auto known = std::find(s.wanted.begin(), s.wanted.end(), column);
    e.slot = static_cast<std::size_t>(known - s.wanted.begin());
    if (known == s.wanted.end())
        s.wanted.push_back(column);
    return e;
}

std::vector<Expr> Binder::condition(const ast::ExprPtr& e) {
    std::vector<Expr> all;
    if (e)
        splitConjunction(expression(*e, {}), all);
    return all;
}

// --- expressions

Expr Binder::expression(const ast::Expr& e, const Context& context) {
    if (++m_parts > kMaxParts || m_depth > 2 * kMaxHeight)
        unsupported("expression too complex", e.begin);
    ++m_depth;
    Expr result;
    switch (e.kind) {
        case ast::Expr::Kind::Literal:
            result = makeConstant(e.value);
            break;
        case ast::Expr::Kind::Column:
            result = column(e, context);
            break;
        case ast::Expr::Kind::Binary:
            result = binary(e, context);
            break;
        case ast::Expr::Kind::Call:
            result = call(e, context);
            break;
        case ast::Expr::Kind::Negate: {
            std::vector<Expr> args = arguments(e, context);
            const MaybeType type = negatedType(args[0].type);
            result = makeExpr(Expr::Kind::Negate, type, std::move(args));
            break;
        }
        case ast::Expr::Kind::Not:
            result = makeExpr(Expr::Kind::Not, ColumnType::Boolean, arguments(e, context));
            break;
        case ast::Expr::Kind::IsNull:
            result = makeExpr(Expr::Kind::IsNull, ColumnType::Boolean, arguments(e, context));
            break;
        case ast::Expr::Kind::Between:
        case ast::Expr::Kind::In: {
            std::vector<Expr> args = arguments(e, context);
            for (std::size_t i = 1; i < args.size(); ++i)
                args[i] = comparableWith(args[0].type, std::move(args[i]));
            const auto kind = e.kind == ast::Expr::Kind::In ? Expr::Kind::In : Expr::Kind::Between;
            result = makeExpr(kind, ColumnType::Boolean, std::move(args));
            break;
        }
    }
    --m_depth;
    return result;
}

std::vector<Expr> Binder::arguments(const ast::Expr& e, const Context& context) {
    std::vector<Expr> args;
    args.reserve(e.args.size());
    for (const ast::ExprPtr& arg : e.args)
        args.push_back(expression(*arg, context));
    return args;
}

Expr Binder::binary(const ast::Expr& e, const Context& context) {
    std::vector<Expr> args = arguments(e, context);
    const MaybeType a = args[0].type;
    const MaybeType b = args[1].type;
    switch (e.op) {
        case Op::And:
            return makeExpr(Expr::Kind::And, ColumnType::Boolean, std::move(args));
        case Op::Or:
            return makeExpr(Expr::Kind::Or, ColumnType::Boolean, std::move(args));
        case Op::Like:
            return makeExpr(Expr::Kind::Like, ColumnType::Boolean, std::move(args));
        case Op::Equal:
        case Op::NotEqual:
        case Op::Less:
        case Op::LessEqual:
        case Op::Greater:
        case Op::GreaterEqual: {
            args[0] = comparableWith(b, std::move(args[0]));
            args[1] = comparableWith(a, std::move(args[1]));
            return makeExpr(Expr::Kind::Comparison, ColumnType::Boolean, std::move(args), e.op);
        }
        default: {
            return makeExpr(Expr::Kind::Arithmetic, arithmeticType(e.op, a, b), std::move(args), e.op);
        }
    }
}

Expr Binder::column(const ast::Expr& e, const Context& context) {
    std::optional<Expr> found;
    const bool alias = e.qualifier.empty() && context.aliases != Aliases::Hidden;
    if (alias && context.aliases == Aliases::First)
        found = aliased(e, context);
    if (!found)
        found = sourceColumn(e);
    if (!found && alias && context.aliases == Aliases::Last)
        found = aliased(e, context);
    if (!found)
        throw Error(Errc::MissingParameter, textOf(e), e.begin);
    return std::move(*found);
}

std::optional<Expr> Binder::sourceColumn(const ast::Expr& e) {
    std::optional<std::pair<std::size_t, std::size_t>> found;
    for (std::size_t source = 0; source < m_query.sources.size(); ++source) {
        if (!e.qualifier.empty() && !sameName(e.qualifier, m_query.sources[source].name))
            continue;
        const auto column = columnIn(source, e.name);
        if (column && found)
            throw Error(Errc::AmbiguousColumn, e.name, e.begin);
        if (column)
            found.emplace(source, *column);
    }
    if (!found)
        return std::nullopt;
    return columnOf(found->first, found->second);
}

// The output column with this alias. An aggregate works on rows, where outputs do not exist yet: what the alias stands
// for is put in its place.
std::optional<Expr> Binder::aliased(const ast::Expr& e, const Context& context) {
    const auto found = std::find_if(m_outputs.begin(), m_outputs.end(),
                                    [&](const Output& o) { return !o.alias.empty() && sameName(o.alias, e.name); });
    if (found == m_outputs.end())
        return std::nullopt;
    if (found->state == Output::State::Busy)
        throw Error(Errc::CircularAlias, found->alias, e.begin);
    if (context.inAggregate) {
        const Output::State before = found->state;
        found->state = Output::State::Busy;
        Expr inlined = expression(*found->expr, context);
        found->state = before;
        return inlined;
    }
    const auto index = static_cast<std::size_t>(found - m_outputs.begin());
    bindOutput(index);
    Expr reference;
    reference.kind = Expr::Kind::Output;
    reference.slot = index;
    reference.type = m_query.outputs[index].type;
    return reference;
}

Expr Binder::call(const ast::Expr& e, const Context& context) {
    if (const auto kind = aggregateNamed(e.name))
        return aggregate(e, *kind, context);
    const bool isChoice = vbrt::equalsIgnoringCase(e.name, "iif");
    const Function* function = findFunction(e.name);
    if (!function && !isChoice)
        throw Error(Errc::UndefinedFunction, e.name, e.begin);
    const std::size_t least = isChoice ? 2 : function->minArguments;
    const std::size_t most = isChoice ? 3 : function->maxArguments;
    if (e.star || e.args.size() < least || e.args.size() > most)
        throw Error(Errc::WrongArgumentCount, e.name, e.begin);
    std::vector<Expr> args = arguments(e, context);
    if (isChoice)
        return choice(e, std::move(args));
    const MaybeType type = function->type ? function->type : numericType(args[0].type);
    return makeExpr(Expr::Kind::Call, type, std::move(args), {}, function);
}

Expr Binder::choice(const ast::Expr& e, std::vector<Expr> args) {
    if (e.args.size() == 2)
        args.push_back(makeConstant({}));
    const MaybeType type = commonType(args[1].type, args[2].type);
    args[1] = converted(std::move(args[1]), type);
    args[2] = converted(std::move(args[2]), type);
    return makeExpr(Expr::Kind::Choice, type, std::move(args));
}

Expr Binder::aggregate(const ast::Expr& e, Aggregate::Kind kind, const Context& context) {
    if (!context.aggregates || context.inAggregate)
        throw Error(Errc::AggregateMisplaced, textOf(e), e.begin);
    if (e.star != e.args.empty() || e.args.size() > 1 || (e.star && kind != Aggregate::Kind::Count))
        throw Error(Errc::WrongArgumentCount, e.name, e.begin);
    Aggregate a;
    a.kind = e.star ? Aggregate::Kind::Rows : kind;
    if (!e.star) {
        Context inside = context;
        inside.inAggregate = true;
        a.argument = expression(*e.args.front(), inside);
    }
    a.type = aggregateType(a.kind, a.argument.type);
    Expr reference;
    reference.kind = Expr::Kind::Aggregate;
    reference.slot = m_query.aggregates.size();
    reference.type = a.type;
    m_query.aggregates.push_back(std::move(a));
    return reference;
}

// --- SELECT

Query Binder::select(const ast::Select& s) {
    for (const ast::FromPtr& item : s.from) {
        std::unique_ptr<Join> joined = from(*item);
        if (m_query.from) {
            auto both = std::make_unique<Join>();
            both->kind = Join::Kind::Inner;
            both->left = std::move(m_query.from);
            both->right = std::move(joined);
            joined = std::move(both);
        }
        m_query.from = std::move(joined);
    }
    outputs(s);
    m_query.where = condition(s.where);
    for (const ast::ExprPtr& key : s.groupBy)
        m_query.keys.push_back(expression(*key, {}));
    Context having;
    having.aggregates = true;
    if (s.having)
        splitConjunction(expression(*s.having, having), m_query.having);
    m_query.distinct = s.distinct;
    order(s);
    m_query.grouped = !m_query.keys.empty() || !m_query.aggregates.empty() || s.having;
    if (m_query.grouped)
        groupOutputs(s);
    if (s.distinctRow && !m_query.grouped)
        checkDistinctRow();
    if (s.top)
        m_query.top = *s.top;
    return std::move(m_query);
}

// DISTINCTROW leaves out what differs only in rows of tables that are not shown. With all tables shown it does nothing.
void Binder::checkDistinctRow() const {
    std::vector<bool> shown(m_query.sources.size());
    for (const Expr& e : m_query.outputs) {
        visit(e, [&](const Expr& part) {
            if (part.kind == Expr::Kind::Column)
                shown[part.source] = true;
        });
    }
    if (std::find(shown.begin(), shown.end(), false) != shown.end())
        unsupported("DISTINCTROW of tables that are not shown", 0);
}

void Binder::outputs(const ast::Select& s) {
    for (const ast::OutputItem& item : s.outputs) {
        if (item.star) {
            addStar(item);
        } else {
            Output output;
            output.expr = item.expr.get();
            output.alias = item.alias;
            addOutput(std::move(output));
        }
    }
    checkNames();
    m_query.outputs.resize(m_outputs.size());
    for (std::size_t i = 0; i < m_outputs.size(); ++i)
        bindOutput(i);
    nameOutputs();
}

void Binder::addStar(const ast::OutputItem& item) {
    bool found = false;
    for (std::size_t source = 0; source < m_query.sources.size(); ++source) {
        if (!item.qualifier.empty() && !sameName(item.qualifier, m_query.sources[source].name))
            continue;
        found = true;
        for (const std::size_t column : shownColumns(m_query.sources[source])) {
            Output output;
            output.source = source;
            output.column = column;
            addOutput(std::move(output));
        }
    }
    if (!found)
        throw Error(item.qualifier.empty() ? Errc::SyntaxSelect : Errc::UnknownTable, item.qualifier, item.begin);
}

void Binder::addOutput(Output output) {
    if (m_outputs.size() == kMaxOutputs)
        unsupported("too many fields", output.expr ? output.expr->begin : 0);
    if (!output.alias.empty())
        output.name = output.alias;
    else if (!output.expr)
        output.name = columnName(output.source, output.column);
    else if (output.expr->kind == ast::Expr::Kind::Column)
        output.name = output.expr->name;
    m_outputs.push_back(std::move(output));
}

// Columns of two tables may have the same name, an alias may not be the name of anything else.
void Binder::checkNames() const {
    for (std::size_t i = 0; i < m_outputs.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            const bool alias = !m_outputs[i].alias.empty() || !m_outputs[j].alias.empty();
            if (alias && sameName(m_outputs[i].name, m_outputs[j].name))
                throw Error(Errc::DuplicateOutput, m_outputs[i].name, m_outputs[i].expr ? m_outputs[i].expr->begin : 0);
        }
    }
}

void Binder::bindOutput(std::size_t index) {
    Output& output = m_outputs[index];
    if (output.state != Output::State::Waiting)
        return;
    output.state = Output::State::Busy;
    Context context;
    context.aliases = Aliases::First;
    context.aggregates = true;
    m_query.outputs[index] = output.expr ? expression(*output.expr, context) : columnOf(output.source, output.column);
    output.state = Output::State::Done;
    m_query.outputOrder.push_back(index);
}

// A column keeps its name, with that of its table before it where two tables have it; the others are Expr1000, ...
void Binder::nameOutputs() {
    const auto& outputs = m_query.outputs;
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        const Expr& e = outputs[i];
        OutputColumn column;
        column.name = m_outputs[i].name.empty() ? "Expr" + std::to_string(1000 + i) : m_outputs[i].name;
        column.type = e.type.value_or(ColumnType::Text);
        column.length = e.length;
        const bool isColumn = e.kind == Expr::Kind::Column && m_outputs[i].alias.empty();
        for (std::size_t j = 0; j < outputs.size() && isColumn; ++j) {
            if (outputs[j].kind == Expr::Kind::Column && outputs[j].source != e.source &&
                sameName(m_outputs[j].name, m_outputs[i].name)) {
                column.name = m_query.sources[e.source].name + "." + m_outputs[i].name;
                break;
            }
        }
        m_query.columns.push_back(std::move(column));
    }
}

void Binder::groupOutputs(const ast::Select& s) {
    for (std::size_t i = 0; i < m_outputs.size(); ++i)
        toGrouped(m_query.outputs[i], m_outputs[i].expr ? textOf(*m_outputs[i].expr) : "*");
    for (Expr& e : m_query.having)
        toGrouped(e, textOf(*s.having));
    for (std::size_t i = 0; i < m_query.order.size(); ++i)
        toGrouped(m_query.order[i].expr, textOf(*s.orderBy[i].expr));
}

// Of a group there are its keys and its aggregates: everything else has no single value.
void Binder::toGrouped(Expr& e, const std::string& subject) const {
    for (std::size_t i = 0; i < m_query.keys.size(); ++i) {
        if (!same(e, m_query.keys[i]))
            continue;
        e.children.clear();
        e.kind = Expr::Kind::Key;
        e.slot = i;
        return;
    }
    if (e.kind == Expr::Kind::Column)
        throw Error(Errc::NotAggregated, subject);
    for (Expr& child : e.children)
        toGrouped(child, subject);
}

void Binder::order(const ast::Select& s) {
    for (const ast::OrderItem& item : s.orderBy)
        m_query.order.push_back(orderKey(item));
}

OrderKey Binder::orderKey(const ast::OrderItem& item) {
    OrderKey key;
    key.descending = item.descending;
    const auto* position = std::get_if<std::int32_t>(&item.expr->value);
    std::size_t output = m_outputs.size();
    if (item.expr->kind == ast::Expr::Kind::Literal && position) {
        output = static_cast<std::size_t>(*position) - 1;
        if (*position < 1 || output >= m_outputs.size())
            unsupported("ORDER BY " + textOf(*item.expr), item.expr->begin);
    } else {
        Context context;
        context.aliases = Aliases::Last;
        context.aggregates = true;
        key.expr = expression(*item.expr, context);
        if (!m_query.distinct || key.expr.kind == Expr::Kind::Output)
            return key;
        for (output = 0; output < m_outputs.size() && !same(key.expr, m_query.outputs[output]);)
            ++output;
        if (output == m_outputs.size())
            unsupported("ORDER BY " + textOf(*item.expr) + " with DISTINCT", item.expr->begin);
    }
    key.expr = {};
    key.expr.kind = Expr::Kind::Output;
    key.expr.slot = output;
    key.expr.type = m_query.outputs[output].type;
    return key;
}

// --- the statements that change data

Insertion Binder::insertion(const ast::Insert& s) {
    Insertion result;
    result.table = &target(s.table);
    const jet::TableDef& def = result.table->def();
    std::vector<std::string> names;
    if (s.select)
        result.source = std::make_unique<Query>(Binder(m_db, m_sql, m_nesting).select(*s.select));
    const std::size_t given = s.select ? result.source->columns.size() : s.values.size();
    if (s.columns) {
        names = *s.columns;
    } else if (s.select) {
        for (const OutputColumn& c : result.source->columns)
            names.push_back(c.name);
    }
    for (const std::string& name : names) {
        const auto position = def.columnByName(name);
        if (!position)
            throw Error(Errc::UnknownInsertColumn, name);
        if (std::find(result.positions.begin(), result.positions.end(), *position) != result.positions.end())
            throw Error(Errc::DuplicateOutput, name);
        result.positions.push_back(*position);
    }
    if (!s.columns && !s.select)
        result.positions = shownColumns(*result.table);
    if (given != result.positions.size())
        throw Error(Errc::ValueCount);
    for (const ast::ExprPtr& value : s.values)
        result.values.push_back(expression(*value, {}));
    for (std::size_t i = 0; i < def.columns.size(); ++i) {
        const auto& text = result.table->rules(i).defaultValue;
        if (!text || text->empty() ||
            std::find(result.positions.begin(), result.positions.end(), i) != result.positions.end())
            continue;
        Binder binder(m_db, *text, m_nesting);
        result.defaults.emplace_back(i, binder.expression(*parseExpression(*text), {}));
    }
    return result;
}

Change Binder::change(const ast::Update& s) {
    Change result;
    result.table = &target(s.table);
    addTarget(*result.table, s.alias);
    for (const ast::Assignment& a : s.assignments) {
        const bool here = a.qualifier.empty() || sameName(a.qualifier, m_query.sources.front().name);
        const auto position = here ? result.table->def().columnByName(a.column) : std::nullopt;
        if (!position)
            throw Error(Errc::MissingParameter, a.column);
        if (std::find(result.positions.begin(), result.positions.end(), *position) != result.positions.end())
            throw Error(Errc::DuplicateOutput, a.column);
        result.positions.push_back(*position);
        result.values.push_back(expression(*a.value, {}));
    }
    m_query.where = condition(s.where);
    result.target = std::move(m_query);
    return result;
}

Deletion Binder::deletion(const ast::Delete& s) {
    Deletion result;
    result.table = &target(s.table);
    addTarget(*result.table, s.alias);
    m_query.where = condition(s.where);
    result.target = std::move(m_query);
    return result;
}

}  // namespace

std::size_t Source::width() const {
    return table ? wanted.size() : query->columns.size();
}

BoundStatement resolve(jet::Database& db, const ast::Statement& statement, std::string_view sql) {
    Nesting nesting;
    Binder binder(db, sql, nesting);
    if (const auto* select = std::get_if<ast::Select>(&statement))
        return std::make_unique<Query>(binder.select(*select));
    if (const auto* insert = std::get_if<ast::Insert>(&statement))
        return binder.insertion(*insert);
    if (const auto* update = std::get_if<ast::Update>(&statement))
        return binder.change(*update);
    return binder.deletion(std::get<ast::Delete>(statement));
}

}  // namespace jetsql
