#pragma once

// The main dialog as it opens for real: the plug-in in the stand-in host, and a user in place of the screen.

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "dialog/state.h"
#include "platform/recording/recorder.h"
#include "tests/host/runs.h"

namespace dialogtest {

using veil::kSliderCount;
using Kind = veil::WindowMessage::Kind;

/// Values in the middle of every range, with all rows on screen.
constexpr veil::VeilParams kMiddle{1, 77, 0.5f, 6.0f, 0.9f, 0.25f, 8.0f, 1.5f, 0.5f, 1, 0};

/// The open dialog. Places are in DIPs.
struct Page {
    veil::Recorder& recorder;
    veil::Window* window;
    veil::MainDialogState& state;

    bool send(const veil::WindowMessage& message) { return veil::send(window, message); }
    /// What the user does, step by step: m, d, u, c, D and a place for a move, a press, a release, a click
    /// and a double-click, l for a leave, t and a number of ticks if the
    /// timer runs, k or e and a letter for a key of the
    /// window or of the box (UDLR arrows, N Enter, S Escape, X another), ' and what is typed.
    void act(const std::string& steps);
    void paint() { send({.kind = Kind::paint}); }
    veil::EditBox* box() { return &recorder.editBoxes.front(); }
    float value(int row) { return state.sliders[std::size_t(row)].value; }
    /// Whether the slider and the block say so.
    bool has(int row, double value);
    /// Makes the slider show `value`, as if the block had held it.
    void setValue(int row, float value);

    /// The calls since the last time, one behind the other with ", " between them.
    std::string calls();
    /// What `action` does to the picture: nothing, or it renders, with the values as they are now.
    bool renders(const std::function<void()>& action);
    /// The picture of the values as they are now.
    std::vector<std::uint8_t> currentPixels();
};
using User = std::function<void(Page&)>;

struct Opening {
    std::optional<veil::VeilParams> block = kMiddle;  ///< what the dialog opens on; none: a first run
    standin::HostOptions host{};
    standin::Image image = hosttest::picture(12, 9);
    std::function<void(veil::Recorder&)> prepare{};
    std::function<void()> atStart{};  ///< on the way into the Start stage; the run is then taken as it comes
};

/// A run of the filter that asks the user.
struct Run {
    explicit Run(const User& user, const Opening& opening = {});

    int owner = 0;
    veil::Recorder recorder;
    standin::HostSession session;
    standin::RunReport report;
    std::optional<veil::VeilParams> stored;  ///< the block afterwards
};

}  // namespace dialogtest
