// The images of SImage: the record, open, create and close, and the calls
// that go through a record's procedures.

#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <set>
#include <string>

#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SFilMisc.h"
#include "image/SImage.h"
#include "image/SImagePrivate.h"

std::uint8_t SImage_imgError = 0;
double SImage_crlinesCMx = kSImageDefaultLineRes;
double SImage_crlinesCMy = kSImageDefaultLineRes;

namespace {

char section[kSectionCap] = "SImage";
constexpr char kCreatorTag[] = "CREATOR";
constexpr double kMinLineRes = 0.000001;

// New images not yet closed, whose temporary files the end of the process removes.
std::set<SImage> newImages;

// --- The Null procedures: what a record does where its driver offers nothing.

bool NullReadWriteScan(SImage image, SScan) { return SImage_Fail(image, 9); }
bool NullReadHRScan(SImage image, SScan) { return SImage_Fail(image, 9); }
bool NullSkipScan(SImage image, std::uint32_t) { return SImage_Fail(image, 9); }
bool NullRandomScan(SImage image, std::uint32_t, SScan) { return SImage_Fail(image, 9); }
bool NullAddChannels(SImage image, std::uint32_t) { return SImage_Fail(image, 9); }
bool NullClose(SImage) { return true; }
bool NullGetLUT(SImage image, std::uint32_t, std::uint8_t*) { return SImage_Fail(image, 12); }
bool NullSetLUT(SImage image, std::uint32_t, const std::uint8_t*) { return SImage_Fail(image, 12); }
bool NullGetData(SImage image, std::vector<std::uint8_t>& data) {
  data.clear();
  return SImage_Fail(image, 9);
}
bool NullSetData(SImage image, const std::vector<std::uint8_t>&) { return SImage_Fail(image, 9); }
bool NullPutTag(SImage image, StrIn, const std::vector<std::uint8_t>&) { return SImage_Fail(image, 9); }
bool NullGetTag(SImage image, StrIn, std::vector<std::uint8_t>& data) { return NullGetData(image, data); }
bool NullDestroyTag(SImage image, StrIn) { return SImage_Fail(image, 9); }
bool NullTagName(SImage image, StrOut name) {
  name.Clear();
  return SImage_Fail(image, 9);
}
std::int64_t NullTagSize(SImage image, StrIn) {
  SImage_Fail(image, 9);
  return -1;
}

bool ValidRes(double res) { return std::isfinite(res) && res > kMinLineRes; }

// Splits "NAME@X" or "NAME@XxY" into the name and a resolution; false, and
// the whole text as the name, when the text has none.
bool SplitResolution(const std::string& text, std::string& name, double& resX, double& resY) {
  name = text;
  const std::size_t at = text.rfind('@');
  if (at == std::string::npos || at + 1 >= text.size()) return false;
  const std::string tail = text.substr(at + 1);
  const char* start = tail.c_str();
  char* end = nullptr;
  const double x = std::strtod(start, &end);
  if (end == start || !ValidRes(x)) return false;
  double y = x;
  if (*end == 'x') {
    const char* second = end + 1;
    y = std::strtod(second, &end);
    if (end == second || !ValidRes(y)) return false;
  }
  if (*end != '\0') return false;
  name = text.substr(0, at);
  resX = x;
  resY = y;
  return true;
}

// The resolution given for the next image has been used.
void ResetLineRes() { SImage_crlinesCMx = SImage_crlinesCMy = kSImageDefaultLineRes; }

// A record with every procedure at its default (SImage_CreateAndInit).
std::unique_ptr<SImage_Rec> CreateAndInit(StrIn given, std::uint8_t mode, std::uint8_t order) {
  auto image = std::make_unique<SImage_Rec>();
  // A resolution in the name stands in the defaults until the open is over.
  std::string name;
  SplitResolution(given.Str(), name, SImage_crlinesCMx, SImage_crlinesCMy);
  image->mode = mode;
  image->order = order;
  Strings_Assign(name, image->name);
  Strings_Assign(name, image->fileName);
  const std::size_t slash = name.rfind('/');
  Strings_Assign(slash == std::string::npos ? std::string() : name.substr(0, slash), image->path);
  SFilMisc_SuffixOf(name, image->suffix);
  image->bits = 8;
  image->resX = SImage_crlinesCMx;
  image->resY = SImage_crlinesCMy;
  image->readScan = NullReadWriteScan;
  image->readHRScan = NullReadHRScan;
  image->skipScan = NullSkipScan;
  image->randomRead = NullRandomScan;
  image->randomColumnRead = NullRandomScan;
  image->writeScan = NullReadWriteScan;
  image->randomWrite = NullRandomScan;
  image->randomColumnWrite = NullRandomScan;
  image->addChannels = NullAddChannels;
  image->close = NullClose;
  image->format = SImage_kNoDriver;
  image->getLUT = NullGetLUT;
  image->setLUT = NullSetLUT;
  image->getEmbeddedProfile = NullGetData;
  image->getOutputIntent = NullGetData;
  image->setOutputIntent = NullSetData;
  image->putTag = NullPutTag;
  image->getTag = NullGetTag;
  image->destroyTag = NullDestroyTag;
  image->getFirstTag = NullTagName;
  image->getNextTag = NullTagName;
  image->tagSize = NullTagSize;
  return image;
}

std::uint64_t AllChannels(std::uint32_t channels) {
  return channels >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << channels) - 1;
}

