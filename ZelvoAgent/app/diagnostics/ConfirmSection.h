#pragma once

#include "app/AppServices.h"
#include "app/diagnostics/DiagnosticsSection.h"
#include "base/DelayedCall.h"

#include <memory>

namespace zelvo {

/// Asks a question for trial, through the same presenter as an agent's. Thread: main.
class ConfirmSection final : public DiagnosticsSection {
public:
    ConfirmSection(AppServices const& services, QWidget* parent);

private:
    void ask();
    void showFrame();

    AppServices const& services;
    TextLabel* result;
    TextLabel* hint;
    DelayedCall frameLater;
    std::shared_ptr<int> alive = std::make_shared<int>(); // Tasks hold it weakly to detect destruction.
};

} // namespace zelvo
