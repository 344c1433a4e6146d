#include "image/SIqif.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>

#include "image/SImage.h"
#include "image/SImgGrad.h"

namespace {

constexpr char kAltSuffix[] = ".QIF";
constexpr std::size_t kLineResSize = 128;
constexpr std::uint32_t kCapabilities = SImage_kCapGrey | SImage_kCapRGB | SImage_kCapCMYK |
                                        SImage_kCapMultiChannel | SImage_kCapColumns | SImage_kCapTags;

struct Share {
  SQIF qif;
  unsigned users;
  bool update;
};
std::map<std::string, Share> shares;

struct Data {
  SQIF qif = nullptr;
  std::uint32_t done = 0;  // scans read or written in the image's order
};

Data& Of(SImage image) { return *static_cast<Data*>(image->driverData); }
SQIF Qif(SImage image) { return Of(image).qif; }

bool Columns(SImage image) { return image->order >= SImage_kLeftRight; }
std::uint32_t Total(SImage image) { return Columns(image) ? image->hRes : image->vRes; }

// The row or column of the n-th scan in the image's order.
std::uint32_t Index(SImage image, std::uint32_t n) {
  switch (image->order) {
    case SImage_kTopBottom:
      return image->vRes - 1 - n;
    case SImage_kRightLeft:
      return image->hRes - 1 - n;
    default:
      return n;
  }
}

bool Selected(SImage image, std::uint32_t c) { return ((image->channelMask >> c) & 1u) != 0; }

bool Row(SImage image, std::uint32_t row, SScan scan, bool put) {
  for (std::uint32_t c = 0; c < image->channels; ++c) {
    if (!Selected(image, c)) continue;
    std::uint8_t* samples = SScan_Samples(scan, c);
    if (!(put ? SQIF_PutScan(Qif(image), 0, row, image->hRes, c, samples)
              : SQIF_GetScan(Qif(image), 0, row, image->hRes, c, samples))) {
      return false;
    }
  }
  return true;
}

bool Column(SImage image, std::uint32_t column, SScan scan, bool put) {
  for (std::uint32_t c = 0; c < image->channels; ++c) {
    if (!Selected(image, c)) continue;
    std::uint8_t* samples = SScan_Samples(scan, c);
    if (!(put ? SQIF_PutColumn(Qif(image), column, 0, image->vRes, c, samples)
              : SQIF_GetColumn(Qif(image), column, 0, image->vRes, c, samples))) {
      return false;
    }
  }
  return true;
}

bool Next(SImage image, SScan scan, bool put) {
  Data& data = Of(image);
  if (data.done >= Total(image)) return SImage_Fail(image, 1);
  const std::uint32_t index = Index(image, data.done);
  if (!(Columns(image) ? Column(image, index, scan, put) : Row(image, index, scan, put))) return false;
  ++data.done;
  return true;
}

bool ReadScan(SImage image, SScan scan) { return Next(image, scan, false); }
bool WriteScan(SImage image, SScan scan) { return Next(image, scan, true); }

bool SkipScan(SImage image, std::uint32_t count) {
  Data& data = Of(image);
  if (count > Total(image) - data.done) return SImage_Fail(image, 1);
  data.done += count;
  return true;
}

bool RandomRead(SImage image, std::uint32_t row, SScan scan) { return Row(image, row, scan, false); }
bool RandomWrite(SImage image, std::uint32_t row, SScan scan) { return Row(image, row, scan, true); }
bool RandomColumnRead(SImage image, std::uint32_t column, SScan scan) { return Column(image, column, scan, false); }
bool RandomColumnWrite(SImage image, std::uint32_t column, SScan scan) { return Column(image, column, scan, true); }

bool PutTag(SImage image, StrIn name, const std::vector<std::uint8_t>& data) {
  return SQIF_PutTag(Qif(image), name, data);
}
bool GetTag(SImage image, StrIn name, std::vector<std::uint8_t>& data) { return SQIF_GetTag(Qif(image), name, data); }
bool DestroyTag(SImage image, StrIn name) { return SQIF_DestroyTag(Qif(image), name); }
bool GetFirstTag(SImage image, StrOut name) { return SQIF_GetFirstTag(Qif(image), name); }
bool GetNextTag(SImage image, StrOut name) { return SQIF_GetNextTag(Qif(image), name); }
std::int64_t TagSize(SImage image, StrIn name) { return SQIF_TagSize(Qif(image), name); }

bool GetLUT(SImage image, std::uint32_t channel, std::uint8_t* lut) {
  std::vector<SImgGrad_LUT> luts;
  if (!SImgGrad_QIFgetGrdLUTs(Qif(image), luts) || channel >= luts.size()) return SImage_Fail(image, 12);
  std::copy(luts[channel].begin(), luts[channel].end(), lut);
  return true;
}

// Channels without a table of their own keep the identity.
bool SetLUT(SImage image, std::uint32_t channel, const std::uint8_t* lut) {
  if (channel >= image->channels) return SImage_Fail(image, 9);
  std::vector<SImgGrad_LUT> luts;
  SImgGrad_QIFgetGrdLUTs(Qif(image), luts);
  SImgGrad_LUT identity;
  for (unsigned i = 0; i < 256; ++i) identity[i] = static_cast<std::uint8_t>(i);
  if (luts.size() <= channel) luts.resize(channel + 1, identity);
  std::copy(lut, lut + 256, luts[channel].begin());
  return SImgGrad_QIFputGrdLUTs(Qif(image), luts);
}

std::string LineResText(double resX, double resY) {
  char text[kLineResSize] = {};
  std::snprintf(text, sizeof text, "%16.13f, %16.13f", resX, resY);
  return std::string(text, sizeof text);
}

// The resolution of the tag "_LINERES", when it has one.
void ReadLineRes(SImage image) {
  std::vector<std::uint8_t> data;
  if (SQIF_TagSize(Qif(image), SQIF_lineResTag) <= 0) return;
  SQIF_GetTag(Qif(image), SQIF_lineResTag, data);
  const std::string text(data.begin(), data.end());
  char* end = nullptr;
  const double x = std::strtod(text.c_str(), &end);
  if (end == text.c_str() || *end != ',') return;
  const char* second = end + 1;
  const double y = std::strtod(second, &end);
  if (end == second) return;
  image->resX = x;
  image->resY = y;
}

bool Close(SImage image) {
  std::unique_ptr<Data> data(&Of(image));
  image->driverData = nullptr;
  bool ok = true;
  if (image->mode != SImage_kRead) {
    const std::string text = LineResText(image->resX, image->resY);
    std::vector<std::uint8_t> stored;
    if (SQIF_TagSize(data->qif, SQIF_lineResTag) >= 0) SQIF_GetTag(data->qif, SQIF_lineResTag, stored);
    if (std::string(stored.begin(), stored.end()) != text) {
      ok = SQIF_PutTag(data->qif, SQIF_lineResTag, std::vector<std::uint8_t>(text.begin(), text.end()));
    }
  }
  return SIqif_Release(data->qif) && ok;
}

void Install(SImage image, SQIF qif) {
  const SQIF_Header& header = SQIF_GetHeader(qif);
  image->driverData = new Data{qif};
  image->hRes = header.width;
  image->vRes = header.height;
  image->channels = header.channels;
  image->bits = 8;
  image->hasTags = true;
  image->close = Close;
  image->readScan = ReadScan;
  image->skipScan = SkipScan;
  image->randomRead = RandomRead;
  image->randomColumnRead = RandomColumnRead;
  image->getLUT = GetLUT;
  image->putTag = PutTag;
  image->getTag = GetTag;
  image->destroyTag = DestroyTag;
  image->getFirstTag = GetFirstTag;
  image->getNextTag = GetNextTag;
  image->tagSize = TagSize;
  if (image->mode != SImage_kRead) {
    image->writeScan = WriteScan;
    image->randomWrite = RandomWrite;
    image->randomColumnWrite = RandomColumnWrite;
    image->setLUT = SetLUT;
  }
  if (!Columns(image)) SQIF_SequentialAccessHint(qif);
}

bool Open(SImage image) {
  SQIF qif = SIqif_ShareOrOpen(image->fileName, image->mode == SImage_kUpdate);
  if (qif == nullptr) return false;
  Install(image, qif);
  ReadLineRes(image);
  return true;
}

bool Create(SImage image) {
  SQIF qif = SQIF_Create(image->fileName, image->hRes, image->vRes, image->channels);
  if (qif == nullptr) return false;
  Install(image, qif);
  return true;
}

std::uint32_t Capabilities(StrIn, std::uint8_t) { return kCapabilities; }

void Limits(StrIn, std::uint32_t& hLimit, std::uint32_t& vLimit) { hLimit = vLimit = 0xFFFF; }

}  // namespace

void SIqif_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  SImage_Init();
  SImage_RegisterDriverStatic(SImage_kDriverQIF, Open, Create, Capabilities);
  SImage_SetAlternativeSuffix(SImage_kDriverQIF, kAltSuffix);
  SImage_SetFormatLimitsCB(SImage_kDriverQIF, Limits);
}

SQIF SIqif_ShareOrOpen(StrIn name, bool update) {
  const std::string key = name.Str();
  auto found = shares.find(key);
  if (found != shares.end() && (found->second.update || !update)) {
    ++found->second.users;
    return found->second.qif;
  }
  SQIF qif = SQIF_Open(name, update);
  if (qif != nullptr && found == shares.end()) shares[key] = Share{qif, 1, update};
  return qif;
}

bool SIqif_Release(SQIF& qif) {
  for (auto it = shares.begin(); it != shares.end(); ++it) {
    if (it->second.qif != qif) continue;
    qif = nullptr;
    if (--it->second.users > 0) return true;
    SQIF last = it->second.qif;
    shares.erase(it);
    return SQIF_Close(last);
  }
  return SQIF_Close(qif);
}