// The row of a driver that is there, or a line on standard error when the
// format has none.
const SImage_Format* DriverRow(std::uint8_t driver) {
  const SImage_Format* row = SImage_Row(driver);
  if (row != nullptr && (row->open != nullptr || row->create != nullptr)) return row;
  std::fprintf(stderr, "FEHLER in Bildtreiber-Registrierung: Kein Treiber registriert\n");
  return nullptr;
}

void Free(std::unique_ptr<SImage_Rec>& image) {
  SScan_Destroy(image->depthScan);
  image.reset();
}

// What SImage_MyOpen checks and fetches after the driver's open.
bool MyOpen(SImage image) {
  const bool sane = image->hRes > 0 && image->vRes > 0 && image->channels > 0 &&
                    image->channels <= kSScanMaxChannels &&
                    (image->bits == 1 || image->bits == 8 || image->bits == 16);
  const std::uint8_t error = !sane ? 6 : !ValidRes(image->resX) || !ValidRes(image->resY) ? 15 : 0;
  if (error != 0) {
    image->close(image);
    return SImage_Fail(image, error);
  }
  image->channelMask = AllChannels(image->channels);
  std::vector<std::uint8_t> creator;
  if (image->hasTags && Messages_Quietly([&] { return image->getTag(image, StrIn(kCreatorTag), creator); })) {
    Strings_Assign(std::string(creator.begin(), creator.end()), image->creator);
  }
  return true;
}

SImage OpenWith(StrIn name, std::uint8_t mode, std::uint8_t order, std::uint8_t driver) {
  std::unique_ptr<SImage_Rec> image = CreateAndInit(name, mode, order);
  const SImage_Format* row = DriverRow(driver);
  bool ok = row != nullptr && row->open != nullptr;
  if (!ok) SImage_Fail(image.get(), 9);
  image->format = driver;
  ok = ok && row->open(image.get());
  ResetLineRes();
  if (!ok || !MyOpen(image.get())) {
    Free(image);
    return nullptr;
  }
  return image.release();
}

bool ModeAndOrder(StrIn name, std::uint8_t mode, std::uint8_t order) {
  const std::uint8_t error = mode == SImage_kWrite ? 5 : mode > SImage_kUpdate || order > SImage_kRightLeft ? 9 : 0;
  if (error == 0) return true;
  SImage_imgError = error;
  SImage_SupplyErrorInfos(name);
  ResetLineRes();
  return false;
}

bool Remove(StrIn path) { return ::unlink(std::string(path.View()).c_str()) == 0; }

