#include "bench/Allocations.h"

#include "QcfLib/QcfEvalCollections.h"
#include "QcfLib/QcfEvalStackFrameData.h"

#include <cerrno>
#include <cstdlib>

#include <malloc.h>

#if QCF_SLAB_PASSES_THROUGH || defined(__SANITIZE_THREAD__) || !defined(__GLIBC__)
#define QCF_BENCH_COUNTS_HEAP 0
#else
#define QCF_BENCH_COUNTS_HEAP 1
#endif

namespace Qcf::Bench {

namespace {

// Initialised statically, so that the allocator may touch it in any thread at any time.
thread_local constinit HeapUse heapUse;

} // namespace

HeapUse HeapUse::now() { return heapUse; }
bool HeapUse::counted() { return QCF_BENCH_COUNTS_HEAP != 0; }

U64 slabObjectsTaken() {
    return Slab<Eval::U64SmallVector>::tracker().allocated() +
           Slab<Eval::CommunitySmallVector>::tracker().allocated() +
           Slab<Eval::IntTypeArgContainer>::tracker().allocated();
}

} // namespace Qcf::Bench

#if QCF_BENCH_COUNTS_HEAP

// The C library lets a program bring its own malloc and keeps these names for the original one.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): its headers name them otherwise
extern "C" {

void * __libc_malloc(std::size_t);                // NOLINT(bugprone-reserved-identifier)
void * __libc_calloc(std::size_t, std::size_t);   // NOLINT(bugprone-reserved-identifier)
void * __libc_realloc(void *, std::size_t);       // NOLINT(bugprone-reserved-identifier)
void * __libc_memalign(std::size_t, std::size_t); // NOLINT(bugprone-reserved-identifier)
void __libc_free(void *);                         // NOLINT(bugprone-reserved-identifier)

static void * counted(void * memory) {
    ++Qcf::Bench::heapUse.blocks;
    Qcf::Bench::heapUse.bytes += static_cast<S64>(malloc_usable_size(memory));
    return memory;
}

void * malloc(std::size_t size) noexcept { return counted(__libc_malloc(size)); }
void * calloc(std::size_t n, std::size_t size) noexcept { return counted(__libc_calloc(n, size)); }
void * realloc(void * memory, std::size_t size) noexcept {
    Qcf::Bench::heapUse.bytes -= static_cast<S64>(malloc_usable_size(memory));
    return counted(__libc_realloc(memory, size));
}
void * memalign(std::size_t alignment, std::size_t size) noexcept {
    return counted(__libc_memalign(alignment, size));
}
void * aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    return memalign(alignment, size);
}
int posix_memalign(void ** memory, std::size_t alignment, std::size_t size) noexcept {
    void * const found = memalign(alignment, size);
    if (found == nullptr) {
        return ENOMEM;
    }
    *memory = found;
    return 0;
}
void free(void * memory) noexcept {
    Qcf::Bench::heapUse.bytes -= static_cast<S64>(malloc_usable_size(memory));
    __libc_free(memory);
}

} // extern "C"
// NOLINTEND(readability-inconsistent-declaration-parameter-name)

#endif
