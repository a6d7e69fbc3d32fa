// What the drawing functions put on the screen and into memory through the system's own libraries.

#include "platform/drawing.h"
#include "platform/windows/drawing_factories.h"
// A macro of the system's headers, and a name in ours.
#undef near
#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <thread>

using namespace veil;

namespace {

using T = RenderTarget*;
using B = Brush*;

constexpr Color kBlack{0, 0, 0, 1}, kWhite{1, 1, 1, 1}, kRed{1, 0, 0, 1}, kGreen{0, 1, 0, 1},
    kBlue{0, 0, 1, 1};
constexpr int kWidth = 60, kHeight = 40;  // DIPs
constexpr RectF kAll{0, 0, kWidth, kHeight}, kRect{10, 10, 40, 30}, kFrame{8, 8, 42, 32};
constexpr PointF kCorner[] = {{10, 10}, {30, 10}, {30, 30}}, kLeft{10, 20}, kRight{40, 20}, kCentre{25, 20};
constexpr int kPicture = 1, kNoPicture = 2, kMissing = 9999;

// Wine has not everything; there the rest is tested.
bool isWine() { return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr; }

// An image target on which `paint` has painted over black.
struct Picture {
    float scale;
    int width = static_cast<int>(kWidth * scale), height = static_cast<int>(kHeight * scale);
    RenderTargetHolder target = createImageRenderTarget(width, height, scale);
    std::vector<std::uint8_t> pixels;

    template <class Painter>
    Picture(float imageScale, Painter paint) : scale(imageScale) {
        beginDraw(target.get());
        clearTarget(target.get(), kBlack);
        paint(target.get());
        CHECK(endDraw(target.get()) == FrameResult::shown);
        pixels = imagePixels(target.get());
        REQUIRE(pixels.size() == static_cast<std::size_t>(width * height * 4));
    }

    const std::uint8_t* at(int x, int y) const {
        return &pixels[static_cast<std::size_t>((y * width + x) * 4)];
    }

    bool shows(PointF place, const Color& color) const {
        const auto close = [](int a, float b) {
            return std::abs(static_cast<float>(a) - b * 255.0f) <= 2.0f;
        };
        const auto* p = at(static_cast<int>(place.x * scale), static_cast<int>(place.y * scale));
        return close(p[0], color.b) && close(p[1], color.g) && close(p[2], color.r) && close(p[3], color.a);
    }

    // In DIPs, the rectangle around everything that isn't black.
    RectF drawn() const {
        RectF box{kWidth, kHeight, 0, 0};
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                if (at(x, y)[0] + at(x, y)[1] + at(x, y)[2] == 0) continue;
                const float left = static_cast<float>(x) / scale, top = static_cast<float>(y) / scale;
                box = {std::min(box.left, left), std::min(box.top, top),
                       std::max(box.right, left + 1 / scale), std::max(box.bottom, top + 1 / scale)};
            }
        return box;
    }
};
constexpr RectF kNothing{kWidth, kHeight, 0, 0};

struct Shape {
    const char* name;
    void (*draw)(T, B);
    RectF box;  // of all that it touches
    PointF inside, outside;
};
const Shape kShapes[] = {
    {"rectangle", [](T t, B b) { fillRectangle(t, kRect, b); }, kRect, {11, 11}, {50, 20}},
    {"frame", [](T t, B b) { strokeRectangle(t, kRect, b, 4); }, kFrame, {9, 20}, {14, 20}},
    {"round", [](T t, B b) { fillRoundRect(t, kRect, 8, b); }, kRect, {11, 20}, {10.7f, 10.7f}},
    {"round frame", [](T t, B b) { strokeRoundRect(t, kRect, 8, b, 4); }, kFrame, {9, 20}, {9, 9}},
    {"line", [](T t, B b) { drawLine(t, kLeft, kRight, b, 4); }, {10, 18, 40, 22}, {11, 19}, {20, 23}},
    {"ellipse", [](T t, B b) { fillEllipse(t, kCentre, 15, 10, b); }, kRect, {12, 20}, {12, 12}},
    {"ring", [](T t, B b) { strokeEllipse(t, kCentre, 15, 10, b, 4); }, kFrame, {10, 20}, {25, 20}},
    {"corner", [](T t, B b) { strokePolyline(t, kCorner, 3, b, 4); }, {10, 8, 32, 30}, {31, 9}, {20, 20}},
    {"triangle", [](T t, B b) { fillPolygon(t, kCorner, 3, b); }, {10, 10, 30, 30}, {28, 15}, {15, 25}},
};

