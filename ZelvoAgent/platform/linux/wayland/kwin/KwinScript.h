#pragma once

#include "base/Clock.h"
#include "base/DelayedCall.h"
#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/wayland/kwin/KwinReport.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zelvo {

/// Our script inside KWin. It asks for a command by a D-Bus call that is answered when there is one, so an
/// exchange takes two messages and nothing polls. The script is loaded when KWin appears, and again when it
/// stops asking. Only KWin's connection, with the secret that was given to the script, is heard.
/// Thread: agent, except where noted.
class KwinScript : public std::enable_shared_from_this<KwinScript> {
public:
    using OnAnswer = std::function<void(std::optional<KwinAnswer>)>;

    /// Thread: any. The bus and the clock must outlive it.
    /// folder  where the script's file is for a moment: $XDG_RUNTIME_DIR
    KwinScript(Executor agent, BusConnection& bus, Clock& clock, std::filesystem::path folder);
    ~KwinScript();
    KwinScript(KwinScript const&) = delete;
    KwinScript& operator=(KwinScript const&) = delete;

    /// What the script is called in KWin. The same in all runs of a program, so that what a crashed run left
    /// is found; that of another program has another name, and stays. Thread: any.
    static std::string const& nameInKwin();

    /// Begins to follow KWin. Thread: any.
    void start();
    /// Sends a command. `onAnswer` is called once, with `nullopt` if the script is lost.
    /// verb    "look", "activate" or "putInFront"
    /// window  the window's id; empty for "look"
    void ask(std::string const& verb, std::string const& window, OnAnswer onAnswer);
    /// Nobody waits for the commands any more: those that were not sent yet are dropped.
    void abandon();
    /// Ends what waits for an answer and loads the script anew, unless that is being done.
    void reload();
    /// `onChange` is called after changes of windows, at most some times a second, and each time the script
    /// was loaded. Before start().
    void observe(std::function<void()> onChange) { changed = std::move(onChange); }
    /// Removes the script from KWin and loads it no more. Blocks for some milliseconds. Thread: any.
    void unload();

private:
    struct Command {
        std::int64_t id = 0;
        std::string text;
        OnAnswer onAnswer;
    };
    static int takeNext(sd_bus_message* message, void* data, sd_bus_error* error);
    static int takeChanged(sd_bus_message* message, void* data, sd_bus_error* error);

    void connect(sd_bus* raw);
    void follow(std::string const& newOwner);
    bool isScripts(sd_bus_message* message);
    void next(sd_bus_message* message);
    void take(std::string const& answer);
    void give();
    void reply(std::string const& command);
    void reportChange(sd_bus_message* message);
    void answerChange();
    void forget();
    void load();
    Task<> loadOnce();
    Task<std::int32_t> loadFile(std::string file);
    Task<> run(std::int32_t number);
    BusCall call(std::string path, std::string member) const;

    Executor agent;
    BusConnection& bus;
    Clock& clock;
    std::filesystem::path folder;
    std::function<void()> changed;
    sd_bus* connection = nullptr;
    BusSlotPtr object;
    std::string owner; ///< KWin's connection; empty if KWin does not run
    std::string token; ///< the secret of the script that was loaded last
    BusMessagePtr poll;
    BusMessagePtr change;
    std::deque<Command> commands; ///< the first one may have been given
    bool isGiven = false;
    bool isLoading = false;
    std::atomic<bool> isEnded = false; // any thread
    std::int64_t lastId = 0;
    Duration retry;           ///< until a load that failed is tried again
    DelayedCall keepingAlive; ///< ends a poll before KWin's time-out does
    DelayedCall missing;      ///< loads a script again that asks no more
    DelayedCall pacing;       ///< answers a report of a change
};

} // namespace zelvo
