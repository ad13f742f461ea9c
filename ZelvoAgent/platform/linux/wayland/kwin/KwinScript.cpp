#include "platform/linux/wayland/kwin/KwinScript.h"

#include "base/EmbeddedFile.h"
#include "base/Identifiers.h"
#include "wire/Json.h"

#include <boost/asio/dispatch.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace zelvo {

extern EmbeddedFile const embedded_kwin_windows;

namespace {

constexpr char const* kwin = "org.kde.KWin";
constexpr char const* objectPath = "/dev/zelvo/KwinScript";
constexpr char const* interfaceName = "dev.zelvo.KwinScript";
constexpr Duration pollTime = 10s; // Qt ends a call after 25 s.
constexpr Duration silence = 2s;
constexpr Duration changeInterval = 40ms;
constexpr Duration firstRetry = 250ms; // A KWin that starts has its name before its interfaces.
constexpr Duration maxRetry = 16s;
constexpr int maxLoads = 20;

std::string scriptText(std::string const& service, std::string const& token)
{
    json::object const desk{
        {"service", service}, {"path", objectPath}, {"interface", interfaceName}, {"token", token}};
    return "var desk = " + writeJson(desk) + ";\n" + std::string(embedded_kwin_windows.text());
}

bool writeFile(std::string const& path, std::string const& text)
{
    int const file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (file < 0)
        return false;
    bool const isWritten = ::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    ::close(file);
    return isWritten;
}

/// The script's file, for as long as KWin reads it.
class ScriptFile {
public:
    ScriptFile(std::filesystem::path const& folder, std::string const& text)
        : path((folder / ("zelvo-windows-" + randomHex(8) + ".js")).string()), isThere(writeFile(path, text))
    {
    }
    ~ScriptFile() { ::unlink(path.c_str()); }
    ScriptFile(ScriptFile const&) = delete;
    ScriptFile& operator=(ScriptFile const&) = delete;

    std::string const path;
    bool const isThere;
};

} // namespace

KwinScript::KwinScript(Executor agent, BusConnection& bus, Clock& clock, std::filesystem::path folder)
    : agent(agent), bus(bus), clock(clock), folder(std::move(folder)), retry(firstRetry),
      keepingAlive(agent, clock), missing(agent, clock), pacing(agent, clock)
{
}

KwinScript::~KwinScript() = default;

std::string const& KwinScript::nameInKwin()
{
    // Once, because an update changes what the link says.
    static std::string const name = [] {
        std::error_code ignored;
        auto const program = std::filesystem::read_symlink("/proc/self/exe", ignored);
        return "dev.zelvo.windows." + std::to_string(std::hash<std::string>()(program));
    }();
    return name;
}

void KwinScript::start()
{
    // In this order: the object is there before the script is loaded.
    bus.watchConnection([weak = weak_from_this()](sd_bus* raw) {
        if (auto const self = weak.lock())
            self->connect(raw);
    });
    bus.watchName(kwin, [weak = weak_from_this()](std::string const& owner) {
        if (auto const self = weak.lock())
            self->follow(owner);
    });
    bus.start();
}

