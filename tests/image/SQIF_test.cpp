#include "image/SQIF.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "image/SImage.h"
#include "image/SImgGrad.h"
#include "tests/support/TestFiles.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using Tags = std::vector<std::pair<std::string, std::string>>;

std::uint8_t Sample(std::uint32_t x, std::uint32_t y, std::uint32_t c) {
  return static_cast<std::uint8_t>(x * 7 + y * 13 + c * 101);
}

void Le(Bytes& b, std::size_t at, std::uint32_t value, int width) {
  for (int i = 0; i < width; ++i) b[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
}

// A QIF laid out by hand from the format's description: the header, every
// sample where the format puts it (stored as `stored` says), the tags.
Bytes HandQif(std::uint32_t w, std::uint32_t h, std::uint32_t ch, const Tags& tags = {},
              std::uint8_t (*stored)(std::uint32_t, std::uint32_t, std::uint32_t) = Sample) {
  const std::uint32_t across = (w + 127) / 128, down = (h + 47) / 48;
  const std::uint32_t tagList = 1024 + down * across * ch * 6144;
  Bytes b(tagList, 0);
  // Offset, value and width of each header field.
  for (const auto& [at, value, width] : std::initializer_list<std::tuple<std::size_t, std::uint32_t, int>>{
           {0, 25892, 2}, {2, 1, 2}, {4, w, 2}, {6, h, 2}, {8, across, 2}, {10, down, 2}, {12, 128, 2},
           {14, 48, 2}, {16, ch, 2}, {18, tagList, 4}, {22, 1024, 4}})
    Le(b, at, value, width);
  for (std::uint32_t c = 0; c < ch; ++c) {
    for (std::uint32_t y = 0; y < h; ++y) {
      for (std::uint32_t x = 0; x < w; ++x) {
        b[1024 + (((x / 128) + (y / 48) * across) * ch + c) * 6144 + (y % 48) * 128 + (x % 128)] = stored(x, y, c);
      }
    }
  }
  for (const auto& [name, value] : tags) {
    const std::size_t at = b.size();
    b.resize(at + 2 + 128, 0);
    Le(b, at, static_cast<std::uint32_t>(value.size()), 2);
    std::copy(name.begin(), name.end(), b.begin() + static_cast<std::ptrdiff_t>(at + 2));
    b.insert(b.end(), value.begin(), value.end());
  }
  b.push_back(0);
  b.push_back(0);
  return b;
}

Bytes FileBytes(const std::string& path) {
  const std::string text = FileText(path);
  return Bytes(text.begin(), text.end());
}

// Checks every way of reading pixels against Sample.
void ExpectPixels(SQIF qif, std::uint32_t w, std::uint32_t h, std::uint32_t ch) {
  Bytes row(w), column(h);
  for (std::uint32_t c = 0; c < ch; ++c) {
    for (std::uint32_t y = 0; y < h; y += 7) {
      ASSERT_TRUE(SQIF_GetScan(qif, 0, y, w, c, row.data()));
      for (std::uint32_t x = 0; x < w; ++x) ASSERT_EQ(row[x], Sample(x, y, c)) << x << "," << y << "," << c;
    }
    ASSERT_TRUE(SQIF_GetScan(qif, 125, 3, 5, c, row.data()));  // across a tile edge
    EXPECT_EQ(row[4], Sample(129, 3, c));
    ASSERT_TRUE(SQIF_GetColumn(qif, w - 1, 0, h, c, column.data()));
    for (std::uint32_t y = 0; y < h; ++y) ASSERT_EQ(column[y], Sample(w - 1, y, c)) << y;
    std::uint8_t pixel = 0;
    ASSERT_TRUE(SQIF_GetPixel(qif, 128, 48, c, pixel));
    EXPECT_EQ(pixel, Sample(128, 48, c));
  }
}

class SQIFTest : public ::testing::Test {
 protected:
  void TearDown() override { ::unsetenv("TV_NO_MMAP"); }
  TempDir dir_;
  std::string Path(const std::string& name) const { return dir_.Path() + "/" + name; }
};

}  // namespace

