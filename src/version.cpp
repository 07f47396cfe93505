#include <brevview/version.h>

namespace BrevView {

const char* version() noexcept
{
    // Compiled into the library: the version of the library that is loaded, not of the
    // headers a host was built with.
    return BREVVIEW_VERSION_STRING;
}

}  // namespace BrevView
