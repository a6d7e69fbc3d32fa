#pragma once

// What a session holds: the document, the host's record and everything that the two sides share during a
// call.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "host/photoshop.h"
#include "standin/handles.h"
#include "standin/host.h"
#include "standin/pixels.h"

namespace standin {

/// The pixels that the host lends for one request: a buffer of its own between two guards, or a part of a
/// picture in place.
struct RequestBuffer {
    std::unique_ptr<std::byte[]> memory;
    std::byte* inPlace = nullptr;        // into the picture; the fields on memory then mean nothing
    std::size_t capacity = 0, size = 0;  // bytes between the guards
    std::size_t pixelRowBytes = 0;       // of a row, without the spare ones
    std::size_t rowBytes = 0;
    PixelRect rect;  // what it holds, in document coordinates; empty: not lent
    PlaneRange planes;
    std::uint64_t sum = 0;  // of what was lent to be read only
};

/// What the second picture is: of no use, the first one anew, what was written over that so far, or the
/// picture before the last run.
enum class Holds { nothing, source, output, previous };

struct SessionState {
    photoshop::PluginMainProc main = nullptr;
    HostOptions options;
    Image source;       // the picture before the filter
    Image destination;  // its memory stays from run to run
    Holds destinationHolds = Holds::nothing;

    // Newer hosts' records go on behind what a plug-in may touch; here stand guard bytes.
    alignas(16) std::array<std::byte, 1024> recordStorage{};
    photoshop::FilterRecord* record = nullptr;
    photoshop::BigDocumentStruct big{};
    photoshop::PlatformData platformData{};
    photoshop::HandleProcs handleProcs{};
    HandleTable handles;
    std::intptr_t dataSlot = 0;

    RequestBuffer input, output, mask;
    std::optional<PixelRect> cachedInput;  // the request whose pixels `input` holds

    RunReport report;
    bool recordsEvents = false;
    int advanceCalls = 0, abortQuestions = 0, newCalls = 0, lockCalls = 0;  // of this run
};

/// Notes an event if the session records them; its index, or -1.
int noteEvent(SessionState& state, const HostEvent& event);

/// The whole picture, in document coordinates.
PixelRect pictureArea(const SessionState& state);

/// The area that the plug-in may filter, in document coordinates.
PixelRect filterArea(const SessionState& state);

}  // namespace standin
