#include "desktop/harness/Chromium.h"

namespace zelvo::test {

std::vector<std::string> chromiumCommand(std::filesystem::path const& profile,
                                         std::vector<std::string> const& arguments)
{
    std::vector<std::string> command = {"chromium",
                                        "--no-sandbox",
                                        "--no-first-run",
                                        "--no-default-browser-check",
                                        "--disable-gpu",
                                        "--disable-dev-shm-usage",
                                        "--password-store=basic",
                                        "--disable-background-networking",
                                        "--disable-component-update",
                                        "--disable-sync",
                                        "--user-data-dir=" + profile.string()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

} // namespace zelvo::test
