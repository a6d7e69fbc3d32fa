// Drawing and the progress window of the native build, without a screen.

#include <doctest/doctest.h>

#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QProgressBar>
#include <QPushButton>
#include <QWindow>
#include <cmath>
#include <functional>
#include <string>

#include "platform/drawing.h"
#include "platform/progress_window.h"

using namespace veil;

namespace {

constexpr int kSide = 60;  // DIPs
constexpr Color kWhite{1, 1, 1, 1}, kBlack{0, 0, 0, 1};
constexpr wchar_t kJapanese[] = L"\u51E6\u7406\u4E2D\u51E6\u7406\u4E2D\u51E6\u7406\u4E2D";
using Draw = std::function<void(RenderTarget*, Brush*)>;

// Never destroyed: at the exit of the program that would come after the library's own statics.
void startApplication() {
    static int count = 1;
    static char name[] = "test", *arguments[] = {name};
    qputenv("QT_QPA_PLATFORM", "offscreen");
    [[maybe_unused]] static const auto* const application = new QApplication(count, arguments);
}

struct Picture {
    int side;
    std::vector<std::uint8_t> bgra;
    bool operator==(const Picture&) const = default;
    int at(int x, int y, int channel = 0) const {
        return bgra.at(static_cast<std::size_t>((y * side + x) * 4 + channel));
    }
    // What holds ink.
    QRectF ink() const {
        QRect box;
        for (int i = 0; i < side * side; ++i)
            if (at(i % side, i / side) > 40) box |= QRect(i % side, i / side, 1, 1);
        return QRectF(box);
    }
};

// `draw` with white on black.
Picture paint(float scale, const Draw& draw) {
    const int side = static_cast<int>(kSide * scale);
    const RenderTargetHolder target = createImageRenderTarget(side, side, scale);
    beginDraw(target.get());
    clearTarget(target.get(), kBlack);
    draw(target.get(), createColorBrush(target.get(), kWhite).get());
    CHECK(endDraw(target.get()) == FrameResult::shown);
    return {side, imagePixels(target.get())};
}

Picture line(const wchar_t* text, const RectF& rect, TextAlign align, ParagraphAlign paragraph,
             float size = 13, float scale = 1) {
    const TextFormatHolder format = createTextFormat(L"Segoe UI", size, 400);
    return paint(scale, [&](auto* t, auto* b) {
        drawSingleLineText(t, text, rect, format.get(), b, align, paragraph);
    });
}

Picture wrapped(const wchar_t* text) {
    const TextFormatHolder format = createTextFormat(L"Segoe UI", 12, 400);
    return paint(1, [&](auto* t, auto* b) { drawWrappedText(t, text, {4, 4, 44, 10}, format.get(), b); });
}

void click(QWindow* window, QPointF at) {
    const auto post = [&](QEvent::Type type, Qt::MouseButtons held) {
        QCoreApplication::postEvent(
            window, new QMouseEvent(type, at, window->mapToGlobal(at), Qt::LeftButton, held, {}));
    };
    post(QEvent::MouseButtonPress, Qt::LeftButton);
    post(QEvent::MouseButtonRelease, Qt::NoButton);
}

}  // namespace

// The first of the file, before there is an application.
TEST_CASE("without an application a text, a window's target or the progress window crashes") {
    REQUIRE(QCoreApplication::instance() == nullptr);
    CHECK(createTextFormat(L"Segoe UI", 13, 400) == nullptr);
    CHECK(createProgressWindow(nullptr) == nullptr);
    CHECK(windowScale(nullptr) == 1.0f);
    RenderTargetHolder holder = createImageRenderTarget(4, 4, 1);
    CHECK_FALSE(createWindowRenderTarget(holder, nullptr, 1));
    CHECK(holder != nullptr);
    CHECK(createImageRenderTarget(0, 4, 1) == nullptr);
}

