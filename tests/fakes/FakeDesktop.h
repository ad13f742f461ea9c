#pragma once

#include "platform/HotKey.h"
#include "platform/InformationDictionary.h"
#include "platform/MachineFacts.h"
#include "platform/NetworkPath.h"
#include "platform/PowerAssertion.h"
#include "platform/SessionEvents.h"
#include "platform/SingleInstance.h"
#include "platform/SystemAccess.h"
#include "platform/SystemTray.h"
#include "platform/WindowList.h"
#include "platform/Workspace.h"
#include "wire/AgentError.h"

#include <boost/signals2/signal.hpp>

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace zelvo {

/// The small fakes. Each returns what a test has set and records its calls.

class FakeInformationDictionary final : public InformationDictionary {
public:
    std::map<std::string, std::string, std::less<>> texts;
    std::optional<std::string> text(std::string_view key) const override
    {
        auto const entry = texts.find(key);
        return entry == texts.end() ? std::nullopt : std::optional(entry->second);
    }
};

class FakeMachineFacts final : public MachineFacts {
public:
    std::optional<std::string> name = "desk";
    std::string version = "12.0.0";
    std::optional<std::uint64_t> freeBytes = 5ull << 30;
    std::optional<std::uint64_t> memoryBytes = 40ull << 20;
    std::int32_t pid = 4711;

    std::optional<std::string> computerName() override { return name; }
    std::string osVersion() override { return version; }
    std::optional<std::uint64_t> freeDiskBytes() override { return freeBytes; }
    std::optional<std::uint64_t> residentBytes() override { return memoryBytes; }
    std::int32_t ownPid() override { return pid; }
};

class FakeSessionEvents final : public SessionEvents {
public:
    Availability present = Availability::ready;
    std::vector<std::function<void(SessionEvent)>> observers;
    std::function<void()> onObserve;

    void tell(SessionEvent event)
    {
        for (auto const& observer : observers)
            observer(event);
    }
    Availability current() const override { return present; }
    void observe(std::function<void(SessionEvent)> observer) override
    {
        observers.push_back(std::move(observer));
        if (onObserve)
            onObserve();
    }
};

class FakePowerAssertions final : public PowerAssertions {
public:
    int held = 0;
    int taken = 0;
    std::string lastName;

    std::unique_ptr<PowerAssertion> preventIdleSleep(std::string name) override
    {
        lastName = std::move(name);
        ++taken;
        return std::make_unique<Held>(held);
    }

private:
    class Held final : public PowerAssertion {
    public:
        explicit Held(int& counter) : count(counter) { ++count; }
        Held(Held const&) = delete;
        Held& operator=(Held const&) = delete;
        ~Held() override { --count; }

    private:
        int& count;
    };
};

class FakeNetworkPath final : public NetworkPath {
public:
    std::string host;
    std::function<void(bool)> update;
    std::function<void()> onStart;
    void start(std::string hostName, std::function<void(bool)> onUpdate) override
    {
        host = std::move(hostName);
        update = std::move(onUpdate);
        if (onStart)
            onStart();
    }
};

class FakeHotKey final : public HotKey {
public:
    std::function<void()> press;
    std::function<void()> onStart;
    void start(std::function<void()> onPressed) override
    {
        press = std::move(onPressed);
        if (onStart)
            onStart();
    }
};

class FakeSystemTray final : public SystemTray {
public:
    TrayState state;
    std::vector<std::function<void()>> observers;

    void become(TrayState next)
    {
        state = next;
        for (auto const& observer : observers)
            observer();
    }
    TrayState current() const override { return state; }
    void observe(std::function<void()> observer) override { observers.push_back(std::move(observer)); }
};

class FakeWorkspace final : public Workspace {
public:
    std::optional<RunningApplication> front;
    std::map<std::int32_t, RunningApplication> running;
    std::vector<std::string> openedUrls;
    int looks = 0;
    std::function<void(int)> onLook; ///< called with `looks`
    std::vector<RunningApplication> applications;
    std::map<std::string, std::string> locations;      ///< by identifier
    std::map<std::string, std::string> namedLocations; ///< by name
    std::map<std::string, ApplicationBundle> bundles;  ///< by location
    std::vector<std::string> opened;                   ///< locations
    Instant openDeadline{};                            ///< of the last open
    std::optional<bool> mayStart;                      ///< whether the last open may start the application
    std::optional<std::string> openFailure;            ///< if set, opening fails with it
    std::function<void(std::string const&)> onOpen;    ///< called with the location before open() returns

    std::optional<RunningApplication> frontmostApplication() override
    {
        ++looks;
        if (onLook)
            onLook(looks);
        return front;
    }
    std::optional<RunningApplication> application(std::int32_t pid) override
    {
        auto const found = running.find(pid);
        return found == running.end() ? std::nullopt : std::optional(found->second);
    }
    std::vector<RunningApplication> runningApplications() override { return applications; }
    std::optional<std::string> applicationLocation(std::string identifier) override
    {
        return valueOf(locations, identifier);
    }
    std::optional<std::string> applicationLocationNamed(std::string name) override
    {
        return valueOf(namedLocations, name);
    }
    std::optional<ApplicationBundle> bundle(std::string location) override
    {
        return valueOf(bundles, location);
    }
    Task<std::string> openApplication(std::string location, NotRunning notRunning, Instant deadline) override
    {
        openDeadline = deadline;
        if (openFailure)
            throw std::runtime_error(*openFailure);
        opened.push_back(location);
        mayStart = notRunning == NotRunning::isStarted;
        if (onOpen)
            onOpen(location);
        auto const known = bundle(location);
        co_return known ? known->localizedName : "";
    }
    bool openUrl(std::string url) override
    {
        openedUrls.push_back(std::move(url));
        return true;
    }

private:
    template <class T>
    static std::optional<T> valueOf(std::map<std::string, T> const& values, std::string const& key)
    {
        auto const found = values.find(key);
        return found == values.end() ? std::nullopt : std::optional(found->second);
    }
};

class FakeWindowList final : public WindowList {
public:
    std::optional<std::vector<WindowEntry>> list = std::vector<WindowEntry>{};
    std::optional<AgentError> failure;
    std::optional<std::vector<WindowEntry>> windows() override
    {
        if (failure)
            throw *failure;
        return list;
    }
};

class FakeSystemAccess final : public SystemAccess {
public:
    Permissions granted{.accessibility = true, .screenRecording = true};
    PermissionCauses missing;
    std::vector<PermissionCause::Kind> requested; ///< what the person asked for
    std::function<void()> onRead;
    boost::signals2::signal<void()> changed; ///< a test emits it

    Permissions current() override
    {
        if (onRead)
            onRead();
        return granted;
    }
    PermissionCauses causes() override { return missing; }
    void request(PermissionCause::Kind kind) override { requested.push_back(kind); }
    boost::signals2::connection observe(std::function<void()> observer) override
    {
        return changed.connect(observer);
    }
};

class FakeSingleInstance final : public SingleInstance {
public:
    bool isFirst = true;
    Requests requests;
    bool claim(std::vector<std::string>, Requests given) override
    {
        requests = std::move(given);
        return isFirst;
    }
};

} // namespace zelvo
