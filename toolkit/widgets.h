#pragma once

// The widgets: plain records in DIPs, painters that read them, and the hit tests. Painters never change a
// record.

#include <cstdint>
#include <string>

#include "platform/drawing.h"

namespace veil {

/// A rectangle of whole DIPs; right and bottom exclusive.
struct RectI {
    std::int32_t left = 0, top = 0, right = 0, bottom = 0;
    bool operator==(const RectI&) const = default;
};

struct PointI {
    std::int32_t x = 0, y = 0;
};

/// Left and top inclusive, right and bottom exclusive.
bool contains(const RectI& rect, PointI point);

/// A button, a check box or a combo box.
struct ControlRecord {
    std::int32_t id = 0;  ///< its hover animation has the key id * 10
    std::int32_t left = 0, top = 0, right = 0, bottom = 0;
    std::wstring label;     ///< caption; of a combo box the chosen name
    bool accented = false;  ///< button: primary. Check box: checked. Combo box: the mouse is over it
    bool hot = false;       ///< button, check box: the mouse is over it. Combo box: its list is open
    bool pressed = false;
    bool enabled = true;
};

struct SectionHeaderRecord {
    std::int32_t left = 0, top = 0, right = 0, bottom = 0;
    std::wstring label;
};

struct SliderRecord {
    std::int32_t id = 0;
    std::int32_t left = 0, top = 0, right = 0, bottom = 0;
    float minimum = 0.0f, maximum = 0.0f, value = 0.0f;
    bool hot = false;
};

struct SpinnerRecord {
    RectI upRect, downRect;
    bool upHot = false, downHot = false;
};

// Painters. `hover` is the widget's animated hover value, 0 to 1; a null format drops the text and nothing
// else.

void drawButton(RenderTarget* target, TextFormat* format, const ControlRecord& button, float hover);
void drawCheckBox(RenderTarget* target, TextFormat* format, const ControlRecord& box, float hover);
void drawComboBox(RenderTarget* target, TextFormat* format, const ControlRecord& box, float hover);
void drawSectionHeader(RenderTarget* target, TextFormat* format, const SectionHeaderRecord& header);
void drawSlider(RenderTarget* target, const SliderRecord& slider, float hover);
void drawSpinner(RenderTarget* target, const SpinnerRecord& spinner);
enum class Pointing { up, down };
void drawArrowTriangle(RenderTarget* target, float centreX, float centreY, Pointing pointing, Brush* brush);

/// The band at the top, 40 high: the banner, or the title without one, and the close button.
void drawTitleBar(RenderTarget* target, TextFormat* format, float width, const wchar_t* title, bool closeHot,
                  bool closePressed, Bitmap* banner);
/// One pixel round the window; the last thing that a dialog paints.
void drawWindowFrame(RenderTarget* target, std::int32_t width, std::int32_t height);

// Hit tests and slider arithmetic.

RectI closeButtonRect(std::int32_t width);
enum class CaptionHit { client, caption };
/// Whether `point` moves the window: the band up to and including y = 40, but for the close button.
CaptionHit captionHitTest(PointI point, std::int32_t width);
/// 0 at the left end of the track, 1 at its right end; 0 if there is no track.
float sliderFractionAt(const SliderRecord& slider, std::int32_t x);
/// Stores the value at `x`; nothing snaps to a step.
void setSliderFromX(SliderRecord& slider, std::int32_t x);

// Device pixels as DIPs. A scale not above 0 counts as 1.

/// A mouse position, divided by `scale` and truncated toward zero. The coordinates come signed, since a
/// captured mouse may be left of the window or above it: a mouse message packs them as two signed 16-bit
/// halves.
PointI clientPointInDips(std::int32_t xPx, std::int32_t yPx, float scale);
/// The rectangle of a child control back to DIPs, not rounded: for what is painted round it.
RectF childRectDips(const RectI& pixels, float scale);

// DIPs as device pixels. A scale not above 0 counts as 1.

/// Rounded to nearest: for windows and popups.
std::int32_t windowSizePx(std::int32_t dips, float scale);
/// Truncated: for child controls, and for the place of a popup.
std::int32_t childPlacePx(std::int32_t dips, float scale);

}  // namespace veil
