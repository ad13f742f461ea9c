#include "ZelvoGateway/store/OpenStore.h"

#include "ZelvoGateway/store/StoreVersion.h"

#include <stdexcept>

namespace zelvo::service {

SqliteStore openStore(DataFolder& folder)
{
    std::filesystem::path const file = folder.file(storeFile);
    if (StoreVersion::isOlder(file)) {
        if (DataFolder::isServed(file.parent_path()))
            throw std::runtime_error("the gateway that runs on " + file.parent_path().string() +
                                     " is of an older version than this program; restart it first");
        folder.lock();
        StoreVersion::removeUnfinishedCopies(file);
    }
    return SqliteStore(file);
}

} // namespace zelvo::service
