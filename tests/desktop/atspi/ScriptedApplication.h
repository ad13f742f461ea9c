#pragma once

#include "desktop/atspi/ScriptedTree.h"
#include "platform/linux/dbus/BusMessages.h"

#include <cstdio>
#include <string>
#include <vector>

namespace zelvo::test {

/// An application on the accessibility bus that serves a tree and records each call, one line each: the
/// element's number, the member, and the name of the property if it reads one. Thread: one.
class ScriptedApplication {
public:
    /// Ends the process if there is no accessibility bus.
    ScriptedApplication(std::vector<ScriptedNode> tree,
                        ScriptedManners wanted,
                        std::string const& recordFile);

    std::string const& busName() const { return ownName; }
    /// Serves until the bus is gone.
    void run();

private:
    static int take(sd_bus_message* call, void* self, sd_bus_error*);
    int answer(sd_bus_message* call);
    void note(std::size_t node, sd_bus_message* call);
    bool reply(std::size_t index, std::string const& member, sd_bus_message* call, sd_bus_message* reply);
    bool replyAboutOthers(ScriptedNode const& node,
                          std::string const& member,
                          sd_bus_message* call,
                          sd_bus_message* reply);
    bool replyProperty(std::size_t index, sd_bus_message* call, sd_bus_message* reply);
    void appendProperties(std::size_t index, sd_bus_message* reply);
    void appendReference(sd_bus_message* reply, std::size_t index) const;
    void appendChildren(sd_bus_message* reply, ScriptedNode const& node) const;
    void appendChildAt(sd_bus_message* call, sd_bus_message* reply, ScriptedNode const& node) const;
    void appendRelations(sd_bus_message* reply, ScriptedNode const& node) const;
    void appendText(sd_bus_message* call, sd_bus_message* reply, ScriptedNode const& node) const;
    void appendItems(sd_bus_message* reply) const;
    std::string pathOf(std::size_t node) const;
    std::optional<std::size_t> nodeAt(std::string const& path) const;
    std::int32_t childCount(std::size_t node) const;
    void listenDirectly();
    void acceptDirectly();
    void embed();

    std::vector<ScriptedNode> nodes;
    ScriptedManners manners;
    std::FILE* record;
    int calls = 0;
    int listener = -1;
    std::string address;
    std::string ownName;
    BusPtr bus;
    std::vector<BusPtr> direct;
};

} // namespace zelvo::test
