// The preview inside a call of the host, with a scripted dialog in the place of the real one.

#include "dialog/preview.h"

#include <doctest/doctest.h>

#include <limits>
#include <string>

#include "engine/render.h"
#include "host/plugin_state.h"
#include "tests/dialog/preview_runs.h"

using namespace standin;
using namespace hosttest;
using previewtest::hostsSamples;
using veil::PreviewState;

namespace {

RunReport runDialog(HostSession& session, const previewtest::Dialog& dialog) {
    previewtest::setDialog(dialog);
    session.recordEvents = true;
    return checkedRun(session, How::menu);
}

}  // namespace

TEST_CASE("the reduction is the least with which the selection fits, whatever its place") {
    const struct {
        photoshop::VRect filter;
        int areaWidth, areaHeight, scale, width, height;
    } table[] = {
        {{0, 0, 3000, 4000}, 526, 260, 12, 333, 250}, {{0, 0, 80, 100}, 526, 260, 1, 100, 80},
        {{-99, -5, 161, 521}, 526, 260, 1, 526, 260}, {{3, 7, 263, 534}, 526, 260, 2, 263, 130},
        {{-9, 5, -8, 6}, 526, 260, 1, 1, 1},          {{0, 0, 1, 300000}, 526, 260, 571, 525, 1},
        {{0, 0, 300000, 1}, 526, 260, 1154, 1, 259},  {{4, 4, 9, 4}, 526, 260, 1, 0, 0},
        {{9, 4, 4, 40}, 526, 260, 1, 0, 0},           {{0, 0, 10, 7}, 0, -3, 10, 1, 1},
    };
    HostSession session(plugin(), picture(9, 6));
    runDialog(session, [&] {
        photoshop::VRect& filter = veil::gFilterRecord->bigDocumentData->filterRect32;
        PreviewState preview;
        for (const auto& [rect, areaWidth, areaHeight, scale, width, height] : table) {
            INFO(rect.left, " ", rect.top, " ", rect.right, " ", rect.bottom);
            filter = rect;
            computePreviewScale(preview, areaWidth, areaHeight);
            CHECK(preview.filterRect == veil::HostRect{rect.top, rect.left, rect.bottom, rect.right});
            CHECK(preview.scale == scale);
            CHECK((preview.targetWidth == width && preview.targetHeight == height));
        }
        for (int size = 1; size <= 300000; size += 1 + size / 40) {
            filter = {0, 0, size, 300000 / size};
            computePreviewScale(preview, 789, 390);
            const auto fits = [&](int s) { return size <= 390 * s && filter.right <= 789 * s; };
            INFO("height ", size, " scale ", preview.scale);
            CHECK((fits(preview.scale) && (preview.scale == 1 || !fits(preview.scale - 1))));
        }
        return false;
    });
}

TEST_CASE("a host that hands out the preview's pixels again has them taken for the first tile") {
    for (const bool repeats : {true, false}) {
        const Image before = picture(repeats ? 256 : 250, 256);
        const HostOptions options{.tileWidth = 9, .tileHeight = 9, .sameRectangleCache = true};
        Image expected = before;
        checkedRun(expected, kEffect, options);
        HostSession session(plugin(), before, options);
        const RunReport report = runDialog(session, [&] {
            PreviewState preview;
            computePreviewScale(preview, 90, 90);
            CHECK(fetchPreviewSource(preview));
            *veil::gParams = kEffect;
            makeHostForgetPreview(preview, kEffect);
            return true;
        });
        CHECK(session.image() == expected);
        const auto empty = [](const HostEvent& e) {
            return e.kind == HostEvent::Kind::advanceState && e.in == PixelRect{};
        };
        CHECK(std::count_if(report.events.begin(), report.events.end(), empty) == (repeats ? 1 : 0));
    }
}