TextFormatHolder textFormat() { return createTextFormat(L"Segoe UI", 10.0f, 400); }

struct TestWindow {
    HWND handle = CreateWindowExW(0, L"STATIC", L"", WS_POPUP | WS_VISIBLE, 20, 20, kWidth, kHeight, nullptr,
                                  nullptr, nullptr, nullptr);
    TestWindow() { UpdateWindow(handle); }
    ~TestWindow() { DestroyWindow(handle); }

    // On the screen, where a frame appears some time after it was presented.
    bool shows(int x, int y, COLORREF color) const {
        const HDC screen = GetDC(nullptr);
        int tries = 100;
        while (GetPixel(screen, 20 + x, 20 + y) != color && --tries) Sleep(20);
        ReleaseDC(nullptr, screen);
        return tries > 0;
    }
};

bool comIsOn() {
    APTTYPE type;
    APTTYPEQUALIFIER qualifier;
    return CoGetApartmentType(&type, &qualifier) != CO_E_NOTINITIALIZED;
}

}  // namespace

TEST_CASE("a shape lies elsewhere, is of another size or colour, or does not scale with the target") {
    for (const float scale : {1.0f, 1.5f})
        for (const Shape& shape : kShapes) {
            INFO(shape.name, " at ", scale);
            const Picture picture(scale, [&](T t) { shape.draw(t, createColorBrush(t, kRed).get()); });
            CHECK(picture.shows(shape.inside, kRed));
            CHECK(picture.shows(shape.outside, kBlack));
            const RectF box = picture.drawn();
            for (const auto side : {&RectF::left, &RectF::top, &RectF::right, &RectF::bottom})
                CHECK(std::abs(box.*side - shape.box.*side) <= 1.0f);
        }
}

