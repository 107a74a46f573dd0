#include "tests/support/AllocationCount.h"

#include "Platform/Framework/Slab.h"

#include <cstdlib>
#include <new>

namespace {
thread_local U64 allocations = 0;
} // namespace

// AddressSanitizer has its own, and slabs pass every object through to them.
#if !QCF_SLAB_PASSES_THROUGH

namespace {

void * counted(std::size_t size) {
    ++allocations;
    if (void * const memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}

} // namespace

void * operator new(std::size_t size) { return counted(size); }
void * operator new[](std::size_t size) { return counted(size); }
void operator delete(void * memory) noexcept { std::free(memory); }
void operator delete[](void * memory) noexcept { std::free(memory); }
void operator delete(void * memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void * memory, std::size_t) noexcept { std::free(memory); }

#endif

namespace Qcf::test {

U64 allocationCount() { return allocations; }

} // namespace Qcf::test
