#include "drivers/FileAccess.h"

#include "base/Hop.h"
#include "drivers/FilePath.h"
#include "drivers/FilePlace.h"
#include "wire/AgentError.h"

#include <boost/asio/strand.hpp>

namespace zelvo {

namespace {

/// How often a path is checked again if it changes between check and use; after that it is refused.
constexpr int maxAttempts = 8;
/// Bytes; far more than any system accepts.
constexpr std::size_t maxPathLength = 64u << 10;

std::string contentOf(OpenFile& file)
{
    if (auto const size = file.size(); size && *size > std::uint64_t(FileAccess::maxBytes))
        throw AgentError::invalidRequest;
    // One byte more than the limit, to detect a file that has grown in the meantime.
    std::string content = file.read(std::size_t(FileAccess::maxBytes) + 1);
    if (content.size() > std::size_t(FileAccess::maxBytes))
        throw AgentError::invalidRequest;
    return content;
}

/// An agent learns of a private place no more than of one that was not granted.
template <class Use>
auto unlessPrivate(Use use)
{
    try {
        return use();
    } catch (PrivatePlaceFailure const&) {
        throw AgentError::scopeDenied;
    }
}

} // namespace

FileAccess::FileAccess(Executor workers, FileSystem& files, std::vector<std::string> allowedRoots)
    : strand(asio::make_strand(workers)), files(files), allowedRoots(std::move(allowedRoots))
{
}

Task<> FileAccess::setRoots(std::vector<std::string> roots)
{
    co_await on(strand, [&] { allowedRoots = std::move(roots); });
}

Task<> FileAccess::setRootsFrom(std::function<std::vector<std::string>()> read)
{
    co_await on(strand, [&] { allowedRoots = read(); });
}

Task<std::string> FileAccess::read(std::string path)
{
    co_return co_await on(strand, [&] { return unlessPrivate([&] { return readOnStrand(path); }); });
}

Task<> FileAccess::write(std::string path, std::string data)
{
    if (data.size() > std::size_t(maxBytes))
        throw AgentError::invalidRequest;
    co_await on(strand, [&] { unlessPrivate([&] { writeOnStrand(path, data); }); });
}

std::string FileAccess::readOnStrand(std::string const& path)
{
    std::string const standard = standardize(path);
    for (int attempt = 0; attempt < maxAttempts; ++attempt)
        if (auto const file = files.open(resolve(standard, Target::mustExist).place))
            return contentOf(*file);
    throw AgentError::scopeDenied;
}

void FileAccess::writeOnStrand(std::string const& path, std::string_view data)
{
    std::string const standard = standardize(path);
    for (int attempt = 0; attempt < maxAttempts; ++attempt) {
        Judged const judged = resolve(standard, Target::mayBeNew);
        auto const link = judged.exists ? FileSystem::LinkThere::refused : FileSystem::LinkThere::replaced;
        if (files.replace(judged.place, data, link))
            return;
    }
    throw AgentError::scopeDenied;
}

std::string FileAccess::standardize(std::string path)
{
    // System calls end a path at NUL, so the path checked would differ from the path opened.
    if (path.size() > maxPathLength || path.find('\0') != std::string::npos)
        throw AgentError::invalidRequest;
    if (auto const tilde = paths::tildePath(path))
        if (auto const home = files.homeFolder(tilde->user))
            path = *home + tilde->rest;
    return paths::standardized(path, path.starts_with('/') ? "/" : files.currentFolder());
}

/// Decides whether a path may be accessed. The order matters: does it exist, where does it lead, which
/// granted folder contains that.
FileAccess::Judged FileAccess::resolve(std::string const& standard, Target target)
{
    FilePlace place = locate(files, standard);
    bool const exists = place.exists;
    if (!exists && target == Target::mustExist)
        throw AgentError::invalidRequest;
    if (!exists)
        place = locate(files, paths::parentOf(standard));
    for (std::string const& root : allowedRoots) {
        std::string const folder = locate(files, paths::standardized(root, "/")).path;
        if (!paths::isInside(place.path, folder))
            continue;
        std::string const full = exists ? place.path : paths::joined(place.path, paths::nameOf(standard));
        return {.place = {.folder = folder, .path = paths::below(full, folder)}, .exists = exists};
    }
    throw AgentError::scopeDenied;
}

} // namespace zelvo
