#pragma once
// The automation Currency lives in the public headers: hosts see it in AddOutlineTotal.

#include <brevview/currency.h>

namespace BrevView::automation {

using Currency = ::BrevView::Currency;

}  // namespace BrevView::automation
