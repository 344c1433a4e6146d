#include "image/SItiff.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include <cstdint>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "image/SImage.h"
#include "tests/support/TestFiles.h"

namespace {

const bool driver = [] {
  SItiff_Init();
  return true;
}();

constexpr std::uint32_t kWidth = 150, kHeight = 70;

// The pattern of every test image, line 0 being the file's first (top) line.
unsigned Value(std::uint32_t x, std::uint32_t line, std::uint32_t c, int bits) {
  if (bits == 1) return (x / 3 + line + c) % 2;
  if (bits == 8) return (x * 5 + line * 3 + c * 60) & 0xFFu;
  return (x * 517 + line * 263 + c * 9000) & 0xFFFFu;
}

// A source made with libtiff: uncompressed strips, planes together or apart
// (tiffcp can't part 16-bit planes itself), resolution 300 per inch.
void WriteSource(const std::string& path, std::uint16_t samples, std::uint16_t bits, bool apart = false,
                 const std::vector<std::uint8_t>& profile = {}) {
  TIFF* tif = TIFFOpen(path.c_str(), "w");
  ASSERT_NE(tif, nullptr);
  TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, kWidth);
  TIFFSetField(tif, TIFFTAG_IMAGELENGTH, kHeight);
  TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, samples);
  TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, bits);
  TIFFSetField(tif, TIFFTAG_PLANARCONFIG, apart ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
  TIFFSetField(tif, TIFFTAG_PHOTOMETRIC,
               samples == 3 ? PHOTOMETRIC_RGB : samples == 4 ? PHOTOMETRIC_SEPARATED : PHOTOMETRIC_MINISBLACK);
  if (samples == 2) {
    const std::uint16_t extra = EXTRASAMPLE_UNSPECIFIED;
    TIFFSetField(tif, TIFFTAG_EXTRASAMPLES, 1, &extra);
  }
  TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, 16);
  TIFFSetField(tif, TIFFTAG_XRESOLUTION, 300.0f);
  TIFFSetField(tif, TIFFTAG_YRESOLUTION, 150.0f);
  TIFFSetField(tif, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
  if (!profile.empty()) TIFFSetField(tif, TIFFTAG_ICCPROFILE, std::uint32_t(profile.size()), profile.data());
  std::vector<std::uint8_t> row(TIFFScanlineSize(tif));
  const std::uint16_t planes = apart ? samples : 1, perPlane = apart ? 1 : samples;
  for (std::uint16_t plane = 0; plane < planes; ++plane) {
    for (std::uint32_t line = 0; line < kHeight; ++line) {
      std::fill(row.begin(), row.end(), 0);
      for (std::uint32_t x = 0; x < kWidth; ++x) {
        for (std::uint32_t c = 0; c < perPlane; ++c) {
          const unsigned v = Value(x, line, plane + c, bits), i = x * perPlane + c;
          if (bits == 1) row[i / 8] |= static_cast<std::uint8_t>(v << (7 - i % 8));
          if (bits == 8) row[i] = static_cast<std::uint8_t>(v);
          if (bits == 16) reinterpret_cast<std::uint16_t*>(row.data())[i] = static_cast<std::uint16_t>(v);
        }
      }
      ASSERT_GE(TIFFWriteScanline(tif, row.data(), line, plane), 0);
    }
  }
  TIFFClose(tif);
}

void Tiffcp(const std::string& options, const std::string& from, const std::string& to) {
  std::vector<std::string> argv{"/usr/bin/env", "tiffcp"};
  std::istringstream words(options);
  for (std::string word; words >> word;) argv.push_back(word);
  argv.push_back(from);
  argv.push_back(to);
  const RunResult result = RunProgram(argv, {});
  ASSERT_EQ(result.status, 0) << options << ": " << result.err;
}

