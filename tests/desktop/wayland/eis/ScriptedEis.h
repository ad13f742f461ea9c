#pragma once

#include "base/Task.h"
#include "platform/linux/wayland/portal/EisRegions.h"
#include "platform/portable/files/UniqueFd.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>

#include <libeis.h>

#include <map>
#include <string>
#include <vector>

namespace zelvo::test {

/// The compositor's end of EIS for one client, on the test's thread. It notes events by their device's name:
/// "pointer: move 10 20".
class ScriptedEis {
public:
    /// From now on it reads whenever `io` runs.
    explicit ScriptedEis(asio::io_context& io);
    ~ScriptedEis();
    ScriptedEis(ScriptedEis const&) = delete;
    ScriptedEis& operator=(ScriptedEis const&) = delete;

    /// The client's end.
    UniqueFd connect();
    /// Adds a device that takes events; the client must have bound the seat.
    void addKeyboard(std::string const& name);
    void addPointer(std::string const& name, std::vector<EisRegion> const& regions);
    void pause(std::string const& name) { eis_device_pause(devices.at(name)); }
    void resume(std::string const& name) { eis_device_resume(devices.at(name)); }
    void remove(std::string const& name);
    /// Stops reading what the client sends, or goes on.
    void setReading(bool isReading);
    void disconnect() { eis_client_disconnect(client); }

    bool isBound = false;     ///< the client has bound the seat
    bool isConnected = false; ///< the client has not ended the connection
    std::vector<std::string> log;
    int events = 0;
    int frames = 0; ///< that have a time of now

private:
    void wait();
    void dispatch();
    void handle(eis_event* event);
    void welcome(eis_client* next);
    void note(eis_event* event, std::string const& what);
    eis_device* make(std::string const& name);
    void add(std::string const& name, eis_device* device);

    eis* server;
    bool reads = true;
    asio::posix::stream_descriptor descriptor;
    eis_client* client = nullptr;
    eis_seat* seat = nullptr;
    std::map<std::string, eis_device*> devices;
};

} // namespace zelvo::test
