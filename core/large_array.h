// Memory for the arrays of very large models.
#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <memory>
#include <new>
#include <vector>

namespace tessel {

/// Lets the system give arrays of megabytes in large pages, where it does so on request. A run touches each of
/// them for the first time, which in a virtual machine takes microseconds a page, and walks over them out of order.
template <class T>
class LargeArrayAllocator {
public:
    using value_type = T;

    LargeArrayAllocator() noexcept = default;
    template <class U>
    LargeArrayAllocator(const LargeArrayAllocator<U>&) noexcept {}

    T* allocate(std::size_t count) {
        if (!is_large(count)) return std::allocator<T>().allocate(count);
        if (count > static_cast<std::size_t>(-1) / 2 / sizeof(T)) throw std::bad_array_new_length();
        void* memory = ::operator new(count * sizeof(T), std::align_val_t(page));
#ifdef MADV_HUGEPAGE
        madvise(memory, count * sizeof(T) / page * page, MADV_HUGEPAGE);  // where that fails, pages are small
#endif
        return static_cast<T*>(memory);
    }
    void deallocate(T* memory, std::size_t count) noexcept {
        if (is_large(count)) ::operator delete(memory, std::align_val_t(page));
        else std::allocator<T>().deallocate(memory, count);
    }
    bool operator==(const LargeArrayAllocator&) const noexcept { return true; }

private:
    static constexpr std::size_t page = std::size_t{2} << 20;
    static bool is_large(std::size_t count) noexcept { return count >= page / sizeof(T); }
};

template <class T>
using large_array = std::vector<T, LargeArrayAllocator<T>>;

}  // namespace tessel
