#pragma once

#include "base/Task.h"
#include "confirm/ProbedElement.h"
#include "platform/Accessibility.h"

#include <optional>
#include <string>

namespace zelvo {

/// Something to do with an element that has no known place.
struct ElementOperation {
    NamedElement element;
    ProbedElement expected;          ///< what was judged; another element is not operated
    std::optional<std::string> text; ///< what it shall hold; without one it is pressed
};

/// Operates elements by what they offer, without the pointer. Nothing is checked before but what is said
/// here. Thread: any; resumes the caller on the caller's executor.
/// Made by: confirm/ElementOperator, tests/fakes/FakeOperating.
class ElementOperating {
public:
    enum class Outcome {
        done,
        impossible, ///< the element does not offer this
        refused,    ///< its application says no
        changed,    ///< it is not there, or not what was expected, at the very moment
        stopped,    ///< keys would not pass now, or its application is not in front
    };

    virtual ~ElementOperating() = default;
    virtual Task<Outcome> operate(ElementOperation operation) = 0;
};

} // namespace zelvo
