#include "platform/desktop/font.h"

#include <QFontDatabase>

namespace veil {

QFont makeFont(const QString& family, int pixelSize, int weight) {
    QFont font(family);
    // Near Segoe UI in width and line height; beyond them the system's own choice of a sans serif.
    for (const QString& candidate : {family, QStringLiteral("Open Sans"), QStringLiteral("Noto Sans")})
        if (QFontDatabase::hasFamily(candidate)) {
            font.setFamily(candidate);
            break;
        }
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(pixelSize);
    font.setWeight(static_cast<QFont::Weight>(weight));
    font.setHintingPreference(QFont::PreferNoHinting);
    font.setStyleStrategy(QFont::NoSubpixelAntialias);
    return font;
}

}  // namespace veil
