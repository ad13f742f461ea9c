#include "base/UnusedMemory.h"

#include <cstdlib>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace zelvo {

void returnUnusedMemory()
{
#ifdef __GLIBC__
    ::malloc_trim(0); // Other C libraries keep less.
#endif
}

} // namespace zelvo
