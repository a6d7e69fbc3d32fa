#include <utility>

#include "platform/windows/drawing_records.h"

namespace veil {

namespace {

constexpr float kDipsPerInch = 96.0f;
constexpr HRESULT kTargetLost = static_cast<HRESULT>(0x8899000C);  // D2DERR_RECREATE_TARGET
constexpr int kPixelBytes = 4;

// Older systems have no scale of a window's own, so the function can't be imported.
using WindowDpi = UINT(WINAPI*)(HWND);
WindowDpi windowDpi() {
    static const auto function = reinterpret_cast<WindowDpi>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"user32.dll"), "GetDpiForWindow")));
    return function;
}

int screenDpi() {
    const HDC screen = GetDC(nullptr);
    if (!screen) return 0;
    const int dpi = GetDeviceCaps(screen, LOGPIXELSX);
    ReleaseDC(nullptr, screen);
    return dpi;
}

D2D1_RENDER_TARGET_PROPERTIES softwareTarget(float scale) {
    const float dpi = (scale > 0.0f ? scale : 1.0f) * kDipsPerInch;
    return {D2D1_RENDER_TARGET_TYPE_SOFTWARE,
            {DXGI_FORMAT_UNKNOWN, D2D1_ALPHA_MODE_UNKNOWN},
            dpi,
            dpi,
            D2D1_RENDER_TARGET_USAGE_NONE,
            D2D1_FEATURE_LEVEL_DEFAULT};
}

// An image target's pixels with straight alpha.
ComHolder<IWICFormatConverter> straightPicture(RenderTarget* target) {
    if (!target || !target->image) return nullptr;
    return convertPicture(target->pictures.get(), target->image.get(), GUID_WICPixelFormat32bppBGRA);
}

ComHolder<IWICStream> openForWriting(IWICImagingFactory* factory, const std::wstring& path) {
    auto stream = makeCom<IWICStream>([&](auto out) { return factory->CreateStream(out); });
    if (!stream || FAILED(stream->InitializeFromFilename(path.c_str(), GENERIC_WRITE))) return nullptr;
    return stream;
}

bool writePng(IWICImagingFactory* factory, IWICBitmapSource* picture, IStream* stream) {
    const auto encoder = makeCom<IWICBitmapEncoder>(
        [&](auto out) { return factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, out); });
    if (!encoder || FAILED(encoder->Initialize(stream, WICBitmapEncoderNoCache))) return false;
    const auto frame =
        makeCom<IWICBitmapFrameEncode>([&](auto out) { return encoder->CreateNewFrame(out, nullptr); });
    UINT width = 0, height = 0;
    WICPixelFormatGUID format = GUID_WICPixelFormat32bppBGRA;
    return frame && SUCCEEDED(picture->GetSize(&width, &height)) && SUCCEEDED(frame->Initialize(nullptr)) &&
           SUCCEEDED(frame->SetSize(width, height)) && SUCCEEDED(frame->SetPixelFormat(&format)) &&
           SUCCEEDED(frame->WriteSource(picture, nullptr)) && SUCCEEDED(frame->Commit()) &&
           SUCCEEDED(encoder->Commit());
}

FrameResult toFrameResult(HRESULT result) {
    if (result == kTargetLost) return FrameResult::targetLost;
    return SUCCEEDED(result) ? FrameResult::shown : FrameResult::failed;
}

}  // namespace

void releaseRenderTarget(RenderTarget* target) { const std::unique_ptr<RenderTarget> owner(target); }

float windowScale(void* nativeWindow) {
    const bool asksWindow = nativeWindow && windowDpi();
    const int dpi = asksWindow ? static_cast<int>(windowDpi()(static_cast<HWND>(nativeWindow))) : screenDpi();
    return dpi ? static_cast<float>(dpi) / kDipsPerInch : 1.0f;
}

bool createWindowRenderTarget(RenderTargetHolder& holder, void* nativeWindow, float scale) {
    ID2D1Factory* const factory = sharedD2DFactory();
    if (!factory) return false;
    const HWND window = static_cast<HWND>(nativeWindow);
    RECT client{};
    GetClientRect(window, &client);
    holder.reset();
    const D2D1_SIZE_U size{static_cast<UINT32>(client.right), static_cast<UINT32>(client.bottom)};
    auto surface = makeCom<ID2D1HwndRenderTarget>([&](auto out) {
        return factory->CreateHwndRenderTarget(softwareTarget(scale),
                                               {window, size, D2D1_PRESENT_OPTIONS_NONE}, out);
    });
    if (!surface) return false;
    auto target = std::make_unique<RenderTarget>();
    target->surface = std::move(surface);
    holder.reset(target.release());
    return true;
}

RenderTargetHolder createImageRenderTarget(int widthPx, int heightPx, float scale) {
    ID2D1Factory* const factory = sharedD2DFactory();
    if (!factory || widthPx < 1 || heightPx < 1) return nullptr;
    auto target = std::make_unique<RenderTarget>();
    target->com.emplace();
    target->pictures = createPictureFactory();
    if (!target->pictures) return nullptr;
    target->image = makeCom<IWICBitmap>([&](auto out) {
        return target->pictures->CreateBitmap(static_cast<UINT>(widthPx), static_cast<UINT>(heightPx),
                                              GUID_WICPixelFormat32bppPBGRA, WICBitmapCacheOnLoad, out);
    });
    if (!target->image) return nullptr;
    target->surface = makeCom<ID2D1RenderTarget>([&](auto out) {
        return factory->CreateWicBitmapRenderTarget(target->image.get(), softwareTarget(scale), out);
    });
    if (!target->surface) return nullptr;
    return RenderTargetHolder(target.release());
}

std::vector<std::uint8_t> imagePixels(RenderTarget* target) {
    const auto picture = straightPicture(target);
    UINT width = 0, height = 0;
    if (!picture || FAILED(picture->GetSize(&width, &height))) return {};
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(width) * height * kPixelBytes);
    if (FAILED(picture->CopyPixels(nullptr, width * kPixelBytes, static_cast<UINT>(pixels.size()),
                                   pixels.data())))
        return {};
    return pixels;
}

bool saveImage(RenderTarget* target, const std::wstring& path) {
    const auto picture = straightPicture(target);
    if (!picture) return false;
    const auto stream = openForWriting(target->pictures.get(), path);
    return stream && writePng(target->pictures.get(), picture.get(), stream.get());
}

void beginDraw(RenderTarget* target) {
    if (target) target->surface->BeginDraw();
}

void clearTarget(RenderTarget* target, const Color& color) {
    if (target) target->surface->Clear(native(color));
}

FrameResult endDraw(RenderTarget* target) {
    if (!target) return FrameResult::failed;
    const HRESULT result = target->surface->EndDraw(nullptr, nullptr);
    return toFrameResult(std::exchange(target->isLost, false) ? kTargetLost : result);
}

void loseTarget(RenderTarget* target) {
    if (target) target->isLost = true;
}

}  // namespace veil
