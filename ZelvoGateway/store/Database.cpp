#include "ZelvoGateway/store/Database.h"

#include "ZelvoGateway/base/PrivateFiles.h"
#include "ZelvoGateway/store/StoreError.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zelvo::service {

namespace {

[[noreturn]] void fail(sqlite3* database, char const* what)
{
    throw StoreError(std::string("database: ") + what + ": " +
                     (database ? sqlite3_errmsg(database) : "out of memory"));
}

} // namespace

void CloseDatabase::operator()(sqlite3* database) const noexcept
{
    sqlite3_close_v2(database);
}

void FinalizeStatement::operator()(sqlite3_stmt* statement) const noexcept
{
    sqlite3_finalize(statement);
}

IdleStatements::Pointer IdleStatements::take(sqlite3* database, std::string_view sql)
{
    if (auto const found = idle.find(sql); found != idle.end())
        return std::move(idle.extract(found).mapped());
    sqlite3_stmt* raw = nullptr;
    int const result = sqlite3_prepare_v3(database, sql.data(), static_cast<int>(sql.size()),
                                          SQLITE_PREPARE_PERSISTENT, &raw, nullptr);
    if (result != SQLITE_OK)
        fail(database, "prepare");
    return Pointer(raw);
}

void IdleStatements::giveBack(Pointer statement) noexcept
{
    // A statement that is not reset keeps its locks and the values that were bound.
    sqlite3_reset(statement.get());
    sqlite3_clear_bindings(statement.get());
    if (idle.size() >= maxIdle)
        return;
    try {
        idle.emplace(sqlite3_sql(statement.get()), std::move(statement));
    } catch (std::bad_alloc const&) {
        // Then it is finalized.
    }
}

Statement::Statement(std::shared_ptr<IdleStatements> idle, sqlite3* database, std::string_view sql)
    : idle(std::move(idle)), statement(this->idle->take(database, sql))
{
}

Statement::~Statement()
{
    if (statement)
        idle->giveBack(std::move(statement));
}

Statement& Statement::bind(std::string_view text)
{
    sqlite3_bind_text64(statement.get(), ++bound, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    return *this;
}

Statement& Statement::bind(std::int64_t number)
{
    sqlite3_bind_int64(statement.get(), ++bound, number);
    return *this;
}

Statement& Statement::bind(double number)
{
    sqlite3_bind_double(statement.get(), ++bound, number);
    return *this;
}

Statement& Statement::bind(std::optional<std::string> const& text)
{
    if (text)
        return bind(std::string_view(*text));
    sqlite3_bind_null(statement.get(), ++bound);
    return *this;
}

Statement& Statement::bind(std::optional<std::int64_t> number)
{
    if (number)
        return bind(*number);
    sqlite3_bind_null(statement.get(), ++bound);
    return *this;
}

bool Statement::step()
{
    int const result = sqlite3_step(statement.get());
    if (result == SQLITE_ROW)
        return true;
    if (result != SQLITE_DONE)
        fail(sqlite3_db_handle(statement.get()), "step");
    return false;
}

std::string Statement::text(int column) const
{
    return optionalText(column).value_or("");
}

std::optional<std::string> Statement::optionalText(int column) const
{
    auto const* const text = reinterpret_cast<char const*>(sqlite3_column_text(statement.get(), column));
    if (!text)
        return std::nullopt;
    return std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(statement.get(), column)));
}

std::int64_t Statement::integer(int column) const
{
    return sqlite3_column_int64(statement.get(), column);
}

std::optional<std::int64_t> Statement::optionalInteger(int column) const
{
    bool const isNull = sqlite3_column_type(statement.get(), column) == SQLITE_NULL;
    return isNull ? std::nullopt : std::optional(integer(column));
}

double Statement::real(int column) const
{
    return sqlite3_column_double(statement.get(), column);
}

Database::Database(std::filesystem::path const& file)
{
    // SQLite gives its other files the mode of this one, so it must exist with the right mode first.
    int const number = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (number >= 0) {
        ::fchmod(number, 0600);
        ::close(number);
    }
    sqlite3* raw = nullptr;
    int const result = sqlite3_open_v2(file.c_str(), &raw, SQLITE_OPEN_READWRITE, nullptr);
    database.reset(raw);
    if (result != SQLITE_OK)
        fail(raw, file.c_str());
    sqlite3_busy_timeout(raw, 5000);
    execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL; PRAGMA foreign_keys = ON;"
            "BEGIN; SELECT 1 FROM sqlite_master; COMMIT;"); // Makes the files beside it, to be marked.
    Statement mode = prepare("PRAGMA journal_mode");
    hasLog = mode.step() && mode.text(0) == "wal";
    for (char const* const end : {"", "-wal", "-shm"})
        markPrivate(std::filesystem::path(file.string() + end));
}

void Database::execute(std::string const& sql)
{
    if (sqlite3_exec(database.get(), sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
        fail(database.get(), "execute");
}

void Database::copyTo(std::filesystem::path const& target)
{
    int const number = ::open(target.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (number < 0)
        throw StoreError("database: cannot write " + target.string() + ": " +
                         std::generic_category().message(errno));
    markPrivate(number);
    ::close(number);
    sqlite3* raw = nullptr;
    int const opened = sqlite3_open_v2(target.c_str(), &raw, SQLITE_OPEN_READWRITE, nullptr);
    std::unique_ptr<sqlite3, CloseDatabase> const copy(raw);
    sqlite3_backup* const work =
        opened == SQLITE_OK ? sqlite3_backup_init(raw, "main", database.get(), "main") : nullptr;
    if (!work)
        fail(raw, "copy");
    sqlite3_backup_step(work, -1); // All pages at once: in between, a change would begin it anew.
    if (sqlite3_backup_finish(work) != SQLITE_OK)
        fail(raw, "copy");
}

int Database::changes() const
{
    return sqlite3_changes(database.get());
}

bool Database::isInTransaction() const
{
    return sqlite3_get_autocommit(database.get()) == 0;
}

void Database::onInsert(std::string table, std::function<void()> inserted)
{
    if (!inserted) {
        sqlite3_update_hook(database.get(), nullptr, nullptr);
        watch.reset();
        return;
    }
    watch = std::make_unique<InsertWatch>(
        InsertWatch{.table = std::move(table), .inserted = std::move(inserted)});
    auto const call = [](void* context, int change, char const*, char const* name, sqlite3_int64) {
        auto const& watch = *static_cast<InsertWatch const*>(context);
        if (change == SQLITE_INSERT && watch.table == name)
            watch.inserted();
    };
    sqlite3_update_hook(database.get(), call, watch.get());
}

WithoutDiskWait::WithoutDiskWait(Database& database) : database(database)
{
    database.execute("PRAGMA synchronous = NORMAL");
}

WithoutDiskWait::~WithoutDiskWait() noexcept(false)
{
    database.execute("PRAGMA synchronous = FULL");
}

Transaction::Transaction(Database& database) : database(database)
{
    database.execute("BEGIN IMMEDIATE");
}

Transaction::~Transaction()
{
    if (!open)
        return;
    try {
        database.execute("ROLLBACK");
    } catch (StoreError const&) {
        // Closing the file rolls back as well.
    }
}

void Transaction::commit()
{
    database.execute("COMMIT");
    open = false;
}

} // namespace zelvo::service