TEST_CASE("a shape covers other pixels than its geometry, or a second target others than the first") {
    const PointF chevron[] = {{10, 20}, {25, 35}, {40, 20}};
    const RectF box{10, 12, 50, 40};
    const auto toRoundBox = [](double x, double y) {  // signed distance to `box` with corners of 6
        const double dx = std::abs(x - 30) - 14, dy = std::abs(y - 26) - 8;
        return std::hypot(std::max(dx, 0.0), std::max(dy, 0.0)) + std::min(std::max(dx, dy), 0.0) - 6;
    };
    struct Shape {
        std::string name;
        Draw draw;
        std::function<bool(double, double)> covers;
    };
    const Shape shapes[] = {
        {"frame",
         [](auto* t, auto* b) {
             strokeRectangle(t, {10.5f, 12.5f, 49.5f, 39.5f}, b, 1);
         },
         [](double x, double y) {
             return std::abs(std::max(std::abs(x - 30) - 19.5, std::abs(y - 26) - 13.5)) <= 0.5;
         }},
        {"round frame", [&](auto* t, auto* b) { strokeRoundRect(t, box, 6, b, 1.5f); },
         [&](double x, double y) { return std::abs(toRoundBox(x, y)) <= 0.75; }},
        {"round", [&](auto* t, auto* b) { fillRoundRect(t, box, 6, b); },
         [&](double x, double y) { return toRoundBox(x, y) <= 0; }},
        {"thumb",
         [](auto* t, auto* b) {
             fillEllipse(t, {30, 26}, 14, 9, b);
         },
         [](double x, double y) { return std::hypot((x - 30) / 14, (y - 26) / 9) <= 1; }},
        {"ring",
         [](auto* t, auto* b) {
             strokeEllipse(t, {30, 26}, 9, 9, b, 1.5f);
         },
         [](double x, double y) { return std::abs(std::hypot(x - 30, y - 26) - 9) <= 0.75; }},
        {"line",
         [](auto* t, auto* b) {
             drawLine(t, {10, 20}, {40, 20}, b, 1.5f);
         },
         [](double x, double y) { return x >= 10 && x <= 40 && std::abs(y - 20) <= 0.75; }},
        {"triangle", [&](auto* t, auto* b) { fillPolygon(t, chevron, 3, b); },
         [](double x, double y) { return y >= 20 && y <= 35 - std::abs(x - 25); }},
        {"chevron", [&](auto* t, auto* b) { strokePolyline(t, chevron, 3, b, 2); },
         [](double x, double y) {  // two bars at 45 degrees with flat ends that share their square corner
             const double along = (35 - y + std::abs(x - 25)) / std::sqrt(2),
                          across = (35 - y - std::abs(x - 25)) / std::sqrt(2);
             return along <= 15 * std::sqrt(2) && std::abs(across) <= 1;
         }},
    };
    constexpr int kSteps = 16, kSamples = kSteps * kSteps;
    for (const Shape& shape : shapes)
        for (const double scale : {1.0, 1.5}) {
            const Picture picture = paint(static_cast<float>(scale), shape.draw);
            double worst = 0, total = 0;
            for (int p = 0; p < picture.side * picture.side; ++p) {
                const int x = p % picture.side, y = p / picture.side;
                int inside = 0;
                for (int i = 0; i < kSamples; ++i)
                    inside += shape.covers((x + (i % kSteps + 0.5) / kSteps) / scale,
                                           (y + (i / kSteps + 0.5) / kSteps) / scale);
                worst = std::max(worst, std::abs(picture.at(x, y) - 255.0 * inside / kSamples));
                total += inside;
            }
            INFO(shape.name, " at ", scale);
            CHECK(worst <= 12);
            CHECK(total > 0);
            CHECK(picture == paint(static_cast<float>(scale), shape.draw));
        }
}

TEST_CASE("a colour, a gradient or a bitmap comes out as another") {
    const RenderTargetHolder clear = createImageRenderTarget(4, 4, 1);
    beginDraw(clear.get());
    clearTarget(clear.get(), kWhite);
    clearTarget(clear.get(), {1, 0.6f, 0.2f, 0.5f});
    endDraw(clear.get());
    const int straight[] = {51, 153, 255, 128};
    for (int c = 0; c < 4; ++c)
        CHECK(std::abs(Picture{4, imagePixels(clear.get())}.at(3, 3, c) - straight[c]) <= 2);

    const Picture ramp = paint(1.5f, [](auto* t, Brush*) {
        const BrushHolder brush = createLinearGradientBrush(t, {20, 0}, {40, 0}, kBlack, kWhite);
        fillRectangle(t, {0, 0, kSide, kSide}, brush.get());
    });
    for (int x = 0; x < ramp.side; ++x)
        CHECK(std::abs(ramp.at(x, 7) - 255 * std::clamp((x + 0.5) / 30 - 1, 0.0, 1.0)) <= 2);

    const std::uint8_t pixels[] = {10, 20, 30, 0, 40, 50, 60, 255};
    const Picture shown = paint(1, [&](auto* t, Brush*) {
        drawBitmap(t, createPreviewBitmap(t, pixels, 2, 1).get(), {0, 0, 40, 20});
    });
    for (int c = 0; c < 3; ++c)
        for (const auto& [x, value] : {std::pair{2, 10}, {20, 25}, {37, 40}, {41, -10 * c}})  // halfway at 20
            CHECK(std::abs(shown.at(x, 10, c) - value - 10 * c) <= 2);
}

