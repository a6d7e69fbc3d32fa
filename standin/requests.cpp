#include "standin/requests.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <utility>

namespace standin {

using photoshop::FilterRecord;

namespace {

constexpr std::size_t kGuardBytes = 64;
constexpr std::byte kGuard{0xA5}, kEnded{0xDB}, kRubbish{0xE7};
constexpr int kPaddingError = -3;

bool uses32Bits(const SessionState& s) {
    return s.record->bigDocumentData && s.record->bigDocumentData->PluginUsing32BitCoordinates != 0;
}

PixelRect fromRect(const auto& rect) { return {rect.left, rect.top, rect.right, rect.bottom}; }

void writeBack(SessionState& s, photoshop::Rect FilterRecord::*narrow, photoshop::VRect& wide,
               const PixelRect& rect) {
    if (uses32Bits(s)) {
        wide = toRect32(rect);
    } else {
        s.record->*narrow = toRect16(rect);
    }
}

std::byte* pixelsOf(RequestBuffer& buffer) {
    return buffer.inPlace ? buffer.inPlace : buffer.memory.get() + kGuardBytes;
}

bool isGuard(const std::byte* bytes, std::size_t count) {
    return std::all_of(bytes, bytes + count, [](std::byte b) { return b == kGuard; });
}

bool areGuardsIntact(RequestBuffer& buffer) {
    if (!isGuard(buffer.memory.get(), kGuardBytes)) return false;
    if (!isGuard(pixelsOf(buffer) + buffer.size, kGuardBytes)) return false;
    const std::size_t spare = buffer.rowBytes - buffer.pixelRowBytes;
    for (std::size_t at = buffer.pixelRowBytes; spare > 0 && at < buffer.size; at += buffer.rowBytes) {
        if (!isGuard(pixelsOf(buffer) + at, spare)) return false;
    }
    return true;
}

// A change of any one word changes the sum, as each step can be undone. The last word may reach into the
// guard.
std::uint64_t contentSum(RequestBuffer& buffer) {
    constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15;  // any odd number
    std::uint64_t sum = 0, word = 0;
    for (std::size_t at = 0; at < buffer.size; at += sizeof word) {
        std::memcpy(&word, pixelsOf(buffer) + at, sizeof word);
        sum = (sum ^ word) * kFactor;
    }
    return sum;
}

// Notes what a buffer holds that the plug-in may only read; left out with the poison, for its time.
void seal(const SessionState& s, RequestBuffer& buffer) {
    if (s.options.poisonsBuffers) buffer.sum = contentSum(buffer);
}

using Memory = std::unique_ptr<std::byte[]>;

// Ends the time of `buffer`. Memory that moves is handed out, for the caller to free.
Memory endBuffer(SessionState& s, RequestBuffer& buffer) {
    if (isEmpty(buffer.rect)) return nullptr;
    buffer.rect = {};
    if (std::exchange(buffer.inPlace, nullptr)) return nullptr;
    if (!areGuardsIntact(buffer)) s.report.spareBytesTouched = true;
    if (s.options.poisonsBuffers) {
        if (&buffer != &s.output && contentSum(buffer) != buffer.sum) s.report.lentInputTouched = true;
        std::fill_n(pixelsOf(buffer), buffer.size, kEnded);
    }
    if (!s.options.movingBuffers) return nullptr;
    buffer.capacity = 0;
    return std::move(buffer.memory);
}

// Makes `buffer` hold `rect`, which is not empty.
void lend(SessionState& s, RequestBuffer& buffer, const PixelRect& rect, PlaneRange planes,
          std::size_t pixelBytes) {
    buffer.rect = rect;
    buffer.planes = planes;
    buffer.pixelRowBytes = pixelBytes * static_cast<std::size_t>(rect.right - rect.left);
    buffer.rowBytes = buffer.pixelRowBytes + static_cast<std::size_t>(s.options.spareRowBytes);
    const std::size_t size = buffer.rowBytes * static_cast<std::size_t>(rect.bottom - rect.top);
    if (size > buffer.capacity) {
        buffer.memory = std::make_unique_for_overwrite<std::byte[]>(size + 2 * kGuardBytes);
        buffer.capacity = size;
    }
    buffer.size = size;
    std::fill_n(buffer.memory.get(), kGuardBytes, kGuard);
    std::fill_n(pixelsOf(buffer) + size, kGuardBytes, kGuard);
    if (s.options.spareRowBytes == 0) return;
    for (std::size_t at = buffer.pixelRowBytes; at < size; at += buffer.rowBytes) {
        std::fill_n(pixelsOf(buffer) + at, s.options.spareRowBytes, kGuard);
    }
}

// A rectangle of the document in the picture's own coordinates.
PixelRect onPicture(const SessionState& s, const PixelRect& rect) {
    return shifted(rect, -s.options.originX, -s.options.originY);
}

MaskView maskView(const SessionState& s) {
    const HostOptions& o = s.options;
    if (!o.haveMask) return {nullptr, onPicture(s, filterArea(s))};
    return {o.mask.empty() ? nullptr : o.mask.data(), onPicture(s, o.maskSelection.value_or(filterArea(s)))};
}

void takeOutput(SessionState& s) {
    if (isEmpty(s.output.rect) || s.output.inPlace) return;
    storePixels(s.destination, s.source, onPicture(s, s.output.rect), s.output.planes, maskView(s),
                pixelsOf(s.output), static_cast<std::ptrdiff_t>(s.output.rowBytes));
}

// Takes the last output over and ends the buffers, but for an input that the host keeps.
std::array<Memory, 3> endBuffers(SessionState& s, bool keepsInput) {
    takeOutput(s);
    if (!keepsInput) s.cachedInput.reset();
    s.record->inData = s.record->outData = s.record->maskData = nullptr;
    return {keepsInput ? nullptr : endBuffer(s, s.input), endBuffer(s, s.output), endBuffer(s, s.mask)};
}

std::int32_t rateOf(photoshop::Fixed rate) { return std::max(rate, photoshop::kFullRate); }

// Whether a request begins or ends outside `area`; a reduced pixel may begin up to a pixel's reach before it.
bool leaves(const PixelRect& area, const PixelRect& rect, std::int32_t rate) {
    if (isEmpty(rect)) return false;
    const auto first = [rate](int i) {
        return static_cast<int>((static_cast<std::int64_t>(i) * rate) >> 16);
    };
    const int slack = (rate - 1) >> 16;
    return first(rect.left) < area.left - slack || first(rect.top) < area.top - slack ||
           first(rect.right - 1) >= area.right || first(rect.bottom - 1) >= area.bottom;
}

bool isOverhangRefused(const SessionState& s, const PixelRect& rect, std::int32_t rate, int padding) {
    if (s.options.overhang == Overhang::error && leaves(filterArea(s), rect, rate)) return true;
    return (!s.options.supportsPadding || padding == kPaddingError) && leaves(pictureArea(s), rect, rate);
}

bool isPlaneRangeValid(const SessionState& s, PlaneRange planes) {
    return planes.first >= 0 && planes.first <= planes.last && planes.last < s.source.planes;
}

std::size_t bytesOf(const SessionState& s, PlaneRange planes) {
    return s.source.sampleBytes() * static_cast<std::size_t>(planes.count());
}

bool hits(const SessionState& s, Side side) {
    return s.options.faultySide == Side::both || s.options.faultySide == side;
}

// Whether a fault `at` a call hits `call`. One that is off must not hit a request that no advanceState made,
// and both are kNever.
bool strikes(int at, int call) { return call != kNever && at == call; }

// What a host that cuts rectangles makes of one that is asked for.
PixelRect cut(const SessionState& s, PixelRect rect, Side side, int call) {
    const HostOptions& o = s.options;
    if (isEmpty(rect) || !hits(s, side)) return rect;
    const int rows = o.cutsRectangles || strikes(o.cutAt, call) ? 1 : 0, columns = o.cutsColumns ? 1 : 0;
    if (o.cutsTopLeft) return {rect.left + columns, rect.top + rows, rect.right, rect.bottom};
    return {rect.left, rect.top, rect.right - columns, rect.bottom - rows};
}

PixelRect delivered(Sampling sampling, PixelRect rect) {
    if (sampling == Sampling::smaller) {
        rect.right -= (rect.right - rect.left) / 4;
        rect.bottom -= (rect.bottom - rect.top) / 4;
    } else if (sampling == Sampling::larger) {
        rect.right += 3;
        rect.bottom += 2;
    }
    return rect;
}

bool canLendInPlace(const SessionState& s, const PixelRect& rect, PlaneRange planes) {
    const HostOptions& o = s.options;
    return o.lendsPicture && !o.poisonsBuffers && !o.movingBuffers && o.spareRowBytes == 0 &&
           planes.count() == s.source.planes && contains(pictureArea(s), rect);
}

// Only where the plug-in writes what the host would take over as it is.
bool canLendOutput(const SessionState& s, const PixelRect& rect, PlaneRange planes) {
    return canLendInPlace(s, rect, planes) && !s.options.haveMask &&
           s.options.outFill == OutFill::destination && contains(filterArea(s), rect);
}

void lendInPlace(SessionState& s, RequestBuffer& buffer, Image& picture, const PixelRect& rect,
                 PlaneRange planes) {
    const PixelRect local = onPicture(s, rect);
    buffer.rect = rect;
    buffer.planes = planes;
    buffer.pixelRowBytes = picture.pixelBytes() * static_cast<std::size_t>(rect.right - rect.left);
    buffer.rowBytes = picture.rowBytes();
    buffer.inPlace = picture.row(local.top) + picture.pixelBytes() * static_cast<std::size_t>(local.left);
}

// Lends the pixels of what the host makes of the request; the rectangle of that.
PixelRect lendInput(SessionState& s, const PixelRect& asked, std::int32_t rate, int call) {
    const bool reduces = rate > photoshop::kFullRate;
    const PixelRect rect = cut(s, reduces ? delivered(s.options.sampling, asked) : asked, Side::input, call);
    if (isEmpty(rect)) return rect;
    const PlaneRange planes{s.record->inLoPlane, s.record->inHiPlane};
    s.cachedInput = asked;
    if (!reduces && canLendInPlace(s, rect, planes)) {
        lendInPlace(s, s.input, s.source, rect, planes);
        return rect;
    }
    lend(s, s.input, rect, planes, bytesOf(s, planes));
    const auto rowBytes = static_cast<std::ptrdiff_t>(s.input.rowBytes);
    if (reduces) {
        const Reduction reduction{rate, -s.options.originX, -s.options.originY,
                                  s.options.sampling == Sampling::averaged};
        fetchReduced(s.source, rect, planes, reduction, pixelsOf(s.input), rowBytes);
    } else {
        fetchPixels(s.source, onPicture(s, rect), planes, s.record->inputPadding, pixelsOf(s.input),
                    rowBytes);
    }
    seal(s, s.input);
    return rect;
}

void serveInput(SessionState& s, const PixelRect& asked, std::int32_t rate, int call) {
    const bool kept = !isEmpty(s.input.rect);
    const PixelRect rect = kept ? s.input.rect : lendInput(s, asked, rate, call);
    if (rect != asked) writeBack(s, &FilterRecord::inRect, s.big.inRect32, rect);
    if (isEmpty(rect)) return;
    s.record->inData = pixelsOf(s.input);
    s.record->inRowBytes = static_cast<std::int32_t>(s.input.rowBytes);
}

void copyForOutput(SessionState& s, const PixelRect& rect, PlaneRange planes) {
    lend(s, s.output, rect, planes, bytesOf(s, planes));
    if (s.options.outFill == OutFill::rubbish) {
        for (std::size_t at = 0; at < s.output.size; at += s.output.rowBytes) {
            std::fill_n(pixelsOf(s.output) + at, s.output.pixelRowBytes, kRubbish);
        }
    } else {
        const Image& fill = s.options.outFill == OutFill::source ? s.source : s.destination;
        fetchPixels(fill, onPicture(s, rect), planes, s.record->outputPadding, pixelsOf(s.output),
                    static_cast<std::ptrdiff_t>(s.output.rowBytes));
    }
}

// The first output of a run finds the whole picture there.
void beginOutput(SessionState& s) {
    const Holds held = s.destinationHolds;
    if (held != Holds::source && held != Holds::output) s.destination = s.source;
    s.destinationHolds = Holds::output;
}

void serveOutput(SessionState& s, const PixelRect& asked, int call) {
    const PixelRect rect = cut(s, asked, Side::output, call);
    if (rect != asked) writeBack(s, &FilterRecord::outRect, s.big.outRect32, rect);
    if (isEmpty(rect)) return;
    beginOutput(s);
    ++s.report.tiles;
    const PlaneRange planes{s.record->outLoPlane, s.record->outHiPlane};
    if (canLendOutput(s, rect, planes)) {
        lendInPlace(s, s.output, s.destination, rect, planes);
    } else {
        copyForOutput(s, rect, planes);
    }
    s.record->outData = pixelsOf(s.output);
    s.record->outRowBytes = static_cast<std::int32_t>(s.output.rowBytes);
}

void serveMask(SessionState& s, const PixelRect& rect) {
    if (!s.options.haveMask || isEmpty(rect)) return;
    lend(s, s.mask, rect, {0, 0}, 1);
    fetchMask(s.source, maskView(s), onPicture(s, rect), reinterpret_cast<std::uint8_t*>(pixelsOf(s.mask)),
              static_cast<std::ptrdiff_t>(s.mask.rowBytes));
    seal(s, s.mask);
    s.record->maskData = pixelsOf(s.mask);
    s.record->maskRowBytes = static_cast<std::int32_t>(s.mask.rowBytes);
}

// The faults that a host may have in what it lends.
void spoil(SessionState& s, int call) {
    const HostOptions& o = s.options;
    if (strikes(o.nullInDataAt, call)) s.record->inData = nullptr;
    if (strikes(o.nullOutDataAt, call)) s.record->outData = nullptr;
    if (!strikes(o.shortRowAt, call)) return;
    const auto shortened = [](const RequestBuffer& b) {
        return static_cast<std::int32_t>(b.pixelRowBytes) - 1;
    };
    if (hits(s, Side::input)) s.record->inRowBytes = shortened(s.input);
    if (hits(s, Side::output)) s.record->outRowBytes = shortened(s.output);
}

// The host's refusal of what is asked, or noErr.
std::int16_t refusal(const SessionState& s, const Requests& asked, std::int32_t rate) {
    const FilterRecord& r = *s.record;
    if (rate > photoshop::kFullRate && s.options.sampling == Sampling::refused) return s.options.advanceError;
    if (isOverhangRefused(s, asked.in, rate, r.inputPadding) ||
        isOverhangRefused(s, asked.out, photoshop::kFullRate, r.outputPadding) ||
        (s.options.haveMask && isOverhangRefused(s, asked.mask, rateOf(r.maskRate), r.maskPadding))) {
        return photoshop::filterBadParameters;
    }
    if ((!isEmpty(asked.in) && !isPlaneRangeValid(s, {r.inLoPlane, r.inHiPlane})) ||
        (!isEmpty(asked.out) && !isPlaneRangeValid(s, {r.outLoPlane, r.outHiPlane}))) {
        return photoshop::filterBadParameters;
    }
    return photoshop::noErr;
}

}  // namespace

Requests pendingRequests(const SessionState& s) {
    if (uses32Bits(s))
        return {fromRect(s.big.inRect32), fromRect(s.big.outRect32), fromRect(s.big.maskRect32)};
    return {fromRect(s.record->inRect), fromRect(s.record->outRect), fromRect(s.record->maskRect)};
}

std::int16_t serveRequests(SessionState& s, int call) {
    const Requests asked = pendingRequests(s);
    // Freed at the end only, so that fresh memory lies elsewhere for sure.
    const auto ended = endBuffers(s, s.options.sameRectangleCache && s.cachedInput == asked.in);
    const std::int32_t askedRate = rateOf(s.record->inputRate);
    const PixelRect area = filterArea(s);
    if (leaves(area, asked.in, askedRate) || leaves(area, asked.out, photoshop::kFullRate) ||
        (s.options.haveMask && leaves(area, asked.mask, rateOf(s.record->maskRate)))) {
        s.report.leftFilterRect = true;
    }
    const std::int32_t rate = s.options.sampling == Sampling::ignored ? photoshop::kFullRate : askedRate;
    if (const std::int16_t result = refusal(s, asked, rate)) {
        endRequests(s);
        return result;
    }
    serveInput(s, asked.in, rate, call);
    serveOutput(s, asked.out, call);
    serveMask(s, asked.mask);
    spoil(s, call);
    return photoshop::noErr;
}

void endRequests(SessionState& s) {
    endBuffers(s, false);
    for (RequestBuffer* buffer : {&s.input, &s.output, &s.mask}) *buffer = {};
}

photoshop::Rect toRect16(const PixelRect& rect) {
    const auto cut = [](int v) { return static_cast<std::int16_t>(v); };
    return {cut(rect.top), cut(rect.left), cut(rect.bottom), cut(rect.right)};
}

photoshop::VRect toRect32(const PixelRect& rect) { return {rect.top, rect.left, rect.bottom, rect.right}; }

}  // namespace standin
