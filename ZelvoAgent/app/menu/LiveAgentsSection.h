#pragma once

#include "state/ComputerAgents.h"

#include <QWidget>

#include <functional>
#include <optional>
#include <string>
#include <vector>

class QVBoxLayout;

namespace zelvo {

/// Who is using this computer, who waits and who is paused, each with a button. Thread: main.
class LiveAgentsSection final : public QWidget {
public:
    struct Services {
        /// The name of the platform of a connection.
        std::function<std::optional<std::string>(std::optional<std::string> const& connectionId)>
            platformName;
        std::function<void(std::string ref, bool paused)> setPaused;
    };

    LiveAgentsSection(Services services, QWidget* parent);

    /// Hidden without any agent.
    void setAgents(ComputerAgents const& agents);

private:
    /// All that the rows depend on.
    struct Content {
        ComputerAgents agents;
        std::vector<std::optional<std::string>> platforms; ///< one for each agent, by its present name
        bool operator==(Content const&) const = default;
    };

    Content contentOf(ComputerAgents const& agents) const;
    void addRow(ComputerAgent const& agent, QString const& status, bool isPaused);
    QString lineOf(ComputerAgent const& agent, QString const& status) const;

    Services services;
    std::optional<Content> shown;
    QVBoxLayout* column;
    QWidget* rows = nullptr;
};

} // namespace zelvo
