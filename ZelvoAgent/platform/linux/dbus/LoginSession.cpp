#include "platform/linux/dbus/LoginSession.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

namespace zelvo {

namespace {

constexpr char const* service = "org.freedesktop.login1";
constexpr char const* managerPath = "/org/freedesktop/login1";
constexpr char const* manager = "org.freedesktop.login1.Manager";
constexpr char const* session = "org.freedesktop.login1.Session";
constexpr Duration searchPause = 5s;
constexpr int failuresForgiven = 4;

} // namespace

LoginSession::LoginSession(Executor agent, Clock& clock, BusConnection& system, OwnSession own, Events events)
    : agent(std::move(agent)), clock(clock), system(system), own(std::move(own)), events(std::move(events))
{
}

void LoginSession::start()
{
    std::string const fromManager =
        std::string("interface='") + manager + "',path='" + managerPath + "',member=";
    auto const findAnew = [](LoginSession& self, sd_bus_message*) { self.find(); };
    auto const watch = [this](std::string const& match,
                              std::function<void(LoginSession&, sd_bus_message*)> onSignal) {
        system.watchSignal(
            std::string("type='signal',sender='") + service + "'," + match,
            [weak = weak_from_this(), onSignal = std::move(onSignal)](sd_bus_message* message) {
                if (auto const self = weak.lock())
                    onSignal(*self, message);
            });
    };
    watch(fromManager + "'SessionNew'", findAnew);
    watch(fromManager + "'SessionRemoved'", findAnew);
    watch(fromManager + "'PrepareForSleep'", [](LoginSession& self, sd_bus_message* message) {
        if (auto const goesToSleep = readTruth(message))
            self.events.onSleep(*goesToSleep);
    });
    watch(fromManager + "'PrepareForShutdown'", [](LoginSession& self, sd_bus_message* message) {
        if (readTruth(message) == true)
            self.events.onShutdown();
    });
    watch("interface='org.freedesktop.DBus.Properties',member='PropertiesChanged',"
          "path_namespace='/org/freedesktop/login1/session'",
          [](LoginSession& self, sd_bus_message* message) { self.propertiesChanged(message); });
    system.watchName(service, [weak = weak_from_this()](std::string const& owner) {
        if (auto const self = weak.lock())
            self->ownerChanged(owner);
    });
}

void LoginSession::ownerChanged(std::string const& owner)
{
    grace.cancel();
    if (!owner.empty()) {
        delayShutdown();
        return find();
    }
    path.clear();
    if (!facts)
        return;
    grace = spawn(agent, [weak = weak_from_this(), &time = clock]() -> Task<> {
        co_await time.sleep(restartPatience);
        if (auto const self = weak.lock())
            self->report(std::nullopt);
    });
}

void LoginSession::delayShutdown()
{
    BusCall inhibit{.destination = service,
                    .path = managerPath,
                    .interface = manager,
                    .member = "Inhibit",
                    .arguments = [](sd_bus_message* message) {
                        sd_bus_message_append(message, "ssss", "shutdown", "Zelvo",
                                              "Recordings are being closed", "delay");
                    }};
    inhibit.mayStart = false;
    system.ask(std::move(inhibit), [weak = weak_from_this()](sd_bus_message* reply) {
        auto const self = weak.lock();
        int raw = -1; // The message's own.
        if (self && reply && sd_bus_message_read(reply, "h", &raw) > 0)
            self->shutdownDelay.reset(::fcntl(raw, F_DUPFD_CLOEXEC, 0));
    });
}

void LoginSession::find()
{
    isStale = true;
    if (std::exchange(isSearching, true))
        return;
    spawn(agent, [self = shared_from_this()]() -> Task<> {
        for (int failures = 0; self->isStale && failures < failuresForgiven;) {
            self->isStale = false;
            bool const isFound = co_await self->findOnce();
            if (isFound)
                continue; // Searches again if something changed meanwhile.
            self->isStale = true;
            ++failures;
            co_await self->clock.sleep(searchPause);
        }
        self->isSearching = false;
    });
}

/// False if logind did not answer.
Task<bool> LoginSession::findOnce()
{
    try {
        auto const candidates = co_await sessions();
        if (!isStale)
            choose(candidates);
        co_return true;
    } catch (BusFailure const&) {
        co_return false;
    }
}

Task<std::vector<LoginSession::Candidate>> LoginSession::sessions()
{
    std::vector<Candidate> candidates;
    BusCall list{.destination = service, .path = managerPath, .interface = manager, .member = "ListSessions"};
    list.mayStart = false;
    auto readList = [&candidates](sd_bus_message* reply) {
        if (sd_bus_message_enter_container(reply, SD_BUS_TYPE_ARRAY, "(susso)") <= 0)
            return;
        char const* id = nullptr;
        char const* user = nullptr;
        char const* seat = nullptr;
        char const* path = nullptr;
        std::uint32_t uid = 0;
        while (sd_bus_message_read(reply, "(susso)", &id, &uid, &user, &seat, &path) > 0)
            candidates.push_back({.path = path, .user = uid, .properties = {}});
    };
    co_await system.call(std::move(list), readList);
    for (Candidate& candidate : candidates) {
        BusCall all{
            .destination = service,
            .path = candidate.path,
            .interface = "org.freedesktop.DBus.Properties",
            .member = "GetAll",
            .arguments = [](sd_bus_message* message) { sd_bus_message_append(message, "s", session); }};
        all.mayStart = false;
        auto readAll = [&candidate](sd_bus_message* reply) { candidate.properties = readDictionary(reply); };
        try {
            co_await system.call(std::move(all), readAll);
        } catch (BusFailure const&) {
            continue; // It ended meanwhile.
        }
    }
    co_return candidates;
}

int LoginSession::rank(Candidate const& candidate) const
{
    auto const property = [&](char const* name) {
        return entryOf<std::string>(candidate.properties, name).value_or("");
    };
    LoginCandidate const known{.id = property("Id"),
                               .display = displayOf(property("Display")),
                               .type = property("Type"),
                               .isEnding = property("State") == "closing",
                               .isActive = entryOf<bool>(candidate.properties, "Active").value_or(false),
                               .isOurs = candidate.user == ::geteuid()};
    return rankOf(known, own);
}

void LoginSession::choose(std::vector<Candidate> const& candidates)
{
    auto const best = std::ranges::max_element(
        candidates, [this](auto const& left, auto const& right) { return rank(left) < rank(right); });
    if (best == candidates.end() || rank(*best) < 0) {
        path.clear();
        return report(std::nullopt);
    }
    path = best->path;
    report(LoginFacts{.isActive = entryOf<bool>(best->properties, "Active").value_or(true),
                      .isLocked = entryOf<bool>(best->properties, "LockedHint").value_or(false)});
}

void LoginSession::propertiesChanged(sd_bus_message* message)
{
    char const* const sender = sd_bus_message_get_path(message);
    if (isSearching) {
        isStale = true; // The result of the search may be older than this.
        return;
    }
    if (path.empty() || !sender || path != sender || readText(message) != session)
        return;
    BusDictionary const changed = readDictionary(message);
    auto const dropped = readTexts(message);
    auto const isDropped = [&](char const* name) {
        return std::ranges::find(dropped, name) != dropped.end();
    };
    if (!facts || isDropped("Active") || isDropped("LockedHint"))
        return find();
    report(LoginFacts{.isActive = entryOf<bool>(changed, "Active").value_or(facts->isActive),
                      .isLocked = entryOf<bool>(changed, "LockedHint").value_or(facts->isLocked)});
}

void LoginSession::report(std::optional<LoginFacts> next)
{
    if (facts == next)
        return;
    facts = next;
    events.onFacts(next);
}

} // namespace zelvo
