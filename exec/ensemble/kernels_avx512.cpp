#if defined(__x86_64__)
#if defined(__clang__)
#define BLOCKS_TARGET __attribute__((target("avx512f,avx512bw,avx512dq,avx512vl,avx512cd,fma")))
#else
#define BLOCKS_TARGET __attribute__((target("avx512f,avx512bw,avx512dq,avx512vl,avx512cd,fma,prefer-vector-width=512")))
#endif
#define BLOCKS_VECTOR 64
#define BLOCKS_ISA_NAME avx512_kernels
#include "exec/ensemble/kernels.inl"
#endif
