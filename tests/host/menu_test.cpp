// The driver linked in, with a scripted dialog in the place of the real one and the recording platform.

#include <doctest/doctest.h>

#include <cstdlib>
#include <cstring>
#include <string_view>
#include <tuple>

#include "dialog/run_main_dialog.h"
#include "host/plugin_main.h"
#include "host/plugin_state.h"
#include "platform/recording/recorder.h"
#include "tests/host/runs.h"

using namespace standin;
using namespace hosttest;
using photoshop::noErr;
using photoshop::userCanceledErr;

namespace {

struct ScriptedDialog {
    bool confirms = true;
    int shown = 0;
    bool openedOnDefaults = false;
};
ScriptedDialog gDialog;

// The program is registered a second time, to run on a Japanese system.
bool isJapaneseSystem() {
    const char* locale = std::getenv("LC_ALL");
    return locale && std::string_view(locale).starts_with("ja");
}

}  // namespace

const Plugin& hosttest::plugin() {
    static const Plugin linked(PluginMain);
    return linked;
}

bool veil::runMainDialog() {
    const VeilParams defaults{0, gParams->reserved, 0.0f, 180.0f, 0.7f, 0.18f, 0.0f, 1.0f, 0.2f, 0, 1};
    gDialog.openedOnDefaults = std::memcmp(gParams, &defaults, sizeof defaults) == 0;
    ++gDialog.shown;
    if (gDialog.confirms) *gParams = kBlack;
    photoshop::BigDocumentStruct& big = *gFilterRecord->bigDocumentData;
    if (!gDialog.confirms)
        big.inRect32 = big.outRect32 = big.maskRect32 = {1, 2, 3, 4};  // a preview's leftovers
    return gDialog.confirms;
}

TEST_CASE("the host's calls and the plug-in's come in the right order") {
    const std::string menu = "1 lock unlock 2 lock unlock 3", repeat = "2 lock unlock 3",
                      tile = " lock advance 1/1 abort? unlock ";
    const std::tuple<How, bool, bool, bool, CountsMask, std::string> table[] = {
        {How::menu, false, true, false, CountsMask::withMask,
         "1 new lock unlock 2 lock unlock 3" + tile + "5 lock unlock"},
        {How::menu, true, true, false, CountsMask::withMask, menu + tile + "5 lock unlock"},
        {How::menu, true, false, false, CountsMask::withMask, menu + "=-128 lock unlock"},
        {How::repeat, true, true, false, CountsMask::always, repeat + tile + "5 lock unlock"},
        {How::repeat, false, true, false, CountsMask::withMask,
         "2 new lock unlock 3" + tile + "5 lock unlock"},
        {How::repeat, true, true, true, CountsMask::withMask, repeat + tile + "4 unlock 5 lock unlock"},
        {How::menu, true, true, true, CountsMask::always, menu + tile + "4 unlock 5 lock unlock"},
        {How::repeat, true, true, true, CountsMask::never, repeat + tile + "5 lock unlock"},
    };
    for (const auto& [how, hasBlock, confirms, mask, counts, expected] : table) {
        INFO(expected);
        gDialog = {.confirms = confirms};
        HostSession session(plugin(), picture(9, 6),
                            {.imageAtParameters = false, .haveMask = mask, .countsMask = counts});
        session.recordEvents = true;
        if (hasBlock) session.storeParameters(kBlack);
        const RunReport report = checkedRun(session, how);
        CHECK(story(report) == expected);
        CHECK(report.result == (confirms ? noErr : userCanceledErr));
        CHECK(gDialog.shown == (how == How::menu || !hasBlock ? 1 : 0));
        const photoshop::BigDocumentStruct& big = session.bigDocument();
        const auto isEmpty = [](const photoshop::VRect& r) {
            return !r.top && !r.left && !r.bottom && !r.right;
        };
        CHECK((isEmpty(big.inRect32) && isEmpty(big.outRect32)));
        CHECK(isEmpty(big.maskRect32) == (counts != CountsMask::never));
        const photoshop::FilterRecord& r = session.record();
        CHECK(r.inputPadding + r.outputPadding + r.maskPadding ==
              (confirms ? 3 : 9) * photoshop::plugInWantsEdgeReplication);
    }
}

