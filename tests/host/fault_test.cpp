// The built plug-in in hosts that fail, refuse and break their word.

#include <doctest/doctest.h>

#include <algorithm>
#include <cstring>
#include <tuple>

#include "tests/host/runs.h"

using namespace photoshop;
using namespace standin;
using namespace hosttest;

namespace {

// Six tiles: three columns, two rows.
constexpr std::int16_t kTile = 7;
const HostOptions kWell{.tileWidth = kTile, .tileHeight = kTile};
Image sixTiles() { return picture(20, 12); }

int advanceCalls(const RunReport& report) {
    return static_cast<int>(std::count_if(report.events.begin(), report.events.end(), [](const HostEvent& e) {
        return e.kind == HostEvent::Kind::advanceState;
    }));
}

// After whatever failed, a host that is well again gets its whole picture.
void checkRecovery(HostSession& session) {
    session.options() = kWell;
    session.storeParameters(kBlack);
    CHECK(checkedRun(session).result == noErr);
    CHECK(session.image() == blackened(sixTiles(), {0, 0, 20, 12}));
}

}  // namespace

TEST_CASE("a fault at any tile ends the run with its code, no request after it and that tile's rectangles") {
    const std::tuple<int HostOptions::*, std::int16_t, std::int16_t> faults[] = {
        {&HostOptions::failAdvanceAt, -30999, -30999},
        {&HostOptions::failAdvanceAt, 1, 1},
        {&HostOptions::failAdvanceAt, -128, userCanceledErr},
        {&HostOptions::nullInDataAt, 0, filterBadParameters},
        {&HostOptions::nullOutDataAt, 0, filterBadParameters},
        {&HostOptions::shortRowAt, 0, filterBadParameters},
        {&HostOptions::cutAt, 0, filterBadParameters},
        {&HostOptions::abortAt, 0, userCanceledErr}};
    for (const auto& [at, code, result] : faults) {
        for (int k = 1; k <= 6; ++k) {
            const int left = (k - 1) % 3 * kTile, top = (k - 1) / 3 * kTile;
            INFO("result ", result, " at tile ", k);
            HostOptions options = kWell;
            options.*at = k;
            options.advanceError = code;
            options.faultySide = Side::input;
            HostSession session(plugin(), sixTiles(), options);
            session.recordEvents = true;
            session.storeParameters(kBlack);
            const RunReport report = checkedRun(session);
            CHECK(report.result == result);
            CHECK(report.failedSelector == filterSelectorStart);
            CHECK(advanceCalls(report) == k);
            const VRect out = session.bigDocument().outRect32;
            CHECK(PixelRect{out.left, out.top, out.right, out.bottom} ==
                  PixelRect{left, top, std::min(left + kTile, 20), std::min(top + kTile, 12)});
            checkRecovery(session);
        }
    }
}

TEST_CASE("a host that can't serve what is needed is refused before a pixel is written") {
    const HostOptions unserved[] = {{.hasAdvanceState = false},
                                    {.tileWidth = 0},
                                    {.tileHeight = 0},
                                    {.tileWidth = -7},
                                    {.tileHeight = -32768},
                                    {.filterRect = PixelRect{5, 5, 5, 9}},
                                    {.filterRect = PixelRect{5, 9, 8, 5}},
                                    {.filterRect = PixelRect{-2147483647, 0, 2147483647, 9}},
                                    {.bigDocument = false, .cutsRectangles = true},
                                    {.cutsRectangles = true, .faultySide = Side::input},
                                    {.cutsRectangles = true, .faultySide = Side::output},
                                    {.cutsRectangles = true, .cutsTopLeft = true, .faultySide = Side::input},
                                    {.cutsColumns = true, .faultySide = Side::input},
                                    {.cutsColumns = true, .faultySide = Side::output},
                                    {.cutsColumns = true, .cutsTopLeft = true, .faultySide = Side::output},
                                    {.shortRowAt = 1, .faultySide = Side::input},
                                    {.shortRowAt = 1, .faultySide = Side::output}};
    const HostOptions unsupported[] = {{.depth = 32},
                                       {.depth = 1},
                                       {.imageMode = plugInModeGrayScale},
                                       {.imageMode = plugInModeLabColor},
                                       {.imageMode = plugInModeGray16}};
    const auto check = [](HostOptions options, std::int16_t result) {
        // The failure has to return to the host without a location for its result too.
        for (const bool nullResult : {false, true}) {
            INFO("result ", result, " null ", nullResult, " tiles ", options.tileWidth, " x ",
                 options.tileHeight);
            options.nullResult = nullResult;
            Image image = sixTiles();
            const RunReport report = checkedRun(image, kBlack, options);
            CHECK(report.result == (nullResult ? noErr : result));
            CHECK(advanceCalls(report) ==
                  (options.cutsRectangles || options.cutsColumns || options.shortRowAt ? 1 : 0));
            CHECK(image == sixTiles());
        }
    };
    for (const HostOptions& options : unserved) check(options, filterBadParameters);
    for (const HostOptions& options : unsupported) check(options, filterBadMode);
}

