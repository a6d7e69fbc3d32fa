#pragma once

// What the dialogs draw with. Lengths are in DIPs, 1/96 inch; a target knows its scale, and no caller
// multiplies by it. An operation whose target, brush, format, text or bitmap is null draws nothing. [one
// thread, that of the windows]

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace veil {

/// Straight alpha, 0 to 1.
struct Color {
    float r, g, b, a;
    bool operator==(const Color&) const = default;
};

struct RectF {
    float left, top, right, bottom;
    bool operator==(const RectF&) const = default;
};

struct PointF {
    float x, y;
    bool operator==(const PointF&) const = default;
};

struct SizeF {
    float width, height;
};

struct RenderTarget;  ///< a surface: a window's client area or an image in memory
struct Brush;         ///< belongs to a target; made for one draw or one group of draws
struct TextFormat;    ///< family, size and weight; outlives targets
struct Bitmap;        ///< belongs to a target

void releaseRenderTarget(RenderTarget* target);
void releaseBrush(Brush* brush);
void releaseTextFormat(TextFormat* format);
void releaseBitmap(Bitmap* bitmap);

template <class T, void (*kRelease)(T*)>
struct Releaser {
    void operator()(T* object) const { kRelease(object); }
};
using RenderTargetHolder = std::unique_ptr<RenderTarget, Releaser<RenderTarget, releaseRenderTarget>>;
using BrushHolder = std::unique_ptr<Brush, Releaser<Brush, releaseBrush>>;
using TextFormatHolder = std::unique_ptr<TextFormat, Releaser<TextFormat, releaseTextFormat>>;
using BitmapHolder = std::unique_ptr<Bitmap, Releaser<Bitmap, releaseBitmap>>;

enum class TextAlign { leading, trailing, centre };
enum class ParagraphAlign { top, centre };
enum class FrameResult { shown, targetLost, failed };

/// Device pixels per DIP of a window, its DPI / 96; of the screen if `nativeWindow` is null or nothing better
/// is known.
float windowScale(void* nativeWindow);

/// Replaces what `holder` holds by a target for the client area of `nativeWindow`. False if there is none;
/// without a graphics system at all the holder is left untouched.
bool createWindowRenderTarget(RenderTargetHolder& holder, void* nativeWindow, float scale);

/// A target in memory; null if it can't be made. Software rasterised like the windows' targets.
RenderTargetHolder createImageRenderTarget(int widthPx, int heightPx, float scale);

/// The pixels of an image target after endDraw: blue, green, red, alpha, straight or opaque, row by row from
/// the top. Empty for a window's target.
std::vector<std::uint8_t> imagePixels(RenderTarget* target);

/// Writes an image target as a PNG file; false if that fails.
bool saveImage(RenderTarget* target, const std::wstring& path);

void beginDraw(RenderTarget* target);
void clearTarget(RenderTarget* target, const Color& color);
/// Presents the frame. `targetLost`: make the target and its bitmaps anew, and paint again.
FrameResult endDraw(RenderTarget* target);
/// The next endDraw answers `targetLost`, as after a lost device; for rehearsals.
void loseTarget(RenderTarget* target);

BrushHolder createColorBrush(RenderTarget* target, const Color& color);
/// From `first` at `start` to `last` at `end`, clamped beyond.
BrushHolder createLinearGradientBrush(RenderTarget* target, PointF start, PointF end, const Color& first,
                                      const Color& last);

void fillRectangle(RenderTarget* target, const RectF& rect, Brush* brush);
void strokeRectangle(RenderTarget* target, const RectF& rect, Brush* brush, float strokeWidth);
void fillRoundRect(RenderTarget* target, const RectF& rect, float radius, Brush* brush);
void strokeRoundRect(RenderTarget* target, const RectF& rect, float radius, Brush* brush, float strokeWidth);
void drawLine(RenderTarget* target, PointF from, PointF to, Brush* brush, float strokeWidth);
void fillEllipse(RenderTarget* target, PointF centre, float radiusX, float radiusY, Brush* brush);
void strokeEllipse(RenderTarget* target, PointF centre, float radiusX, float radiusY, Brush* brush,
                   float strokeWidth);
/// An open figure of straight lines, flat caps and mitred corners.
void strokePolyline(RenderTarget* target, const PointF* points, std::size_t count, Brush* brush,
                    float strokeWidth);
/// A closed, filled figure.
void fillPolygon(RenderTarget* target, const PointF* points, std::size_t count, Brush* brush);

/// `weight` as fonts count it: 400 regular, 600 semibold. Null if there is no text system.
TextFormatHolder createTextFormat(const wchar_t* family, float sizeDip, int weight);

/// One line, clipped to the rectangle. Nothing of the alignment carries over to the next draw.
void drawSingleLineText(RenderTarget* target, const wchar_t* text, const RectF& rect, TextFormat* format,
                        Brush* brush, TextAlign align, ParagraphAlign paragraph);
/// Wrapped at the rectangle's width, from its top left, not clipped.
void drawWrappedText(RenderTarget* target, const wchar_t* text, const RectF& rect, TextFormat* format,
                     Brush* brush);

/// A bitmap of `width` by `height` pixels at 96 DPI from blue, green, red and an ignored byte; null if target
/// or pixels are missing or a size is below 1.
BitmapHolder createPreviewBitmap(RenderTarget* target, const std::uint8_t* pixels, int width, int height);
/// The PNG of resource `id` of the plug-in's module, with its transparency; null on any failure, silently.
BitmapHolder loadBannerBitmap(RenderTarget* target, int id);
SizeF bitmapSize(Bitmap* bitmap);
/// The whole bitmap into `rect`, opaque, linear interpolation.
void drawBitmap(RenderTarget* target, Bitmap* bitmap, const RectF& rect);

/// Text of the system's 8-bit code page as wide text; empty for null.
std::wstring widenAnsiText(const char* text);

}  // namespace veil
