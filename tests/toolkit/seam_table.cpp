// The address of every function of the seam, so that a program with this source does not link against a
// platform that leaves one of them undefined, also where nothing calls it yet.

#include "platform/drawing.h"
#include "platform/edit_box.h"
#include "platform/language.h"
#include "platform/module.h"
#include "platform/profile_file.h"
#include "platform/progress_window.h"
#include "platform/window.h"

using namespace veil;

namespace {

using Address = void (*)();

// Volatile, so that no compiler finds out that nobody reads it.
volatile Address seamSink = nullptr;

template <auto... functions>
bool sinkAll() {
    for (const Address function : {reinterpret_cast<Address>(functions)...}) seamSink = function;
    return true;
}

}  // namespace

// Runs before main, so no linker leaves the functions out.
[[maybe_unused]] static const bool kSunk =
    sinkAll<releaseRenderTarget, releaseBrush, releaseTextFormat, releaseBitmap, windowScale,
            createWindowRenderTarget, createImageRenderTarget, imagePixels, saveImage, beginDraw, clearTarget,
            endDraw, loseTarget, createColorBrush, createLinearGradientBrush, fillRectangle, strokeRectangle,
            fillRoundRect, strokeRoundRect, drawLine, fillEllipse, strokeEllipse, strokePolyline, fillPolygon,
            createTextFormat, drawSingleLineText, drawWrappedText, createPreviewBitmap, loadBannerBitmap,
            bitmapSize, drawBitmap, widenAnsiText, createProgressWindow, setProgressText, setProgressBar,
            showProgressWindow, pumpProgressWindow, destroyProgressWindow, moduleHandle, profileSections,
            profileInteger, profileText, writeProfileText, environmentText, makeFolder, userDisplayLanguage,
            isJapaneseUi, localized, runModalDialog, endModalDialog, enableOwner, reviveOwner, createPopup,
            showPopup, runPopup, closePopup, destroyPopup, nativeWindow, resizeWindow, centreOnOwner,
            roundCorners, showWindow, fadeIn, invalidate, repaintNow, toScreen, focusWindow, startTimer,
            stopTimer, captureMouse, releaseMouse, trackLeave, createFilteredEditBox, templateEditBox,
            placeEditBox, editBoxRect, showEditBox, hideEditBox, focusEditBox, disableInputMethod,
            setEditText, editText, selectAll>();
