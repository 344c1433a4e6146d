// The drivers of SImage: recognition by name, capabilities and limits.

#include <sys/stat.h>

#include <limits>
#include <string>

#include "base/SFilMisc.h"
#include "base/SRegExpr.h"
#include "image/SImage.h"
#include "image/SImagePrivate.h"

namespace {

constexpr char kPipeDevice[] = "pipe.dev";
constexpr char kDeviceSuffix[] = ".dev";

// Continuous-tone formats and their line-work partners, by default suffix.
constexpr const char* kRelated[][2] = {
    {".qif", ".qlf"}, {".ct", ".lw"},   {".sct", ".slw"}, {".Sct", ".Slw"}, {".xct", ".xlw"},
    {".Xct", ".Xlw"}, {".hct", ".hlw"}, {".oct", ".olw"}, {".Yct", ".ylx"},
};

bool IsPipe(std::uint8_t mode, StrIn path) {
  const std::string name = path.Str();
  const std::size_t slash = name.rfind('/');
  if (name.substr(slash == std::string::npos ? 0 : slash + 1) == kPipeDevice) return true;
  struct stat info;
  return mode != SImage_kWrite && ::stat(name.c_str(), &info) == 0 && S_ISFIFO(info.st_mode);
}

bool NumberOfSuffix(StrIn suffix, std::uint8_t& driver) {
  for (std::size_t n = 0; n < kSImageMaxDrivers; ++n) {
    const SImage_Format* row = SImage_Row(static_cast<std::uint8_t>(n));
    if (row != nullptr && (Strings_Equal(row->suffix, suffix) || Strings_Equal(row->altSuffix, suffix))) {
      driver = static_cast<std::uint8_t>(n);
      return true;
    }
  }
  return false;
}

}  // namespace

void SImage_SetAlternativeSuffix(std::uint8_t number, StrIn suffix) {
  if (SImage_Format* row = SImage_Row(number)) Strings_Assign(suffix, row->altSuffix);
}

void SImage_SetFormatNameRecognition(std::uint8_t number, SImage_RecognizeProc recognize) {
  if (SImage_Format* row = SImage_Row(number)) row->recognize = recognize;
}

void SImage_SetFormatLimitsCB(std::uint8_t number, SImage_LimitsProc limits) {
  if (SImage_Format* row = SImage_Row(number)) row->limits = limits;
}

bool SImage_DummyRecognize(std::uint8_t, StrIn) { return false; }

void SImage_DummyLimits(StrIn, std::uint32_t& hLimit, std::uint32_t& vLimit) {
  hLimit = vLimit = std::numeric_limits<std::uint32_t>::max();
}

bool SImage_RecognizeByExpression(std::uint8_t driver, StrIn name) {
  const SImage_Format* row = SImage_Row(driver);
  if (row == nullptr) return false;
  SRegExpr expr = SRegExpr_Create(row->regExpr);
  const bool match = SRegExpr_Match(expr, name);
  SRegExpr_Destroy(expr);
  return match;
}

bool SImage_RecognizeFormat(std::uint8_t mode, StrIn path, StrIn suffix, std::uint8_t& driver) {
  driver = SImage_kNoDriver;
  if (IsPipe(mode, path)) return NumberOfSuffix(kDeviceSuffix, driver);
  if (!suffix.Empty() && NumberOfSuffix(suffix, driver)) return true;
  for (std::size_t n = 0; n < kSImageMaxDrivers; ++n) {
    const SImage_Format* row = SImage_Row(static_cast<std::uint8_t>(n));
    if (row != nullptr && row->recognize(static_cast<std::uint8_t>(n), path)) {
      driver = static_cast<std::uint8_t>(n);
      return true;
    }
  }
  return false;
}

namespace {

const SImage_Format* RowOfName(std::uint8_t mode, StrIn name) {
  TextStr suffix;
  SFilMisc_SuffixOf(name, suffix);
  std::uint8_t driver;
  return SImage_RecognizeFormat(mode, name, suffix, driver) ? SImage_Row(driver) : nullptr;
}

}  // namespace

std::uint32_t SImage_InquireCapabilities(StrIn name, std::uint8_t mode) {
  const SImage_Format* row = RowOfName(mode, name);
  return row != nullptr && row->capabilities != nullptr ? row->capabilities(name, mode) : 0;
}

bool SImage_SequencePossible(StrIn name, std::uint8_t order) {
  const std::uint32_t caps = SImage_InquireCapabilities(name, SImage_kRead);
  if ((caps & SImage_kCapKinds) == 0 || order > SImage_kRightLeft) return false;
  return order <= SImage_kBottomTop || (caps & SImage_kCapColumns) != 0;
}

bool SImage_GetLimits(StrIn name, std::uint32_t& hLimit, std::uint32_t& vLimit) {
  hLimit = vLimit = 0;
  const SImage_Format* row = RowOfName(SImage_kWrite, name);
  if (row == nullptr) return false;
  row->limits(name, hLimit, vLimit);
  return true;
}

bool SImage_GetRelatedFormat(StrIn suffix, StrOut related) {
  related.Clear();
  for (const auto& pair : kRelated) {
    for (int side = 0; side < 2; ++side) {
      if (Strings_Equal(suffix, StrIn::C(pair[side]))) {
        Strings_Assign(StrIn::C(pair[1 - side]), related);
        return true;
      }
    }
  }
  return false;
}
