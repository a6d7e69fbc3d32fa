// Paints every widget in every state into PNG files, to be looked at.
// usage: gallery FOLDER

#include <cstdio>
#include <filesystem>
#include <string>

#include "tests/gallery/sheets.h"
#include "tests/gallery/start.h"

namespace {

bool paintAll(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    for (const gallery::Sheet& sheet : gallery::sheets())
        for (const auto language : {gallery::Language::english, gallery::Language::japanese})
            for (const int percent : {100, 125, 150, 200}) {
                const veil::RenderTargetHolder target =
                    gallery::paintSheet(sheet, static_cast<float>(percent) / 100.0f, language);
                const wchar_t* code = language == gallery::Language::english ? L"en" : L"ja";
                const std::wstring name =
                    std::wstring(sheet.name) + L"_" + code + L"_" + std::to_wstring(percent) + L".png";
                if (!target || !veil::saveImage(target.get(), (folder / name).wstring())) return false;
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
