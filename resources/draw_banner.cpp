// Draws the banner of the title band: a light behind a veil, and the name beside it. The letters are strokes
// of our own and every pixel is a formula of its distance to them, so no installed font and no rasteriser has
// a say. usage: draw_banner FILE.png, or draw_banner --check FILE.png to compare a kept file with what would
// be drawn

#include <QImage>
#include <QString>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

namespace {

constexpr int kWidthPx = 440;
constexpr int kHeightPx = 80;
// The band shows the picture 22 units high. All places below are in those units: a stroke whose middle lies
// half way between two whole numbers fills one row of device pixels at 100 percent and stays sharp.
constexpr double kPxPerUnit = kHeightPx / 22.0;

struct Point {
    double x, y;
};

Point operator-(Point a, Point b) { return {a.x - b.x, a.y - b.y}; }
double length(Point p) { return std::sqrt(p.x * p.x + p.y * p.y); }

struct Segment {
    Point from, to;
};

/// From `start` on, clockwise as seen; angles in turns: 0 is right, a quarter is down.
struct Arc {
    Point centre;
    double radius, start, sweep;
};

struct Strokes {
    std::vector<Segment> segments;
    std::vector<Arc> arcs;
};

constexpr double kTop = 6.5, kMiddle = 10.5, kBottom = 15.5;  // middles of the strokes of a capital letter
constexpr double kHalfStroke = 0.62;
// The band's scaling looks at four pixels for each that it shows, whatever the reduction; so edges are as
// wide here as a pixel of the 100 percent picture, less a little for the larger ones.
constexpr double kEdge = 0.85;

constexpr Point kLight = {7.0, 11.0};

void addLetter(Strokes& s, char letter, double x) {
    const auto line = [&](double x0, double y0, double x1, double y1) {
        s.segments.push_back({{x + x0, y0}, {x + x1, y1}});
    };
    const auto arc = [&](double cx, double cy, double radius, double start, double sweep) {
        s.arcs.push_back({{x + cx, cy}, radius, start, sweep});
    };
    const double half = (kTop + kBottom) / 2;
    switch (letter) {
        case 'D':
            line(0, kTop, 0, kBottom);
            line(0, kTop, 2.5, kTop);
            line(0, kBottom, 2.5, kBottom);
            arc(2.5, half, 4.5, 0.75, 0.5);
            break;
        case 'U':
            line(0, kTop, 0, 12);
            line(7, kTop, 7, 12);
            arc(3.5, 12, 3.5, 0.0, 0.5);
            break;
        case 'S':
            arc(2.2, 8.5, 2.0, 0.25, 0.5);
            line(2.2, kTop, 3.3, kTop);
            arc(3.3, 8.5, 2.0, 0.75, 0.17);
            line(2.2, kMiddle, 3.3, kMiddle);
            arc(3.3, 13.0, 2.5, 0.75, 0.5);
            line(2.2, kBottom, 3.3, kBottom);
            arc(2.5, 13.0, 2.5, 0.25, 0.17);
            break;
        case 'K':
            line(0, kTop, 0, kBottom);
            line(0, 12, 5.5, kTop);
            line(2.0, 10.0, 6, kBottom);
            break;
        case 'Y':
            line(0, kTop, 3.5, 11.2);
            line(7, kTop, 3.5, 11.2);
            line(3.5, 11.2, 3.5, kBottom);
            break;
        case 'V':
            line(0, kTop, 4, kBottom);
            line(8, kTop, 4, kBottom);
            break;
        case 'E':
            line(0, kTop, 0, kBottom);
            line(0, kTop, 5, kTop);
            line(0, kMiddle, 4.4, kMiddle);
            line(0, kBottom, 5, kBottom);
            break;
        case 'I':
            line(0, kTop, 0, kBottom);
            break;
        case 'L':
            line(0, kTop, 0, kBottom);
            line(0, kBottom, 5, kBottom);
            break;
    }
}

Strokes name() {
    struct Placed {
        char letter;
        double x;
    };
    constexpr std::array<Placed, 9> kLetters = {{{'D', 22.5},
                                                 {'U', 33.5},
                                                 {'S', 44.5},
                                                 {'K', 54.5},
                                                 {'Y', 63.0},
                                                 {'V', 77.5},
                                                 {'E', 90.5},
                                                 {'I', 100.5},
                                                 {'L', 105.5}}};
    Strokes strokes;
    for (const Placed& placed : kLetters) addLetter(strokes, placed.letter, placed.x);
    return strokes;
}

double distance(const Segment& s, Point p) {
    const Point along = s.to - s.from, to = p - s.from;
    const double t = (to.x * along.x + to.y * along.y) / (along.x * along.x + along.y * along.y);
    const double held = std::clamp(t, 0.0, 1.0);
    return length({to.x - held * along.x, to.y - held * along.y});
}

Point pointOn(const Arc& arc, double turns) {
    const double angle = turns * 2 * M_PI;
    return {arc.centre.x + arc.radius * std::cos(angle), arc.centre.y + arc.radius * std::sin(angle)};
}

double distance(const Arc& arc, Point p) {
    const Point from = p - arc.centre;
    double turns = std::atan2(from.y, from.x) / (2 * M_PI) - arc.start;
    turns -= std::floor(turns);
    if (turns <= arc.sweep) return std::abs(length(from) - arc.radius);
    return std::min(length(p - pointOn(arc, arc.start)), length(p - pointOn(arc, arc.start + arc.sweep)));
}

double distance(const Strokes& strokes, Point p) {
    double nearest = 1e9;
    for (const Segment& segment : strokes.segments) nearest = std::min(nearest, distance(segment, p));
    for (const Arc& arc : strokes.arcs) nearest = std::min(nearest, distance(arc, p));
    return nearest;
}

double smooth(double from, double to, double x) {
    const double t = std::clamp((x - from) / (to - from), 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

/// 0 to 255, straight; alpha 0 to 1.
struct Ink {
    double r, g, b, a;
};

constexpr Ink kWarm = {224, 168, 92, 1};
constexpr Ink kPale = {224, 224, 228, 1};
constexpr Ink kCore = {255, 236, 206, 1};

Ink mix(const Ink& a, const Ink& b, double t) {
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t, a.a + (b.a - a.a) * t};
}

Ink over(const Ink& top, const Ink& ground) {
    const double a = top.a + ground.a * (1 - top.a);
    if (a <= 0) return {0, 0, 0, 0};
    const auto channel = [&](double t, double g) { return (t * top.a + g * ground.a * (1 - top.a)) / a; };
    return {channel(top.r, ground.r), channel(top.g, ground.g), channel(top.b, ground.b), a};
}

Ink withAlpha(Ink ink, double a) {
    ink.a = a;
    return ink;
}

Ink pixel(const Strokes& letters, Point p) {
    const Point from = p - kLight;
    const double r = length(from);
    // The haze drifts over the first letters. It ends before the picture's edge, since the band goes on
    // there.
    const double drawnOut = length({from.x / (from.x > 0 ? 4.5 : 0.63), from.y});
    const double within = 1 - smooth(3.5, 11.0, drawnOut);
    const double halo = within * (0.50 * std::exp(-r / 3.2) + 0.26 * std::exp(-drawnOut / 4.8));
    const double core = 1 - smooth(1.6, 3.6, r);
    const double ink = std::clamp(0.5 + (kHalfStroke - distance(letters, p)) / kEdge, 0.0, 1.0);

    Ink out = withAlpha(kWarm, halo);
    out = over(withAlpha(mix(kCore, kWarm, smooth(1.0, 3.4, r)), core), out);
    return over(withAlpha(mix(kWarm, kPale, smooth(15, 59, p.x)), ink), out);
}

QImage drawBanner() {
    const Strokes letters = name();
    QImage image(kWidthPx, kHeightPx, QImage::Format_ARGB32);
    for (int y = 0; y < kHeightPx; ++y)
        for (int x = 0; x < kWidthPx; ++x) {
            const Ink ink = pixel(letters, {(x + 0.5) / kPxPerUnit, (y + 0.5) / kPxPerUnit});
            const auto byte = [](double v) { return static_cast<int>(v + 0.5); };
            image.setPixel(x, y, qRgba(byte(ink.r), byte(ink.g), byte(ink.b), byte(ink.a * 255)));
        }
    return image;
}

// The greatest difference of a channel as it shows, 0 to 255; 256 for another size or no image.
int difference(const QImage& drawn, const QImage& kept) {
    if (kept.size() != drawn.size()) return 256;
    const QImage a = drawn.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const QImage b = kept.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    int greatest = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int i = 0; i < 4 * a.width(); ++i)
            greatest = std::max(greatest, std::abs(a.constScanLine(y)[i] - b.constScanLine(y)[i]));
    return greatest;
}

int check(const char* path) {
    constexpr int kTolerance = 2;  // another C library's last bit may round the other way
    const int found = difference(drawBanner(), QImage(QString::fromLocal8Bit(path)));
    if (found <= kTolerance) return EXIT_SUCCESS;
    std::fprintf(stderr, "%s is not what is drawn: a channel differs by %d\n", path, found);
    return EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::string_view(argv[1]) == "--check") return check(argv[2]);
    if (argc == 2)
        return drawBanner().save(QString::fromLocal8Bit(argv[1]), "PNG") ? EXIT_SUCCESS : EXIT_FAILURE;
    std::fprintf(stderr, "usage: draw_banner [--check] FILE.png\n");
    return 2;
}
