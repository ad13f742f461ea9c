#include "platform/portable/updates/UpdateFailures.h"

#include "base/LocalizedTexts.h"

#include <cerrno>
#include <system_error>

namespace zelvo {

UpdateAbort updateFailure(std::string_view key)
{
    return {.description = localized(key)};
}

UpdateAbort updateDiskFailure()
{
    return {.description = localized("update.error.disk", {std::generic_category().message(errno)})};
}

} // namespace zelvo
