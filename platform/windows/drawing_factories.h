#pragma once

// The factories that targets, brushes, geometries, text and pictures come from.

#include <d2d1.h>
#include <dwrite.h>
#include <wincodec.h>

#include "platform/windows/com.h"

namespace veil {

/// One of each for the module, made at the first use and kept until the module is unloaded. Null if that
/// fails; the next call tries again. [the windows' thread; the first call may come from any]
ID2D1Factory* sharedD2DFactory();
IDWriteFactory* sharedDWriteFactory();

/// A factory for pictures, null if that fails. COM must be on, and stay so while the factory and what it
/// makes live.
ComHolder<IWICImagingFactory> createPictureFactory();

/// `source` in the given pixel format; null if that fails.
ComHolder<IWICFormatConverter> convertPicture(IWICImagingFactory* factory, IWICBitmapSource* source,
                                              const GUID& pixelFormat);

}  // namespace veil
