#pragma once
/// \file export.h
/// \brief Symbol visibility of the BrevView library.

#if defined(BREVVIEW_LIBRARY)
/// Marks a class or function the shared library exports.
#define BREVVIEW_EXPORT __attribute__((visibility("default")))
#else
#define BREVVIEW_EXPORT
#endif
