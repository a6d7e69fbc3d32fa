#include "platform/module.h"

namespace veil {

// Resources are constant bytes here and need no handle; see resources.h.
void* moduleHandle() { return nullptr; }

}  // namespace veil
