#include "platform/linux/wayland/kwin/KwinWindows.h"

#include "platform/linux/wayland/kwin/KwinScript.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <string_view>
#include <utility>

namespace zelvo {

namespace {

constexpr auto patience = std::chrono::milliseconds(450);

/// Effects that cover all windows and take the keyboard.
constexpr std::array<std::string_view, 6> covering{"overview",       "desktopgrid", "windowview",
                                                   "presentwindows", "tileseditor", "cube"};

BusCall propertyOf(std::string path, std::string interface, std::string name)
{
    return {.destination = "org.kde.KWin",
            .path = std::move(path),
            .interface = "org.freedesktop.DBus.Properties",
            .member = "Get",
            .arguments =
                [interface = std::move(interface), name = std::move(name)](sd_bus_message* message) {
                    sd_bus_message_append(message, "ss", interface.c_str(), name.c_str());
                },
            .patience = patience,
            .mayStart = false};
}

bool isCovering(sd_bus_message* reply)
{
    if (sd_bus_message_enter_container(reply, 'v', "as") <= 0)
        return false;
    return std::ranges::any_of(readTexts(reply), [](std::string const& effect) {
        return std::ranges::find(covering, effect) != covering.end();
    });
}

bool isTrue(sd_bus_message* reply)
{
    return sd_bus_message_enter_container(reply, 'v', "b") > 0 && readTruth(reply).value_or(false);
}

/// While the desktop is shown, KWin counts ordinary windows as before.
void takeOffScreen(WindowsNow& now)
{
    using Kind = CompositorWindow::Kind;
    for (CompositorWindow& window : now.windows)
        if (window.kind == Kind::normal || window.kind == Kind::dialog)
            window.isOnScreen = false;
}

} // namespace

/// A question and what has arrived of its answer.
struct KwinWindows::Exchange {
    std::mutex lock;
    std::condition_variable ended;
    int open = 1; // lock; parts that are still to arrive, as all below
    std::optional<KwinAnswer> answer;
    bool isCovered = false;
    bool showsDesktop = false;

    template <class Change>
    void finish(Change change)
    {
        std::scoped_lock const guard(lock);
        change();
        if (--open == 0)
            ended.notify_all();
    }
};

KwinWindows::KwinWindows(Executor agent, BusConnection& session, Clock& clock, std::filesystem::path folder)
    : agent(agent), session(session),
      script(std::make_shared<KwinScript>(agent, session, clock, std::move(folder)))
{
}

KwinWindows::~KwinWindows()
{
    script->unload();
    // Its timers and messages belong to the agent's thread.
    asio::post(agent, [kept = std::move(script)] {});
}

void KwinWindows::start()
{
    script->start();
}

void KwinWindows::observe(std::function<void()> observer)
{
    script->observe(std::move(observer));
}

std::shared_ptr<KwinWindows::Exchange> KwinWindows::exchange(std::string verb, std::string window)
{
    auto going = std::make_shared<Exchange>();
    bool const isLook = verb == "look";
    if (isLook)
        askDesktop(going);
    asio::post(agent, [script = script, going, verb = std::move(verb), window = std::move(window)] {
        script->ask(verb, window, [going](std::optional<KwinAnswer> answer) {
            going->finish([&] { going->answer = std::move(answer); });
        });
    });
    std::unique_lock guard(going->lock);
    bool const isWhole = going->ended.wait_for(guard, patience, [&] { return going->open == 0; });
    if (!isWhole)
        asio::post(agent, [script = script] { script->abandon(); });
    return isWhole ? going : nullptr;
}

void KwinWindows::askDesktop(std::shared_ptr<Exchange> const& going)
{
    going->open += 2;
    session.ask(
        propertyOf("/Effects", "org.kde.kwin.Effects", "activeEffects"),
        [going](sd_bus_message* reply) { going->finish([&] { going->isCovered = isCovering(reply); }); },
        [going] { going->finish([] {}); });
    session.ask(
        propertyOf("/KWin", "org.kde.KWin", "showingDesktop"),
        [going](sd_bus_message* reply) { going->finish([&] { going->showsDesktop = isTrue(reply); }); },
        [going] { going->finish([] {}); });
}

std::optional<WindowsNow> KwinWindows::look()
{
    std::scoped_lock const guard(turn);
    auto const made = exchange("look", "");
    if (!made || !made->answer || !made->answer->windows)
        return std::nullopt;
    WindowsNow now = std::move(*made->answer->windows);
    now.isCovered = made->isCovered;
    if (made->showsDesktop)
        takeOffScreen(now);
    return now;
}

bool KwinWindows::activate(std::string const& id)
{
    std::scoped_lock const guard(turn);
    auto const made = exchange("activate", id);
    return made && made->answer && made->answer->isDone;
}

bool KwinWindows::putInFront(std::string const& id)
{
    std::scoped_lock const guard(turn);
    auto const made = exchange("putInFront", id);
    return made && made->answer && made->answer->isDone;
}

} // namespace zelvo