SScan ScanOf(SImage image, std::uint32_t length) {
  if (image->bits == 16) return SScan_Create16Bit(length, image->channels);
  if (image->bits == 1) return SScan_Create1Bit(length, image->channels);
  return SScan_Create(length, image->channels);
}

unsigned At(SScan scan, std::uint32_t c, std::uint32_t x) {
  if (SScan_Bits(scan) == 16) return SScan_Samples16(scan, c)[x];
  if (SScan_Bits(scan) == 1) return (SScan_Samples(scan, c)[x / 8] >> (7 - x % 8)) & 1u;
  return SScan_Samples(scan, c)[x];
}

// Reads the file top to bottom and compares every sample with the pattern.
void ExpectPattern(const std::string& path, std::uint16_t samples, int bits, const std::string& what) {
  SImage image = SImage_Open(path, 0, SImage_kRead, SImage_kTopBottom);
  ASSERT_NE(image, nullptr) << what << " error " << int(SImage_imgError);
  ASSERT_EQ(image->hRes, kWidth);
  ASSERT_EQ(image->vRes, kHeight);
  ASSERT_EQ(image->channels, samples);
  ASSERT_EQ(image->bits, bits);
  SScan scan = ScanOf(image, kWidth);
  for (std::uint32_t line = 0; line < kHeight; ++line) {
    ASSERT_TRUE(SImage_ReadScan(image, scan)) << what << " line " << line;
    for (std::uint32_t c = 0; c < samples; ++c) {
      for (std::uint32_t x = 0; x < kWidth; ++x) {
        ASSERT_EQ(At(scan, c, x), Value(x, line, c, bits)) << what << " x " << x << " line " << line << " c " << c;
      }
    }
  }
  EXPECT_FALSE(SImage_ReadScan(image, scan));
  SScan_Destroy(scan);
  SImage_Close(image);
}

class SItiffTest : public ::testing::Test {
 protected:
  std::string Path(const std::string& name) const { return dir_.Path() + "/" + name; }
  TempDir dir_;
};

}  // namespace

// Strips and tiles, planes together and apart, the usual compressions and
// both byte orders, as tiffcp writes them: every variant reads as the plain
// copy does.
TEST_F(SItiffTest, EveryLayoutReadsLikeThePlainCopy) {
  struct Variant {
    bool apart;  // planes apart in the source
    const char* options;
  };
  const Variant variants[] = {
      {false, "-c none -p contig -s"},     {false, "-c lzw -r 7"},
      {false, "-c zip:2 -t -w 32 -l 16"},  {true, "-c packbits -r 5"},
      {false, "-c none -t -w 16 -l 16 -B"}, {true, "-c none -t -w 16 -l 16"},
  };
  for (std::uint16_t bits : {8, 16}) {
    for (std::uint16_t samples = 1; samples <= 4; ++samples) {
      for (const Variant& v : variants) {
        // tiffcp mixes up 16-bit planes when it cuts them into tiles.
        if (v.apart && bits == 16 && std::string(v.options).find("-t") != std::string::npos) continue;
        const std::string source = Path("source.tif"), copy = Path("copy.tif");
        WriteSource(source, samples, bits, v.apart);
        Tiffcp(v.options, source, copy);
        ExpectPattern(copy, samples, bits, std::string(v.options) + " " + std::to_string(bits) + "x" + std::to_string(samples));
      }
    }
  }
  WriteSource(Path("line.tif"), 1, 1);
  for (const std::string variant : {"-c none", "-c g4", "-c packbits -t -w 32 -l 16"}) {
    Tiffcp(variant, Path("line.tif"), Path("line-copy.tif"));
    ExpectPattern(Path("line-copy.tif"), 1, 1, "1 bit " + variant);
  }
}

