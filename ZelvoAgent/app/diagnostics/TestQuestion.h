#pragma once

#include "app/AppServices.h"
#include "base/DelayedCall.h"

#include <boost/signals2/signal.hpp>

#include <memory>
#include <string>
#include <string_view>

namespace zelvo {

/// A question for trial, through the same presenter as an agent's. Outlives the section that shows it.
/// Thread: main.
class TestQuestion {
public:
    explicit TestQuestion(AppServices const& services);
    TestQuestion(TestQuestion const&) = delete;
    TestQuestion& operator=(TestQuestion const&) = delete;

    void ask();

    /// What became of it; empty before the first question.
    std::string const& result() const { return confirmationResult; }
    /// Where the panel was shown; empty if that is unknown.
    std::string const& hint() const { return confirmationHint; }

    boost::signals2::signal<void()> changed;

private:
    void showFrame();
    void setResult(std::string_view key);

    AppServices const& services;
    std::string confirmationResult;
    std::string confirmationHint;
    DelayedCall frameLater;
    std::shared_ptr<int> alive = std::make_shared<int>(); // Tasks hold it weakly to detect destruction.
};

} // namespace zelvo
