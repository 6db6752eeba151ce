// Memory for the arrays of very large models.
#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <vector>

#include "core/export.h"

namespace tessel {

/// Memory that begins and, as far as it can, consists of large pages. Raises `std::bad_alloc`.
BLOCKS_API void* allocate_large(std::size_t bytes);
BLOCKS_API void free_large(void* memory) noexcept;
/// The size of a large page; smaller arrays come from the ordinary allocator.
inline constexpr std::size_t large_page = std::size_t{2} << 20;

/// Lets the system give arrays of megabytes in large pages, where it does so on request. A run touches each of
/// them for the first time, which in a virtual machine takes microseconds a page, and walks over them out of order:
/// with 512 times fewer pages both the first touch and the look-up of addresses nearly vanish from the profile.
template <class T>
class LargeArrayAllocator {
public:
    using value_type = T;

    LargeArrayAllocator() noexcept = default;
    template <class U>
    LargeArrayAllocator(const LargeArrayAllocator<U>&) noexcept {}

    T* allocate(std::size_t count) {
        if (!is_large(count)) return std::allocator<T>().allocate(count);
        // half of what can be addressed: the vector's own limit, so that the product below cannot wrap
        if (count > static_cast<std::size_t>(-1) / 2 / sizeof(T)) throw std::bad_array_new_length();
        return static_cast<T*>(allocate_large(count * sizeof(T)));
    }
    void deallocate(T* memory, std::size_t count) noexcept {
        if (is_large(count)) free_large(memory);
        else std::allocator<T>().deallocate(memory, count);
    }
    bool operator==(const LargeArrayAllocator&) const noexcept { return true; }

private:
    /// Asked again when the memory goes back, so it must hang on the count alone.
    static bool is_large(std::size_t count) noexcept { return count >= large_page / sizeof(T); }
};

template <class T>
using large_array = std::vector<T, LargeArrayAllocator<T>>;

}  // namespace tessel
