#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "automation/block_buffer.h"

namespace BrevView::test {
namespace {

using Buffer = platform::BlockBuffer<char, 6>;  // 64 per block, so that tests cross many blocks

TEST(BlockBufferTest, SingleElementsTakeConsecutiveAddressesAcrossBlocks)
{
    platform::BlockBuffer<int, 4> cells;
    for (int i = 0; i < 1000; ++i) {
        int* slot = nullptr;
        ASSERT_EQ(cells.Append(1, &slot), size_t(i));
        *slot = i * 3;
    }
    for (int i = 0; i < 1000; ++i)
        ASSERT_EQ(cells[size_t(i)], i * 3) << i;
    EXPECT_EQ(cells.size(), size_t(1000));
}

TEST(BlockBufferTest, ARunNeverStraddlesABlockAndKeepsItsContentsWhileOthersAreAdded)
{
    Buffer buffer;
    std::vector<std::pair<size_t, std::string>> runs;
    for (int i = 0; i < 300; ++i) {
        const std::string text = "run-" + std::to_string(i) + std::string(size_t(i % 50), 'x');
        char* room = nullptr;
        const size_t at = buffer.Append(text.size(), &room);
        std::memcpy(room, text.data(), text.size());
        // A run starts and ends in one block.
        EXPECT_EQ(at / Buffer::kBlock, (at + text.size() - 1) / Buffer::kBlock) << i;
        runs.emplace_back(at, text);
    }
    for (const auto& [at, text] : runs)
        ASSERT_EQ(std::string(buffer.At(at), text.size()), text);
}

TEST(BlockBufferTest, ARunLongerThanABlockIsContiguousAndTheNextRunStartsAfterIt)
{
    Buffer buffer;
    char* room = nullptr;
    const size_t first = buffer.Append(10, &room);
    std::memcpy(room, "0123456789", 10);
    std::string big(1000, 'b');
    big.back() = 'e';
    const size_t at = buffer.Append(big.size(), &room);
    std::memcpy(room, big.data(), big.size());
    const size_t next = buffer.Append(3, &room);
    std::memcpy(room, "end", 3);

    EXPECT_EQ(std::string(buffer.At(first), 10), "0123456789");
    EXPECT_EQ(std::string(buffer.At(at), big.size()), big);
    EXPECT_GE(next, at + big.size());
    EXPECT_EQ(std::string(buffer.At(next), 3), "end");

    buffer.Clear();
    EXPECT_EQ(buffer.size(), size_t(0));
    EXPECT_EQ(buffer.Append(4, &room), size_t(0));
}

}  // namespace
}  // namespace BrevView::test
