#include "ZelvoGateway/store/ChangeMark.h"

#include <sqlite3.h>

#include <cstring>

namespace zelvo::service {

namespace {

constexpr int regionBytes = 32 * 1024;

/// The beginning of the write-ahead log's index; null if there is none. The database keeps it mapped.
void const* sharedHeader(sqlite3* database)
{
    sqlite3_file* file = nullptr;
    sqlite3_file_control(database, "main", SQLITE_FCNTL_FILE_POINTER, static_cast<void*>(&file));
    if (!file || !file->pMethods || file->pMethods->iVersion < 2 || !file->pMethods->xShmMap)
        return nullptr;
    constexpr int create = 0;
    void volatile* region = nullptr;
    if (file->pMethods->xShmMap(file, 0, regionBytes, create, &region) != SQLITE_OK)
        return nullptr;
    return const_cast<void const*>(region);
}

} // namespace

ChangeMark::ChangeMark(sqlite3* database)
{
    if (void const* const shared = sharedHeader(database))
        std::memcpy(header.data(), shared, header.size()); // Half written, it equals no other.
    else
        *this = unknown();
}

ChangeMark ChangeMark::unknown()
{
    static thread_local std::uint64_t last = 0;
    ChangeMark mark;
    mark.unlike = ++last;
    return mark;
}

} // namespace zelvo::service
