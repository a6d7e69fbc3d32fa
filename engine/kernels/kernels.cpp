#include "engine/kernels/kernels.h"

#include <atomic>

namespace veil {

namespace {

constexpr InstructionSet kSets[] = {InstructionSet::baseline, InstructionSet::avx2, InstructionSet::avx512};

// Whether the processor has the instructions and the system keeps their registers.
bool isAvailable(InstructionSet set) {
#if defined(__x86_64__)
    __builtin_cpu_init();
    if (set == InstructionSet::avx2) return __builtin_cpu_supports("avx2");
    if (set == InstructionSet::avx512)
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
               __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq");
#endif
    return set == InstructionSet::baseline;
}

InstructionSet bestSet() {
    InstructionSet best = InstructionSet::baseline;
    for (const InstructionSet set : kSets)
        if (isAvailable(set)) best = set;
    return best;
}

// Threads that come first at once all store the same.
std::atomic<const KernelTable*> gChosen = nullptr;

}  // namespace

const KernelTable& kernels() {
    if (!gChosen.load(std::memory_order_relaxed)) useKernels(bestSet());
    return *gChosen.load(std::memory_order_relaxed);
}

std::vector<InstructionSet> availableSets() {
    std::vector<InstructionSet> sets;
    for (const InstructionSet set : kSets)
        if (isAvailable(set)) sets.push_back(set);
    return sets;
}

const KernelTable& kernelsFor(InstructionSet set) {
#if defined(__x86_64__)
    if (set == InstructionSet::avx2) return kAvx2Kernels;
    if (set == InstructionSet::avx512) return kAvx512Kernels;
#endif
    return kBaselineKernels;
}

const char* name(InstructionSet set) {
    constexpr const char* kNames[] = {"baseline", "AVX2", "AVX-512"};
    return kNames[static_cast<int>(set)];
}

void useKernels(InstructionSet set) { gChosen.store(&kernelsFor(set), std::memory_order_relaxed); }

}  // namespace veil
