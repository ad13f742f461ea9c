#pragma once

#include <sys/types.h>

namespace zelvo::test {

/// What a process holds right now.
struct ProcessUse {
    /// Memory of its own that no file is behind, resident and swapped out, in KiB: heap, stacks and what it
    /// has written of its data. A leak cannot hide from this, and it leaves out what the kernel decides:
    /// pages of program files, which count as private and dirty until the kernel has written a fresh copy of
    /// the program to disk.
    double privateKib = 0;
    int descriptors = 0;
    int threads = 0;
    bool operator==(ProcessUse const&) const = default;
};

/// Throws std::runtime_error if the process is gone.
ProcessUse processUse(pid_t pid);

} // namespace zelvo::test
