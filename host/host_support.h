#pragma once

// The thin layer under the driver: rectangles that hide the host's two coordinate widths, and the owner
// window. All work on the record of the current call. [host's thread, inside a selector call]

#include <cstdint>

namespace veil {

/// A host rectangle in document coordinates; bottom and right exclusive.
struct HostRect {
    std::int32_t top = 0, left = 0, bottom = 0, right = 0;
    bool operator==(const HostRect&) const = default;
};

// The 32-bit fields are used if the host offers them and was told so; the other width is left alone. 16-bit
// fields are sign-extended when read and cut to their low 16 bits when written.
HostRect getFilterRect();
HostRect getInRect();
HostRect getOutRect();
void setInRect(const HostRect& rect);
void setOutRect(const HostRect& rect);
void setMaskRect(const HostRect& rect);

/// Width and height in 64 bits, since the corners may be any 32-bit numbers; 0 for a negative size.
std::int64_t widthOf(const HostRect& rect);
std::int64_t heightOf(const HostRect& rect);

/// The host's window as the platform knows it, or null: the owner of every dialog.
void* ownerWindow();

}  // namespace veil