// The length of a scan of the image: a row, or a column in the column orders.
std::uint32_t ScanLength(SImage image, bool columns) { return columns ? image->vRes : image->hRes; }
bool ColumnOrder(SImage image) { return image->order >= SImage_kLeftRight; }

// Passes `scan` to `transfer`, through a scan of the image's depth when
// `scan` has another. Checks what every transfer needs.
template <class Transfer>
bool Through(SImage image, SScan scan, bool columns, bool reading, Transfer transfer) {
  if (image == nullptr) {
    SImage_imgError = 9;
    return false;
  }
  const std::uint32_t length = ScanLength(image, columns);
  if (SScan_Length(scan) != length || (image->channelMask & ~SScan_AllChannelMask(scan)) != 0) {
    return SImage_Fail(image, 9);
  }
  if (SScan_Bits(scan) == image->bits) return transfer(scan);
  SScan& own = image->depthScan;
  if (SScan_Length(own) != length || SScan_Channels(own) != SScan_Channels(scan)) {
    SScan_Destroy(own);
    const std::uint32_t channels = SScan_Channels(scan);
    own = image->bits == 16  ? SScan_Create16Bit(length, channels)
          : image->bits == 1 ? SScan_Create1Bit(length, channels)
                             : SScan_Create(length, channels);
  }
  if (!reading) SScan_Convert(scan, own, image->channelMask);
  if (!transfer(own)) return false;
  if (reading) SScan_Convert(own, scan, image->channelMask);
  return true;
}

bool Nil(SImage image) {
  if (image != nullptr) return false;
  SImage_imgError = 9;
  return true;
}

}  // namespace

void SImage_InitImages() { Processe_InstallTerminationProcedure(SImage_RemoveTmpFiles); }

// --- Open, make, close ----------------------------------------------------------------

SImage SImage_Open(StrIn name, unsigned flags, std::uint8_t mode, std::uint8_t order) {
  SImage_Init();
  SImage_imgError = 0;
  if (!ModeAndOrder(name, mode, order)) return nullptr;
  std::string file;
  double ignoredX, ignoredY;
  SplitResolution(name.Str(), file, ignoredX, ignoredY);
  TextStr suffix;
  SFilMisc_SuffixOf(file, suffix);
  std::uint8_t driver;
  if (SImage_RecognizeFormat(mode, file, suffix, driver)) return OpenWith(name, mode, order, driver);
  if ((flags & SImage_kTryFormats) != 0) return SImage_TryFormats(name, mode, order);
  SImage_imgError = 4;
  SImage_SupplyErrorInfos(file);
  ResetLineRes();
  return nullptr;
}

SImage SImage_TypedOpen(StrIn name, unsigned, std::uint8_t mode, std::uint8_t order, std::uint8_t driver) {
  SImage_Init();
  SImage_imgError = 0;
  if (!ModeAndOrder(name, mode, order)) return nullptr;
  return OpenWith(name, mode, order, driver);
}

SImage SImage_TryFormats(StrIn name, std::uint8_t mode, std::uint8_t order) {
  SImage_Init();
  std::string file;
  double x = SImage_crlinesCMx, y = SImage_crlinesCMy;
  SplitResolution(name.Str(), file, x, y);
  struct stat info;
  if (::stat(file.c_str(), &info) == 0 && info.st_size > 1) {
    for (std::size_t n = 0; n < kSImageMaxDrivers; ++n) {
      const SImage_Format* row = SImage_Row(static_cast<std::uint8_t>(n));
      if (row == nullptr || row->open == nullptr) continue;
      SImage_crlinesCMx = x;
      SImage_crlinesCMy = y;
      SImage image = Messages_Quietly([&] { return OpenWith(name, mode, order, static_cast<std::uint8_t>(n)); });
      if (image != nullptr) {
        SImage_imgError = 0;
        return image;
      }
    }
  }
  SImage_imgError = 4;
  SImage_SupplyErrorInfos(file);
  ResetLineRes();
  return nullptr;
}

