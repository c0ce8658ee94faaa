// Large blocks for trees: whole huge pages on huge-page boundaries, every byte usable.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory_resource>
#include <vector>

#include "document/LargeMemory.h"

using namespace loadcal;

TEST(LargeMemory, BlocksAreAlignedWholeAndGivenBackInAnyOrder)
{
    constexpr std::size_t kHuge = std::size_t{2} << 20;
    std::pmr::memory_resource& memory = CLargeMemoryResource::Instance();
    const std::size_t sizes[] = {1000, kHuge - 1, kHuge, kHuge + 1, 5 * kHuge + 123, 17 << 20};
    std::vector<void*> blocks;
    for (const std::size_t size : sizes) {
        void* p = memory.allocate(size, 8);
        ASSERT_NE(p, nullptr);
        if (size >= kHuge) {
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % kHuge, 0U) << size;
        }
        std::memset(p, 0x5A, size);  // every byte of the block is there
        blocks.push_back(p);
    }
    // Blocks do not overlap: each still holds its own pattern after the others are written.
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        static_cast<unsigned char*>(blocks[i])[0] = static_cast<unsigned char>(i);
    }
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        EXPECT_EQ(std::size_t{static_cast<unsigned char*>(blocks[i])[0]}, i);
        EXPECT_EQ(static_cast<unsigned char*>(blocks[i])[sizes[i] - 1], 0x5A);
    }
    for (std::size_t i = blocks.size(); i-- > 0;) {
        memory.deallocate(blocks[i], sizes[i], 8);
    }
    // A tree's arena over it: many blocks taken and released as a whole.
    {
        std::pmr::monotonic_buffer_resource arena(3 << 20, &memory);
        for (int i = 0; i < 1000; ++i) {
            std::memset(arena.allocate(20000, 8), i & 0xFF, 20000);
        }
    }
}
