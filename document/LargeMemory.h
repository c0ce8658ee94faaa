#pragma once

#include <cstddef>
#include <memory_resource>

namespace loadcal {

/// Asks the kernel to back the whole 2 MiB pages inside [data, data + size)
/// with huge pages (transparent huge pages in "madvise" mode). Call it before
/// the memory is first touched: a large file's bytes and a large tree then
/// cost a few hundred page faults instead of tens of thousands. Harmless
/// where the kernel does not offer huge pages.
void AdviseHugePages(const void* data, std::size_t size);

/// Memory for large, short-lived structures (a data file's tree): blocks of
/// 2 MiB and more are mapped directly and advised as huge pages, smaller ones
/// come from the global heap. Stateless; one instance serves the process.
class CLargeMemoryResource final : public std::pmr::memory_resource {
public:
    static CLargeMemoryResource& Instance();

private:
    void* do_allocate(std::size_t bytes, std::size_t alignment) override;
    void do_deallocate(void* p, std::size_t bytes, std::size_t alignment) override;
    bool do_is_equal(const std::pmr::memory_resource& other) const noexcept override
    {
        return this == &other;
    }
};

}  // namespace loadcal