SImage SImage_Create(StrIn name, std::uint32_t hRes, std::uint32_t vRes, std::uint32_t channels,
                     std::uint8_t order) {
  SImage_Init();
  SImage_imgError = 0;
  std::unique_ptr<SImage_Rec> image = CreateAndInit(name, SImage_kWrite, order);
  std::uint8_t driver = SImage_kNoDriver;
  const bool known = SImage_RecognizeFormat(SImage_kWrite, image->name, image->suffix, driver);
  const SImage_Format* row = known ? DriverRow(driver) : nullptr;
  const bool sizes = hRes > 0 && vRes > 0 && channels > 0 && channels <= kSScanMaxChannels;
  // The temporary lies beside the target, so that closing is a rename.
  const std::string target = StrIn(image->name).Str();
  const std::string model = target.find('/') != std::string::npos ? target : "./" + target;
  bool ok = known || SImage_Fail(image.get(), 4);
  ok = ok && ((row != nullptr && row->create != nullptr && sizes && order <= SImage_kRightLeft) ||
              SImage_Fail(image.get(), 9));
  ok = ok && (SFilMisc_CreateTmpName(model, image->fileName) || SImage_Fail(image.get(), 2));
  if (ok) {
    image->format = driver;
    image->hRes = hRes;
    image->vRes = vRes;
    image->channels = channels;
    image->channelMask = AllChannels(channels);
    ok = row->create(image.get());
    if (!ok) Remove(image->fileName);
  }
  ResetLineRes();
  if (!ok) {
    Free(image);
    return nullptr;
  }
  newImages.insert(image.get());
  return image.release();
}

bool SImage_Close(SImage& image) {
  if (image == nullptr) return true;
  std::unique_ptr<SImage_Rec> record(image);
  image = nullptr;
  bool ok = record->close(record.get());
  if (newImages.erase(record.get()) != 0) {
    if (ok && std::rename(record->fileName, record->name) != 0) ok = SImage_Fail(record.get(), 2);
    if (!ok) Remove(record->fileName);
  }
  Free(record);
  return ok;
}

bool SImage_Remove(SImage& image) {
  if (Nil(image)) return false;
  std::unique_ptr<SImage_Rec> record(image);
  image = nullptr;
  Messages_Quietly([&] { return record->close(record.get()); });
  newImages.erase(record.get());
  const bool removed = Remove(record->fileName);
  if (!removed) SImage_Fail(record.get(), 2);
  Free(record);
  return removed;
}

void SImage_RemoveTmpFiles() {
  for (SImage image : newImages) Remove(image->fileName);
}

// --- Header ---------------------------------------------------------------------------

bool SImage_SelectChannels(SImage image, std::uint64_t mask) {
  if (Nil(image)) return false;
  image->channelMask = mask & AllChannels(image->channels);
  return true;
}

bool SImage_SetLineRes(SImage image, double resX, double resY) {
  if (Nil(image)) return false;
  if (!ValidRes(resX) || !ValidRes(resY)) return SImage_Fail(image, 15);
  image->resX = resX;
  image->resY = resY;
  return true;
}

bool SImage_SetCreator(SImage image, StrIn creator) {
  if (Nil(image)) return false;
  Strings_Assign(creator, image->creator);
  if (!image->hasTags || image->mode == SImage_kRead) return true;
  const std::string text = StrIn(image->creator).Str();
  return image->putTag(image, StrIn(kCreatorTag), std::vector<std::uint8_t>(text.begin(), text.end()));
}

bool SImage_GetResolution(StrIn name, double& resX, double& resY, std::uint32_t& hRes, std::uint32_t& vRes) {
  bool boxFile = false;
  if (SImage_BoxResolution(name, boxFile, resX, resY, hRes, vRes)) return true;
  if (boxFile) return false;
  SImage image = Messages_Quietly([&] { return SImage_Open(name, SImage_kTryFormats, SImage_kRead, SImage_kTopBottom); });
  if (image == nullptr) return false;
  resX = image->resX;
  resY = image->resY;
  hRes = image->hRes;
  vRes = image->vRes;
  return SImage_Close(image);
}

// --- Scans ----------------------------------------------------------------------------

