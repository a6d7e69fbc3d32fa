#pragma once

// Sheets that show every widget in every state, and every kind of text, for the eye and for tests.

#include <vector>

#include "platform/drawing.h"

namespace gallery {

enum class Language { english, japanese };

struct Sheet {
    const wchar_t* name;
    int widthDip, heightDip;
    void (*paint)(veil::RenderTarget* target, float scale, Language language);
};

const std::vector<Sheet>& sheets();

/// A new target that holds `sheet` painted at `scale`; null if there is none to be had.
veil::RenderTargetHolder paintSheet(const Sheet& sheet, float scale, Language language);

}  // namespace gallery