void KwinScript::connect(sd_bus* raw)
{
    static constexpr sd_bus_vtable methods[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("Next", "ss", "s", takeNext, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("Changed", "s", "", takeChanged, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END,
    };
    forget();
    object.reset();
    connection = raw;
    sd_bus_slot* slot = nullptr;
    if (raw && sd_bus_add_object_vtable(raw, &slot, objectPath, interfaceName, methods, this) >= 0)
        object.reset(slot);
}

void KwinScript::follow(std::string const& newOwner)
{
    if (owner == newOwner)
        return;
    forget();
    owner = newOwner;
    retry = firstRetry;
    if (owner.empty())
        missing.cancel();
    else
        load();
}

bool KwinScript::isScripts(sd_bus_message* message)
{
    char const* const sender = sd_bus_message_get_sender(message);
    return !token.empty() && sender && owner == sender && readText(message) == token;
}

int KwinScript::takeNext(sd_bus_message* message, void* data, sd_bus_error* error)
{
    auto& self = *static_cast<KwinScript*>(data);
    if (!self.isScripts(message))
        return sd_bus_error_set_const(error, SD_BUS_ERROR_ACCESS_DENIED, "not the script");
    self.next(message);
    return 1;
}

int KwinScript::takeChanged(sd_bus_message* message, void* data, sd_bus_error* error)
{
    auto& self = *static_cast<KwinScript*>(data);
    if (!self.isScripts(message))
        return sd_bus_error_set_const(error, SD_BUS_ERROR_ACCESS_DENIED, "not the script");
    self.reportChange(message);
    return 1;
}

void KwinScript::next(sd_bus_message* message)
{
    std::string const answer = readText(message).value_or("");
    bool const isFirst = !poll && !isGiven && answer.empty();
    poll.reset(sd_bus_message_ref(message));
    missing.cancel();
    retry = firstRetry;
    keepingAlive.in(pollTime, [this] { reply(R"({"verb":"wait"})"); });
    if (isGiven)
        take(answer);
    if (isFirst && changed)
        changed();
    give();
}

void KwinScript::take(std::string const& answer)
{
    isGiven = false;
    Command const command = std::move(commands.front());
    commands.pop_front();
    auto parsed = parseKwinAnswer(answer);
    if (parsed && parsed->command != command.id)
        parsed.reset();
    command.onAnswer(std::move(parsed));
}

void KwinScript::give()
{
    if (!poll || isGiven || commands.empty())
        return;
    isGiven = true;
    reply(commands.front().text);
}

void KwinScript::reply(std::string const& command)
{
    keepingAlive.cancel();
    if (BusMessagePtr const asked = std::exchange(poll, nullptr))
        sd_bus_reply_method_return(asked.get(), "s", command.c_str());
    missing.in(silence, [this] { reload(); });
}

void KwinScript::ask(std::string const& verb, std::string const& window, OnAnswer onAnswer)
{
    if (owner.empty())
        return onAnswer(std::nullopt);
    json::object const text{{"id", ++lastId}, {"verb", verb}, {"window", window}};
    commands.push_back({.id = lastId, .text = writeJson(text), .onAnswer = std::move(onAnswer)});
    give();
}

void KwinScript::abandon()
{
    // One that KWin has stays in its place for the answer. Without an answer the script is loaded again.
    std::size_t const given = isGiven ? 1 : 0;
    while (commands.size() > given) {
        Command const command = std::move(commands.back());
        commands.pop_back();
        command.onAnswer(std::nullopt);
    }
}

void KwinScript::reload()
{
    if (isLoading)
        return;
    forget();
    if (!owner.empty())
        load();
}

void KwinScript::reportChange(sd_bus_message* message)
{
    change.reset(sd_bus_message_ref(message));
    pacing.in(changeInterval, [this] { answerChange(); });
    if (changed)
        changed();
}

void KwinScript::answerChange()
{
    if (BusMessagePtr const asked = std::exchange(change, nullptr))
        sd_bus_reply_method_return(asked.get(), "");
}

void KwinScript::forget()
{
    keepingAlive.cancel();
    missing.cancel();
    pacing.cancel();
    poll.reset();
    change.reset();
    token.clear();
    isGiven = false;
    for (Command const& command : std::exchange(commands, {}))
        command.onAnswer(std::nullopt);
    if (changed && !isEnded)
        changed(); // From here on nothing is reported for a while, so what is known may be old.
}

void KwinScript::load()
{
    if (isEnded || std::exchange(isLoading, true))
        return;
    spawn(agent, [self = shared_from_this()]() -> Task<> {
        bool isLoaded = false;
        try {
            co_await self->loadOnce();
            isLoaded = !self->token.empty();
        } catch (BusFailure const&) {
            isLoaded = false;
        }
        self->isLoading = false;
        // It must ask soon; and a KWin that was replaced meanwhile needs the script too.
        Duration const pause = isLoaded ? silence : self->retry;
        self->retry = std::min(self->retry * 2, maxRetry);
        self->missing.in(pause, [raw = self.get()] { raw->reload(); });
    });
}

Task<> KwinScript::loadOnce()
{
    char const* name = nullptr;
    if (!connection || sd_bus_get_unique_name(connection, &name) < 0)
        co_return;
    std::string const secret = randomHex(16);
    ScriptFile const file(folder, scriptText(name, secret));
    if (!file.isThere)
        co_return;
    std::int32_t const number = co_await loadFile(file.path);
    if (number < 0 || isEnded)
        co_return;
    token = secret;
    co_await run(number);
}

BusCall KwinScript::call(std::string path, std::string member) const
{
    return {.destination = kwin,
            .path = std::move(path),
            .interface = "org.kde.kwin.Scripting",
            .member = std::move(member),
            .mayStart = false};
}

Task<std::int32_t> KwinScript::loadFile(std::string file)
{
    for (int attempt = 0; attempt < maxLoads; ++attempt) {
        BusCall unloading = call("/Scripting", "unloadScript");
        unloading.arguments = [](sd_bus_message* message) {
            sd_bus_message_append(message, "s", nameInKwin().c_str());
        };
        co_await bus.call(std::move(unloading));
        std::int32_t number = -1;
        BusCall loading = call("/Scripting", "loadScript");
        loading.arguments = [file](sd_bus_message* message) {
            sd_bus_message_append(message, "ss", file.c_str(), nameInKwin().c_str());
        };
        auto const readNumber = [&number](sd_bus_message* reply) {
            sd_bus_message_read_basic(reply, 'i', &number);
        };
        co_await bus.call(std::move(loading), readNumber);
        if (number >= 0)
            co_return number;
        co_await clock.sleep(50ms); // An unloaded script keeps its name for a moment.
    }
    co_return -1;
}

Task<> KwinScript::run(std::int32_t number)
{
    BusCall running = call("/Scripting/Script" + std::to_string(number), "run");
    running.interface = "org.kde.kwin.Script";
    BusCall older = running; // Plasma 5
    older.path = "/" + std::to_string(number);
    bool isNew = true;
    try {
        co_await bus.call(std::move(running));
    } catch (BusFailure const&) {
        isNew = false;
    }
    if (!isNew)
        co_await bus.call(std::move(older));
}

void KwinScript::unload()
{
    isEnded = true;
    BusPtr const own = openSessionBus();
    if (!own)
        return;
    sd_bus_message* message = nullptr;
    if (sd_bus_message_new_method_call(own.get(), &message, kwin, "/Scripting", "org.kde.kwin.Scripting",
                                       "unloadScript") < 0)
        return;
    BusMessagePtr const asked(message);
    sd_bus_message_set_auto_start(message, 0);
    sd_bus_message_append(message, "s", nameInKwin().c_str());
    sd_bus_message* reply = nullptr;
    if (sd_bus_call(own.get(), message, 500'000, nullptr, &reply) >= 0)
        sd_bus_message_unref(reply);
}

} // namespace zelvo
