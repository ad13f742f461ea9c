#pragma once

namespace zelvo {

/// Lets all threads share one heap. With a heap for each thread, up to 64 MiB at the end of each stay with
/// the process whatever returnUnusedMemory() does. Call it before the first thread starts.
void useOneHeap();

/// Returns memory that this process has freed, but the allocator still holds, to the system. Takes a few
/// milliseconds, during which other threads wait to allocate. Thread: any.
void returnUnusedMemory();

} // namespace zelvo
