#include <span>

#include "platform/module.h"
#include "platform/windows/drawing_records.h"

namespace veil {

namespace {

constexpr float kBitmapDpi = 96.0f;
constexpr UINT32 kPixelBytes = 4;

// The bytes of a resource of the plug-in, which stay where they are while it is loaded; empty if there is
// none.
std::span<BYTE> moduleResource(int id) {
    const HMODULE module = static_cast<HMODULE>(moduleHandle());
    const HRSRC place = FindResourceW(module, MAKEINTRESOURCEW(id), RT_RCDATA);
    if (!place) return {};
    const DWORD size = SizeofResource(module, place);
    const HGLOBAL loaded = LoadResource(module, place);
    void* const bytes = loaded ? LockResource(loaded) : nullptr;
    if (!bytes) return {};
    return {static_cast<BYTE*>(bytes), size};
}

// The first picture in `file`, with premultiplied alpha. It reads from `file` while it lives.
ComHolder<IWICFormatConverter> decodePicture(IWICImagingFactory* factory, std::span<BYTE> file) {
    const auto stream = makeCom<IWICStream>([&](auto out) { return factory->CreateStream(out); });
    if (!stream || FAILED(stream->InitializeFromMemory(file.data(), static_cast<DWORD>(file.size()))))
        return nullptr;
    const auto decoder = makeCom<IWICBitmapDecoder>([&](auto out) {
        return factory->CreateDecoderFromStream(stream.get(), nullptr, WICDecodeMetadataCacheOnLoad, out);
    });
    if (!decoder) return nullptr;
    const auto frame = makeCom<IWICBitmapFrameDecode>([&](auto out) { return decoder->GetFrame(0, out); });
    if (!frame) return nullptr;
    return convertPicture(factory, frame.get(), GUID_WICPixelFormat32bppPBGRA);
}

}  // namespace

void releaseBitmap(Bitmap* bitmap) { const std::unique_ptr<Bitmap> owner(bitmap); }

BitmapHolder createPreviewBitmap(RenderTarget* target, const std::uint8_t* pixels, int width, int height) {
    if (!target || !pixels || width < 1 || height < 1) return nullptr;
    const D2D1_SIZE_U size{static_cast<UINT32>(width), static_cast<UINT32>(height)};
    const D2D1_BITMAP_PROPERTIES properties{
        {DXGI_FORMAT_B8G8R8A8_UNORM, D2D1_ALPHA_MODE_IGNORE}, kBitmapDpi, kBitmapDpi};
    return BitmapHolder(recordOf<Bitmap>(makeCom<ID2D1Bitmap>([&](auto out) {
        return target->surface->CreateBitmap(size, pixels, size.width * kPixelBytes, properties, out);
    })));
}

BitmapHolder loadBannerBitmap(RenderTarget* target, int id) {
    if (!target) return nullptr;
    const std::span<BYTE> file = moduleResource(id);
    if (file.empty()) return nullptr;
    const ComScope com;
    const auto factory = createPictureFactory();
    if (!factory) return nullptr;
    const auto picture = decodePicture(factory.get(), file);
    if (!picture) return nullptr;
    // The defaults, written out: Wine takes the target's own DPI for them.
    const D2D1_BITMAP_PROPERTIES properties{
        {DXGI_FORMAT_B8G8R8A8_UNORM, D2D1_ALPHA_MODE_PREMULTIPLIED}, 96.0f, 96.0f};
    return BitmapHolder(recordOf<Bitmap>(makeCom<ID2D1Bitmap>([&](auto out) {
        return target->surface->CreateBitmapFromWicBitmap(picture.get(), &properties, out);
    })));
}

SizeF bitmapSize(Bitmap* bitmap) {
    if (!bitmap) return {};
    const D2D1_SIZE_F size = bitmap->bitmap->GetSize();
    return {size.width, size.height};
}

void drawBitmap(RenderTarget* target, Bitmap* bitmap, const RectF& rect) {
    if (!target || !bitmap) return;
    target->surface->DrawBitmap(bitmap->bitmap.get(), native(rect), 1.0f,
                                D2D1_BITMAP_INTERPOLATION_MODE_LINEAR, nullptr);
}

}  // namespace veil
