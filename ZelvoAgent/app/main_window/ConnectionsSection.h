#pragma once

#include "app/AppServices.h"

#include <QWidget>

#include <optional>

class QVBoxLayout;

namespace zelvo {

class Button;

/// Who may use this computer: a card for each connection, by name, and the way to another one. Thread: main.
class ConnectionsSection final : public QWidget {
public:
    ConnectionsSection(AppServices const& services, QWidget* parent);

    void refresh();

private:
    struct Shown {
        ConnectionMap connections;
        RecordingMode mode = RecordingMode::off;
        bool operator==(Shown const&) const = default;
    };

    AppServices const& services;
    std::optional<Shown> shown;
    QVBoxLayout* cards;
    Button* add;
};

/// In the order of their platforms' names as the person's language sorts them, without regard to case.
std::vector<GrantedConnection> byPlatformName(ConnectionMap const& connections);

} // namespace zelvo
