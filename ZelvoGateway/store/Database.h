#pragma once

#include "ZelvoGateway/store/ChangeMark.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace zelvo::service {

struct CloseDatabase {
    void operator()(sqlite3* database) const noexcept;
};
struct FinalizeStatement {
    void operator()(sqlite3_stmt* statement) const noexcept;
};

/// Prepared statements that are not in use. To prepare one takes longer than to run it. Thread: one at a
/// time.
class IdleStatements {
public:
    static constexpr std::size_t maxIdle = 200;

    using Pointer = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

    /// An idle statement of this text, or a new one. Throws StoreError.
    Pointer take(sqlite3* database, std::string_view sql);
    void giveBack(Pointer statement) noexcept;

private:
    std::multimap<std::string, Pointer, std::less<>> idle;
};

/// One prepared statement. Parameters are bound in order; columns count from 0.
class Statement {
public:
    Statement(std::shared_ptr<IdleStatements> idle, sqlite3* database, std::string_view sql);
    Statement(Statement&&) = default;
    Statement& operator=(Statement&&) = delete;
    ~Statement();

    Statement& bind(std::string_view text);
    Statement& bind(std::string const& text) { return bind(std::string_view(text)); }
    Statement& bind(std::int64_t number);
    Statement& bind(double number);
    Statement& bind(std::optional<std::string> const& text);
    Statement& bind(std::optional<std::int64_t> number);

    /// Moves to the next row; false if there is none.
    bool step();
    std::string text(int column) const;
    std::optional<std::string> optionalText(int column) const;
    std::int64_t integer(int column) const;
    std::optional<std::int64_t> optionalInteger(int column) const;
    double real(int column) const;

private:
    std::shared_ptr<IdleStatements> idle;
    IdleStatements::Pointer statement;
    int bound = 0;
};

/// An SQLite file, mode 0600, that other processes may use at the same time.
/// Thread: one at a time. Throws StoreError.
class Database {
public:
    explicit Database(std::filesystem::path const& file);

    /// Statements without parameters, separated by ";".
    void execute(std::string const& sql);
    Statement prepare(std::string_view sql) { return {idle, database.get(), sql}; }
    /// Copies what is committed at one moment to a new database, mode 0600, while others go on writing.
    void copyTo(std::filesystem::path const& target);
    /// How many rows the last statement changed.
    int changes() const;
    /// What is committed, by all processes.
    ChangeMark changeMark() const { return hasLog ? ChangeMark(database.get()) : ChangeMark::unknown(); }
    /// Whether a Transaction is open, whose changes are in no mark yet.
    bool isInTransaction() const;
    /// Calls back after each row that this object adds to a table, also by a trigger; an empty callback ends
    /// that. The callback must not use the database.
    void onInsert(std::string table, std::function<void()> inserted);

private:
    struct InsertWatch {
        std::string table;
        std::function<void()> inserted;
    };

    std::unique_ptr<InsertWatch> watch; // The database keeps its address.
    std::unique_ptr<sqlite3, CloseDatabase> database;
    std::shared_ptr<IdleStatements> idle = std::make_shared<IdleStatements>();
    bool hasLog = false; ///< a write-ahead log; not every file system permits one
};

/// Writes in its scope do not wait for the disk: a crash may lose them.
class WithoutDiskWait {
public:
    explicit WithoutDiskWait(Database& database);
    WithoutDiskWait(WithoutDiskWait const&) = delete;
    WithoutDiskWait& operator=(WithoutDiskWait const&) = delete;
    ~WithoutDiskWait() noexcept(false);

private:
    Database& database;
};

/// Rolls back at the end of its scope unless commit() was called.
class Transaction {
public:
    explicit Transaction(Database& database);
    Transaction(Transaction const&) = delete;
    Transaction& operator=(Transaction const&) = delete;
    ~Transaction();
    void commit();

private:
    Database& database;
    bool open = true;
};

} // namespace zelvo::service
