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

template <class Result, class... Arguments>
Address addressOf(Result (*function)(Arguments...)) {
    return reinterpret_cast<Address>(function);
}

const Address kSeam[] = {
    addressOf(releaseRenderTarget),
    addressOf(releaseBrush),
    addressOf(releaseTextFormat),
    addressOf(releaseBitmap),
    addressOf(windowScale),
    addressOf(createWindowRenderTarget),
    addressOf(createImageRenderTarget),
    addressOf(imagePixels),
    addressOf(saveImage),
    addressOf(beginDraw),
    addressOf(clearTarget),
    addressOf(endDraw),
    addressOf(loseTarget),
    addressOf(createColorBrush),
    addressOf(createLinearGradientBrush),
    addressOf(fillRectangle),
    addressOf(strokeRectangle),
    addressOf(fillRoundRect),
    addressOf(strokeRoundRect),
    addressOf(drawLine),
    addressOf(fillEllipse),
    addressOf(strokeEllipse),
    addressOf(strokePolyline),
    addressOf(fillPolygon),
    addressOf(createTextFormat),
    addressOf(drawSingleLineText),
    addressOf(drawWrappedText),
    addressOf(createPreviewBitmap),
    addressOf(loadBannerBitmap),
    addressOf(bitmapSize),
    addressOf(drawBitmap),
    addressOf(widenAnsiText),
    addressOf(createProgressWindow),
    addressOf(setProgressText),
    addressOf(setProgressBar),
    addressOf(showProgressWindow),
    addressOf(pumpProgressWindow),
    addressOf(destroyProgressWindow),
    addressOf(moduleHandle),
    addressOf(profileSections),
    addressOf(profileInteger),
    addressOf(profileText),
    addressOf(writeProfileText),
    addressOf(environmentText),
    addressOf(makeFolder),
    addressOf(userDisplayLanguage),
    addressOf(isJapaneseUi),
    addressOf(localized),
    addressOf(runModalDialog),
    addressOf(endModalDialog),
    addressOf(enableOwner),
    addressOf(reviveOwner),
    addressOf(createPopup),
    addressOf(showPopup),
    addressOf(runPopup),
    addressOf(closePopup),
    addressOf(destroyPopup),
    addressOf(nativeWindow),
    addressOf(resizeWindow),
    addressOf(centreOnOwner),
    addressOf(roundCorners),
    addressOf(showWindow),
    addressOf(fadeIn),
    addressOf(invalidate),
    addressOf(repaintNow),
    addressOf(toScreen),
    addressOf(focusWindow),
    addressOf(startTimer),
    addressOf(stopTimer),
    addressOf(captureMouse),
    addressOf(releaseMouse),
    addressOf(trackLeave),
    addressOf(createFilteredEditBox),
    addressOf(templateEditBox),
    addressOf(placeEditBox),
    addressOf(editBoxRect),
    addressOf(showEditBox),
    addressOf(hideEditBox),
    addressOf(focusEditBox),
    addressOf(disableInputMethod),
    addressOf(setEditText),
    addressOf(editText),
    addressOf(selectAll),
};

}  // namespace

// Volatile, so that no compiler finds out that nobody reads it.
volatile Address seamSink = nullptr;

// Runs before main, so no linker leaves the table out.
[[maybe_unused]] static const bool kSunk = [] {
    for (const Address function : kSeam) seamSink = function;
    return true;
}();
