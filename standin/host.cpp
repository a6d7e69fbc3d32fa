#include "standin/host.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <utility>

#include "standin/callbacks.h"
#include "standin/requests.h"
#include "standin/session_state.h"

namespace standin {

using photoshop::FilterRecord;

namespace {

constexpr int kWidest16 = 32767;  // a longer side can't be told in the 16-bit fields
constexpr std::byte kGuard{0xA5}, kRubbish{0xDB};

photoshop::Point point16(int v, int h) {
    const auto nearest = [](int i) {
        return static_cast<std::int16_t>(std::clamp(i, -kWidest16, kWidest16));
    };
    return {nearest(v), nearest(h)};
}

std::int16_t filterCase(const SessionState& s) {
    const bool selected = s.options.haveMask || s.options.filterRect.has_value();
    return static_cast<std::int16_t>((s.source.planes > 3 ? 4 : 1) + (selected ? 1 : 0));
}

void offerSizes(SessionState& s) {
    FilterRecord& r = *s.record;
    const PixelRect area = filterArea(s);
    const PixelRect canvas = s.options.canvas.value_or(pictureArea(s));
    const int width = canvas.right - canvas.left, height = canvas.bottom - canvas.top;
    r.imageSize = r.wholeSize = point16(height, width);
    const bool fits = std::max({area.right, area.bottom, -area.left, -area.top}) <= kWidest16;
    r.filterRect = fits || s.options.cutsFilterRect ? toRect16(area) : photoshop::Rect{};
    r.floatCoord = point16(s.options.originY, s.options.originX);
    s.big.imageSize32 = s.big.wholeSize32 = {height, width};
    s.big.filterRect32 = toRect32(area);
    s.big.floatCoord32 = {s.options.originY, s.options.originX};
}

void offerImage(SessionState& s) {
    FilterRecord& r = *s.record;
    const HostOptions& o = s.options;
    offerSizes(s);
    r.planes = static_cast<std::int16_t>(s.source.planes);
    r.depth = o.depth.value_or(s.source.depth);
    r.imageMode = o.imageMode.value_or(s.source.depth == 16 ? photoshop::plugInModeRGB48
                                                            : photoshop::plugInModeRGBColor);
    r.filterCase = filterCase(s);
    r.haveMask = r.autoMask = o.haveMask ? 0xFF : 0;  // any nonzero byte is true
    r.imageHRes = r.imageVRes = 72 * photoshop::kFullRate;
    r.inLayerPlanes = r.outLayerPlanes = 3;
    r.inTransparencyMask = r.outTransparencyMask = static_cast<std::int16_t>(s.source.planes > 3);
    r.inTileWidth = r.outTileWidth = r.maskTileWidth = o.tileWidth;
    r.inTileHeight = r.outTileHeight = r.maskTileHeight = o.tileHeight;
}

// A fresh record; only the parameter handle lasts from one run to the next.
void offerRecord(SessionState& s, bool withImage) {
    const photoshop::Handle parameters = s.record->parameters;
    s.recordStorage.fill(kGuard);
    s.record = std::construct_at(reinterpret_cast<FilterRecord*>(s.recordStorage.data()));
    FilterRecord& r = *s.record;
    const HostOptions& o = s.options;
    r.parameters = parameters;
    r.maxSpace = o.maxSpace;
    r.bufferSpace = o.maxSpace / 2;
    r.inputRate = r.maskRate = o.firstRate;
    r.inputPadding = r.outputPadding = r.maskPadding = -3;  // an error, unless the plug-in asks otherwise
    r.supportsPadding = o.supportsPadding ? 1 : 0;
    r.samplingSupport = o.samplingSupport;
    s.platformData.hwnd = o.ownerWindow;
    r.platformData = o.nullPlatformData ? nullptr : &s.platformData;
    s.big = {};
    r.bigDocumentData = o.bigDocument ? &s.big : nullptr;
    offerCallbacks(s);
    if (withImage) offerImage(s);
}

void beginCounting(SessionState& s, bool recordsEvents) {
    s.report = {};
    s.recordsEvents = recordsEvents;
    s.advanceCalls = s.abortQuestions = s.newCalls = s.lockCalls = 0;
    s.handles.misused = false;
}

void beginRun(SessionState& s, bool recordsEvents, bool withImage) {
    beginCounting(s, recordsEvents);
    if (s.destinationHolds != Holds::source) s.destinationHolds = Holds::nothing;
    offerRecord(s, withImage);
}

// An AboutRecord and what a plug-in meets that takes it for a FilterRecord: pointers into nowhere.
struct AboutStorage {
    explicit AboutStorage(photoshop::PlatformData* platformData) {
        bytes.fill(kRubbish);
        auto* about = std::construct_at(reinterpret_cast<photoshop::AboutRecord*>(bytes.data()));
        about->platformData = platformData;
        std::memset(about->reserved, static_cast<int>(kRubbish), sizeof about->reserved);
    }
    alignas(16) std::array<std::byte, sizeof(FilterRecord)> bytes;
};

void checkRecord(SessionState& s) {
    const auto behind = s.recordStorage.begin() + sizeof(FilterRecord);
    if (std::any_of(behind, s.recordStorage.end(), [](std::byte b) { return b != kGuard; })) {
        s.report.recordOverrun = true;
    }
}

std::int16_t callSelector(SessionState& s, std::int16_t selector) {
    AboutStorage about(s.record->platformData);
    const bool isAbout = selector == photoshop::filterSelectorAbout;
    std::int16_t result = isAbout ? s.options.aboutResultOnEntry : photoshop::noErr;
    const int event = noteEvent(s, {HostEvent::Kind::selector, selector, 0, {}, {}, {}});
    if (s.options.clearsBigFlag) s.big.PluginUsing32BitCoordinates = 0;
    {
        const RunningSession running(s);
        void* record = isAbout ? about.bytes.data() : s.recordStorage.data();
        s.main(selector, record, &s.dataSlot, s.options.nullResult ? nullptr : &result);
    }
    endRequests(s);
    checkRecord(s);
    checkBlocks(s.handles);
    s.report.handlesMisused = s.handles.misused;
    if (anyBlockLocked(s.handles)) s.report.locksBalanced = false;
    if (event >= 0) s.report.events[static_cast<std::size_t>(event)].b = result;
    if (result != photoshop::noErr && s.report.result == photoshop::noErr) {
        s.report.result = result;
        s.report.failedSelector = selector;
    }
    return result;
}

bool isRequestLeft(const SessionState& s) {
    const Requests left = pendingRequests(s);
    if (!isEmpty(left.in) || !isEmpty(left.out)) return true;
    const CountsMask counts = s.options.countsMask;
    return (counts == CountsMask::always || (counts == CountsMask::withMask && s.options.haveMask)) &&
           !isEmpty(left.mask);
}

// Serves what the plug-in left and calls Continue, until nothing is left.
bool continueRun(SessionState& s) {
    for (int calls = 0; isRequestLeft(s); ++calls) {
        s.report.result = calls < kMaxContinues ? serveRequests(s, kNever) : kRunNeverEnds;
        if (s.report.result != photoshop::noErr) {
            s.report.failedSelector = photoshop::filterSelectorContinue;
            endRequests(s);
            return false;
        }
        if (callSelector(s, photoshop::filterSelectorContinue) != photoshop::noErr) return false;
    }
    return true;
}

// What the plug-in never frees by design, its bytes behind lost slots, stays reachable for leak checkers.
void forgetDataSlot(SessionState& s) {
    static auto* const forgotten = std::make_unique<std::vector<std::intptr_t>>().release();
    if (s.dataSlot != 0) forgotten->push_back(std::exchange(s.dataSlot, 0));
}

std::optional<veil::VeilParams> blockBytes(const SessionState& s) {
    for (const auto& block : s.handles.blocks) {
        if (&block->master != s.record->parameters || block->size < veil::kParameterBlockSize) continue;
        veil::VeilParams params;
        std::memcpy(&params, block->master, sizeof params);
        return params;
    }
    return std::nullopt;
}

void replaceBlock(SessionState& s, const veil::VeilParams* bytes) {
    disposeBlock(s.handles, s.record->parameters);
    s.record->parameters = nullptr;
    if (!bytes) return;
    s.record->parameters = makeBlock(s.handles, veil::kParameterBlockSize, false);
    std::memcpy(*s.record->parameters, bytes, sizeof *bytes);
}

void endRun(SessionState& s, bool succeeded) {
    const bool written = succeeded && s.destinationHolds == Holds::output;
    if (written) std::swap(s.source, s.destination);
    s.destinationHolds = written ? Holds::previous : Holds::nothing;
    if (!s.options.keepsDataSlot) forgetDataSlot(s);
    if (s.options.keepsHandle == KeepsHandle::sameHandle) return;
    const auto bytes = blockBytes(s);
    const bool saved = s.options.keepsHandle == KeepsHandle::savedBytes && bytes;
    replaceBlock(s, saved ? &*bytes : nullptr);
}

RunReport run(SessionState& s, bool recordsEvents, bool fromMenu) {
    beginRun(s, recordsEvents, s.options.imageAtParameters);
    bool good = !fromMenu || callSelector(s, photoshop::filterSelectorParameters) == photoshop::noErr;
    if (good) {
        offerImage(s);
        good = callSelector(s, photoshop::filterSelectorPrepare) == photoshop::noErr;
    }
    good = good && callSelector(s, photoshop::filterSelectorStart) == photoshop::noErr;
    if (good) {
        good = continueRun(s);
        if (good ? s.options.sendsFinish : s.options.finishAfterFailure) {
            callSelector(s, photoshop::filterSelectorFinish);
        }
    }
    endRun(s, good);
    return std::move(s.report);
}

}  // namespace

int noteEvent(SessionState& s, const HostEvent& event) {
    if (!s.recordsEvents) return -1;
    s.report.events.push_back(event);
    return static_cast<int>(s.report.events.size()) - 1;
}

PixelRect pictureArea(const SessionState& s) {
    return shifted(bounds(s.source), s.options.originX, s.options.originY);
}

PixelRect filterArea(const SessionState& s) { return s.options.filterRect.value_or(pictureArea(s)); }

HostSession::HostSession(const Plugin& plugin, Image image, HostOptions options)
    : state_(std::make_unique<SessionState>()) {
    SessionState& s = *state_;
    s.main = plugin.main();
    s.source = std::move(image);
    s.options = std::move(options);
    s.record = std::construct_at(reinterpret_cast<FilterRecord*>(s.recordStorage.data()));
    offerRecord(s, true);
}

HostSession::~HostSession() { forgetDataSlot(*state_); }

RunReport HostSession::runFromMenu() { return run(*state_, recordEvents, true); }
RunReport HostSession::repeat() { return run(*state_, recordEvents, false); }

void HostSession::undo() {
    SessionState& s = *state_;
    if (s.destinationHolds == Holds::previous) std::swap(s.source, s.destination);
    s.destination = s.source;
    s.destinationHolds = Holds::source;
}

RunReport HostSession::about() {
    beginRun(*state_, recordEvents, true);
    callSelector(*state_, photoshop::filterSelectorAbout);
    return std::move(state_->report);
}

std::int16_t HostSession::call(std::int16_t selector) {
    beginCounting(*state_, recordEvents);
    return callSelector(*state_, selector);
}

void HostSession::storeParameters(const veil::VeilParams& params) { replaceBlock(*state_, &params); }

std::optional<veil::VeilParams> HostSession::storedParameters() const { return blockBytes(*state_); }

const Image& HostSession::image() const { return state_->source; }
Image HostSession::takeImage() { return std::move(state_->source); }
HostOptions& HostSession::options() { return state_->options; }
photoshop::FilterRecord& HostSession::record() { return *state_->record; }
photoshop::BigDocumentStruct& HostSession::bigDocument() { return state_->big; }
std::intptr_t& HostSession::dataSlot() { return state_->dataSlot; }

std::string resultName(std::int16_t result) {
    switch (result) {
        case photoshop::noErr:
            return "noErr";
        case photoshop::userCanceledErr:
            return "userCanceledErr";
        case photoshop::memFullErr:
            return "memFullErr";
        case photoshop::filterBadParameters:
            return "filterBadParameters";
        case photoshop::filterBadMode:
            return "filterBadMode";
        default:
            return "host error " + std::to_string(result);
    }
}

}  // namespace standin
