// The size of PostScript and PDF files, which SImage has no driver for: read
// from their comments and boxes, in points at 72 to the inch.

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <string>

#include "image/SImage.h"
#include "image/SImagePrivate.h"

namespace {

constexpr std::uint8_t kPostScriptRow = 7;
constexpr std::uint8_t kEncapsulatedRow = 8;
constexpr char kPdfSuffix[] = ".pdf";
// Comments stand at the start, or at the end where they say "(atend)";
// uncompressed page boxes mostly near either end.
constexpr std::streamoff kLook = 65536;
constexpr double kPointsPerCm = 72.0 / 2.54;

// The first and last kLook bytes of a file; empty when it can't be read.
std::string Ends(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return {};
  in.seekg(0, std::ios::end);
  const std::streamoff size = in.tellg();
  std::string text(static_cast<std::size_t>(std::min(size, kLook)), '\0');
  in.seekg(0);
  in.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (size > kLook) {
    std::string tail(static_cast<std::size_t>(std::min(size - kLook, kLook)), '\0');
    in.seekg(size - static_cast<std::streamoff>(tail.size()));
    in.read(tail.data(), static_cast<std::streamsize>(tail.size()));
    text += "\n" + tail;
  }
  return in ? text : std::string();
}

// Four numbers after `key` at its first place that has them; false when none has.
bool Box(const std::string& text, const std::string& key, double (&box)[4]) {
  for (std::size_t at = text.find(key); at != std::string::npos; at = text.find(key, at + 1)) {
    const char* p = text.c_str() + at + key.size();
    while (*p == ' ' || *p == '[' || *p == '\t') ++p;
    int got = 0;
    for (; got < 4; ++got) {
      char* end = nullptr;
      box[got] = std::strtod(p, &end);
      if (end == p || !std::isfinite(box[got])) break;
      p = end;
    }
    if (got == 4) return true;
  }
  return false;
}

bool IsPdf(const std::string& name) {
  if (name.size() < 4) return false;
  std::string suffix = name.substr(name.size() - 4);
  for (char& c : suffix) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return suffix == kPdfSuffix;
}

}  // namespace

bool SImage_BoxResolution(StrIn name, bool& isBoxFile, double& resX, double& resY, std::uint32_t& hRes,
                          std::uint32_t& vRes) {
  const std::string path = name.Str();
  const bool pdf = IsPdf(path);
  isBoxFile = pdf || SImage_RecognizeByExpression(kPostScriptRow, name) ||
              SImage_RecognizeByExpression(kEncapsulatedRow, name);
  if (!isBoxFile) return false;
  const std::string text = Ends(path);
  double box[4];
  const bool found = pdf ? Box(text, "/CropBox", box) || Box(text, "/MediaBox", box)
                         : Box(text, "%%HiResBoundingBox:", box) || Box(text, "%%BoundingBox:", box);
  if (!found) return false;
  const double width = std::ceil(box[2] - box[0]), height = std::ceil(box[3] - box[1]);
  if (!(width >= 1 && height >= 1 && width < 4294967296.0 && height < 4294967296.0)) return false;
  hRes = static_cast<std::uint32_t>(width);
  vRes = static_cast<std::uint32_t>(height);
  resX = resY = kPointsPerCm;
  return true;
}
