#define BLOCKS_TARGET
#define BLOCKS_VECTOR 16
#define BLOCKS_ISA_NAME baseline_kernels
#include "exec/ensemble/kernels.inl"