bool SImage_ReadScan(SImage image, SScan scan) {
  return Through(image, scan, image != nullptr && ColumnOrder(image), true,
                 [&](SScan s) { return image->readScan(image, s); });
}

bool SImage_ReadHRScan(SImage image, SScan scan) {
  return !Nil(image) && (scan != nullptr || SImage_Fail(image, 9)) && image->readHRScan(image, scan);
}

bool SImage_SkipScan(SImage image, std::uint32_t count) { return !Nil(image) && image->skipScan(image, count); }

bool SImage_RandomRead(SImage image, std::uint32_t row, SScan scan) {
  return Through(image, scan, false, true, [&](SScan s) { return image->randomRead(image, row, s); });
}

bool SImage_RandomColumnRead(SImage image, std::uint32_t column, SScan scan) {
  return Through(image, scan, true, true, [&](SScan s) { return image->randomColumnRead(image, column, s); });
}

bool SImage_WriteScan(SImage image, SScan scan) {
  return Through(image, scan, image != nullptr && ColumnOrder(image), false,
                 [&](SScan s) { return image->writeScan(image, s); });
}

bool SImage_RandomWrite(SImage image, std::uint32_t row, SScan scan) {
  return Through(image, scan, false, false, [&](SScan s) { return image->randomWrite(image, row, s); });
}

bool SImage_RandomColumnWrite(SImage image, std::uint32_t column, SScan scan) {
  return Through(image, scan, true, false, [&](SScan s) { return image->randomColumnWrite(image, column, s); });
}

bool SImage_AddChannels(SImage image, std::uint32_t count) {
  return !Nil(image) && image->addChannels(image, count);
}

// --- Tables, profiles, tags ---------------------------------------------------------------

bool SImage_GetLUT(SImage image, std::uint32_t channel, std::uint8_t* lut) {
  return !Nil(image) && (lut != nullptr || SImage_Fail(image, 9)) && image->getLUT(image, channel, lut);
}

bool SImage_SetLUT(SImage image, std::uint32_t channel, const std::uint8_t* lut) {
  return !Nil(image) && (lut != nullptr || SImage_Fail(image, 9)) && image->setLUT(image, channel, lut);
}

bool SImage_GetEmbeddedProfile(SImage image, std::vector<std::uint8_t>& profile) {
  return !Nil(image) && image->getEmbeddedProfile(image, profile);
}

bool SImage_GetOutputIntent(SImage image, std::vector<std::uint8_t>& profile) {
  return !Nil(image) && image->getOutputIntent(image, profile);
}

bool SImage_SetOutputIntent(SImage image, const std::vector<std::uint8_t>& profile) {
  return !Nil(image) && image->setOutputIntent(image, profile);
}

bool SImage_PutTag(SImage image, StrIn name, const std::vector<std::uint8_t>& data) {
  return !Nil(image) && image->putTag(image, name, data);
}

bool SImage_GetTag(SImage image, StrIn name, std::vector<std::uint8_t>& data) {
  return !Nil(image) && image->getTag(image, name, data);
}

bool SImage_DestroyTag(SImage image, StrIn name) { return !Nil(image) && image->destroyTag(image, name); }
bool SImage_GetFirstTag(SImage image, StrOut name) { return !Nil(image) && image->getFirstTag(image, name); }
bool SImage_GetNextTag(SImage image, StrOut name) { return !Nil(image) && image->getNextTag(image, name); }
std::int64_t SImage_TagSize(SImage image, StrIn name) { return Nil(image) ? -1 : image->tagSize(image, name); }

// --- Errors -----------------------------------------------------------------------------

void SImage_Error() {
  // messages: SImage 1-10 12 15
  Messages_Error(section, SImage_imgError);
}

void SImage_SupplyErrorInfos(StrIn name) { Messages_SupplyAdditionalInfo(name); }

bool SImage_Fail(SImage image, std::uint8_t error) {
  SImage_imgError = error;
  if (image != nullptr) SImage_SupplyErrorInfos(image->name);
  return false;
}
