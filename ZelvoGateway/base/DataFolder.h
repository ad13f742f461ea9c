#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace zelvo::service {

/// The folder in which a gateway keeps its state: mode 0700, its files 0600.
/// Errors: std::runtime_error with a text for the person who started the program.
class DataFolder {
public:
    /// Makes the folder when it is missing; takes other people's rights away when it has any.
    explicit DataFolder(std::filesystem::path path);
    DataFolder(DataFolder const&) = delete;
    DataFolder& operator=(DataFolder const&) = delete;
    ~DataFolder();

    std::filesystem::path file(std::string const& name) const { return path / name; }
    std::optional<std::string> read(std::string const& name) const;
    void write(std::string const& name, std::string const& text) const;
    void remove(std::string const& name) const;
    /// Keeps a second server out of this folder until the program's end.
    void lock();

private:
    std::filesystem::path path;
    int lockFile = -1;
};

/// Writes a file of mode 0600 in one step: it is there whole or not at all, and never readable by others.
void writePrivateFile(std::filesystem::path const& path, std::string const& text);

} // namespace zelvo::service
