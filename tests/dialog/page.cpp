#include "tests/dialog/page.h"

#include <doctest/doctest.h>

#include <cstdio>
#include <sstream>
#include <utility>

#include "host/plugin_main.h"
#include "tests/toolkit/recorded_lines.h"

namespace {

std::function<void()> gAtStart;

void enter(std::int16_t selector, void* record, std::intptr_t* data, std::int16_t* result) {
    if (selector == photoshop::filterSelectorStart && gAtStart) gAtStart();
    PluginMain(selector, record, data, result);
}

}  // namespace

const standin::Plugin& hosttest::plugin() {
    static const standin::Plugin linked(enter);
    return linked;
}

namespace dialogtest {

namespace {

standin::HostOptions withOwner(standin::HostOptions options, int* owner) {
    options.ownerWindow = owner;
    return options;
}

}  // namespace

void Page::act(const std::string& steps) {
    std::istringstream words(steps);
    for (std::string step; words >> step;) {
        const std::string rest = step.substr(1);
        int x = 0, y = 0;
        std::sscanf(rest.c_str(), "%d,%d", &x, &y);
        const auto mouse = [&](Kind kind) { send({.kind = kind, .point = veil::pixelOf(x, y)}); };
        const veil::Key key = static_cast<veil::Key>(std::string("XUDLRNS").find(rest));
        if (step[0] == 'm') mouse(Kind::mouseMove);
        if (step[0] == 'd') mouse(Kind::buttonDown);
        if (step[0] == 'u') mouse(Kind::buttonUp);
        if (step[0] == 'D') mouse(Kind::doubleClick);
        if (step[0] == 'c') veil::clickAt(window, x, y);
        if (step[0] == 'l') send({.kind = Kind::mouseLeave});
        for (int i = 0; step[0] == 't' && i < x; ++i) veil::fireTimer(window, 401);
        if (step[0] == 'k') send({.kind = Kind::key, .key = key});
        if (step[0] == 'e') typeKey(box(), key);
        for (const char c : step[0] == '\'' ? rest : "") typeCharacter(box(), static_cast<wchar_t>(c));
    }
}

bool Page::has(int row, double value) {
    const float stored = state.params.*veil::kSliderDefinitions[std::size_t(row)].param;
    return stored == this->value(row) && stored == doctest::Approx(value);
}

void Page::setValue(int row, float value) {
    state.params.*veil::kSliderDefinitions[std::size_t(row)].param = value;
    syncSlidersFromParams(state);
}

std::string Page::calls() {
    std::string told;
    for (const std::string& call : std::exchange(recorder.windowCalls, {}))
        told += (told.empty() ? "" : ", ") + call;
    return told;
}

bool Page::renders(const std::function<void()>& action) {
    paint();
    state.preview.displayPixels.assign(state.preview.displayPixels.size(), 99);
    recorder.previewPixels.clear();
    action();
    paint();
    if (recorder.previewPixels.empty()) return false;
    CHECK((recorder.previewPixels == currentPixels()));
    return true;
}

std::vector<std::uint8_t> Page::currentPixels() {
    veil::PreviewState fresh;
    fresh.sourcePixels = state.preview.sourcePixels;
    fresh.width = state.preview.width;
    fresh.height = state.preview.height;
    fresh.scale = state.preview.scale;
    renderPreview(fresh, state.params, state.previewToggle.accented);
    return fresh.displayPixels;
}

Run::Run(const User& user, const Opening& opening)
    : session(hosttest::plugin(), opening.image, withOwner(opening.host, &owner)) {
    recorder.language = veil::isJapaneseSystem() ? 0x0811 : 0x0412;
    if (opening.prepare) opening.prepare(recorder);
    recorder.scripts.emplace_front([&](veil::Window* window) {
        Page page{recorder, window, *static_cast<veil::MainDialogState*>(window->context)};
        user(page);
    });
    veil::installRecorder(&recorder);
    if (opening.block) {
        session.call(photoshop::filterSelectorParameters);
        session.storeParameters(*opening.block);
    }
    gAtStart = opening.atStart;
    report = gAtStart ? session.repeat()
                      : checkedRun(session, opening.block ? hosttest::How::repeat : hosttest::How::menu);
    veil::installRecorder(nullptr);
    stored = session.storedParameters();
    CHECK(recorder.liveBrushes.empty());
    CHECK((recorder.capture == nullptr));
}

}  // namespace dialogtest
