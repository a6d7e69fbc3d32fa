#pragma once

// A sheet that shows every widget in every state, for the eye and for tests.

#include "platform/drawing.h"

namespace gallery {

enum class Language { english, japanese };

constexpr int kSheetWidth = 1240, kSheetHeight = 532;  // DIPs

/// Paints the sheet on `target`, whose pixels are `scale` to the DIP, between a begin and an end.
void paintSheet(veil::RenderTarget* target, float scale, Language language);

}  // namespace gallery