TEST_F(SItiffTest, RowsFromTheBottomAndAtRandomAndTheHeader) {
  const std::vector<std::uint8_t> profile(300, 0x5A);
  WriteSource(Path("source.tif"), 3, 8, false, profile);
  Tiffcp("-c lzw -r 9", Path("source.tif"), Path("lzw.tif"));
  SImage image = SImage_Open(Path("lzw.tif"), 0, SImage_kRead, SImage_kBottomTop);
  ASSERT_NE(image, nullptr);
  EXPECT_NEAR(image->resX, 300 / 2.54, 1e-3);
  EXPECT_NEAR(image->resY, 150 / 2.54, 1e-3);
  std::vector<std::uint8_t> got;
  ASSERT_TRUE(SImage_GetEmbeddedProfile(image, got));
  EXPECT_EQ(got, profile);
  SScan scan = SScan_Create(kWidth, 3);
  ASSERT_TRUE(SImage_ReadScan(image, scan));  // row 0 is the file's last line
  EXPECT_EQ(SScan_Samples(scan, 2)[7], Value(7, kHeight - 1, 2, 8));
  ASSERT_TRUE(SImage_SkipScan(image, kHeight - 2));
  ASSERT_TRUE(SImage_ReadScan(image, scan));
  EXPECT_EQ(SScan_Samples(scan, 0)[149], Value(149, 0, 0, 8));
  EXPECT_FALSE(SImage_ReadScan(image, scan));
  EXPECT_EQ(SImage_imgError, 1);
  for (std::uint32_t row : {3u, 60u, 4u, 69u, 0u}) {
    ASSERT_TRUE(SImage_RandomRead(image, row, scan));
    EXPECT_EQ(SScan_Samples(scan, 1)[100], Value(100, kHeight - 1 - row, 1, 8)) << row;
  }
  EXPECT_FALSE(SImage_RandomRead(image, kHeight, scan));
  SScan column = SScan_Create(kHeight, 3);
  EXPECT_FALSE(SImage_RandomColumnRead(image, 0, column));
  SScan_Destroy(column);
  SScan_Destroy(scan);
  SImage_Close(image);
  EXPECT_EQ(SImage_Open(Path("lzw.tif"), 0, SImage_kRead, SImage_kLeftRight), nullptr);
  EXPECT_EQ(SImage_imgError, 9);

  // A resolution in other units than inches and centimetres isn't one.
  TIFF* tif = TIFFOpen(Path("lzw.tif").c_str(), "r+");
  TIFFSetField(tif, TIFFTAG_RESOLUTIONUNIT, RESUNIT_NONE);
  TIFFRewriteDirectory(tif);
  TIFFClose(tif);
  image = SImage_Open(Path("lzw.tif") + "@40", 0, SImage_kRead, SImage_kTopBottom);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->resX, 40.0);
  SImage_Close(image);
}

