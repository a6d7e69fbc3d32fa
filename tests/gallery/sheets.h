#pragma once

// A sheet that shows every widget in every state, for the eye and for tests.

#include "platform/drawing.h"

namespace gallery {

enum class Language { english, japanese };

constexpr int kSheetWidth = 1230, kSheetHeight = 320;  // DIPs

/// Paints the sheet on `target`, between a begin and an end.
void paintSheet(veil::RenderTarget* target, Language language);

}  // namespace gallery
