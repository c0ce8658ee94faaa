#include "document/LargeMemory.h"

#include <sys/mman.h>

#include <cstdint>
#include <new>

namespace loadcal {
namespace {

constexpr std::size_t kHugePage = std::size_t{2} << 20;

/// bytes rounded up to whole huge pages.
std::size_t Rounded(std::size_t bytes)
{
    return (bytes + kHugePage - 1) & ~(kHugePage - 1);
}

}  // namespace

void AdviseHugePages(const void* data, std::size_t size)
{
    const auto begin = reinterpret_cast<std::uintptr_t>(data);
    const std::uintptr_t first = (begin + kHugePage - 1) & ~(kHugePage - 1);
    const std::uintptr_t last = (begin + size) & ~(kHugePage - 1);
    if (last > first) {
        ::madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
    }
}

CLargeMemoryResource& CLargeMemoryResource::Instance()
{
    static CLargeMemoryResource resource;
    return resource;
}

void* CLargeMemoryResource::do_allocate(std::size_t bytes, std::size_t alignment)
{
    if (bytes < kHugePage || alignment > 4096) {
        return ::operator new(bytes, std::align_val_t(alignment));
    }
    // A block of whole huge pages on a huge-page boundary: one extra huge
    // page is mapped and the unaligned head and tail are given back.
    if (bytes > SIZE_MAX - 2 * kHugePage) {
        throw std::bad_alloc();
    }
    const std::size_t size = Rounded(bytes);
    void* mapped = ::mmap(nullptr, size + kHugePage, PROT_READ | PROT_WRITE,
                          MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) {
        throw std::bad_alloc();
    }
    const auto begin = reinterpret_cast<std::uintptr_t>(mapped);
    const std::uintptr_t aligned = (begin + kHugePage - 1) & ~(kHugePage - 1);
    if (aligned > begin) {
        ::munmap(mapped, aligned - begin);
    }
    ::munmap(reinterpret_cast<void*>(aligned + size), begin + kHugePage - aligned);
    void* p = reinterpret_cast<void*>(aligned);
    AdviseHugePages(p, size);
    return p;
}

void CLargeMemoryResource::do_deallocate(void* p, std::size_t bytes, std::size_t alignment)
{
    if (bytes < kHugePage || alignment > 4096) {
        ::operator delete(p, std::align_val_t(alignment));
        return;
    }
    ::munmap(p, Rounded(bytes));
}

}  // namespace loadcal
