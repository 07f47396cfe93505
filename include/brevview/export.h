#pragma once
/// \file export.h
/// \brief Symbol visibility of the BrevView library: BREVVIEW_EXPORT marks what the shared
/// library exports (everything else is hidden). The macros are generated for the compiler the
/// library was built with (brevview_export.h).

#include <brevview/brevview_export.h>
