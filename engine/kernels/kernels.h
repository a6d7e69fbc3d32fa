#pragma once

// Chooses among the tables of row kernels by what the machine can run.

#include <vector>

#include "engine/kernels/kernel_table.h"

namespace veil {

enum class InstructionSet { baseline, avx2, avx512 };

/// The best table for this processor and system; chosen once. [any thread]
const KernelTable& kernels();

/// For tests and measurements: the sets that the machine can run, ascending, and their tables.
std::vector<InstructionSet> availableSets();
const KernelTable& kernelsFor(InstructionSet set);
const char* name(InstructionSet set);

/// For tests alone: from now on kernels() is this table. No render may be under way.
void useKernels(InstructionSet set);

}  // namespace veil
