#pragma once

#include "app/AppServices.h"
#include "app/diagnostics/DiagnosticsSection.h"
#include "app/permissions/PermissionsWatch.h"
#include "state/GatewayConnectionState.h"

namespace zelvo {

class StatusButton;

/// What the program is connected to. Thread: main.
class ServerSection final : public DiagnosticsSection {
public:
    ServerSection(AppServices const& services, QWidget* parent);
    void refresh() override;

private:
    AppServices const& services;
    TextLabel* connection;
    StatusButton* action;
};

/// Which permissions hold. Thread: main.
class PermissionsSection final : public DiagnosticsSection {
public:
    PermissionsSection(PermissionsWatch& permissions, QWidget* parent);
    void refresh() override;

private:
    PermissionsWatch& permissions;
    TextLabel* screen;
    TextLabel* accessibility;
};

/// How the machine's availability moved. Thread: main.
class StateSection final : public DiagnosticsSection {
public:
    StateSection(AgentState const& state, QWidget* parent);
    void refresh() override;

private:
    AgentState const& state;
    TextLabel* paused;
    TextLabel* now;
    TextLabel* history;
};

/// "ready → asleep at 09:05:07".
QString lineOf(AvailabilityChange const& change);

} // namespace zelvo
