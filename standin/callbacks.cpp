#include "standin/callbacks.h"

#include <cassert>

#include "standin/requests.h"

namespace standin {

using photoshop::Boolean;
using photoshop::Handle;
using Kind = HostEvent::Kind;

namespace {

SessionState* gRunning = nullptr;

SessionState& runningSession() {
    assert(gRunning);
    return *gRunning;
}

std::int16_t advanceState() {
    SessionState& s = runningSession();
    const bool fails = ++s.advanceCalls == s.options.failAdvanceAt;
    const Requests asked = pendingRequests(s);
    const int event = noteEvent(s, {Kind::advanceState, s.advanceCalls, 0, asked.in, asked.out, asked.mask});
    if (fails) endRequests(s);
    const std::int16_t result = fails ? s.options.advanceError : serveRequests(s, s.advanceCalls);
    if (event >= 0) s.report.events[static_cast<std::size_t>(event)].b = result;
    return result;
}

void reportProgress(std::int32_t done, std::int32_t total) {
    SessionState& s = runningSession();
    noteEvent(s, {Kind::progress, done, total, {}, {}, {}});
    if (s.options.onProgress) s.options.onProgress(done, total);
}

Boolean isAborted() {
    SessionState& s = runningSession();
    bool answer = ++s.abortQuestions == s.options.abortAt;
    if (s.options.onAbort && s.options.onAbort()) answer = true;
    noteEvent(s, {Kind::abort, answer, 0, {}, {}, {}});
    return answer ? 0x80 : 0;  // any nonzero byte is true
}

Handle newHandle(std::int32_t size) {
    SessionState& s = runningSession();
    const bool fails = ++s.newCalls == s.options.failNewAt;
    noteEvent(s, {Kind::newHandle, size, !fails, {}, {}, {}});
    return fails ? nullptr : makeBlock(s.handles, size, s.options.rubbishInNewHandles);
}

char* lockHandle(Handle handle, Boolean) {
    SessionState& s = runningSession();
    const bool fails = ++s.lockCalls == s.options.failLockAt;
    noteEvent(s, {Kind::lock, !fails, 0, {}, {}, {}});
    Block* block = findBlock(s.handles, handle);
    if (fails || !block) return nullptr;
    ++block->locks;
    return block->master;
}

void unlockHandle(Handle handle) {
    SessionState& s = runningSession();
    noteEvent(s, {Kind::unlock, 0, 0, {}, {}, {}});
    if (Block* block = findBlock(s.handles, handle)) unlockBlock(*block, s.options.blocksMove);
}

// The host owns the block and keeps its size: a plug-in that asks otherwise is at fault, so nothing is done
// but noted.
void disposeHandle(Handle) { runningSession().handles.misused = true; }
std::int16_t resizeHandle(Handle, std::int32_t) {
    runningSession().handles.misused = true;
    return photoshop::noErr;
}
std::int32_t handleSize(Handle) { return 0; }  // nothing may rest on it
void recoverSpace(std::int32_t) {}

}  // namespace

RunningSession::RunningSession(SessionState& state) {
    assert(!gRunning);
    gRunning = &state;
}

RunningSession::~RunningSession() { gRunning = nullptr; }

void offerCallbacks(SessionState& s) {
    s.handleProcs = {1,
                     8,
                     newHandle,
                     disposeHandle,
                     handleSize,
                     resizeHandle,
                     lockHandle,
                     unlockHandle,
                     recoverSpace,
                     disposeHandle};
    s.record->handleProcs = s.options.hasHandleProcs ? &s.handleProcs : nullptr;
    s.record->abortProc = s.options.hasAbortProc ? isAborted : nullptr;
    s.record->progressProc = s.options.hasProgressProc ? reportProgress : nullptr;
    s.record->advanceState = s.options.hasAdvanceState ? advanceState : nullptr;
}

}  // namespace standin