TEST_CASE("a colour, a gradient, a preview or an image's alpha comes out otherwise than told") {
    // The fourth bytes are at odds with the rest: nobody may look at them.
    const std::uint8_t pixels[] = {0, 0, 255, 0, 0, 255, 0, 9, 255, 0, 0, 128, 255, 255, 255, 255};
    const Picture picture(1.0f, [&](T t) {
        clearTarget(t, {1, 0.5f, 0, 0.25f});
        fillRectangle(t, {0, 0, 60, 20}, createColorBrush(t, kBlack).get());
        const BitmapHolder preview = createPreviewBitmap(t, pixels, 2, 2);
        CHECK(bitmapSize(preview.get()).width == 2);
        drawBitmap(t, preview.get(), {20, 20, 50, 40});
        fillRectangle(t, {0, 0, 60, 10}, createColorBrush(t, {1, 1, 1, 0.5f}).get());
        fillRectangle(t, {0, 10, 60, 20}, createLinearGradientBrush(t, {10, 0}, {50, 0}, kRed, kBlue).get());
    });
    CHECK(picture.shows({5, 5}, {0.5f, 0.5f, 0.5f, 1}));
    CHECK(picture.shows({5, 30}, {1, 0.5f, 0, 0.25f}));
    CHECK(picture.shows({20, 20}, kRed));
    CHECK(picture.shows({49, 20}, kGreen));
    CHECK(picture.shows({20, 39}, kBlue));
    CHECK(picture.shows({49, 39}, kWhite));
    CHECK(picture.shows({51, 30}, {1, 0.5f, 0, 0.25f}));
    for (int x = 2; x < kWidth; x += 5) {
        const float place = static_cast<float>(x), part = std::clamp((place + 0.5f - 10) / 40, 0.0f, 1.0f);
        INFO(x);
        CHECK(picture.shows({place, 15}, {1 - part, 0, part, 1}));
    }
    REQUIRE(saveImage(picture.target.get(), L"drawing_test.png"));
    CHECK_FALSE(saveImage(picture.target.get(), L"no/such/folder/file.png"));
    std::ifstream file("drawing_test.png", std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    CHECK(bytes.substr(0, 8) == "\x89PNG\r\n\x1a\n");
    // Size, big end first, then 8 bits of colour with alpha.
    CHECK(bytes.substr(16, 10) == std::string{0, 0, 0, kWidth, 0, 0, 0, kHeight, 8, 6});
}

TEST_CASE("a text takes over the alignment of the text before, or leaves its rectangle") {
    const TextFormatHolder format = textFormat();
    const auto line = [&](const wchar_t* text, RectF rect, TextAlign align, ParagraphAlign paragraph) {
        const auto paint = [&](T t) {
            drawSingleLineText(t, text, rect, format.get(), createColorBrush(t, kWhite).get(), align,
                               paragraph);
        };
        return Picture(1.5f, paint).drawn();
    };
    for (int round = 0; round < 2; ++round) {
        const RectF trailing = line(L"mm", kAll, TextAlign::trailing, ParagraphAlign::centre);
        const RectF leading = line(L"mm", kAll, TextAlign::leading, ParagraphAlign::top);
        const RectF centre = line(L"mm", kAll, TextAlign::centre, ParagraphAlign::top);
        const float width = leading.right - leading.left, limit = 10 + 1.5f * width;
        const auto wrap = [&](T t) {
            drawWrappedText(t, L"mm mm", {10, 2, limit, 6}, format.get(), createColorBrush(t, kWhite).get());
        };
        const RectF wrapped = Picture(1.5f, wrap).drawn();
        CHECK(width > 8);
        CHECK((leading.left < 3 && leading.bottom < 20));
        CHECK((trailing.right > kWidth - 3 && trailing.bottom > 20));
        CHECK(std::abs(centre.left + centre.right - kWidth) <= 3);
        CHECK((wrapped.left >= 10 && wrapped.right < limit && wrapped.bottom > 16));
    }
    const RectF cut = line(L"mmm mmm mmm", {10, 5, 30, 12}, TextAlign::leading, ParagraphAlign::top);
    CHECK((cut.left >= 10 && cut.bottom < 20));  // one line
    // Wine's Direct2D ignores the request to clip.
    if (!isWine()) CHECK((cut.right <= 30 && cut.bottom <= 12));
}

TEST_CASE("something missing draws all the same, or is taken for something there") {
    const TextFormatHolder format = textFormat();
    const std::uint8_t pixel[4] = {255, 255, 255, 255};
    const auto draw = [](T t, B b, TextFormat* f, const wchar_t* text) {
        if (!t || !b)
            for (const Shape& shape : kShapes) shape.draw(t, b);
        drawSingleLineText(t, text, kAll, f, b, TextAlign::leading, ParagraphAlign::top);
        drawWrappedText(t, text, kAll, f, b);
    };
    const Picture picture(1.0f, [&](T t) {
        const BrushHolder brush = createColorBrush(t, kWhite);
        draw(nullptr, brush.get(), format.get(), L"mm");
        draw(t, nullptr, format.get(), L"mm");
        draw(t, brush.get(), nullptr, L"mm");
        draw(t, brush.get(), format.get(), nullptr);
        strokePolyline(t, kCorner, 1, brush.get(), 4);
        fillPolygon(t, nullptr, 0, brush.get());
        drawBitmap(t, nullptr, kAll);
        drawBitmap(nullptr, createPreviewBitmap(t, pixel, 1, 1).get(), kAll);
        CHECK(createPreviewBitmap(t, nullptr, 1, 1) == nullptr);
        CHECK(createPreviewBitmap(t, pixel, 0, 1) == nullptr);
        CHECK(createPreviewBitmap(t, pixel, 1, -1) == nullptr);
    });
    CHECK(picture.drawn() == kNothing);
    beginDraw(nullptr);
    clearTarget(nullptr, kRed);
    CHECK(endDraw(nullptr) != FrameResult::shown);
    CHECK(createColorBrush(nullptr, kRed) == nullptr);
    CHECK(createLinearGradientBrush(nullptr, {}, {}, kRed, kBlue) == nullptr);
    CHECK(createPreviewBitmap(nullptr, pixel, 1, 1) == nullptr);
    CHECK(loadBannerBitmap(nullptr, kPicture) == nullptr);
    CHECK(createImageRenderTarget(0, 4, 1) == nullptr);
    CHECK(widenAnsiText(nullptr).empty());
    CHECK(widenAnsiText("Veil 1") == L"Veil 1");
}

TEST_CASE("the banner is lost, loses its transparency, or leaves COM switched on or off") {
    const Picture picture(1.0f, [](T t) {
        CHECK(loadBannerBitmap(t, kMissing) == nullptr);
        CHECK(loadBannerBitmap(t, kNoPicture) == nullptr);
        const BitmapHolder banner = loadBannerBitmap(t, kPicture);
        CHECK(bitmapSize(banner.get()).width == 4);
        CHECK(bitmapSize(banner.get()).height == 2);
        drawBitmap(t, banner.get(), kAll);
    });
    CHECK(picture.shows({5, 20}, kRed));
    CHECK(picture.shows({55, 20}, {0, 128 / 255.0f, 0, 1}));

    bool wasOff = false, decodes = false, fails = false, isOff = false, decodesElsewhere = false,
         stays = false;
    std::thread([&] {
        T t = picture.target.get();
        wasOff = !comIsOn();
        decodes = loadBannerBitmap(t, kPicture) != nullptr;
        fails = loadBannerBitmap(t, kNoPicture) == nullptr;
        isOff = !comIsOn();
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        decodesElsewhere = loadBannerBitmap(t, kPicture) != nullptr;
        stays = CoInitializeEx(nullptr, COINIT_MULTITHREADED) == S_FALSE;
        CoUninitialize();
        CoUninitialize();
    }).join();
    CHECK((wasOff && decodes && fails && isOff));
    CHECK(decodesElsewhere);
    CHECK(stays);
}

TEST_CASE("a window shows something else, or its target made anew another picture than before") {
    const TestWindow window;
    RenderTargetHolder target;
    CHECK_FALSE(createWindowRenderTarget(target, nullptr, 2));
    for (int round = 0; round < 2; ++round) {
        REQUIRE(createWindowRenderTarget(target, window.handle, 2));
        for (const Color& color : {kRed, kBlack}) {
            beginDraw(target.get());
            clearTarget(target.get(), kBlue);
            fillRectangle(target.get(), {5, 5, 15, 10}, createColorBrush(target.get(), color).get());
            CHECK(endDraw(target.get()) == FrameResult::shown);
            const COLORREF inside = color == kRed ? RGB(255, 0, 0) : 0, outside = RGB(0, 0, 255);
            CHECK((window.shows(11, 11, inside) && window.shows(29, 19, inside)));
            CHECK((window.shows(9, 9, outside) && window.shows(31, 19, outside)));
        }
        CHECK(imagePixels(target.get()).empty());
        CHECK_FALSE(saveImage(target.get(), L"nothing.png"));
    }
}

TEST_CASE("the scale is that of no window or screen") {
    const HDC screen = GetDC(nullptr);
    CHECK(windowScale(nullptr) == static_cast<float>(GetDeviceCaps(screen, LOGPIXELSX)) / 96.0f);
    ReleaseDC(nullptr, screen);
    const TestWindow window;
    CHECK(windowScale(window.handle) == static_cast<float>(GetDpiForWindow(window.handle)) / 96.0f);
    // No window, so that its DPI is 0.
    CHECK(windowScale(reinterpret_cast<HWND>(0x7FFFFFF0)) == 1.0f);
}

TEST_CASE("windows and drawings leave objects of the system behind") {
    const auto objects = [](DWORD kind) { return GetGuiResources(GetCurrentProcess(), kind); };
    // Everything that belongs to a target holds a reference to the factory, and so does the target.
    const auto references = [] {
        sharedD2DFactory()->AddRef();
        return sharedD2DFactory()->Release();
    };
    const auto cycle = [] {
        const TestWindow window;
        RenderTargetHolder target;
        CHECK(createWindowRenderTarget(target, window.handle, 1));
        const TextFormatHolder format = textFormat();
        beginDraw(target.get());
        const BitmapHolder banner = loadBannerBitmap(target.get(), kPicture);
        drawBitmap(target.get(), banner.get(), kRect);
        drawWrappedText(target.get(), L"mm", kAll, format.get(), createColorBrush(target.get(), kRed).get());
        CHECK(endDraw(target.get()) == FrameResult::shown);
        Picture(1.0f, [](T t) { clearTarget(t, kRed); });
    };
    cycle();
    const DWORD gdi = objects(GR_GDIOBJECTS), user = objects(GR_USEROBJECTS), held = references();
    for (int i = 0; i < 100; ++i) cycle();
    CHECK(objects(GR_GDIOBJECTS) <= gdi);
    CHECK(objects(GR_USEROBJECTS) <= user);
    CHECK(references() == held);
}
