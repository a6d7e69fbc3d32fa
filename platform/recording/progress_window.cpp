#include "platform/progress_window.h"

#include <algorithm>

#include "platform/recording/recorder.h"

namespace veil {

namespace {

Recorder* gRecorder = nullptr;

RecordedCall* record(RecordedCall::Kind kind) {
    if (!gRecorder) return nullptr;
    gRecorder->calls.push_back({.kind = kind, .text = {}});
    return &gRecorder->calls.back();
}

}  // namespace

struct ProgressWindow {};

void installRecorder(Recorder* recorder) { gRecorder = recorder; }
Recorder* installedRecorder() { return gRecorder; }

ProgressWindow* createProgressWindow(void* owner) {
    RecordedCall* call = record(RecordedCall::Kind::create);
    if (!call) return nullptr;
    call->owner = owner;
    static ProgressWindow window;
    return gRecorder->refusesWindows ? nullptr : &window;
}

void setProgressText(ProgressWindow*, const wchar_t* text) {
    if (RecordedCall* call = record(RecordedCall::Kind::text)) call->text = text;
}

void setProgressBar(ProgressWindow*, std::int32_t position, std::int32_t maximum) {
    if (RecordedCall* call = record(RecordedCall::Kind::bar)) {
        call->position = position;
        call->maximum = maximum;
    }
}

void showProgressWindow(ProgressWindow*) { record(RecordedCall::Kind::show); }

bool pumpProgressWindow(ProgressWindow*) {
    if (!record(RecordedCall::Kind::pump)) return false;
    const auto pumps =
        std::count_if(gRecorder->calls.begin(), gRecorder->calls.end(),
                      [](const RecordedCall& c) { return c.kind == RecordedCall::Kind::pump; });
    return pumps == gRecorder->cancelAtPump;
}

void destroyProgressWindow(ProgressWindow*) { record(RecordedCall::Kind::destroy); }

}  // namespace veil