TEST_CASE("a refused handle or lock is reported at the stage that meets it, and the next run is whole") {
    // The run flag may hold anything after such a failure, so the host forgets it.
    const std::tuple<HostOptions, How, bool, std::int16_t> faults[] = {
        {{.failNewAt = 1, .keepsDataSlot = false}, How::menu, false, 1},
        {{.failNewAt = 1, .keepsDataSlot = false}, How::repeat, false, 2},
        {{.hasHandleProcs = false, .keepsDataSlot = false}, How::menu, false, 1},
        {{.hasHandleProcs = false}, How::repeat, true, 2},
        {{.failLockAt = 1, .keepsDataSlot = false}, How::menu, false, 1},
        {{.failLockAt = 1}, How::repeat, true, 2},
        {{.failLockAt = 2}, How::repeat, true, 3}};
    for (const auto& [options, how, hasBlock, selector] : faults) {
        INFO("selector ", selector, " with a block ", hasBlock);
        HostSession session(plugin(), sixTiles(), options);
        if (hasBlock) session.storeParameters(kBlack);
        const RunReport report = checkedRun(session, how);
        CHECK(report.result == memFullErr);
        CHECK(report.failedSelector == selector);
        checkRecovery(session);
    }
    HostSession session(plugin(), sixTiles());  // a host that lost the handle since Prepare
    CHECK(session.call(filterSelectorStart) == filterBadParameters);
}

TEST_CASE("About and unknown selectors change nothing but what they must") {
    for (const bool bigDocument : {false, true}) {
        HostSession session(plugin(), sixTiles(), {.bigDocument = bigDocument, .aboutResultOnEntry = 1});
        if (bigDocument) session.storeParameters(kEffect);
        session.dataSlot() = 12345678;  // none of these may follow it
        session.bigDocument().inRect32 = session.bigDocument().maskRect32 = {3, 1, 4, 1};
        session.record().outRect = {1, 5, 9, 2};
        const FilterRecord record = session.record();
        BigDocumentStruct big = session.bigDocument();
        for (const int selector : {0, 6, -1, 32767, -32768, 256}) {
            INFO("selector ", selector);
            if (selector != filterSelectorAbout) big.PluginUsing32BitCoordinates = bigDocument ? 1 : 0;
            CHECK(session.call(static_cast<std::int16_t>(selector)) ==
                  (selector == filterSelectorAbout ? 1 : noErr));
            CHECK(std::memcmp(&record, &session.record(), sizeof record) == 0);
            CHECK(std::memcmp(&big, &session.bigDocument(), sizeof big) == 0);
            CHECK(session.dataSlot() == 12345678);
            const auto stored = session.storedParameters();
            CHECK((!stored || std::memcmp(&*stored, &kEffect, sizeof kEffect) == 0));
        }
        session.recordEvents = true;
        CHECK(story(session.about()) == "0=1");
        session.dataSlot() = 0;
    }
}
