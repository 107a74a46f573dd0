#include "tests/support/AllocationCount.h"

#include "Platform/Framework/Slab.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {
thread_local U64 allocations = 0;
} // namespace

// AddressSanitizer has its own, and slabs pass every object through to them; clang's
// ThreadSanitizer has its own, too.
#if QCF_SLAB_PASSES_THROUGH
#define QCF_COUNTS_ALLOCATIONS 0
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define QCF_COUNTS_ALLOCATIONS 0
#endif
#endif
#ifndef QCF_COUNTS_ALLOCATIONS
#define QCF_COUNTS_ALLOCATIONS 1
#endif

#if QCF_COUNTS_ALLOCATIONS

namespace {

void * counted(std::size_t size, std::size_t alignment = alignof(std::max_align_t)) {
    ++allocations;
    std::size_t const rounded = (size + alignment - 1) / alignment * alignment;
    if (void * const memory = std::aligned_alloc(alignment, std::max(rounded, alignment))) {
        return memory;
    }
    throw std::bad_alloc();
}

} // namespace

void * operator new(std::size_t size) { return counted(size); }
void * operator new[](std::size_t size) { return counted(size); }
void * operator new(std::size_t size, std::align_val_t alignment) {
    return counted(size, static_cast<std::size_t>(alignment));
}
void operator delete(void * memory) noexcept { std::free(memory); }
void operator delete[](void * memory) noexcept { std::free(memory); }
void operator delete(void * memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void * memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void * memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void * memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }

#endif

namespace Qcf::test {

U64 allocationCount() { return allocations; }

} // namespace Qcf::test
