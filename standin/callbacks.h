#pragma once

// The functions that the host gives to the plug-in. They have no argument for a context, so they work on the
// session whose call is under way.

#include "standin/session_state.h"

namespace standin {

/// The session whose call is under way; one at a time.
struct RunningSession {
    explicit RunningSession(SessionState& state);
    ~RunningSession();
    RunningSession(const RunningSession&) = delete;
    RunningSession& operator=(const RunningSession&) = delete;
};

/// Puts the callbacks and suites that the options ask for into the record.
void offerCallbacks(SessionState& state);

}  // namespace standin
