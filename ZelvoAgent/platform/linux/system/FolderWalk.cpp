#include "platform/linux/system/FolderWalk.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

namespace zelvo {

namespace {

enum class Missing { fails, isMade };

UniqueFd failed(int reason)
{
    errno = reason;
    return {};
}

UniqueFd openInOneStep(int folder, std::string const& relative)
{
    struct open_how how{};
    how.flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
    return UniqueFd(static_cast<int>(::syscall(SYS_openat2, folder, relative.c_str(), &how, sizeof how)));
}

/// 0 for a folder, else the errno to report.
int whyNoFolder(int opened)
{
    struct stat facts{};
    if (::fstat(opened, &facts) != 0)
        return errno;
    if (S_ISLNK(facts.st_mode))
        return ELOOP;
    return S_ISDIR(facts.st_mode) ? 0 : ENOTDIR;
}

UniqueFd openPart(int folder, std::string const& name)
{
    // Without O_DIRECTORY, which would report ENOTDIR for a link.
    UniqueFd part(::openat(folder, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    int const reason = part ? whyNoFolder(part.get()) : 0;
    if (!reason)
        return part;
    part.reset();
    return failed(reason);
}

UniqueFd makePart(int folder, std::string const& name)
{
    if (::mkdirat(folder, name.c_str(), 0777) != 0 && errno != EEXIST)
        return {};
    return openPart(folder, name);
}

UniqueFd openPartByPart(int folder, std::string_view relative, Missing missing)
{
    UniqueFd reached(::openat(folder, ".", O_PATH | O_DIRECTORY | O_CLOEXEC));
    while (reached && !relative.empty()) {
        std::string const name(relative.substr(0, relative.find('/')));
        relative.remove_prefix(std::min(name.size() + 1, relative.size()));
        UniqueFd next = openPart(reached.get(), name);
        if (!next && errno == ENOENT && missing == Missing::isMade)
            next = makePart(reached.get(), name);
        reached = std::move(next);
    }
    return reached;
}

} // namespace

UniqueFd FolderWalk::open(int folder, std::string const& relative) const
{
    if (method == Method::inOneStep) {
        UniqueFd found = openInOneStep(folder, relative.empty() ? "." : relative);
        // An old kernel lacks the call, a sandbox may refuse it; all other failures are answers.
        if (found || (errno != ENOSYS && errno != EPERM))
            return found;
    }
    return openPartByPart(folder, relative, Missing::fails);
}

UniqueFd FolderWalk::openOrMake(int folder, std::string const& relative) const
{
    UniqueFd found = open(folder, relative);
    if (found || errno != ENOENT)
        return found;
    return openPartByPart(folder, relative, Missing::isMade);
}

} // namespace zelvo
