#include "ZelvoGateway/store/StoreVersion.h"

#include "ZelvoGateway/base/PrivateFiles.h"
#include "ZelvoGateway/store/StoreError.h"

#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace zelvo::service {

namespace fs = std::filesystem;

namespace {

constexpr char const* partMark = ".part."; // Then the process follows.

} // namespace

void StoreVersion::bringUpToDate(std::function<void(std::int64_t version)> const& change)
{
    std::int64_t const found = read();
    if (found > current)
        throw StoreError("database: " + file.string() + " was written by a newer gateway (version " +
                         std::to_string(found) + " of its tables, this program knows " +
                         std::to_string(current) + "). Install the newer program, or go back to a backup");
    if (found == current)
        return;
    if (!isEmpty())
        copy(found);
    Transaction transaction(database);
    std::int64_t const now = read();
    if (now < current) { // Else another process was faster.
        change(now);
        database.execute("PRAGMA user_version = " + std::to_string(current));
    }
    transaction.commit();
}

fs::path StoreVersion::copyOf(fs::path const& file, std::int64_t version)
{
    return file.string() + ".v" + std::to_string(version);
}

bool StoreVersion::isOlder(fs::path const& file)
{
    if (!fs::exists(file))
        return false;
    Database database(file);
    StoreVersion version(database, file);
    return version.read() < current && !version.isEmpty();
}

void StoreVersion::removeUnfinishedCopies(fs::path const& file)
{
    std::vector<fs::path> found;
    for (fs::path const& each : fs::directory_iterator(fs::absolute(file).parent_path())) {
        std::string const name = each.filename();
        if (name.starts_with(file.filename().string() + ".v") && name.find(partMark) != std::string::npos)
            found.push_back(each);
    }
    std::error_code ignored;
    for (fs::path const& each : found)
        fs::remove(each, ignored);
}

std::int64_t StoreVersion::read()
{
    Statement row = database.prepare("PRAGMA user_version");
    row.step();
    return row.integer(0);
}

bool StoreVersion::isEmpty()
{
    return !database.prepare("SELECT 1 FROM sqlite_master").step();
}

/// Appears under its name only when it is complete.
void StoreVersion::copy(std::int64_t version)
{
    fs::path const target = copyOf(file, version);
    fs::path const part = target.string() + partMark + std::to_string(::getpid());
    std::error_code ignored;
    fs::remove(part, ignored);
    int const made =
        ::open(part.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600); // It holds what the store does.
    if (made < 0)
        throw StoreError("database: no copy of " + file.string() +
                         " could be made: " + std::generic_category().message(errno));
    ::close(made);
    try {
        database.prepare("VACUUM INTO ?").bind(part.string()).step();
        markPrivate(part);
        fs::rename(part, target);
    } catch (std::exception const& error) {
        fs::remove(part, ignored);
        throw StoreError("database: no copy of " + file.string() + " could be made: " + error.what());
    }
}

} // namespace zelvo::service
