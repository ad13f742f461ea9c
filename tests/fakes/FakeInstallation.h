#pragma once

#include "platform/Installation.h"

#include <string>
#include <vector>

namespace zelvo {

/// A program in its proper place; a test moves it elsewhere.
class FakeInstallation final : public Installation {
public:
    ProgramPlaces where{.program = "/home/ann/.local/share/zelvo-agent/zelvo-agent",
                        .applicationsPath = "/home/ann/.local/share/zelvo-agent/zelvo-agent",
                        .temporary = {"/media/", "/run/media/", "/mnt/", "/tmp/", "/var/tmp/"},
                        .permanent = {"/usr/", "/opt/"},
                        .development = {"/build/run/bin/"}};
    std::optional<std::string> version;
    bool installs = true;
    int installed = 0;
    std::vector<std::string> startedAfterEnd;
    bool starts = true;

    ProgramPlaces places() override { return where; }
    std::optional<std::string> installedVersion() override { return version; }
    bool install() override
    {
        ++installed;
        return installs;
    }
    bool startAfterEnd(std::string program) override
    {
        startedAfterEnd.push_back(std::move(program));
        return starts;
    }
};

} // namespace zelvo
