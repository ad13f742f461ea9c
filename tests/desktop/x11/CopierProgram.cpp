// An application that owns the clipboard: `copier TEXT [--later] [--window] [--manager]`. It copies the text
// at its start and with each SIGUSR1; with --later only then. --window gives it a window, --manager makes it
// the desktop's clipboard manager.

#include "desktop/harness/Painter.h"
#include "desktop/x11/ClipboardPeer.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace zelvo::test {
namespace {

int copySignals()
{
    sigset_t signals{};
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, 0);
}

void serve(std::string const& text, std::vector<std::string> const& options)
{
    auto const has = [&](char const* option) { return std::ranges::count(options, option) > 0; };
    int const signals = copySignals();
    std::string const display = std::getenv("DISPLAY");
    ClipboardPeer peer(display);
    std::unique_ptr<Painter> painter;
    if (has("--window")) {
        painter = std::make_unique<Painter>(display);
        painter->open({.x = 600, .y = 600, .title = "copier"});
    }
    if (has("--manager"))
        peer.take("CLIPBOARD_MANAGER");
    if (!has("--later"))
        peer.serve(text);
    for (;;) {
        peer.pump();
        std::array waited = {pollfd{xcb_get_file_descriptor(peer.x()), POLLIN, 0},
                             pollfd{signals, POLLIN, 0}};
        ::poll(waited.data(), waited.size(), -1);
        signalfd_siginfo info{};
        if (waited[1].revents && ::read(signals, &info, sizeof info) == sizeof info)
            peer.serve(text);
        if (waited[0].revents & (POLLHUP | POLLERR))
            return;
    }
}

} // namespace
} // namespace zelvo::test

int main(int count, char** arguments)
{
    if (count < 2)
        return 2;
    zelvo::test::serve(arguments[1], {arguments + 2, arguments + count});
    return 0;
}