TEST_CASE("a null argument draws something or crashes") {
    startApplication();
    const TextFormatHolder format = createTextFormat(L"Segoe UI", 13, 400);
    const RectF all{0, 0, kSide, kSide};
    const Picture picture = paint(1, [&](RenderTarget* t, Brush* b) {
        const auto text = [&](RenderTarget* target, const wchar_t* words, TextFormat* font, Brush* brush) {
            drawSingleLineText(target, words, all, font, brush, TextAlign::centre, ParagraphAlign::centre);
            drawWrappedText(target, words, all, font, brush);
        };
        text(nullptr, L"Hg", format.get(), b);
        text(t, nullptr, format.get(), b);
        text(t, L"Hg", nullptr, b);
        text(t, L"Hg", format.get(), nullptr);
        fillRectangle(t, all, nullptr);
        fillRectangle(nullptr, all, b);
        strokePolyline(t, nullptr, 3, b, 2);
        drawBitmap(t, nullptr, all);
        drawBitmap(t, loadBannerBitmap(t, 3002).get(), all);
        CHECK(createPreviewBitmap(t, nullptr, 1, 1) == nullptr);
    });
    CHECK(picture == paint(1, [](auto*, auto*) {}));
    CHECK(createColorBrush(nullptr, kWhite) == nullptr);
    CHECK(loadBannerBitmap(nullptr, 3001) == nullptr);
    CHECK(endDraw(nullptr) == FrameResult::failed);
    CHECK(imagePixels(nullptr).empty());
}

TEST_CASE("a text stands elsewhere than its alignment, scale or rectangle says") {
    startApplication();
    const auto near = ParagraphAlign::top, centre = ParagraphAlign::centre;
    const TextFormatHolder format = createTextFormat(L"Segoe UI", 13, 400);
    const QRectF both =
        paint(1, [&](auto* t, auto* b) {
            drawSingleLineText(t, L"H", {0, 0, 60, 30}, format.get(), b, TextAlign::trailing, near);
            drawSingleLineText(t, L"H", {0, 30, 60, 60}, format.get(), b, TextAlign::leading, near);
        }).ink();
    CHECK((both.left() <= 2 && both.right() >= 58));

    for (const float scale : {1.0f, 1.5f}) {
        INFO("scale ", scale);
        const RectF rect{5, 10, 55, 50};
        const QRectF left = line(L"HH", rect, TextAlign::leading, near, 13, scale).ink();
        const QRectF right = line(L"HH", rect, TextAlign::trailing, near, 13, scale).ink();
        const QRectF middle = line(L"HH", rect, TextAlign::centre, centre, 13, scale).ink();
        CHECK((left.left() >= 5 * scale && left.left() <= 7 * scale));
        CHECK(std::abs((left.left() - 5 * scale) - (55 * scale - right.right())) <= 1.5);
        CHECK(std::abs(middle.left() + middle.right() - 60 * scale) <= 2);
        // The line of 1.36 times the size stands in the middle, its baseline 1.07 times the size below its
        // top, and a capital is 0.71 high.
        CHECK(std::abs(middle.bottom() - (30 - 0.68f * 13 + 1.07f * 13) * scale) <= 1);
        CHECK(std::abs(left.bottom() - (10 + 1.07f * 13) * scale) <= 1);
        CHECK(std::abs(left.bottom() - left.top() - 0.71f * 13 * scale) <= 1.3);
        const QRectF clipped =
            line(L"WWWWWWWWWW", {10, 20, 40, 26}, TextAlign::centre, centre, 13, scale).ink();
        CHECK(clipped == QRectF(10 * scale, 20 * scale, 30 * scale, 6 * scale));
    }
    const auto widthOf = [](float size) {
        return line(L"HHHHH", {0, 0, 60, 60}, TextAlign::leading, ParagraphAlign::top, size).ink().width();
    };
    CHECK(widthOf(11) < widthOf(11.5f));
    CHECK(widthOf(11.5f) < widthOf(12));
}

TEST_CASE("a wrapped text leaves its width, is cut at its height, or does not break Japanese") {
    startApplication();
    const double first = wrapped(L"Hx").ink().bottom();
    CHECK(first < 20);
    for (const wchar_t* text : {L"one two three four", L"HHHHHHHHHHHHHH", L"Hx\nHx\nHx", kJapanese}) {
        const QRectF box = wrapped(text).ink();
        CHECK((box.bottom() > first + 14 && box.right() <= 44 && box.left() >= 4));
    }
    // A font without the characters shows the same box for both.
    CHECK_FALSE(wrapped(L"\u51E6") == wrapped(L"\u7406"));
}

