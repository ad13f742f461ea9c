#include "platform/portable/files/FolderExchange.h"

#include <fcntl.h>
#include <stdio.h> // NOLINT(modernize-deprecated-headers): renameat2 is not declared by <cstdio>.

namespace zelvo {

bool exchangeFolders(std::filesystem::path const& one, std::filesystem::path const& other)
{
    return ::renameat2(AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE) == 0;
}

} // namespace zelvo
