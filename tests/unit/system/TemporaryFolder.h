#pragma once

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace zelvo {

/// A new folder for one test, deleted at its end.
class TemporaryFolder {
public:
    TemporaryFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "zelvo-test-XXXXXX").string();
        if (!::mkdtemp(name.data()))
            throw std::runtime_error("no temporary folder");
        path = name;
    }
    TemporaryFolder(TemporaryFolder const&) = delete;
    TemporaryFolder& operator=(TemporaryFolder const&) = delete;
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }

    std::filesystem::path path;
};

inline std::string contentOf(std::filesystem::path const& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf(); // Iterators throw on a /proc file if the process ends during the read.
    return content.str();
}

/// Writes in place, as an editor might.
inline void writeFile(std::filesystem::path const& file, std::string const& content)
{
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary | std::ios::trunc) << content;
}

inline unsigned modeOf(std::filesystem::path const& file)
{
    struct stat facts{};
    return ::stat(file.c_str(), &facts) == 0 ? facts.st_mode & 07777u : 0;
}

} // namespace zelvo
