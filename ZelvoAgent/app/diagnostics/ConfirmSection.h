#pragma once

#include "app/diagnostics/DiagnosticsSection.h"

#include <boost/signals2/connection.hpp>

namespace zelvo {

class TestQuestion;

/// Asks a question for trial and shows what became of it. Thread: main.
class ConfirmSection final : public DiagnosticsSection {
public:
    ConfirmSection(TestQuestion& question, QWidget* parent);

    void refresh() override;

private:
    TestQuestion const& question;
    TextLabel* result;
    TextLabel* hint;
    boost::signals2::scoped_connection following;
};

} // namespace zelvo