TEST_F(SQIFTest, HandWrittenFileReadsMappedCachedAndBuffered) {
  const std::string path = Path("hand.qif");
  WriteBytes(path, HandQif(130, 50, 3, {{"CREATOR", "scanner 7"}, {"NOTE", std::string(300, 'n')}}));
  for (const char* mapping : {"off", "on"}) {
    ::setenv("TV_NO_MMAP", mapping, 1);
    SQIF qif = SQIF_Open(path, false);
    ASSERT_NE(qif, nullptr) << mapping;
    const SQIF_Header& h = SQIF_GetHeader(qif);
    EXPECT_EQ(std::tuple(h.width, h.height, h.tilesAcross, h.tilesDown, h.channels), std::tuple(130, 50, 2, 2, 3));
    ExpectPixels(qif, 130, 50, 3);
    Bytes data;
    ASSERT_TRUE(SQIF_GetTag(qif, "CREATOR", data));
    EXPECT_EQ(std::string(data.begin(), data.end()), "scanner 7");
    EXPECT_EQ(SQIF_TagSize(qif, "NOTE"), 300);
    EXPECT_EQ(SQIF_TagSize(qif, "NONE"), -1);
    // Opened for reading: nothing may change.
    EXPECT_FALSE(SQIF_PutPixel(qif, 0, 0, 0, 1));
    EXPECT_EQ(SImage_imgError, 9);
    Bytes scratch(256);
    EXPECT_FALSE(SQIF_GetScan(qif, 0, 0, 1, 3, scratch.data()));
    EXPECT_EQ(SImage_imgError, 9);
    EXPECT_FALSE(SQIF_GetScan(qif, 100, 49, 31, 0, scratch.data()));
    EXPECT_EQ(SImage_imgError, 1);
    EXPECT_TRUE(SQIF_Close(qif));
  }

  SQIF buffered = SQIF_OpenBuffered(path, false);
  ASSERT_NE(buffered, nullptr);
  Bytes tile(kSQIFTileSize);
  ASSERT_TRUE(SQIF_ReadTile(buffered, 1, 1, 2, tile.data()));
  EXPECT_EQ(tile[(49 % 48) * 128 + (129 % 128)], Sample(129, 49, 2));
  std::uint8_t pixel;
  EXPECT_FALSE(SQIF_GetPixel(buffered, 0, 0, 0, pixel));
  EXPECT_EQ(SImage_imgError, 10);
  EXPECT_TRUE(SQIF_Close(buffered));
}

// Every writer makes the file the format describes, byte for byte; edge
// sizes give the tile counts the format's rounding gives.
TEST_F(SQIFTest, WritersProduceTheLayoutExactly) {
  struct Size {
    std::uint32_t w, h, ch;
  };
  for (const Size& s : {Size{129, 49, 2}, Size{1, 1, 1}, Size{128, 48, 4}}) {
    for (int writer = 0; writer < 3; ++writer) {
      ::setenv("TV_NO_MMAP", writer == 1 ? "on" : "off", 1);
      const std::string path = Path("new" + std::to_string(writer) + ".qif");
      SQIF qif = writer == 2 ? SQIF_CreateBuffered(path, s.w, s.h, s.ch) : SQIF_Create(path, s.w, s.h, s.ch);
      ASSERT_NE(qif, nullptr);
      ASSERT_TRUE(SQIF_PutTag(qif, "CREATOR", {'m', 'e'}));
      Bytes tile(kSQIFTileSize);
      for (std::uint32_t c = 0; c < s.ch; ++c) {
        for (std::uint32_t ty = 0; ty < (s.h + 47) / 48; ++ty) {
          for (std::uint32_t tx = 0; tx < (s.w + 127) / 128; ++tx) {
            // Only the image's own samples are set; edge tiles keep zeros.
            std::fill(tile.begin(), tile.end(), 0);
            for (std::uint32_t y = ty * 48; y < std::min(s.h, ty * 48 + 48); ++y) {
              for (std::uint32_t x = tx * 128; x < std::min(s.w, tx * 128 + 128); ++x) {
                tile[(y % 48) * 128 + x % 128] = Sample(x, y, c);
              }
            }
            ASSERT_TRUE(SQIF_WriteTile(qif, tx, ty, c, tile.data()));
          }
        }
      }
      ASSERT_TRUE(SQIF_Close(qif));
      EXPECT_EQ(FileBytes(path), HandQif(s.w, s.h, s.ch, {{"CREATOR", "me"}})) << s.w << " writer " << writer;
    }
  }
  // Scans written by rows and columns land in the same places.
  const std::string path = Path("scans.qif");
  SQIF qif = SQIF_Create(path, 129, 49, 2);
  Bytes row(129), column(49);
  for (std::uint32_t c = 0; c < 2; ++c) {
    for (std::uint32_t y = 0; y < 49; ++y) {
      for (std::uint32_t x = 0; x < 129; ++x) row[x] = Sample(x, y, c);
      ASSERT_TRUE(SQIF_PutScan(qif, 0, y, 128, c, row.data()));
    }
    for (std::uint32_t y = 0; y < 49; ++y) column[y] = Sample(128, y, c);
    ASSERT_TRUE(SQIF_PutColumn(qif, 128, 0, 49, c, column.data()));
  }
  ASSERT_TRUE(SQIF_Close(qif));
  EXPECT_EQ(FileBytes(path), HandQif(129, 49, 2));
}

