#pragma once

// A host that plays Photoshop's side of the filter protocol and nothing of the effect. Every way in which
// real hosts differ, and every fault that a test needs, is a field of HostOptions.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/parameter_block.h"
#include "host/photoshop.h"
#include "standin/image.h"

namespace standin {

struct SessionState;

/// What a host does with a request at a reduced rate.
enum class Sampling { everyNth, averaged, ignored, refused, smaller, larger };
/// What outData holds when the plug-in gets it.
enum class OutFill { destination, rubbish, source };
/// What a host keeps of the parameter handle between two runs.
enum class KeepsHandle { sameHandle, savedBytes, lost };
/// What a host says of a request that leaves its filterRect; `padded` leaves it to the padding fields, which
/// speak of the picture's edge.
enum class Overhang { padded, error };
/// Which of the two buffers a fault hits.
enum class Side { both, input, output };
/// Which rectangles a host counts when it decides whether to call Continue.
enum class CountsMask { never, withMask, always };

constexpr int kNever = 0;  // for the counters below, which begin at 1: the event does not happen

/// The result of a run whose plug-in still leaves a rectangle after kMaxContinues calls of Continue.
constexpr std::int16_t kRunNeverEnds = -32000;
constexpr int kMaxContinues = 100000;

/// Every way in which hosts differ and fail; the defaults play a well-behaved modern host.
struct HostOptions {
    // Coordinates.
    bool bigDocument = true;      ///< bigDocumentData is given
    bool clearsBigFlag = false;   ///< PluginUsing32BitCoordinates is cleared again before each selector call
    bool cutsFilterRect = false;  ///< a filterRect beyond 16 bits is cut to them; otherwise it is empty
    // Image.
    std::optional<std::int16_t> imageMode{};  ///< default: 3 for depth 8, 11 for 16
    std::optional<std::int32_t> depth{};      ///< what the record says; default: the image's own
    int originX = 0, originY = 0;       ///< document coordinates of the picture's first pixel; negative for a
                                        ///< layer that begins left of or above its canvas
    std::optional<PixelRect> canvas{};  ///< the document's own area, at 0, 0; default: that of the picture
    bool imageAtParameters = true;      ///< false: sizes, mode and rectangles are 0 until Prepare
    // Tiles and buffers.
    std::int16_t tileWidth = 1024, tileHeight = 1024;
    int spareRowBytes = 0;       ///< bytes behind each row; guarded, see RunReport::spareBytesTouched
    bool movingBuffers = true;   ///< a new buffer for each request, the old one freed
    bool poisonsBuffers = true;  ///< a buffer whose time is over is overwritten; see also lentInputTouched
    bool lendsPicture = false;   ///< inData and outData point into the host's pictures, whose row bytes they
                                 ///< have; a copy is lent where that can't be: at a reduced rate, for a part
                                 ///< of the planes or over an edge, with a mask, with spare bytes, and for
                                 ///< buffers that move, are poisoned or are filled otherwise
    OutFill outFill = OutFill::destination;
    bool supportsPadding = true;
    Overhang overhang = Overhang::padded;
    bool cutsRectangles = false;  ///< inRect and outRect are cut in place to one row less than asked
    bool cutsColumns = false;     ///< the same by one column
    bool cutsTopLeft = false;     ///< the row is the first instead of the last, the column too
    // Sampling.
    Sampling sampling = Sampling::everyNth;
    std::uint8_t samplingSupport = 1;
    bool sameRectangleCache = false;  ///< inData stays as it is while inRect repeats, whatever the rate
    photoshop::Fixed firstRate = photoshop::kFullRate;  ///< inputRate and maskRate of a fresh record
    // advanceState.
    bool hasAdvanceState = true;
    int failAdvanceAt = kNever;                         ///< the k-th call, from 1
    std::int16_t advanceError = -1;                     ///< what it answers then
    int nullInDataAt = kNever, nullOutDataAt = kNever;  ///< with result 0
    int shortRowAt = kNever;                            ///< inRowBytes and outRowBytes one byte too small
    int cutAt = kNever;                                 ///< the k-th call cuts as cutsRectangles does
    Side faultySide = Side::both;  ///< what cutsRectangles, cutsColumns, shortRowAt and cutAt hit
    // Progress and cancel.
    int abortAt = kNever;  ///< the k-th question is answered with true
    bool hasAbortProc = true, hasProgressProc = true;
    // Selection.
    std::optional<PixelRect> filterRect{};     ///< default: the whole image
    bool haveMask = false;                     ///< a mask of maskRect is offered and blended by the host
    std::optional<PixelRect> maskSelection{};  ///< where the mask is 255; default: filterRect
    std::vector<std::uint8_t> mask{};  ///< one byte a pixel of the whole picture; wins over maskSelection
    CountsMask countsMask = CountsMask::withMask;
    // Handles and data slot.
    bool hasHandleProcs = true;
    int failNewAt = kNever, failLockAt = kNever;  ///< newProc, lockProc answer null
    bool rubbishInNewHandles = true;
    bool blocksMove = true;  ///< an unlocked block moves
    KeepsHandle keepsHandle = KeepsHandle::sameHandle;
    bool keepsDataSlot = true;
    bool sendsFinish = true;
    bool finishAfterFailure = false;  ///< Finish follows a failed Continue too; a failed Start never
    // The call itself.
    bool nullResult = false;  ///< the result pointer is null; the host then counts every call as a success
    std::int16_t aboutResultOnEntry = 0;
    bool nullPlatformData = false;
    void* ownerWindow = nullptr;
    std::int32_t maxSpace = 0x7FFFFFFF;
    // Watching, for programs. Both run on the thread that runs the plug-in.
    std::function<void(int done, int total)> onProgress{};
    std::function<bool()> onAbort{};  ///< asked as well as abortAt
};

/// One call of PluginMain or of a callback, as it went.
struct HostEvent {
    enum class Kind { selector, advanceState, progress, abort, newHandle, lock, unlock };
    Kind kind;
    int a = 0, b = 0;         ///< selector and result; done and total; answer
    PixelRect in, out, mask;  ///< advanceState: the three requests
};

/// How a run went.
struct RunReport {
    std::int16_t result = 0;           ///< the first nonzero result, or 0
    std::int16_t failedSelector = -1;  ///< the selector that gave it
    bool leftFilterRect = false;       ///< a request left the filter rectangle
    bool spareBytesTouched = false;    ///< bytes behind a row or outside outRect were written
    bool lentInputTouched = false;     ///< inData or maskData was written; seen with poisonsBuffers only
    bool recordOverrun = false;        ///< bytes behind the 512 of the record were written
    bool locksBalanced = true;         ///< no block was left locked at the end of a selector call
    bool handlesMisused =
        false;      ///< a block was overrun, resized or disposed of, or a handle is not the host's
    int tiles = 0;  ///< rectangles with an outRect that were served
    std::vector<HostEvent> events;  ///< filled with HostSession::recordEvents only
};

/// A filter library that is loaded by its exported name, as hosts do it.
class Plugin {
  public:
    /// Throws std::runtime_error with the system's reason if the file can't be loaded or exports no
    /// PluginMain.
    explicit Plugin(const std::string& path);
    /// For tests that link the plug-in.
    explicit Plugin(photoshop::PluginMainProc entry);
    ~Plugin();
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;
    photoshop::PluginMainProc main() const { return main_; }

