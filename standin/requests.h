#pragma once

// The pixels that a plug-in asks for by its rectangles, and those that it gives back.

#include <cstdint>

#include "standin/session_state.h"

namespace standin {

/// The three rectangles as the plug-in left them, in 32 or in 16 bits as it wishes.
struct Requests {
    PixelRect in, out, mask;
};
Requests pendingRequests(const SessionState& state);

/// Takes the last output over, ends the time of its buffers and lends new ones for the rectangles that the
/// record holds now. `call` is the number of the advanceState that asks, kNever if it is the host itself
/// before a Continue. A host's result.
std::int16_t serveRequests(SessionState& state, int call);

/// Takes the last output over and ends the time of all buffers, as after each selector call and each failure.
void endRequests(SessionState& state);

photoshop::Rect toRect16(const PixelRect& rect);
photoshop::VRect toRect32(const PixelRect& rect);

}  // namespace standin
