#include "ZelvoGateway/store/StoreCopy.h"

#include "ZelvoGateway/store/Database.h"
#include "ZelvoGateway/store/Rows.h"
#include "ZelvoGateway/store/StoreError.h"
#include "ZelvoGateway/store/StoreVersion.h"

namespace zelvo::service {

namespace {

std::int64_t versionOf(Database& database)
{
    Statement row = database.prepare("PRAGMA user_version");
    row.step();
    return row.integer(0);
}

void assertWhole(Database& database)
{
    Statement row = database.prepare("PRAGMA quick_check(1)");
    row.step();
    if (row.text(0) != "ok")
        throw StoreError("database: it is damaged: " + row.text(0));
}

} // namespace

StoreCopy StoreCopy::make(std::filesystem::path const& store, std::filesystem::path const& target)
{
    Database(store).copyTo(target);
    Database copy(target);
    assertWhole(copy);
    StoreCopy made{.version = versionOf(copy)};
    if (made.version > StoreVersion::current)
        throw StoreError("database: " + store.string() +
                         " was written by a newer gateway; back it up with that");
    made.recordings = allOf(copy.prepare("SELECT id FROM recordings WHERE stage = 'ready' ORDER BY sequence"),
                            [](Statement const& row) { return row.text(0); });
    return made;
}

} // namespace zelvo::service
