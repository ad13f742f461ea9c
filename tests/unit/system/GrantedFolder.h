#pragma once

#include "TemporaryFolder.h"
#include "drivers/FileAccess.h"
#include "fakes/Run.h"
#include "platform/linux/system/LinuxFileSystem.h"
#include "wire/AgentError.h"

#include <algorithm>
#include <filesystem>
#include <string>

namespace zelvo {

/// FileAccess on real files: a granted folder "in" beside a folder "out" that is not granted. The folders
/// "own" in and beside the granted one, where a test makes them, are the program's own.
class GrantedFolder {
public:
    explicit GrantedFolder(FolderWalk::Method method = FolderWalk::Method::inOneStep)
        : machine(top.path, FolderWalk(method), {top.path / "own", top.path / "in/own"})
    {
        std::filesystem::create_directories(in);
        std::filesystem::create_directories(out);
    }

    std::string read(std::filesystem::path const& path) { return run(io, access.read(path.native())); }
    void write(std::filesystem::path const& path, std::string data)
    {
        run(io, access.write(path.native(), std::move(data)));
    }

    /// The outcome of an access: "ok", an error's wire code, or the text of a FileFailure.
    template <class F>
    static std::string outcome(F use)
    {
        try {
            use();
        } catch (AgentError error) {
            return std::string(rawValue(error));
        } catch (FileFailure const& failure) {
            return failure.code().message();
        }
        return "ok";
    }
    std::string readOutcome(std::filesystem::path const& path)
    {
        return outcome([&] { read(path); });
    }
    std::string writeOutcome(std::filesystem::path const& path, std::string data = "new")
    {
        return outcome([&] { write(path, std::move(data)); });
    }

    /// The number of entries in a folder.
    static std::size_t count(std::filesystem::path const& folder)
    {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
    }

    TemporaryFolder top;
    std::filesystem::path in = top.path / "in";
    std::filesystem::path out = top.path / "out";
    asio::io_context io;
    LinuxFileSystem machine;
    FileAccess access{io.get_executor(), machine, {in.native()}};
};

} // namespace zelvo
