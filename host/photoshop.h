#pragma once

// The host's published filter records, declared by us. Names are the published ones; sizes and offsets are
// those of 64-bit Windows. Those of the fields that we use are proved below, for every compiler.

#include <cstddef>
#include <cstdint>

namespace photoshop {

using Boolean = std::uint8_t;  // only the low 8 bits of a truth value count
using Fixed = std::int32_t;    // 16.16
using Handle = char**;         // opaque here; the host owns what it points at

struct Point {
    std::int16_t v, h;
};
struct Rect {
    std::int16_t top, left, bottom, right;
};
struct VPoint {
    std::int32_t v, h;
};
struct VRect {
    std::int32_t top, left, bottom, right;
};
struct RGBColor {
    std::uint16_t red, green, blue;
};
struct FilterColor {
    std::uint8_t bytes[4];
};
struct PlugInMonitor {
    Fixed gamma, redX, redY, greenX, greenY, blueX, blueY, whiteX, whiteY, ambient;
};
struct PlatformData {
    void* hwnd;
};
struct AboutRecord {
    PlatformData* platformData;
    void* sSPBasic;
    void* plugInRef;
    std::uint8_t reserved[252];
};

/// The host's handle suite; natural alignment.
struct HandleProcs {
    std::int16_t handleProcsVersion;
    std::int16_t numHandleProcs;
    Handle (*newProc)(std::int32_t size);
    void (*disposeProc)(Handle);
    std::int32_t (*getSizeProc)(Handle);
    std::int16_t (*setSizeProc)(Handle, std::int32_t newSize);
    char* (*lockProc)(Handle, Boolean moveHigh);
    void (*unlockProc)(Handle);
    void (*recoverSpaceProc)(std::int32_t size);
    void (*disposeRegularHandleProc)(Handle);
};
static_assert(sizeof(HandleProcs) == 72 && offsetof(HandleProcs, newProc) == 8 &&
              offsetof(HandleProcs, lockProc) == 40 && offsetof(HandleProcs, unlockProc) == 48);

/// The host's buffer suite; natural alignment. The plug-in does not use it.
struct BufferProcs {
    std::int16_t bufferProcsVersion;
    std::int16_t numBufferProcs;
    void* allocateProc;
    void* lockProc;
    void* unlockProc;
    void* freeProc;
    void* spaceProc;
};
static_assert(sizeof(BufferProcs) == 48);

/// The rectangles in 32 bits, for hosts with large documents.
struct BigDocumentStruct {
    std::int32_t PluginUsing32BitCoordinates;
    VPoint imageSize32;
    VRect filterRect32;
    VRect inRect32;
    VRect outRect32;
    VRect maskRect32;
    VPoint floatCoord32;
    VPoint wholeSize32;
};
static_assert(sizeof(BigDocumentStruct) == 92 && offsetof(BigDocumentStruct, filterRect32) == 12 &&
              offsetof(BigDocumentStruct, inRect32) == 28 && offsetof(BigDocumentStruct, outRect32) == 44 &&
              offsetof(BigDocumentStruct, maskRect32) == 60 &&
              offsetof(BigDocumentStruct, wholeSize32) == 84);

// The record alone is packed to 4 bytes, in 64-bit builds too.
#pragma pack(push, 4)
struct FilterRecord {
    std::int32_t serialNumber;
    Boolean (*abortProc)();
    void (*progressProc)(std::int32_t done, std::int32_t total);
    Handle parameters;
    Point imageSize;
    std::int16_t planes;
    Rect filterRect;
    RGBColor background;
    RGBColor foreground;
    std::int32_t maxSpace;
    std::int32_t bufferSpace;
    Rect inRect;
    std::int16_t inLoPlane;
    std::int16_t inHiPlane;
    Rect outRect;
    std::int16_t outLoPlane;
    std::int16_t outHiPlane;
    void* inData;
    std::int32_t inRowBytes;
    void* outData;
    std::int32_t outRowBytes;
    Boolean isFloating;
    Boolean haveMask;
    Boolean autoMask;
    Rect maskRect;
    void* maskData;
    std::int32_t maskRowBytes;
    FilterColor backColor;
    FilterColor foreColor;
    std::uint32_t hostSig;
    void* hostProc;
    std::int16_t imageMode;
    Fixed imageHRes;
    Fixed imageVRes;
    Point floatCoord;
    Point wholeSize;
    PlugInMonitor monitor;
    PlatformData* platformData;
    BufferProcs* bufferProcs;
    void* resourceProcs;
    void* processEvent;
    void* displayPixels;
    HandleProcs* handleProcs;
    Boolean supportsDummyChannels;
    Boolean supportsAlternateLayouts;
    std::int16_t wantLayout;
    std::int16_t filterCase;
    std::int16_t dummyPlaneValue;
    void* premiereHook;
    std::int16_t (*advanceState)();
    Boolean supportsAbsolute;
    Boolean wantsAbsolute;
    void* getPropertyObsolete;
    Boolean cannotUndo;
    Boolean supportsPadding;
    std::int16_t inputPadding;
    std::int16_t outputPadding;
    std::int16_t maskPadding;
    std::uint8_t samplingSupport;
    std::uint8_t reservedByte;
    Fixed inputRate;
    Fixed maskRate;
    void* colorServices;
    std::int16_t inLayerPlanes, inTransparencyMask, inLayerMasks, inInvertedLayerMasks, inNonLayerPlanes;
    std::int16_t outLayerPlanes, outTransparencyMask, outLayerMasks, outInvertedLayerMasks, outNonLayerPlanes;
    std::int16_t absLayerPlanes, absTransparencyMask, absLayerMasks, absInvertedLayerMasks, absNonLayerPlanes;
    std::int16_t inPreDummyPlanes, inPostDummyPlanes, outPreDummyPlanes, outPostDummyPlanes;
    std::int32_t inColumnBytes, inPlaneBytes, outColumnBytes, outPlaneBytes;
    void* imageServicesProcs;
    void* propertyProcs;
    std::int16_t inTileHeight, inTileWidth;
    Point inTileOrigin;
    std::int16_t absTileHeight, absTileWidth;
    Point absTileOrigin;
    std::int16_t outTileHeight, outTileWidth;
    Point outTileOrigin;
    std::int16_t maskTileHeight, maskTileWidth;
    Point maskTileOrigin;
    void* descriptorParameters;
    void* errorString;
    void* channelPortProcs;
    void* documentInfo;
    void* sSPBasic;
    void* plugInRef;
    std::int32_t depth;
    Handle iCCprofileData;
    std::int32_t iCCprofileSize;
    std::int32_t canUseICCProfiles;
    std::int32_t hasImageScrap;
    BigDocumentStruct* bigDocumentData;
};
#pragma pack(pop)

static_assert(offsetof(FilterRecord, abortProc) == 4 && offsetof(FilterRecord, progressProc) == 12);
static_assert(offsetof(FilterRecord, parameters) == 20 && offsetof(FilterRecord, bufferSpace) == 60);
static_assert(offsetof(FilterRecord, inLoPlane) == 72 && offsetof(FilterRecord, inHiPlane) == 74);
static_assert(offsetof(FilterRecord, outLoPlane) == 84 && offsetof(FilterRecord, outHiPlane) == 86);
static_assert(offsetof(FilterRecord, inRowBytes) == 96 && offsetof(FilterRecord, maskRate) == 316);
static_assert(offsetof(FilterRecord, inputPadding) == 302 && offsetof(FilterRecord, outputPadding) == 304);
static_assert(offsetof(FilterRecord, filterRect) == 34 && offsetof(FilterRecord, foreground) == 48);
static_assert(offsetof(FilterRecord, maxSpace) == 56 && offsetof(FilterRecord, inRect) == 64);
static_assert(offsetof(FilterRecord, outRect) == 76 && offsetof(FilterRecord, inData) == 88);
static_assert(offsetof(FilterRecord, outData) == 100 && offsetof(FilterRecord, outRowBytes) == 108);
static_assert(offsetof(FilterRecord, haveMask) == 113 && offsetof(FilterRecord, maskRect) == 116);
static_assert(offsetof(FilterRecord, maskRowBytes) == 132 && offsetof(FilterRecord, hostProc) == 148);
static_assert(offsetof(FilterRecord, imageMode) == 156 && offsetof(FilterRecord, imageHRes) == 160);
static_assert(offsetof(FilterRecord, monitor) == 176 && offsetof(FilterRecord, platformData) == 216);
static_assert(offsetof(FilterRecord, handleProcs) == 256 && offsetof(FilterRecord, wantLayout) == 266);
static_assert(offsetof(FilterRecord, advanceState) == 280 &&
              offsetof(FilterRecord, getPropertyObsolete) == 292);
static_assert(offsetof(FilterRecord, supportsPadding) == 301 && offsetof(FilterRecord, maskPadding) == 306);
static_assert(offsetof(FilterRecord, samplingSupport) == 308 && offsetof(FilterRecord, inputRate) == 312);
static_assert(offsetof(FilterRecord, inLayerPlanes) == 328 &&
              offsetof(FilterRecord, outPostDummyPlanes) == 364);
static_assert(offsetof(FilterRecord, inColumnBytes) == 368 && offsetof(FilterRecord, propertyProcs) == 392);
static_assert(offsetof(FilterRecord, outTileHeight) == 416 && offsetof(FilterRecord, outTileWidth) == 418);
static_assert(offsetof(FilterRecord, descriptorParameters) == 432 && offsetof(FilterRecord, depth) == 480);
static_assert(offsetof(FilterRecord, hasImageScrap) == 500 && offsetof(FilterRecord, bigDocumentData) == 504);
static_assert(sizeof(FilterRecord) == 512);

constexpr std::int16_t filterSelectorAbout = 0;
constexpr std::int16_t filterSelectorParameters = 1;
constexpr std::int16_t filterSelectorPrepare = 2;
constexpr std::int16_t filterSelectorStart = 3;
constexpr std::int16_t filterSelectorContinue = 4;
constexpr std::int16_t filterSelectorFinish = 5;

constexpr std::int16_t noErr = 0;
constexpr std::int16_t userCanceledErr = -128;
constexpr std::int16_t memFullErr = -108;
constexpr std::int16_t filterBadParameters = -30100;
constexpr std::int16_t filterBadMode = -30101;

constexpr std::int16_t plugInModeGrayScale = 1;
constexpr std::int16_t plugInModeRGBColor = 3;
constexpr std::int16_t plugInModeLabColor = 9;
constexpr std::int16_t plugInModeGray16 = 10;
constexpr std::int16_t plugInModeRGB48 = 11;

constexpr std::int16_t plugInWantsEdgeReplication = -1;
constexpr Fixed kFullRate = 0x10000;  // no sampling

/// The type of the plug-in's one exported function.
using PluginMainProc = void (*)(std::int16_t selector, void* record, std::intptr_t* data,
                                std::int16_t* result);

}  // namespace photoshop