TEST_CASE("the host is asked once and rightly, is believed in what it delivers, and the run goes on") {
    const PixelRect none{}, all{0, 0, 16, 10};  // of a picture of 67 by 41 at 1 / 4
    const PixelRect crop{-6, 10, 54, 47}, part{-1, 2, 14, 11}, pixel{66, 40, 67, 41};
    const struct {
        std::string name;
        HostOptions options;
        PixelRect asked, delivered;
        int depth = 8, planes = 3, depthInRecord = 0;
    } table[] = {
        {"every n-th pixel", {}, all, all},
        {"16 bits", {.spareRowBytes = 5}, all, all, 16},
        {"transparency", {.spareRowBytes = 13}, all, all, 8, 4},
        {"averaged", {.sampling = Sampling::averaged}, all, all, 16},
        {"says that it can't", {.supportsPadding = false, .samplingSupport = 0}, all, all},
        {"rate left at 0", {.firstRate = 0}, all, all},
        {"same rectangle", {.sameRectangleCache = true}, all, all},
        {"mask", {.haveMask = true}, all, all},
        {"selection", {.originX = -13, .originY = 7, .filterRect = crop}, part, part},
        {"16-bit fields",
         {.bigDocument = false, .originX = -13, .originY = 7, .filterRect = crop},
         part,
         part},
        {"one pixel", {.filterRect = pixel}, pixel, pixel},
        {"rate ignored", {.sampling = Sampling::ignored}, all, all},
        {"smaller", {.sampling = Sampling::smaller}, all, {0, 0, 12, 8}},
        {"larger", {.sampling = Sampling::larger}, all, {0, 0, 19, 12}},
        {"cut above", {.cutsTopLeft = true, .cutAt = 1}, all, {0, 1, 16, 10}},
        {"refused", {.sampling = Sampling::refused}, all, none},
        {"cancelled", {.failAdvanceAt = 1, .advanceError = photoshop::userCanceledErr}, all, none},
        {"no data", {.nullInDataAt = 1}, all, none},
        {"short row", {.shortRowAt = 1}, all, none, 16},
        {"32 bits", {}, all, none, 8, 3, 32},
        {"cannot serve", {.hasAdvanceState = false}, none, none},
        {"nothing selected", {.filterRect = PixelRect{5, 5, 5, 9}}, none, none},
    };
    for (const auto& c : table) {
        INFO(c.name);
        const Image before = picture(67, 41, c.planes, c.depth);
        // The result is that of a run without a dialog, in a host without the fault.
        HostOptions faultless = c.options;
        faultless.failAdvanceAt = faultless.nullInDataAt = faultless.shortRowAt = faultless.cutAt = kNever;
        Image expected = before;
        const std::int16_t expectedResult = checkedRun(expected, kEffect, faultless).result;

        for (const bool confirms : {true, false}) {
            HostSession session(plugin(), before, c.options);
            PreviewState preview;
            const bool asks = c.asked != none, delivers = c.delivered != none;
            const RunReport report = runDialog(session, [&] {
                photoshop::FilterRecord& r = *veil::gFilterRecord;
                const std::int32_t depth = r.depth;
                if (c.depthInRecord) r.depth = c.depthInRecord;
                r.inLoPlane = r.inHiPlane = r.inputPadding = 7;
                veil::setOutRect({1, 2, 3, 4});
                veil::setMaskRect({1, 2, 3, 4});
                computePreviewScale(preview, 20, 12);
                CHECK(fetchPreviewSource(preview) == delivers);
                if (asks) {
                    CHECK((r.inLoPlane == 0 && r.inHiPlane == 2 && r.inputRate == photoshop::kFullRate));
                    CHECK(r.inputPadding == (r.supportsPadding ? photoshop::plugInWantsEdgeReplication : 7));
                    CHECK(veil::getOutRect() == veil::HostRect{});
                }
                if (r.inData) CHECK(veil::getInRect() == veil::HostRect{});
                r.depth = depth;
                *veil::gParams = kEffect;
                return confirms;
            });
            std::vector<HostEvent> calls = report.events;
            std::erase_if(calls, [](const auto& e) { return e.kind != HostEvent::Kind::advanceState; });
            if (!confirms) CHECK(calls.size() == (asks ? 1 : 0));
            if (asks) CHECK(calls.at(0).in == c.asked);
            if (asks) CHECK((calls[0].out == none && calls[0].mask == none));
            const PixelRect& got = c.delivered;
            CHECK((preview.width == got.right - got.left && preview.height == got.bottom - got.top));
            CHECK((preview.sourcePixels == hostsSamples(before, c.options, got, preview.scale)));
            CHECK(report.result == (confirms ? expectedResult : photoshop::userCanceledErr));
            CHECK(session.image() == (confirms ? expected : before));
        }
    }
}

