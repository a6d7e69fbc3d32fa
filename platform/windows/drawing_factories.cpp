#include "platform/windows/drawing_factories.h"

namespace veil {

namespace {

bool processEnds() {
    using Question = BOOLEAN(NTAPI*)();
    const auto question = reinterpret_cast<Question>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlDllShutdownInProgress")));
    return question && question();
}

// Destroyed when the module is unloaded, under the loader's lock. The libraries behind the factories are
// still there, since this module imports them, and by then no target lives whose threads could want that
// lock. At the end of the process the other threads have been ended wherever they were, perhaps inside those
// libraries, so that nothing may be called any more; the system takes all back by itself.
template <class T>
struct SharedFactory {
    INIT_ONCE once = INIT_ONCE_STATIC_INIT;
    ComHolder<T> factory;

    ~SharedFactory() {
        if (factory && processEnds()) static_cast<void>(factory.release());
    }
};

SharedFactory<ID2D1Factory> gD2D;
SharedFactory<IDWriteFactory> gDWrite;

HRESULT createD2D(ID2D1Factory** factory) {
    return D2D1CreateFactory(D2D1_FACTORY_TYPE_SINGLE_THREADED, D2D1_FACTORY_OPTIONS{D2D1_DEBUG_LEVEL_NONE},
                             factory);
}

HRESULT createDWrite(IDWriteFactory** factory) {
    return DWriteCreateFactory(DWRITE_FACTORY_TYPE_SHARED, __uuidof(IDWriteFactory),
                               reinterpret_cast<IUnknown**>(factory));
}

// A callback that fails leaves the guard open for the next caller.
template <class T, HRESULT (*kCreate)(T**)>
BOOL CALLBACK makeOnce(PINIT_ONCE, PVOID holder, PVOID*) {
    ComHolder<T>& factory = *static_cast<ComHolder<T>*>(holder);
    factory = makeCom<T>(kCreate);
    return factory != nullptr;
}

}  // namespace

ID2D1Factory* sharedD2DFactory() {
    InitOnceExecuteOnce(&gD2D.once, makeOnce<ID2D1Factory, createD2D>, &gD2D.factory, nullptr);
    return gD2D.factory.get();
}

IDWriteFactory* sharedDWriteFactory() {
    InitOnceExecuteOnce(&gDWrite.once, makeOnce<IDWriteFactory, createDWrite>, &gDWrite.factory, nullptr);
    return gDWrite.factory.get();
}

ComHolder<IWICImagingFactory> createPictureFactory() {
    return makeCom<IWICImagingFactory>([](auto out) {
        return CoCreateInstance(CLSID_WICImagingFactory2, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(out));
    });
}

ComHolder<IWICFormatConverter> convertPicture(IWICImagingFactory* factory, IWICBitmapSource* source,
                                              const GUID& pixelFormat) {
    auto converter =
        makeCom<IWICFormatConverter>([&](auto out) { return factory->CreateFormatConverter(out); });
    if (!converter || FAILED(converter->Initialize(source, pixelFormat, WICBitmapDitherTypeNone, nullptr, 0.0,
                                                   WICBitmapPaletteTypeCustom)))
        return nullptr;
    return converter;
}

}  // namespace veil
