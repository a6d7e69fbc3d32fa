#pragma once

// What a Windows build keeps in the module's resources: here constant bytes, linked with the code that reads
// them, so that a plug-in without files of its own carries them too.

#include <span>

namespace veil {

/// The bytes of resource `id`, for the life of the process; empty if there is none. [any thread]
std::span<const unsigned char> moduleResource(int id);

}  // namespace veil
