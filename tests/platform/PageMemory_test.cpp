#include "platform/PageMemory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <utility>

namespace {

using fluxgrid::platform::kSystemPageBlock;
using fluxgrid::platform::PageMemory;

constexpr std::size_t kHugePage = std::size_t{2} << 20;

bool allZero(const PageMemory& memory, std::size_t bytes) {
    const auto* first = static_cast<const unsigned char*>(memory.data());
    for (std::size_t i = 0; i < bytes; ++i) {
        if (first[i] != 0) {
            return false;
        }
    }
    return true;
}

void fillPattern(PageMemory& memory, std::size_t bytes) {
    auto* first = static_cast<unsigned char*>(memory.data());
    for (std::size_t i = 0; i < bytes; ++i) {
        first[i] = static_cast<unsigned char>(i * 7 + 3);
    }
}

bool holdsPattern(const PageMemory& memory, std::size_t bytes) {
    const auto* first = static_cast<const unsigned char*>(memory.data());
    for (std::size_t i = 0; i < bytes; ++i) {
        if (first[i] != static_cast<unsigned char>(i * 7 + 3)) {
            return false;
        }
    }
    return true;
}

TEST(PageMemory, NoBytesGiveAnEmptyBlock) {
    const PageMemory memory = PageMemory::allocate(0);
    EXPECT_FALSE(memory);
    EXPECT_EQ(nullptr, memory.data());
    EXPECT_EQ(0u, memory.size());
}

TEST(PageMemory, ASmallBlockComesZeroedFromTheHeap) {
    PageMemory memory = PageMemory::allocate(1000);
    ASSERT_TRUE(memory);
    EXPECT_EQ(1000u, memory.size());
    EXPECT_TRUE(allZero(memory, 1000));
    fillPattern(memory, 1000);
    EXPECT_TRUE(holdsPattern(memory, 1000));
}

TEST(PageMemory, ALargeBlockComesZeroedAndAlignedToTheHugePage) {
    const std::size_t bytes = kSystemPageBlock + 12345;
    PageMemory memory = PageMemory::allocate(bytes);
    ASSERT_TRUE(memory);
    EXPECT_GE(memory.size(), bytes);
    EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(memory.data()) % kHugePage);
    EXPECT_TRUE(allZero(memory, bytes));
    fillPattern(memory, bytes);
    EXPECT_TRUE(holdsPattern(memory, bytes));
}

TEST(PageMemory, ShrinkingKeepsTheFirstBytesAndGivesBackWholeHugePages) {
    PageMemory memory = PageMemory::allocate(5 * kHugePage);
    ASSERT_TRUE(memory);
    void* const first = memory.data();
    const std::size_t kept = kHugePage + 100;
    fillPattern(memory, kept);
    memory.shrink(kept);
    EXPECT_EQ(first, memory.data());
    EXPECT_EQ(2 * kHugePage, memory.size());
    EXPECT_TRUE(holdsPattern(memory, kept));
    memory.shrink(memory.size() + 1);
    EXPECT_EQ(2 * kHugePage, memory.size());
}

TEST(PageMemory, ShrinkingASmallBlockChangesNothing) {
    PageMemory memory = PageMemory::allocate(4000);
    fillPattern(memory, 4000);
    memory.shrink(10);
    EXPECT_EQ(4000u, memory.size());
    EXPECT_TRUE(holdsPattern(memory, 4000));
}

TEST(PageMemory, MovingHandsTheBlockOver) {
    PageMemory memory = PageMemory::allocate(kSystemPageBlock);
    void* const first = memory.data();
    fillPattern(memory, 4096);
    PageMemory moved(std::move(memory));
    EXPECT_FALSE(memory);  // NOLINT(bugprone-use-after-move): a moved block is empty
    EXPECT_EQ(first, moved.data());
    PageMemory assigned = PageMemory::allocate(100);
    assigned = std::move(moved);
    EXPECT_EQ(first, assigned.data());
    EXPECT_TRUE(holdsPattern(assigned, 4096));
}

TEST(PageMemory, MappedPagesComeAlignedAndGoBackInPieces) {
    const std::size_t bytes = 3 * kHugePage;
    void* block = fluxgrid::platform::mapPages(bytes);
    ASSERT_NE(nullptr, block);
    EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(block) % kHugePage);
    std::memset(block, 0x5A, bytes);
    EXPECT_EQ(kHugePage, fluxgrid::platform::unmapTail(block, bytes, 1));
    EXPECT_EQ(0x5A, static_cast<unsigned char*>(block)[kHugePage - 1]);
    fluxgrid::platform::unmapPages(block, kHugePage);
}

}  // namespace
