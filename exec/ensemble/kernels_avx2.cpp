#if defined(__x86_64__)
#define BLOCKS_TARGET __attribute__((target("arch=haswell")))
#define BLOCKS_ISA_NAME avx2_kernels
#include "exec/ensemble/kernels.inl"
#endif
