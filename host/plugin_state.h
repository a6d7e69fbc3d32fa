#pragma once

// The globals that stand for the current host call, set anew by each. They make the plug-in strictly one call
// at a time; worker threads never see them.

#include <cstdint>

#include "host/parameter_block.h"
#include "host/photoshop.h"

namespace veil {

extern photoshop::FilterRecord* gFilterRecord;  ///< the host's record of this call
extern std::uint8_t* gData;    ///< the run flag: 1 if the next Start stage asks the user; may be null
extern std::int16_t* gResult;  ///< where every operation reports; never null inside a call
extern VeilParams* gParams;    ///< the locked block, set by lockParameters

}  // namespace veil
