#include "memory_in_use.h"

#if defined(BREV_UNDER_ADDRESS_SANITIZER)
#include <cstddef>
// The sanitizer runtime's own count (GCC ships no header that declares it).
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#else
#include <malloc.h>
#endif

namespace BrevView::test {

qint64 HeapInUse()
{
#if defined(BREV_UNDER_ADDRESS_SANITIZER)
    return qint64(__sanitizer_get_current_allocated_bytes());
#else
    const struct mallinfo2 info = mallinfo2();
    return qint64(info.uordblks) + qint64(info.hblkhd);
#endif
}

}  // namespace BrevView::test
