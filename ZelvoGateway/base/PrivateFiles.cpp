#include "ZelvoGateway/base/PrivateFiles.h"

#include "wire/PrivateMark.h"

#include <sys/xattr.h>

namespace zelvo::service {

void markPrivate(int file)
{
    static_cast<void>(::fsetxattr(file, PrivateMark::attribute, "1", 1, 0));
}

void markPrivate(std::filesystem::path const& file)
{
    static_cast<void>(::setxattr(file.c_str(), PrivateMark::attribute, "1", 1, 0));
}

} // namespace zelvo::service
