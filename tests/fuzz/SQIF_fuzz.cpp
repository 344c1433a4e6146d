// Fuzz target: arbitrary bytes as a QIF file, read through SImage. Mapped
// and cached reading must give the same samples, columns the samples of the
// rows, every tag its size; the buffered variant must take the same files.
//
// A QIF's pixels make it larger than the mutations reach, so an input whose
// first byte is not 0 is expanded: its next 26 bytes are the header, the
// pixels the header claims (up to 4 MB) are filled in with a pattern, and
// the rest follows as the tag list. An input that begins with 0 is the file
// as it stands.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "image/SImage.h"
#include "image/SQIF.h"
#include "tests/fuzz/ImageFuzz.h"

namespace {

constexpr std::uint64_t kMaxExpanded = std::uint64_t{4} << 20;

std::vector<std::uint8_t> Expand(const std::uint8_t* data, std::size_t size) {
  if (size == 0 || data[0] == 0) return std::vector<std::uint8_t>(data + std::min<std::size_t>(size, 1), data + size);
  std::vector<std::uint8_t> file(data + 1, data + std::min<std::size_t>(size, 1 + kSQIFHeaderSize));
  file.resize(kSQIFHeaderSize, 0);
  const SQIF_Header header = SQIF_DecodeHeader(file.data());
  if (header.tagListOffset > kSQIFHeaderSize && header.tagListOffset <= kMaxExpanded) {
    file.resize(header.tagListOffset, 0);
    for (std::size_t i = std::max<std::size_t>(header.dataOffset, kSQIFHeaderSize); i < file.size(); ++i) {
      file[i] = static_cast<std::uint8_t>(i * 31 + i / 6144);
    }
  }
  if (size > 1 + kSQIFHeaderSize) file.insert(file.end(), data + 1 + kSQIFHeaderSize, data + size);
  return file;
}

// Everything an image yields, or its error.
std::string ReadAll(const std::string& path) {
  SImage image = SImage_Open(path, 0, SImage_kRead, SImage_kBottomTop);
  if (image == nullptr) return "error " + std::to_string(SImage_imgError);
  std::string all;
  SScan row = SScan_Create(image->hRes, image->channels), column = SScan_Create(image->vRes, image->channels);
  for (std::uint32_t y = 0; y < image->vRes; ++y) {
    ImageFuzz_Check(SImage_ReadScan(image, row));
    for (std::uint32_t c = 0; c < image->channels; ++c) {
      all.append(reinterpret_cast<const char*>(SScan_Samples(row, c)), image->hRes);
    }
  }
  ImageFuzz_Check(!SImage_ReadScan(image, row) && SImage_imgError == 1);
  for (std::uint32_t x : {0u, image->hRes / 2, image->hRes - 1}) {
    ImageFuzz_Check(SImage_RandomColumnRead(image, x, column));
    for (std::uint32_t c = 0; c < image->channels; ++c) {
      for (std::uint32_t y = 0; y < image->vRes; ++y) {
        const std::size_t at = (std::size_t{y} * image->channels + c) * image->hRes + x;
        ImageFuzz_Check(static_cast<std::uint8_t>(all[at]) == SScan_Samples(column, c)[y]);
      }
    }
  }
  NameStr name;
  for (bool more = SImage_GetFirstTag(image, name); more; more = SImage_GetNextTag(image, name)) {
    std::vector<std::uint8_t> data;
    ImageFuzz_Check(SImage_GetTag(image, name, data) && static_cast<std::int64_t>(data.size()) == SImage_TagSize(image, name));
    all += StrIn(name).Str();
  }
  all += std::to_string(image->resX) + "," + std::to_string(image->resY) + StrIn(image->creator).Str();
  SScan_Destroy(row);
  SScan_Destroy(column);
  ImageFuzz_Check(SImage_Close(image));
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::uint8_t> file = Expand(data, size);
  const std::string path = ImageFuzz_File(file.data(), file.size(), ".qif");
  ::setenv("TV_NO_MMAP", "off", 1);
  const std::string mapped = ReadAll(path);
  ::setenv("TV_NO_MMAP", "on", 1);
  ImageFuzz_Check(ReadAll(path) == mapped);
  // An image refused only for its resolution is still a good file.
  const bool good = mapped.rfind("error ", 0) != 0 || SImage_imgError == 15;
  SQIF buffered = SQIF_OpenBuffered(path, false);
  ImageFuzz_Check((buffered != nullptr) == good);
  SQIF_Close(buffered);
  return 0;
}
