#include "platform/linux/movie/LibavFailures.h"

#include "platform/MovieFile.h"
#include "platform/linux/movie/Libav.h"

#include <array>

namespace zelvo {

void checkLibav(int code, std::string const& what)
{
    if (code >= 0)
        return;
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    libav().av_strerror(code, text.data(), text.size());
    throw MovieFailure{what + ": " + text.data()};
}

} // namespace zelvo
