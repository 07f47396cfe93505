#pragma once
// Memory the process holds, for tests of a bound: what its allocator has handed out and not
// had back (freed memory that an allocator keeps, such as AddressSanitizer's quarantine, is
// not held by the code under test), and whether AddressSanitizer is in the build.

#include <QtGlobal>

#if defined(__SANITIZE_ADDRESS__)
#define BREV_UNDER_ADDRESS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define BREV_UNDER_ADDRESS_SANITIZER
#endif
#endif

namespace BrevView::test {

// Bytes allocated and not yet freed.
qint64 HeapInUse();

}  // namespace BrevView::test
