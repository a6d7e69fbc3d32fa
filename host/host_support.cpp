#include "host/host_support.h"

#include "host/plugin_state.h"

namespace veil {

namespace {

using photoshop::BigDocumentStruct;
using photoshop::FilterRecord;

bool uses32Bits() {
    const BigDocumentStruct* big = gFilterRecord->bigDocumentData;
    return big && big->PluginUsing32BitCoordinates != 0;
}

HostRect getRect(photoshop::VRect BigDocumentStruct::*wide, const photoshop::Rect& narrow) {
    if (uses32Bits()) {
        const photoshop::VRect& r = gFilterRecord->bigDocumentData->*wide;
        return {r.top, r.left, r.bottom, r.right};
    }
    return {narrow.top, narrow.left, narrow.bottom, narrow.right};
}

void setRect(photoshop::VRect BigDocumentStruct::*wide, photoshop::Rect& narrow, const HostRect& rect) {
    if (uses32Bits()) {
        gFilterRecord->bigDocumentData->*wide = {rect.top, rect.left, rect.bottom, rect.right};
        return;
    }
    const auto cut = [](std::int32_t v) { return static_cast<std::int16_t>(v); };
    narrow = {cut(rect.top), cut(rect.left), cut(rect.bottom), cut(rect.right)};
}

std::int64_t extent(std::int32_t low, std::int32_t high) {
    return high > low ? static_cast<std::int64_t>(high) - low : 0;
}

}  // namespace

HostRect getFilterRect() { return getRect(&BigDocumentStruct::filterRect32, gFilterRecord->filterRect); }
HostRect getInRect() { return getRect(&BigDocumentStruct::inRect32, gFilterRecord->inRect); }
HostRect getOutRect() { return getRect(&BigDocumentStruct::outRect32, gFilterRecord->outRect); }
void setInRect(const HostRect& rect) { setRect(&BigDocumentStruct::inRect32, gFilterRecord->inRect, rect); }
void setOutRect(const HostRect& rect) {
    setRect(&BigDocumentStruct::outRect32, gFilterRecord->outRect, rect);
}
void setMaskRect(const HostRect& rect) {
    setRect(&BigDocumentStruct::maskRect32, gFilterRecord->maskRect, rect);
}

std::int64_t widthOf(const HostRect& rect) { return extent(rect.left, rect.right); }
std::int64_t heightOf(const HostRect& rect) { return extent(rect.top, rect.bottom); }

void* ownerWindow() {
    const photoshop::PlatformData* platform = gFilterRecord->platformData;
    return platform ? platform->hwnd : nullptr;
}

}  // namespace veil
