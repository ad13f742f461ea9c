#pragma once

#include "platform/linux/atspi/AtspiMessages.h"
#include "platform/linux/atspi/AtspiQuestions.h"

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zelvo {

/// Asks for the actions of elements. If a toolkit translates their names, asks for the original name of each,
/// once for all elements of an application. Thread: one.
class AtspiActionNames {
public:
    using Index = AtspiNode::Index;

    /// questions  must outlive it
    explicit AtspiActionNames(AtspiQuestions& questions) : questions(questions) {}

    void ask(Index index);

private:
    /// The names of an element's actions while they are being read.
    struct Naming {
        std::vector<std::string> names;
        std::size_t missing = 0;
    };

    void take(Index index, std::vector<atspi::Action> actions);
    void
    askName(Index index, std::shared_ptr<Naming> const& naming, std::size_t at, atspi::Action const& action);
    void finish(Index index, std::vector<std::string> const& names);

    AtspiQuestions& questions;
    std::map<std::pair<AtspiQuestions::PeerId, atspi::Action>, std::string> known;
};

} // namespace zelvo
