#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

struct sqlite3;

namespace zelvo::service {

/// A state of the database: two that are equal are of the same state. It is the header that SQLite keeps in
/// memory which all processes share, and rewrites with each commit, so that to take one costs no system call
/// and no lock.
class ChangeMark {
public:
    /// Of no state.
    ChangeMark() = default;
    /// Of the database's state now. The database must have a write-ahead log.
    explicit ChangeMark(sqlite3* database);
    /// Of a state that is not known: different from every other.
    static ChangeMark unknown();

    bool operator==(ChangeMark const&) const = default;

private:
    std::array<std::byte, 48> header{};
    std::uint64_t unlike = 0;
};

} // namespace zelvo::service
