#if defined(__x86_64__)
#define BLOCKS_TARGET __attribute__((target("avx2,fma")))
#define BLOCKS_VECTOR 32
#define BLOCKS_ISA_NAME avx2_kernels
#include "exec/ensemble/kernels.inl"
#endif
