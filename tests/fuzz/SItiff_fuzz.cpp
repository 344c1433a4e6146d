// Fuzz target: arbitrary bytes as a TIFF file, read through SImage and the
// TIFF driver. An image that opens is read from the top, and rows read at
// random must equal the same rows read in sequence. The scans are the
// target's own allocation, so it reads only images whose rows are small.
#include <cstdint>
#include <string>
#include <vector>

#include "image/SImage.h"
#include "tests/fuzz/ImageFuzz.h"

namespace {

constexpr std::uint64_t kMaxRowSamples = std::uint64_t{1} << 16;
constexpr std::uint32_t kMaxRows = 64;

SScan ScanOf(SImage image) {
  if (image->bits == 16) return SScan_Create16Bit(image->hRes, image->channels);
  if (image->bits == 1) return SScan_Create1Bit(image->hRes, image->channels);
  return SScan_Create(image->hRes, image->channels);
}

std::string Row(SScan scan) {
  std::string row;
  const std::size_t bytes = SScan_Bits(scan) == 1 ? (SScan_Length(scan) + 7) / 8 : SScan_Length(scan) * SScan_Bits(scan) / 8;
  for (std::uint32_t c = 0; c < SScan_Channels(scan); ++c) {
    const void* samples = SScan_Bits(scan) == 16 ? static_cast<const void*>(SScan_Samples16(scan, c)) : SScan_Samples(scan, c);
    row.append(static_cast<const char*>(samples), bytes);
  }
  return row;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string path = ImageFuzz_File(data, size, ".tif");
  SImage image = SImage_Open(path, 0, SImage_kRead, SImage_kTopBottom);
  if (image == nullptr) return 0;
  if (std::uint64_t{image->hRes} * image->channels <= kMaxRowSamples) {
    SScan scan = ScanOf(image), again = ScanOf(image);
    std::vector<std::string> rows;
    for (std::uint32_t n = 0; n < image->vRes && n < kMaxRows; ++n) {
      rows.push_back(SImage_ReadScan(image, scan) ? Row(scan) : std::string());
    }
    for (std::uint32_t n = static_cast<std::uint32_t>(rows.size()); n-- > 0;) {
      if (rows[n].empty()) continue;
      ImageFuzz_Check(SImage_RandomRead(image, image->vRes - 1 - n, again) && Row(again) == rows[n]);
    }
    SScan_Destroy(scan);
    SScan_Destroy(again);
  }
  SImage_Close(image);
  return 0;
}