TEST_CASE("the preview's own toggle rules, and its scale divides the radius before the limits") {
    const veil::Rect whole{0, 0, 61, 43};
    PreviewState preview;
    preview.width = whole.x1;
    preview.height = whole.y1;
    preview.sourcePixels = hostsSamples(picture(61, 43), {}, {0, 0, 61, 43}, 1);
    const struct {
        int scale;
        float radius, engineRadius;
    } table[] = {{1, 180, 180}, {12, 180, 15}, {0, 30, 30}, {3, 1500, 500}, {16, 20, 2}, {4, 20, 5}};
    for (const auto& [scale, radius, engineRadius] : table) {
        for (const int toggles : {0, 1, 2, 3}) {
            INFO("scale ", scale, " toggles ", toggles);
            const bool glowOnly = toggles & 1;
            const auto output = static_cast<std::int16_t>(toggles >> 1);
            preview.scale = scale;
            // Without the advanced mode the boost and the wide blur of look 0 are off.
            renderPreview(preview, {0, 0, 0.1f, radius, 0.9f, 0.5f, 20.0f, 0.7f, 0.2f, 0, output}, glowOnly);
            const veil::RenderSettings settings{0.1f, engineRadius, 0.9f, 1.0f, 0.94f, 0.88f,   false,
                                                0.5f, 1.0f,         0.7f, 0.0f, 0.2f,  glowOnly};
            std::vector<float> result;
            veil::renderVeil(preview.sourcePixels.data(), whole, whole, 61, 43, settings, result, nullptr);
            CHECK((preview.displayPixels == previewtest::displayPixels(result)));
        }
    }
}

TEST_CASE("samples become the nearest byte in the order of the display, and no picture stays none") {
    PreviewState preview;
    renderPreview(preview, kUnchanged, false);
    CHECK((!preview.ready && preview.displayPixels.empty()));
    preview.width = preview.height = 1;
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const struct {
        std::vector<float> samples;
        std::vector<std::uint8_t> bytes;
    } table[] = {{{10.4f / 255, 20.6f / 255, 30.0f / 255}, {30, 21, 10, 0}},
                 {{-3.0f, 254.6f / 255, 7.0f}, {255, 255, 0, 0}},
                 {{nan, nan, nan}, {0, 0, 0, 0}}};
    for (const auto& [samples, bytes] : table) {
        preview.sourcePixels = samples;
        renderPreview(preview, kUnchanged, false);
        CHECK(preview.displayPixels == bytes);
        CHECK(preview.ready);
    }
}

TEST_CASE("a picture fills its area as far as its proportions let it, and stands in the middle") {
    const int table[][8] = {{526, 260, 333, 250, 346, 260, 90, 0},
                            {526, 260, 0, 5, 526, 260, 0, 0},
                            {526, 260, 5, -1, 526, 260, 0, 0},
                            {0, 260, 5, 5, 0, 260, 0, 0}};
    for (const auto& [areaW, areaH, imageW, imageH, width, height, x, y] : table) {
        const veil::FittedImage f = veil::fitImageInto(areaW, areaH, imageW, imageH);
        CHECK((f.width == width && f.height == height && f.offsetX == x && f.offsetY == y));
    }
    const auto isCentred = [](int offset, int size, int area) {
        const int rest = area - size - 2 * offset;
        return offset >= 0 && (rest == 0 || rest == 1);
    };
    for (const int area : {1, 7, 260, 390, 526})
        for (int w = 1; w <= 700; w += 3)
            for (int h = 1; h <= 700; h += 7) {
                const veil::FittedImage f = veil::fitImageInto(526, area, w, h);
                INFO("area ", area, " image ", w, " ", h, " drawn ", f.width, " ", f.height);
                REQUIRE((f.width >= 1 && f.width <= 526 && f.height >= 1 && f.height <= area));
                REQUIRE((f.width >= 525 || f.height >= area - 1));
                REQUIRE((isCentred(f.offsetX, f.width, 526) && isCentred(f.offsetY, f.height, area)));
                REQUIRE(std::abs(f.width * h - f.height * w) <= std::max(w, h));  // a pixel of either side
            }
}
