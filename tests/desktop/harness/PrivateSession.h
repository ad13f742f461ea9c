#pragma once

#include "desktop/harness/ChildProcesses.h"
#include "desktop/harness/WaitFor.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace zelvo::test {

/// A pipe that a program writes to when it is ready.
class ReadyPipe {
public:
    ReadyPipe();
    ~ReadyPipe();
    ReadyPipe(ReadyPipe const&) = delete;
    ReadyPipe& operator=(ReadyPipe const&) = delete;

    /// One line, without its end. Throws if none arrives.
    std::string line(std::string const& program);
    int writingEnd() const { return ends[1]; }

private:
    int ends[2]{};
};

/// What every private desktop needs, whichever display server it has: new folders, an environment that
/// inherits next to nothing, a session bus, and an end to all of its processes. The destructor removes the
/// folders. Throws std::runtime_error if something is missing or does not start. Thread: the test's main
/// thread.
class PrivateSession {
public:
    /// extra  added to the environment
    explicit PrivateSession(Environment const& extra = {});
    virtual ~PrivateSession();
    PrivateSession(PrivateSession const&) = delete;
    PrivateSession& operator=(PrivateSession const&) = delete;

    std::filesystem::path const& home() const { return homeFolder; }
    std::filesystem::path configHome() const { return homeFolder / ".config"; }
    std::filesystem::path dataHome() const { return homeFolder / ".local" / "share"; }
    std::filesystem::path runtimeFolder() const { return root / "run"; }
    /// The environment of programs on this desktop.
    Environment const& environment() const { return settings; }
    /// Sets that environment in this process too, for code under test that reads it.
    void adoptEnvironment() const;

    /// Starts a program on the desktop. It ends with the desktop.
    /// extra  added to its environment
    pid_t start(std::vector<std::string> command, Environment extra = {}, std::vector<int> inherited = {});
    /// Runs a program to its end and returns its output. Throws if it fails or takes longer than `seconds`.
    std::string run(std::vector<std::string> command, int seconds = 10);
    /// Calls a method of a service on the session bus. Returns the answer as gdbus prints it; throws if it
    /// fails. arguments  in GVariant's text format
    std::string call(std::string const& service,
                     std::string const& path,
                     std::string const& method,
                     std::vector<std::string> const& arguments = {});
    /// Whether a name on the session bus has an owner.
    bool hasOwner(std::string const& name);
    /// Sets IsEnabled of org.a11y.Status, which starts the AT-SPI bus.
    void enableAccessibility();
    /// IsEnabled of org.a11y.Status.
    bool isAccessibilityEnabled();
    ChildProcesses& processes() { return *children; }

protected:
    void startBus();

    Environment settings;
    std::unique_ptr<ChildProcesses> children;

private:
    void makeFolders();

    std::filesystem::path root;
    std::filesystem::path homeFolder;
};

} // namespace zelvo::test