TEST_CASE("the block and the flag live through every way in which hosts keep and lose them") {
    const Image image = picture(12, 9), black = blackened(image, {0, 0, 12, 9});
    for (const bool keepsSlot : {true, false}) {
        for (const KeepsHandle keeps :
             {KeepsHandle::sameHandle, KeepsHandle::savedBytes, KeepsHandle::lost}) {
            INFO("slot kept ", keepsSlot, " handle ", static_cast<int>(keeps));
            const bool keepsBytes = keeps != KeepsHandle::lost;
            HostSession session(plugin(), image, {.keepsHandle = keeps, .keepsDataSlot = keepsSlot});
            const auto run = [&](How how, bool confirms) {
                gDialog = {.confirms = confirms};
                const std::int16_t result = checkedRun(session, how).result;
                // It opens on these always, never on the last values.
                CHECK(gDialog.openedOnDefaults == (gDialog.shown == 1));
                return result;
            };
            // A repeat after a cancelled run applies the defaults; where the host lost them, it has to ask.
            CHECK(run(How::menu, false) == userCanceledErr);
            CHECK(run(How::repeat, false) == (keepsBytes ? noErr : userCanceledErr));
            CHECK(gDialog.shown == (keepsBytes ? 0 : 1));
            // A second menu run takes the same handle, and a repeat applies the accepted bytes.
            CHECK(run(How::menu, true) == noErr);
            CHECK(session.image() == black);
            const photoshop::Handle handle = session.record().parameters;
            CHECK(run(How::menu, true) == noErr);
            if (keeps == KeepsHandle::sameHandle) CHECK((session.record().parameters == handle));
            CHECK(run(How::repeat, false) == (keepsBytes ? noErr : userCanceledErr));
            const auto stored = session.storedParameters();
            CHECK(stored.has_value() == keepsBytes);
            if (stored) CHECK(std::memcmp(&*stored, &kBlack, sizeof kBlack) == 0);
        }
    }
}

TEST_CASE("the progress window counts every tile, closes on every way out, and a cancel ends the run") {
    using Kind = veil::RecordedCall::Kind;
    const std::wstring word = isJapaneseSystem() ? L"\u51E6\u7406\u4E2D..." : L"Processing...";
    constexpr int kTiles = 6, kRefused = -1;
    for (const int cancelAt : {kRefused, 0, 1, 4, kTiles}) {
        INFO("cancelled at tile ", cancelAt);
        int window = 0;
        veil::Recorder recorder;
        recorder.refusesWindows = cancelAt == kRefused;  // the run goes on without
        recorder.cancelAtPump = cancelAt;
        recorder.language = isJapaneseSystem() ? 0x0411 : 0x0409;
        veil::installRecorder(&recorder);
        Image image = picture(20, 12);
        const RunReport report =
            checkedRun(image, kBlack, {.tileWidth = 7, .tileHeight = 7, .ownerWindow = &window});
        veil::installRecorder(nullptr);
        const int tiles = cancelAt > 0 ? cancelAt : kTiles;
        CHECK(report.result == (cancelAt > 0 ? userCanceledErr : noErr));
        CHECK(report.tiles == tiles);

        std::wstring told, expected = L"create (" + word + L") show ";
        for (const veil::RecordedCall& call : recorder.calls) {
            const wchar_t* names[] = {L"create ", L"", L"", L"show ", L"pump ", L"destroy"};  // by Kind
            told += names[static_cast<int>(call.kind)];
            if (call.kind == Kind::create) CHECK(call.owner == &window);
            if (call.kind == Kind::text) told += L"(" + call.text + L") ";
            if (call.kind == Kind::bar)
                told += std::to_wstring(call.position) + L"/" + std::to_wstring(call.maximum) + L" ";
        }
        for (int done = 0; done <= tiles; ++done) {
            const std::wstring count = std::to_wstring(done);
            expected += count + L"/6 (" + word + L" (" + count + L" / 6)) " + (done > 0 ? L"pump " : L"");
        }
        CHECK((told == (cancelAt == kRefused ? L"create " : expected + L"destroy")));
    }
}
