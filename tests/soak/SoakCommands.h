#pragma once

#include "soak/SoakStage.h"

#include <functional>
#include <string>
#include <vector>

namespace zelvo::test {

/// One kind of command. run() sends it once and throws if it fails; `turn` counts up and varies what is sent.
struct SoakCommand {
    std::string name;
    std::function<void(int turn)> run;
};

/// The mix, in the order of one round. What is typed replaces what was typed before, so that the field stays
/// small.
std::vector<SoakCommand> soakCommands(SoakStage const& stage);

} // namespace zelvo::test
