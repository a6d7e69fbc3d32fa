// Paints every widget in every state into PNG files, to be looked at.
// usage: gallery FOLDER

#include <cstdio>
#include <filesystem>
#include <string>

#include "tests/gallery/sheets.h"
#include "tests/gallery/start.h"
#include "toolkit/theme.h"
#include "toolkit/widgets.h"

namespace {

bool paintAll(const std::filesystem::path& folder) {
    using namespace veil;
    std::filesystem::create_directories(folder);
    for (const auto language : {gallery::Language::english, gallery::Language::japanese})
        for (const int percent : {100, 125, 150, 200}) {
            const float scale = static_cast<float>(percent) / 100.0f;
            const RenderTargetHolder target = createImageRenderTarget(
                windowSizePx(gallery::kSheetWidth, scale), windowSizePx(gallery::kSheetHeight, scale), scale);
            beginDraw(target.get());
            clearTarget(target.get(), colorWindow);
            gallery::paintSheet(target.get(), language);
            const wchar_t* code = language == gallery::Language::english ? L"en_" : L"ja_";
            const std::wstring name = std::wstring(L"widgets_") + code + std::to_wstring(percent) + L".png";
            if (endDraw(target.get()) != FrameResult::shown ||
                !saveImage(target.get(), (folder / name).wstring()))
                return false;
        }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: gallery FOLDER\n");
        return 2;
    }
    gallery::startPlatform();
    try {
        if (paintAll(argv[1])) return 0;
        std::fprintf(stderr, "gallery: a sheet can't be painted or written\n");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "gallery: %s\n", error.what());
    }
    return 1;
}
