#include "platform/portable/files/FileMarks.h"
#include "wire/PrivateMark.h"

#include <sys/xattr.h>

namespace zelvo::files {

void markPrivate(int file)
{
    static_cast<void>(::fsetxattr(file, PrivateMark::attribute, "1", 1, 0));
}

} // namespace zelvo::files
