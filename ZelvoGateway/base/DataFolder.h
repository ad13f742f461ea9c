#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace zelvo::service {

/// The folder in which a gateway keeps its state: mode 0700, its files 0600. A mark in it keeps agents on the
/// same machine out.
/// Throws std::runtime_error with a text for the person who started the program.
class DataFolder {
public:
    /// In the folder while a backup is restored to it.
    static constexpr char const* unfinishedRestore = "restore-unfinished";

    /// Creates the folder if it is missing; removes other people's access if they have any. Refuses one in
    /// which a restore did not finish.
    explicit DataFolder(std::filesystem::path path);
    DataFolder(DataFolder const&) = delete;
    DataFolder& operator=(DataFolder const&) = delete;
    ~DataFolder();

    std::filesystem::path file(std::string const& name) const { return path / name; }
    std::optional<std::string> read(std::string const& name) const;
    void write(std::string const& name, std::string const& text) const;
    void remove(std::string const& name) const;
    /// Keeps a second server out of this folder as long as this object lives.
    void lock();
    /// Whether a server has locked a folder. What a server that was killed left there says nothing about
    /// that.
    static bool isServed(std::filesystem::path const& folder);

private:
    std::filesystem::path path;
    int lockFile = -1;
};

/// Nullopt if there is no such file. Throws std::runtime_error if it can't be read.
std::optional<std::string> textOfFile(std::filesystem::path const& path);
/// Writes a file of mode 0600 atomically; others can never read it.
void writePrivateFile(std::filesystem::path const& path, std::string const& text);

} // namespace zelvo::service
