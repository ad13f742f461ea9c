#include "ZelvoGateway/store/Rows.h"
#include "ZelvoGateway/store/SqliteStore.h"

namespace zelvo::service {

namespace {

constexpr char const* schema = R"sql(
CREATE TABLE IF NOT EXISTS answers (
    caller TEXT NOT NULL, key_hash TEXT NOT NULL, request_hash TEXT NOT NULL, created_at INTEGER NOT NULL,
    status INTEGER, sealed TEXT, PRIMARY KEY (caller, key_hash)) STRICT;
CREATE INDEX IF NOT EXISTS answers_by_time ON answers(created_at);
)sql";

StoredAnswer answerOf(Statement const& row)
{
    StoredAnswer answer;
    answer.caller = row.text(0);
    answer.keyHash = row.text(1);
    answer.requestHash = row.text(2);
    answer.createdAt = dateOfMilliseconds(row.integer(3));
    if (row.optionalText(4))
        answer.status = static_cast<int>(row.integer(4));
    answer.sealed = row.optionalText(5);
    return answer;
}

} // namespace

void SqliteStore::createAnswerTable()
{
    database.execute(schema);
}

std::optional<StoredAnswer> SqliteStore::beginAnswer(StoredAnswer const& begun, Date oldest)
{
    Transaction transaction(database);
    Statement row = database.prepare("SELECT caller, key_hash, request_hash, created_at, status, sealed FROM "
                                     "answers WHERE caller = ? AND key_hash = ? AND created_at >= ?");
    row.bind(begun.caller).bind(begun.keyHash).bind(millisecondsOf(oldest));
    if (auto known = firstOf(std::move(row), answerOf))
        return known;
    database
        .prepare("INSERT OR REPLACE INTO answers (caller, key_hash, request_hash, created_at) VALUES (?, ?, "
                 "?, ?)")
        .bind(begun.caller)
        .bind(begun.keyHash)
        .bind(begun.requestHash)
        .bind(millisecondsOf(begun.createdAt))
        .step();
    transaction.commit();
    return std::nullopt;
}

void SqliteStore::endAnswer(StoredAnswer const& ended)
{
    database.prepare("UPDATE answers SET status = ?, sealed = ? WHERE caller = ? AND key_hash = ?")
        .bind(std::int64_t{ended.status.value_or(0)})
        .bind(ended.sealed)
        .bind(ended.caller)
        .bind(ended.keyHash)
        .step();
}

void SqliteStore::dropAnswer(std::string const& caller, std::string const& keyHash)
{
    database.prepare("DELETE FROM answers WHERE caller = ? AND key_hash = ?")
        .bind(caller)
        .bind(keyHash)
        .step();
}

void SqliteStore::trimAnswers(Date oldest, std::size_t maxAnswers)
{
    database.prepare("DELETE FROM answers WHERE created_at < ?").bind(millisecondsOf(oldest)).step();
    database
        .prepare("DELETE FROM answers WHERE rowid IN (SELECT rowid FROM (SELECT rowid, row_number() OVER "
                 "(PARTITION BY caller ORDER BY created_at DESC, rowid DESC) AS place FROM answers WHERE "
                 "status IS NOT NULL) WHERE place > ?)")
        .bind(static_cast<std::int64_t>(maxAnswers))
        .step();
}

} // namespace zelvo::service
