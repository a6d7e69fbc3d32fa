#pragma once

// The library that this code lies in.

namespace veil {

/// The handle of the plug-in's own module, from which its resources are loaded; null where the platform has
/// none.
void* moduleHandle();

}  // namespace veil
