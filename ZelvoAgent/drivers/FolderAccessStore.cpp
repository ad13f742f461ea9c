#include "drivers/FolderAccessStore.h"

#include "base/Hop.h"
#include "base/Text.h"
#include "drivers/FilePath.h"
#include "drivers/FilePlace.h"

#include <boost/asio/strand.hpp>

#include <algorithm>

namespace zelvo {

namespace {

constexpr std::string_view key = "dev.zelvo.fileRoots";

std::string standard(std::string_view folder)
{
    return paths::standardized(folder, "/");
}

bool isAbsolute(std::string_view path)
{
    return path.starts_with('/');
}

} // namespace

FolderAccessStore::FolderAccessStore(Executor workers,
                                     UserDefaults& defaults,
                                     FileSystem& files,
                                     FileAccess& access)
    : strand(asio::make_strand(workers)), defaults(defaults), files(files), access(access)
{
}

std::vector<std::string> FolderAccessStore::roots(UserDefaults& defaults, FileSystem& files)
{
    std::vector<std::string> all = stored(defaults);
    std::erase_if(all, [&files](std::string const& folder) {
        return !isAbsolute(folder) || !locate(files, standard(folder)).exists;
    });
    return all;
}

Task<std::vector<std::string>> FolderAccessStore::list()
{
    co_return co_await on(strand, [this] { return stored(defaults); });
}

Task<bool> FolderAccessStore::add(std::string folder)
{
    bool const isAdded = co_await on(strand, [&] { return addOnStrand(folder); });
    if (isAdded)
        co_await putInForce();
    co_return isAdded;
}

Task<> FolderAccessStore::remove(std::string folder)
{
    co_await on(strand, [&] { removeOnStrand(folder); });
    co_await putInForce();
}

std::vector<std::string> FolderAccessStore::stored(UserDefaults& defaults)
{
    return defaults.textArray(key).value_or(std::vector<std::string>{});
}

bool FolderAccessStore::addOnStrand(std::string const& folder)
{
    if (!mayBeGranted(folder))
        return false;
    std::string const added = standard(folder);
    std::vector<std::string> all = stored(defaults);
    if (std::ranges::find(all, added) == all.end()) {
        all.push_back(added);
        defaults.setTextArray(key, std::move(all));
    }
    return true;
}

bool FolderAccessStore::mayBeGranted(std::string const& folder)
{
    if (!isAbsolute(folder) || !text::isUtf8(folder) || standard(folder) == "/")
        return false;
    return locate(files, standard(folder)).isFolder;
}

void FolderAccessStore::removeOnStrand(std::string const& folder)
{
    std::vector<std::string> all = stored(defaults);
    std::erase_if(all, [&](std::string const& one) {
        return one == folder || (isAbsolute(one) && isAbsolute(folder) && standard(one) == standard(folder));
    });
    defaults.setTextArray(key, std::move(all));
}

Task<> FolderAccessStore::putInForce()
{
    co_await access.setRootsFrom([this] { return roots(defaults, files); });
    co_await defaults.written();
}

} // namespace zelvo
