#pragma once

#include "app/AgentParts.h"
#include "fakes/FakeConfirmationPanel.h"
#include "fakes/FakeOverlays.h"
#include "fakes/FakePlatform.h"

#include <string>
#include <vector>

namespace zelvo {

/// What the whole agent says of itself on the machine in memory: its first heartbeat, and an event for
/// everything that a person can do.
inline std::vector<json::value> saidUnasked()
{
    FakePlatform platform;
    FakePanels panels{platform.windowFocus};
    platform.info.texts["CFBundleShortVersionString"] = "0.1.0";
    platform.secretStore.items[{"dev.zelvo.agent", "machine_token"}] = "mt";
    platform.screenSource.attached = {{.id = 66, .widthPoints = 1600, .heightPoints = 900, .scaleFactor = 1}};
    FakeOverlays overlays;
    AgentParts parts{platform.contexts, platform, panels.maker(), overlays.cursorMaker(), [] { return 1.0; }};
    parts.state.startObserving();
    parts.state.grant({.id = "con_7f2a", .platformName = "Acme", .scopes = {}});
    parts.runtime.start();
    platform.settle();
    parts.state.setPaused(true);
    parts.state.setPaused(false);
    parts.runtime.setAgentPaused("agt_1", true);
    parts.runtime.setAgentPaused("agt_1", false);
    parts.runtime.sendQueueDecision("con_7f2a", {.accepted = {"cmd_1"}, .declined = {}});
    platform.settle();
    std::vector<json::value> said;
    for (std::string const& text : platform.opener.last().sent)
        said.push_back(*parseJson(text));
    run(platform.io, parts.runtime.shutDown());
    platform.settle();
    return said;
}

} // namespace zelvo
