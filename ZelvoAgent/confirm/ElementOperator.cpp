#include "confirm/ElementOperator.h"

#include <utility>

namespace zelvo {

Task<ElementOperating::Outcome> ElementOperator::operate(ElementOperation operation)
{
    Outcome outcome = Outcome::stopped;
    auto const deed = [&]() -> Task<> { outcome = co_await probe.operate(std::move(operation)); };
    co_await gate.run(deed);
    co_return outcome;
}

} // namespace zelvo
