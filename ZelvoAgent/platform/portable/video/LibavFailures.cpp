#include "platform/portable/video/LibavFailures.h"

#include "platform/VideoFile.h"
#include "platform/portable/video/Libav.h"

#include <array>

namespace zelvo {

void checkLibav(int code, std::string const& what)
{
    if (code >= 0)
        return;
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    libav().av_strerror(code, text.data(), text.size());
    throw VideoFailure{what + ": " + text.data()};
}

} // namespace zelvo