TEST_F(SQIFTest, DamagedFilesGiveTheirErrors) {
  struct Damage {
    const char* what;
    std::size_t at;
    std::uint32_t value;
    int width;
    std::uint8_t error;
  };
  const Bytes good = HandQif(130, 50, 2, {{"CREATOR", "x"}});
  const std::uint32_t tagList = 1024 + 4 * 2 * 6144;
  for (const Damage& d : {Damage{"magic", 0, 25893, 2, 4}, Damage{"version", 2, 2, 2, 6},
                          Damage{"tile width", 12, 64, 2, 7}, Damage{"tile height", 14, 64, 2, 7},
                          Damage{"tiles across", 8, 3, 2, 7}, Damage{"width beyond the tiles", 4, 300, 2, 7},
                          Damage{"tag list offset", 18, tagList + 2, 4, 7}, Damage{"channels", 16, 0, 2, 7},
                          Damage{"data offset", 22, 10, 4, 7}, Damage{"tag size past the end", tagList, 999, 2, 1}}) {
    Bytes bad = good;
    Le(bad, d.at, d.value, d.width);
    WriteBytes(Path("bad.qif"), bad);
    EXPECT_EQ(SQIF_Open(Path("bad.qif"), false), nullptr) << d.what;
    EXPECT_EQ(SImage_imgError, d.error) << d.what;
  }
  // Cut short: in the pixels, in the tag list, before its end mark, inside
  // the header (with and without the magic).
  for (std::size_t length : {std::size_t{tagList - 1}, std::size_t{tagList + 40}, good.size() - 1, std::size_t{10}}) {
    WriteBytes(Path("short.qif"), Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length)));
    EXPECT_EQ(SQIF_Open(Path("short.qif"), false), nullptr) << length;
    EXPECT_EQ(SImage_imgError, 1) << length;
  }
  WriteBytes(Path("junk.qif"), {'G', 'I', 'F', '8'});
  EXPECT_EQ(SQIF_Open(Path("junk.qif"), false), nullptr);
  EXPECT_EQ(SImage_imgError, 4);
  EXPECT_EQ(SQIF_Open(Path("missing.qif"), false), nullptr);
  EXPECT_EQ(SImage_imgError, 6);
}

TEST_F(SQIFTest, SizesBeyondTheFormatAreRefusedWithoutAFile) {
  const std::string path = Path("big.qif");
  // 600000 tiles are allowed (1 channel, about 3.7 GB); one row more is not,
  // and neither is a tag list offset beyond 32 bits.
  for (const auto& [w, h, ch] : {std::tuple{65535u, 48u * 1171 + 1, 1u}, {65535u, 40000u, 2u}, {65536u, 1u, 1u}}) {
    EXPECT_EQ(SQIF_Create(path, w, h, ch), nullptr) << w << "x" << h;
    EXPECT_EQ(SImage_imgError, 8);
  }
  EXPECT_EQ(SQIF_Create(path, 10, 10, 65), nullptr);
  EXPECT_EQ(SImage_imgError, 9);
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(SQIFTest, TagsAreRewrittenAndBlackIsWhiteTurnsSamples) {
  const std::string path = Path("tags.qif");
  auto inverted = [](std::uint32_t x, std::uint32_t y, std::uint32_t c) {
    return static_cast<std::uint8_t>(255 - Sample(x, y, c));
  };
  WriteBytes(path, HandQif(130, 50, 2, {{"BLACKISWHITE", "yes"}, {"OLD", "12345"}}, inverted));
  SQIF qif = SQIF_Open(path, true);
  ASSERT_NE(qif, nullptr);
  ExpectPixels(qif, 130, 50, 2);
  // A tag can't be empty: its size 0 would end the list.
  EXPECT_FALSE(SQIF_PutTag(qif, "EMPTY", {}));
  EXPECT_EQ(SImage_imgError, 9);
  EXPECT_FALSE(SQIF_PutTag(qif, "HUGE", Bytes(65536, 1)));
  EXPECT_FALSE(SQIF_PutTag(qif, std::string(129, 'n'), {1}));
  ASSERT_TRUE(SQIF_PutPixel(qif, 3, 4, 1, 10));
  ASSERT_TRUE(SQIF_DestroyTag(qif, "OLD"));
  EXPECT_FALSE(SQIF_DestroyTag(qif, "OLD"));
  ASSERT_TRUE(SImgGrad_QIFputGrdLUTs(qif, {SImgGrad_LUT{}, SImgGrad_LUT{{7}}}));
  ASSERT_TRUE(SQIF_Close(qif));

  // The list on disk now holds the other two tags and ends the file.
  const Bytes bytes = FileBytes(path);
  const std::size_t tagList = 1024 + 4 * 2 * 6144;
  EXPECT_EQ(bytes.size(), tagList + 2 * (2 + 128) + 3 + 512 + 2);
  EXPECT_EQ(bytes[1024 + (0 * 2 + 1) * 6144 + 4 * 128 + 3], 255 - 10);  // stored turned round
  qif = SQIF_Open(path, false);
  ASSERT_NE(qif, nullptr);
  std::vector<std::string> names;
  NameStr name;
  for (bool more = SQIF_GetFirstTag(qif, name); more; more = SQIF_GetNextTag(qif, name)) names.push_back(name);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"BLACKISWHITE", "GRADATION"}));
  std::vector<SImgGrad_LUT> luts;
  ASSERT_TRUE(SImgGrad_QIFgetGrdLUTs(qif, luts));
  ASSERT_EQ(luts.size(), 2u);
  EXPECT_EQ(luts[1][0], 7);
  std::uint8_t pixel;
  ASSERT_TRUE(SQIF_GetPixel(qif, 3, 4, 1, pixel));
  EXPECT_EQ(pixel, 10);
  SQIF_Close(qif);
}
