#pragma once

#include "confirm/ElementOperating.h"
#include "confirm/ElementProbe.h"
#include "drivers/PostingGate.h"

namespace zelvo {

/// Operates elements of the application in front, as the gate lets keys pass: never while a question is open
/// or the agent is paused, and never those of a hidden application or of this program.
class ElementOperator final : public ElementOperating {
public:
    ElementOperator(ElementProbe& probe, PostingGate& gate) : probe(probe), gate(gate) {}

    Task<Outcome> operate(ElementOperation operation) override;

private:
    ElementProbe& probe;
    PostingGate& gate;
};

} // namespace zelvo
