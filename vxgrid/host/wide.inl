#pragma once

/// Wider vectors where the processor has them. For loops whose lanes are separate results, so that each clone
/// gives the same bits. VXGRID_NO_CLONES leaves them out, to measure what processors without them get.
#if defined(__GNUC__) && !defined(__clang__) && !defined(VXGRID_SANITIZED) && !defined(VXGRID_NO_CLONES) && \
    defined(__x86_64__)
#define VXGRID_HAS_CLONES
#define VXGRID_WIDE __attribute__((target_clones("avx2", "default")))
#else
#define VXGRID_WIDE
#endif

// What a clone calls with vectors has to be part of it: the clones pass them in different places.
#define VXGRID_PART_OF_CLONE __attribute__((always_inline))