  private:
    void* library_ = nullptr;
    photoshop::PluginMainProc main_ = nullptr;
};

/// One document open in the host, with what the host keeps between runs of the filter. One session at a time
/// runs.
class HostSession {
  public:
    HostSession(const Plugin& plugin, Image image, HostOptions options = {});
    ~HostSession();
    HostSession(const HostSession&) = delete;
    HostSession& operator=(const HostSession&) = delete;

    /// The filter chosen from the menu: Parameters, Prepare, Start, Continue..., Finish. On success the image
    /// is the filtered one; on failure it is the one before.
    RunReport runFromMenu();
    /// A repeat of the last filter: the same without Parameters.
    RunReport repeat();
    /// Takes a run that succeeded back, and readies the picture that the next run writes, in the memory of
    /// the last: that one's time is then the plug-in's. Without such a run it does the second alone.
    void undo();
    /// About alone.
    RunReport about();
    /// One selector alone, with the record as the last call left it; its result. Counters of faults begin
    /// anew with each call, as with each run. Pixels that it writes are dropped by the next run.
    std::int16_t call(std::int16_t selector);

    /// Puts a stored block where a repeat finds it, as a host does with saved bytes.
    void storeParameters(const veil::VeilParams& params);
    /// The block as the host holds it; nothing if there is none.
    std::optional<veil::VeilParams> storedParameters() const;

    const Image& image() const;
    Image takeImage();
    HostOptions& options();
    photoshop::FilterRecord& record();
    photoshop::BigDocumentStruct& bigDocument();
    std::intptr_t& dataSlot();
    bool recordEvents = false;

  private:
    std::unique_ptr<SessionState> state_;
};

/// The published name of a result code, such as "filterBadMode"; "host error N" for any other.
std::string resultName(std::int16_t result);

}  // namespace standin
