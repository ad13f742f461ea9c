#pragma once

#include "platform/portable/files/UniqueFd.h"

#include <string>

namespace zelvo {

/// Opens folders without ever following a link. On failure a call returns no descriptor and sets errno: ELOOP
/// for a link in the way, ENOTDIR for a file in the way. Descriptors are for walking on only (O_PATH).
/// Thread: any.
class FolderWalk {
public:
    enum class Method {
        inOneStep,  ///< openat2 where the kernel permits it, else part by part
        partByPart, ///< opening each folder below the last one
    };
    explicit FolderWalk(Method method = Method::inOneStep) : method(method) {}

    /// relative  without a leading slash or ".."; empty for the folder itself
    UniqueFd open(int folder, std::string const& relative) const;
    /// The same; makes missing folders, with the modes that the umask leaves.
    UniqueFd openOrMake(int folder, std::string const& relative) const;

private:
    Method method;
};

} // namespace zelvo
