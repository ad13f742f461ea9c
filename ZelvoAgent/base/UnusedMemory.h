#pragma once

namespace zelvo {

/// Returns memory that this process has freed, but the allocator still holds, to the system. Takes a few
/// milliseconds, during which other threads wait to allocate. Thread: any.
void returnUnusedMemory();

} // namespace zelvo
