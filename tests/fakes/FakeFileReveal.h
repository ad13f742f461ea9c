#pragma once

#include "platform/FileReveal.h"

#include <vector>

namespace zelvo {

/// Records the paths.
class FakeFileReveal final : public FileReveal {
public:
    std::vector<std::filesystem::path> revealed;
    void reveal(std::filesystem::path file) override { revealed.push_back(std::move(file)); }
};

} // namespace zelvo
