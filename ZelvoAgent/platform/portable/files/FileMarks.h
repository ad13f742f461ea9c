#pragma once

namespace zelvo::files {

/// Marks an open file as one that no agent may read or write under any of its names (wire/PrivateMark.h).
/// Does nothing where the file system has no such attributes.
void markPrivate(int file);

} // namespace zelvo::files
