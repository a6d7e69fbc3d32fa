#include "platform/module.h"

namespace veil {

// Nothing is loaded from the module here.
void* moduleHandle() { return nullptr; }

}  // namespace veil
