#pragma once

#include "confirm/ElementOperating.h"

#include <vector>

namespace zelvo {

/// Keeps what was to be done, and answers what a test sets.
class FakeOperating final : public ElementOperating {
public:
    std::vector<ElementOperation> operations;
    Outcome outcome = Outcome::done;

    Task<Outcome> operate(ElementOperation operation) override
    {
        operations.push_back(std::move(operation));
        co_return outcome;
    }
};

} // namespace zelvo