TEST_CASE("a widget shows other pixels than its target, a frame too few, or one that was lost") {
    startApplication();
    const double factor = qEnvironmentVariable("QT_SCALE_FACTOR").toDouble();
    const double ratio = factor > 0 ? factor : 1;
    struct Painted : QWidget {
        std::function<void()> paint;
        int paintings = 0;
        void paintEvent(QPaintEvent*) override {
            ++paintings;
            paint();
        }
    };
    const auto draw = [](RenderTarget* target) {
        beginDraw(target);
        clearTarget(target, {0.2f, 0.4f, 0.6f, 1});
        const BrushHolder brush = createColorBrush(target, kWhite);
        fillEllipse(target, {25, 20}, 17, 11.3f, brush.get());
        drawLine(target, {3, 2}, {38, 33}, brush.get(), 1.5f);
        return endDraw(target);
    };
    RenderTargetHolder holder;
    auto widget = std::make_unique<Painted>();
    widget->resize(kSide, 40);
    CHECK(windowScale(widget.get()) == ratio);
    const int width = static_cast<int>(kSide * ratio), height = static_cast<int>(40 * ratio);
    FrameResult frame{};
    widget->paint = [&] { frame = draw(holder.get()); };
    const auto grabbed = [&] {
        const QImage image = widget->grab().toImage().convertToFormat(QImage::Format_ARGB32);
        CHECK(image.size() == QSize(width, height));
        return std::vector<std::uint8_t>(image.constBits(), image.constBits() + image.sizeInBytes());
    };
    for (const float scale : {1.0f, 1.5f}) {  // the second target takes the first one's place
        INFO("scale ", scale, " ratio ", ratio);
        REQUIRE(createWindowRenderTarget(holder, widget.get(), scale));
        const RenderTargetHolder image = createImageRenderTarget(width, height, scale);
        REQUIRE(draw(image.get()) == FrameResult::shown);
        CHECK((grabbed() == imagePixels(image.get())));
        CHECK(frame == FrameResult::shown);
        CHECK(imagePixels(holder.get()).empty());
        loseTarget(holder.get());
        CHECK((grabbed() != imagePixels(image.get())));
        CHECK(frame == FrameResult::targetLost);
    }
    // A frame at any other time is shown by a paint event to come.
    widget->show();
    QCoreApplication::processEvents();
    const int before = widget->paintings;
    CHECK(draw(holder.get()) == FrameResult::shown);
    CHECK(widget->paintings == before);
    QCoreApplication::processEvents();
    CHECK(widget->paintings == before + 1);

    widget.reset();
    CHECK(draw(holder.get()) == FrameResult::failed);
    CHECK_FALSE(createWindowRenderTarget(holder, nullptr, 1));
    CHECK(holder == nullptr);
}

TEST_CASE("a character of the western code page becomes another") {
    CHECK(widenAnsiText(nullptr).empty());
    CHECK((widenAnsiText("~\x7F\x80\x94\x81\x9F\xA0\xFF") == L"~\x7F\u20AC\u201D\x81\u0178\xA0\xFF"));
}

TEST_CASE("the progress window shows something else, misses a cancel, or takes another window's input") {
    startApplication();
    QPushButton host;
    int clicks = 0;
    QObject::connect(&host, &QPushButton::clicked, [&] { ++clicks; });
    host.show();
    const std::function<void(QWidget&)> ways[] = {
        [](QWidget& w) {
            QCoreApplication::postEvent(w.windowHandle(),
                                        new QKeyEvent(QEvent::KeyPress, Qt::Key_Escape, {}));
        },
        [](QWidget& w) { QCoreApplication::postEvent(w.windowHandle(), new QCloseEvent); },
        [](QWidget& w) { click(w.windowHandle(), w.findChild<QPushButton*>()->geometry().center()); }};
    for (const auto& cancel : ways) {
        ProgressWindow* window = createProgressWindow(&host);
        setProgressText(window, kJapanese);
        setProgressBar(window, 3, 12);
        showProgressWindow(window);
        QWidget* shown = nullptr;
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (widget->windowTitle() == "Lucent Veil - Applying...") shown = widget;
        REQUIRE(shown != nullptr);
        const auto* const bar = shown->findChild<QProgressBar*>();
        CHECK((shown->isVisible() && bar->value() == 3 && bar->maximum() == 12));
        CHECK(shown->findChild<QLabel*>()->text().toStdWString() == kJapanese);
        CHECK(shown->windowHandle()->transientParent() == host.windowHandle());
        const int before = clicks;
        click(host.windowHandle(), {9, 9});
        CHECK_FALSE(pumpProgressWindow(window));
        cancel(*shown);
        CHECK(pumpProgressWindow(window));
        CHECK(shown->isVisible());
        CHECK(clicks == before);
        destroyProgressWindow(window);
        QCoreApplication::processEvents();
        CHECK(clicks == before + 1);
    }
}
