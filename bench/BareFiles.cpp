#include "BareFiles.h"

#include "platform/portable/files/UniqueFd.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace zelvo {

void bareWrite(std::filesystem::path const& file, std::string_view data)
{
    std::string const next = file.native() + ".next";
    UniqueFd const descriptor(::open(next.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    for (std::size_t done = 0; done < data.size();) {
        ssize_t const count = ::write(descriptor.get(), data.data() + done, data.size() - done);
        if (count <= 0)
            std::abort();
        done += static_cast<std::size_t>(count);
    }
    if (::fsync(descriptor.get()) != 0 || ::rename(next.c_str(), file.c_str()) != 0)
        std::abort();
}

std::string bareRead(std::filesystem::path const& file)
{
    UniqueFd const descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    std::string content(std::filesystem::file_size(file), '\0');
    for (std::size_t done = 0; done < content.size();) {
        ssize_t const count = ::read(descriptor.get(), content.data() + done, content.size() - done);
        if (count <= 0)
            std::abort();
        done += static_cast<std::size_t>(count);
    }
    return content;
}

} // namespace zelvo
