#pragma once

#include "state/AgentStatus.h"

#include <QWidget>

#include <optional>

namespace zelvo {

class MarkView;
class SymbolView;
class TextLabel;

/// What the agent says about itself: the mark, a title, a detail, and a sign for a problem. Thread: main.
class StatusHeader final : public QWidget {
public:
    /// compact  the smaller layout of the panel
    StatusHeader(bool compact, QWidget* parent);

    void setStatus(AgentStatus const& status);

private:
    MarkView* mark;
    TextLabel* title;
    TextLabel* detail;
    SymbolView* problem;
    std::optional<AgentStatus> shown;
};

} // namespace zelvo
