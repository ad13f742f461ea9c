#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace zelvo {

/// What an application was started with, by which its windows are known even if nothing else says whose they
/// are.
struct StartMarks {
    std::string startupId;
    std::optional<std::int32_t> session = {}; ///< the process session that it was started in
};

} // namespace zelvo
