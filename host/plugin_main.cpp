#include "host/plugin_main.h"

#include <algorithm>

#include "dialog/run_main_dialog.h"
#include "host/apply_driver.h"
#include "host/host_support.h"
#include "host/plugin_state.h"

namespace veil {

photoshop::FilterRecord* gFilterRecord = nullptr;
std::uint8_t* gData = nullptr;
std::int16_t* gResult = nullptr;
VeilParams* gParams = nullptr;

namespace {

using namespace photoshop;

constexpr std::int16_t kExceptionResult = -1;

// The largest tile, its greatest margin on both sides, and three 32-bit floats a pixel.
constexpr std::int64_t kLargestTile = 2048;
constexpr std::int64_t kMarginBothSides = 2 * 6032;
constexpr std::int64_t kBytesPerPixel = 12;

void emptyAllRects() {
    setInRect({});
    setOutRect({});
    setMaskRect({});
}

void prepareStage() {
    prepareStageBlock();
    gFilterRecord->bufferSpace = 0;
    const HostRect filter = getFilterRect();
    const std::int64_t w = std::min(widthOf(filter), kLargestTile);
    const std::int64_t h = std::min(heightOf(filter), kLargestTile);
    const std::int64_t need = (h + kMarginBothSides) * ((w + kMarginBothSides) * kBytesPerPixel);
    const std::int64_t limit = std::min<std::int64_t>(need, 0x7FFFFFFF);
    if (gFilterRecord->maxSpace > limit) gFilterRecord->maxSpace = static_cast<std::int32_t>(limit);
}

bool isSupportedMode() {
    const FilterRecord& r = *gFilterRecord;
    return (r.depth == 8 || r.depth == 16) &&
           (r.imageMode == plugInModeRGBColor || r.imageMode == plugInModeRGB48);
}

void startStage() {
    lockParameters();
    if (*gResult != noErr) return;
    if (!isSupportedMode()) {
        *gResult = filterBadMode;
        return;
    }
    if (!gData) {
        allocateRunFlag();
        if (!gData) return;
        *gData = 0;
    }
    if (*gData == 0) {
        applyFilter();
        return;
    }
    const bool confirmed = runMainDialog();
    *gData = 0;
    if (confirmed) {
        applyFilter();
        return;
    }
    emptyAllRects();
    *gResult = userCanceledErr;
}

void runStage(std::int16_t selector) {
    switch (selector) {
        case filterSelectorParameters:
            parametersStageBlock();
            break;
        case filterSelectorPrepare:
            prepareStage();
            break;
        case filterSelectorStart:
            startStage();
            break;
        case filterSelectorContinue:
            emptyAllRects();
            break;
        case filterSelectorFinish:
            lockParameters();
            break;
        default:
            break;
    }
}

void handleCall(std::int16_t selector, void* record, std::intptr_t* data) {
    gFilterRecord = static_cast<FilterRecord*>(record);
    gData = reinterpret_cast<std::uint8_t*>(*data);
    const bool hasFilterRecord =
        selector != filterSelectorAbout;  // About comes with a record of another kind
    if (hasFilterRecord && !record) {
        *gResult = filterBadParameters;
    } else if (hasFilterRecord) {
        if (gFilterRecord->bigDocumentData) gFilterRecord->bigDocumentData->PluginUsing32BitCoordinates = 1;
        runStage(selector);
        unlockParameters();
    }
    *data = reinterpret_cast<std::intptr_t>(gData);
}

}  // namespace

}  // namespace veil

void PluginMain(std::int16_t selector, void* record, std::intptr_t* data, std::int16_t* result) {
    // Stands in for what a careless host leaves out, so that the stages need not ask.
    std::int16_t unreadResult = 0;
    std::intptr_t lostData = 0;
    veil::gResult = result ? result : &unreadResult;
    try {
        veil::handleCall(selector, record, data ? data : &lostData);
    } catch (...) {
        *veil::gResult = veil::kExceptionResult;
    }
}