// Damaged and lying files end in an error, never in a crash or an
// allocation of the size a header claims.
TEST_F(SItiffTest, DamagedAndLyingFilesGiveErrors) {
  WriteSource(Path("source.tif"), 4, 16);
  Tiffcp("-c zip -r 10", Path("source.tif"), Path("zip.tif"));
  const std::string whole = FileText(Path("zip.tif"));
  // The directory lies at the end; wipe out data in the middle of the strips
  // and keep the directory.
  std::string cut = whole;
  const std::size_t hole = 9000;
  std::fill(cut.begin() + 3000, cut.begin() + 3000 + hole, '\0');
  PutFile(Path("cut.tif"), cut);
  SImage image = SImage_Open(Path("cut.tif"), 0, SImage_kRead, SImage_kTopBottom);
  ASSERT_NE(image, nullptr);
  SScan scan = SScan_Create16Bit(kWidth, 4);
  bool failed = false;
  for (std::uint32_t line = 0; line < kHeight && !failed; ++line) failed = !SImage_ReadScan(image, scan);
  EXPECT_TRUE(failed);
  EXPECT_EQ(SImage_imgError, 3);
  SImage_Close(image);
  SScan_Destroy(scan);

  PutFile(Path("short.tif"), whole.substr(0, 40));
  EXPECT_EQ(SImage_Open(Path("short.tif"), 0, SImage_kRead, SImage_kTopBottom), nullptr);
  EXPECT_EQ(SImage_imgError, 6);

  // Headers that claim what the file can't hold: rows of gigabytes, a strip
  // larger than the buffers, float samples.
  struct Lie {
    std::uint32_t width, height;
    std::uint16_t bits, format;
    std::uint8_t openError, readError;
  };
  for (const Lie& lie : {Lie{20000000, 10, 16, SAMPLEFORMAT_UINT, 8, 0},
                         Lie{20000, 20000, 8, SAMPLEFORMAT_UINT, 0, 3},
                         Lie{10, 10, 32, SAMPLEFORMAT_IEEEFP, 9, 0}}) {
    TIFF* tif = TIFFOpen(Path("lie.tif").c_str(), "w");
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, lie.width);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, lie.height);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, lie.bits);
    TIFFSetField(tif, TIFFTAG_SAMPLEFORMAT, lie.format);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 4);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_SEPARATED);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, lie.height);
    char junk[64] = "not what the header says";
    TIFFWriteRawStrip(tif, 0, junk, sizeof junk);
    TIFFClose(tif);
    image = SImage_Open(Path("lie.tif"), 0, SImage_kRead, SImage_kTopBottom);
    EXPECT_EQ(image == nullptr, lie.openError != 0) << lie.width;
    if (image == nullptr) {
      EXPECT_EQ(SImage_imgError, lie.openError) << lie.width;
      continue;
    }
    SScan row = SScan_Create(lie.width, 4);
    EXPECT_FALSE(SImage_ReadScan(image, row));
    EXPECT_EQ(SImage_imgError, lie.readError);
    SScan_Destroy(row);
    SImage_Close(image);
  }
}

TEST_F(SItiffTest, WrittenImagesReadBackAndPassTheTools) {
  for (std::uint32_t channels : {1u, 4u, 5u}) {
    const std::string path = Path("out" + std::to_string(channels) + ".tif");
    SImage image = SImage_Create(path + "@40x20", kWidth, kHeight, channels, SImage_kTopBottom);
    ASSERT_NE(image, nullptr);
    SScan scan = SScan_Create(kWidth, channels);
    for (std::uint32_t line = 0; line + 1 < kHeight; ++line) {  // the last line is left to the close
      for (std::uint32_t c = 0; c < channels; ++c) {
        for (std::uint32_t x = 0; x < kWidth; ++x) SScan_Samples(scan, c)[x] = static_cast<std::uint8_t>(Value(x, line, c, 8));
      }
      ASSERT_TRUE(SImage_WriteScan(image, scan));
    }
    ASSERT_TRUE(SImage_Close(image));
    EXPECT_EQ(RunProgram({"/usr/bin/env", "tiffinfo", path}, {}).status, 0);
    Tiffcp("-c lzw", path, Path("again.tif"));
    image = SImage_Open(Path("again.tif"), 0, SImage_kRead, SImage_kBottomTop);
    ASSERT_NE(image, nullptr);
    EXPECT_NEAR(image->resX, 40.0, 1e-4);
    EXPECT_NEAR(image->resY, 20.0, 1e-4);
    ASSERT_TRUE(SImage_ReadScan(image, scan));
    EXPECT_EQ(SScan_Samples(scan, channels - 1)[5], 0);  // the line not written
    ASSERT_TRUE(SImage_RandomRead(image, kHeight - 1, scan));
    EXPECT_EQ(SScan_Samples(scan, channels - 1)[5], Value(5, 0, channels - 1, 8));
    SScan_Destroy(scan);
    SImage_Close(image);
  }
  EXPECT_EQ(SImage_Create(Path("columns.tif"), 10, 10, 1, SImage_kLeftRight), nullptr);
  EXPECT_EQ(SImage_imgError, 9);
  EXPECT_FALSE(std::filesystem::exists(Path("columns.tif")));
}
