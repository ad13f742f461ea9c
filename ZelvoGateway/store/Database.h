#pragma once

#include <cstdint>
#include <filesystem>
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

/// One prepared statement. Parameters are bound in order; columns count from 0.
class Statement {
public:
    Statement(sqlite3* database, std::string_view sql);

    Statement& bind(std::string_view text);
    Statement& bind(std::string const& text) { return bind(std::string_view(text)); }
    Statement& bind(std::int64_t number);
    Statement& bind(double number);
    Statement& bind(std::optional<std::string> const& text);

    /// Moves to the next row; false if there is none.
    bool step();
    std::string text(int column) const;
    std::optional<std::string> optionalText(int column) const;
    std::int64_t integer(int column) const;
    double real(int column) const;

private:
    std::unique_ptr<sqlite3_stmt, FinalizeStatement> statement;
    int bound = 0;
};

/// An SQLite file, mode 0600, that other processes may use at the same time.
/// Thread: one at a time. Throws StoreError.
class Database {
public:
    explicit Database(std::filesystem::path const& file);

    /// Statements without parameters, separated by ";".
    void execute(std::string const& sql);
    Statement prepare(std::string_view sql) { return {database.get(), sql}; }
    /// How many rows the last statement changed.
    int changes() const;

private:
    std::unique_ptr<sqlite3, CloseDatabase> database;
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
