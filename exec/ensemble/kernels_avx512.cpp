#if defined(__x86_64__)
#if defined(__clang__)
#define BLOCKS_TARGET __attribute__((target("arch=skylake-avx512")))
#else
#define BLOCKS_TARGET __attribute__((target("arch=skylake-avx512,prefer-vector-width=512")))
#endif
#define BLOCKS_ISA_NAME avx512_kernels
#include "exec/ensemble/kernels.inl"
#endif
