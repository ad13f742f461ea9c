#include "base/UnusedMemory.h"

#include <cstdlib>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace zelvo {

void useOneHeap()
{
#ifdef __GLIBC__
    ::mallopt(M_ARENA_MAX, 1);
#endif
}

void returnUnusedMemory()
{
#ifdef __GLIBC__
    ::malloc_trim(0); // Other C libraries keep less.
#endif
}

} // namespace zelvo
