#include "end_to_end/TrialRun.h"

#include <fstream>
#include <iterator>
#include <utility>

namespace zelvo::test {

namespace fs = std::filesystem;

TrialRun::TrialRun(PrivateSession& desktop, fs::path kept) : desktop(desktop), kept(std::move(kept)) {}

void TrialRun::start(std::vector<std::string> const& how)
{
    std::vector<std::string> command = {"env"};
    command.insert(command.end(), how.begin(), how.end());
    command.push_back("ZELVO_TEST_MARK=" + kept.string());
    command.insert(command.end(), {ZELVO_RUN_SCRIPT, ZELVO_BUILD, kept.string()});
    script = desktop.start(command);
}

bool TrialRun::says(std::string const& text)
{
    return waitFor([&] { return said().find(text) != std::string::npos; }, 60s);
}

std::string TrialRun::lineAfter(std::string const& heading) const
{
    std::string const text = said();
    auto const begin = text.find('\n', text.find(heading)) + 1;
    return text.substr(begin, text.find('\n', begin) - begin);
}

std::string TrialRun::runLineAfter(std::string const& heading, fs::path const& folder) const
{
    return desktop.run({"sh", "-c", "cd " + folder.string() + " && " + lineAfter(heading)}, 30);
}

int TrialRun::running() const
{
    int count = 0;
    for (fs::directory_entry const& entry : fs::directory_iterator("/proc")) {
        std::ifstream stream(entry.path() / "environ", std::ios::binary);
        std::string const environment{std::istreambuf_iterator<char>(stream), {}};
        count += environment.find("ZELVO_TEST_MARK=" + kept.string()) != std::string::npos;
        count += environment.find("HOME=" + kept.string()) != std::string::npos;
    }
    return count;
}

int TrialRun::end(int signal)
{
    ::kill(script, signal);
    return desktop.processes().waitForEnd(script, 20);
}

} // namespace zelvo::test
