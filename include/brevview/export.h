#pragma once
// Symbol visibility of the BrevView library.

#if defined(BREVVIEW_LIBRARY)
#define BREVVIEW_EXPORT __attribute__((visibility("default")))
#else
#define BREVVIEW_EXPORT
#endif
