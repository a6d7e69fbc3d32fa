#pragma once

// The one record that outlives a run of the filter, and the run flag beside it.

#include <cstdint>

namespace veil {

/// The user's values as they lie in the host's parameter handle: 36 bytes, plain values only, so that the
/// host may move and copy them. Nothing checks their ranges; those are the dialog's.
struct VeilParams {
    std::int16_t presetId;        ///< the built-in look that the values stem from; an unknown id acts as 0
    std::int16_t reserved;        ///< never interpreted, copied along
    float threshold;              ///< luma above which the glow starts
    float radius;                 ///< reach of the bloom in image pixels
    float strength;               ///< linear gain on the glow
    float fog;                    ///< share of the thin haze in the glow, 0 to 1
    float highlightBoost;         ///< halo round blown-out lights; 0 is off
    float glowSaturation;         ///< 1 keeps the colour of the light
    float shadowProtect;          ///< 0 to 1: how far dark areas stay clear of the glow
    std::int16_t advancedMode;    ///< nonzero: on
    std::int16_t outputGlowOnly;  ///< nonzero: write the glow alone, not the glow over the picture
};
static_assert(sizeof(VeilParams) == 36, "hosts keep the block as 36 bytes");

constexpr std::int32_t kParameterBlockSize = sizeof(VeilParams);

// The operations below work on the call that the driver is in (see plugin_state.h) and report through its
// result location; none returns a status. [host's thread, inside a selector call]

/// Asks the host for a handle of kParameterBlockSize bytes; memFullErr if there is none.
void allocateParameters();

/// Makes the one-byte run flag, set until a stage decides; memFullErr if there is no memory.
void allocateRunFlag();

/// Locks the block and points gParams at it: filterBadParameters without a handle, memFullErr if it can't be
/// locked.
void lockParameters();

/// Unlocks the block if there is a handle; harmless without a lock.
void unlockParameters();

/// Writes the default of every field but the reserved bytes through gParams.
void setDefaultParameters();

/// Sets the run flag, so that the next Start stage asks the user.
void markDialogPending();

/// What the Parameters and the Prepare stage do with block and flag.
void parametersStageBlock();
void prepareStageBlock();

}  // namespace veil
