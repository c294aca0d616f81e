// SPDX-License-Identifier: MIT
#include "jetsql/statement.h"

#include "jetsql/binder.h"
#include "jetsql/executor.h"
#include "jetsql/parser.h"

namespace jetsql {

namespace {

class SelectRows final : public Rows {
 public:
    SelectRows(std::shared_ptr<jet::Database> db, std::unique_ptr<Query> query)
        : m_db(std::move(db)), m_query(std::move(query)), m_stream(openQuery(*m_query)) {}

    [[nodiscard]] const std::vector<OutputColumn>& columns() const override { return m_query->columns; }
    bool next(jet::Row& row) override { return m_stream->next(row); }

 private:
    std::shared_ptr<jet::Database> m_db;  // the query borrows its tables
    std::unique_ptr<Query> m_query;
    std::unique_ptr<RowStream> m_stream;
};

}  // namespace

Outcome execute(const std::shared_ptr<jet::Database>& db, std::string_view sql) {
    BoundStatement bound = resolve(*db, parse(sql), sql);
    Outcome outcome;
    if (auto* query = std::get_if<std::unique_ptr<Query>>(&bound))
        outcome.rows = std::make_unique<SelectRows>(db, std::move(*query));
    else if (auto* insertion = std::get_if<Insertion>(&bound))
        outcome.affected = run(*db, *insertion);
    else if (auto* change = std::get_if<Change>(&bound))
        outcome.affected = run(*db, *change);
    else
        outcome.affected = run(*db, std::get<Deletion>(bound));
    return outcome;
}

}  // namespace jetsql
