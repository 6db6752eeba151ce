#include "core/large_array.h"

#include <sys/mman.h>

namespace tessel {

void* allocate_large(std::size_t bytes) {
    void* memory = ::operator new(bytes, std::align_val_t(large_page));
#ifdef MADV_HUGEPAGE
    // Whole pages only: behind the last one the allocator keeps others' memory. Where the advice fails, pages are
    // small.
    madvise(memory, bytes / large_page * large_page, MADV_HUGEPAGE);
#endif
    return memory;
}

void free_large(void* memory) noexcept { ::operator delete(memory, std::align_val_t(large_page)); }

}  // namespace tessel
