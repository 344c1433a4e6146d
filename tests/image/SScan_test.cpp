#include "image/SScan.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

TEST(SScan, ForksShareSamplesAndOwnNothing) {
  SScan a = SScan_Create(10, 2), b = SScan_Create(10, 1);
  SScan joined = SScan_Join(a, b);
  ASSERT_EQ(SScan_Channels(joined), 3u);
  SScan_Samples(joined, 2)[4] = 7;
  EXPECT_EQ(SScan_Samples(b, 0)[4], 7);

  SScan picked = SScan_Fork(joined, 0b101);  // channels 0 and 2
  ASSERT_EQ(SScan_Channels(picked), 2u);
  EXPECT_EQ(SScan_Samples(picked, 1), SScan_Samples(b, 0));
  SScan part = SScan_SubsectionFork(a, 3, 5);
  SScan_Samples(part, 1)[0] = 9;
  EXPECT_EQ(SScan_Samples(a, 1)[3], 9);
  // A fork can't grow or shrink; nothing outside its source is reachable.
  EXPECT_FALSE(SScan_AddChannels(part, 1));
  EXPECT_EQ(SScan_SubsectionFork(a, 6, 5), nullptr);
  SScan deep = SScan_Create16Bit(10, 1);
  EXPECT_EQ(SScan_Join(a, deep), nullptr);
  SScan_Destroy(deep);

  SScan_Destroy(part);
  SScan_Destroy(picked);
  SScan_Destroy(joined);
  EXPECT_TRUE(SScan_AddChannels(a, 1));
  EXPECT_EQ(SScan_AllChannelMask(a), 0b111u);
  EXPECT_FALSE(SScan_RemoveChannels(a, 3));  // one channel stays
  EXPECT_TRUE(SScan_RemoveChannels(a, 2));
  SScan_Destroy(a);
  SScan_Destroy(b);
  EXPECT_EQ(a, nullptr);
}

// Line work packed in bytes: a fork that ends inside a byte must not touch
// its source's samples beyond that end.
TEST(SScan, LineWorkForksRunsAndDepths) {
  SScan line = SScan_Create1Bit(20, 1);
  std::uint8_t* bits = SScan_Samples(line, 0);
  bits[0] = 0b00001111;
  bits[1] = 0b11111111;
  bits[2] = 0b10100000;
  EXPECT_EQ(SScan_SubsectionFork(line, 4, 4), nullptr);  // not on a byte
  SScan part = SScan_SubsectionFork(line, 8, 10);
  SScan zeros = SScan_Create1Bit(10, 1);
  ASSERT_TRUE(SScan_Convert(zeros, part, 1));
  EXPECT_EQ(bits[1], 0);
  EXPECT_EQ(bits[2], 0b00100000);  // samples 18 and 19 kept

  std::vector<std::uint32_t> runs;
  ASSERT_TRUE(SScan_Compress(line, 0, runs));
  EXPECT_EQ(runs, (std::vector<std::uint32_t>{4, 4, 10, 1, 1}));
  SScan again = SScan_Create1Bit(20, 1);
  ASSERT_TRUE(SScan_Uncompress(runs, again, 0));
  EXPECT_EQ(std::vector<std::uint8_t>(SScan_Samples(again, 0), SScan_Samples(again, 0) + 3),
            std::vector<std::uint8_t>(bits, bits + 3));
  EXPECT_FALSE(SScan_Uncompress({4, 4}, again, 0));

  // Depths: 1 bit spreads to the ends of the range, 16 bits round to 8.
  SScan deep = SScan_Create16Bit(20, 1), flat = SScan_Create(20, 1);
  ASSERT_TRUE(SScan_Convert(line, deep, 1));
  EXPECT_EQ(SScan_Samples16(deep, 0)[4], 65535);
  EXPECT_EQ(SScan_Samples16(deep, 0)[0], 0);
  SScan_Samples16(deep, 0)[1] = 32767;  // 127.498 of 255
  SScan_Samples16(deep, 0)[2] = 32768;  // 127.502
  ASSERT_TRUE(SScan_Convert(deep, flat, 1));
  EXPECT_EQ(SScan_Samples(flat, 0)[1], 127);
  EXPECT_EQ(SScan_Samples(flat, 0)[2], 128);
  EXPECT_EQ(SScan_Samples(flat, 0)[4], 255);
  for (SScan* s : {&line, &part, &zeros, &again, &deep, &flat}) SScan_Destroy(*s);
}

TEST(SScan, InterleavingMovesSelectedChannelsOnly) {
  SScan scan = SScan_Create16Bit(3, 4);
  const std::uint16_t in[] = {1, 2, 3, 4, 5, 6};  // two channels, three pixels
  ASSERT_TRUE(SScan_DecomposeInterleaved(scan, 0b1100, in, 2, 2));
  EXPECT_EQ(SScan_Samples16(scan, 2)[1], 3);
  EXPECT_EQ(SScan_Samples16(scan, 3)[2], 6);
  EXPECT_EQ(SScan_Samples16(scan, 0)[0], 0);

  std::uint16_t out[12] = {};
  std::fill(std::begin(out), std::end(out), 99);
  ASSERT_TRUE(SScan_ComposeInterleaved(scan, 0b1010, out, 4, 0));
  EXPECT_EQ(out[1], 0);   // channel 1, pixel 0
  EXPECT_EQ(out[11], 6);  // channel 3, pixel 2
  EXPECT_EQ(out[2], 99);  // channel 2 not selected
  // A selected channel the scan lacks is refused.
  EXPECT_FALSE(SScan_DecomposeInterleaved(scan, 0b10000, in, 2, 3));
  SScan_Destroy(scan);
}
