#pragma once

#include "ZelvoGateway/store/Database.h"

#include <cstdint>
#include <filesystem>
#include <functional>

namespace zelvo::service {

/// The version of a store's tables, a number in its file. Stores of before there were versions have 0, and so
/// has an empty file.
class StoreVersion {
public:
    static constexpr std::int64_t current = 1;

    /// file   the database's own
    StoreVersion(Database& database, std::filesystem::path file) : database(database), file(std::move(file))
    {
    }

    /// Makes a store current: copies it to copyOf(), then changes its tables in one transaction. A store that
    /// can't be changed stays what it was. Another process may do the same at the same time.
    /// change   gets the version to begin with, and creates or changes tables
    /// Throws   StoreError, also for a store of a newer version
    void bringUpToDate(std::function<void(std::int64_t version)> const& change);

    /// Whether opening this file would change a store of an older version.
    static bool isOlder(std::filesystem::path const& file);
    /// Removes what is left of copies whose process was killed. No other process may copy this store now.
    static void removeUnfinishedCopies(std::filesystem::path const& file);
    /// Where the copy of an older store is: beside it, "gateway.sqlite.v0".
    static std::filesystem::path copyOf(std::filesystem::path const& file, std::int64_t version);

private:
    std::int64_t read();
    bool isEmpty();
    void copy(std::int64_t version);

    Database& database;
    std::filesystem::path const file;
};

} // namespace zelvo::service
