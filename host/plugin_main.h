#pragma once

// The plug-in's one exported function.

#include "platform/export.h"

#include <cstdint>

/// Called by the host for each stage of a run; `record` is a FilterRecord, or the AboutRecord for the About
/// selector. Reports through `*result` by the published codes, or -1 after an exception; nothing leaves it as
/// one. [host's thread]
extern "C" VEIL_EXPORT void PluginMain(std::int16_t selector, void* record, std::intptr_t* data,
                                       std::int16_t* result);
