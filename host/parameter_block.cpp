#include "host/parameter_block.h"

#include <cstdlib>

#include "host/plugin_state.h"

namespace veil {

namespace {

// Makes what is missing of block and flag; false if the result location holds an error afterwards.
bool makeMissing() {
    if (!gFilterRecord->parameters) allocateParameters();
    if (!gData) allocateRunFlag();
    return *gResult == photoshop::noErr;
}

void resetBlock() {
    lockParameters();
    if (*gResult != photoshop::noErr) return;
    setDefaultParameters();
    markDialogPending();
}

}  // namespace

void allocateParameters() {
    const photoshop::HandleProcs* procs = gFilterRecord->handleProcs;
    gFilterRecord->parameters = procs && procs->newProc ? procs->newProc(kParameterBlockSize) : nullptr;
    if (!gFilterRecord->parameters) *gResult = photoshop::memFullErr;
}

void allocateRunFlag() {
    // The host keeps the pointer between runs, so the byte is never freed.
    gData = static_cast<std::uint8_t*>(std::malloc(1));
    if (!gData) {
        *gResult = photoshop::memFullErr;
        return;
    }
    // If the stage fails before it sets the flag, the next run must not apply a block that never got its
    // defaults.
    *gData = 1;
}

void lockParameters() {
    if (!gFilterRecord->parameters) {
        *gResult = photoshop::filterBadParameters;
        return;
    }
    const photoshop::HandleProcs* procs = gFilterRecord->handleProcs;
    char* block = procs && procs->lockProc ? procs->lockProc(gFilterRecord->parameters, 1) : nullptr;
    gParams = reinterpret_cast<VeilParams*>(block);
    if (!gParams) *gResult = photoshop::memFullErr;
}

void unlockParameters() {
    const photoshop::HandleProcs* procs = gFilterRecord->handleProcs;
    if (gFilterRecord->parameters && procs && procs->unlockProc) procs->unlockProc(gFilterRecord->parameters);
}

void setDefaultParameters() {
    VeilParams& p = *gParams;
    p.presetId = 0;
    p.threshold = 0.0f;
    p.radius = 180.0f;
    p.strength = 0.7f;
    p.fog = 0.18f;
    p.highlightBoost = 0.0f;
    p.glowSaturation = 1.0f;
    p.shadowProtect = 0.2f;
    p.advancedMode = 0;
    p.outputGlowOnly = 1;
}

void markDialogPending() { *gData = 1; }

void parametersStageBlock() {
    if (makeMissing()) resetBlock();
}

void prepareStageBlock() {
    if (gFilterRecord->parameters)
        lockParameters();
    else if (makeMissing())
        resetBlock();
}

}  // namespace veil
