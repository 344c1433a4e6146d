#include "image/SItiff.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "image/SImage.h"

namespace {

// Bounds on what a file's header may make us allocate: one row of one plane,
// and one row of strips or tiles of every plane.
constexpr std::uint64_t kMaxRowBytes = std::uint64_t{64} << 20;
constexpr std::uint64_t kMaxBlockRowBytes = std::uint64_t{64} << 20;
// What libtiff itself may allocate at once.
constexpr tmsize_t kMaxLibraryAlloc = tmsize_t{256} << 20;
// Beyond this a new file is a BigTIFF.
constexpr std::uint64_t kClassicLimit = std::uint64_t{4000} << 20;
constexpr double kCmPerInch = 2.54;

constexpr std::uint32_t kReadCapabilities = SImage_kCapBilevel | SImage_kCapGrey | SImage_kCapRGB |
                                            SImage_kCapCMYK | SImage_kCapMultiChannel | SImage_kCapDeep |
                                            SImage_kCapIndexed;
constexpr std::uint32_t kWriteCapabilities =
    SImage_kCapGrey | SImage_kCapRGB | SImage_kCapCMYK | SImage_kCapMultiChannel;

struct Data {
  TIFF* tif = nullptr;
  std::string libraryError;  // libtiff's last complaint, a reason beneath ours
  bool tiled = false;
  std::uint16_t planes = 1;  // 1, or the channels when they lie apart
  std::uint32_t blockWidth = 0, blockLength = 0, blocksAcross = 1;
  std::uint64_t blockBytes = 0, blockRowBytes = 0;  // a strip or tile; one row of one in a block
  std::uint64_t rowBytes = 0;                        // a row of one plane
  bool byLine = false;  // strips too large to hold: libtiff's line reading
  // Sized from the header, so they are left uninitialised: a lying header
  // costs address space, not work.
  std::unique_ptr<std::uint8_t[]> blocks;  // the block row in hand, every plane
  std::int64_t band = -1;                  // its number
  std::unique_ptr<std::uint8_t[]> row;
  std::uint32_t done = 0;  // scans read or written
};

Data& Of(SImage image) { return *static_cast<Data*>(image->driverData); }

int KeepError(TIFF*, void* user, const char*, const char* format, va_list arguments) {
  char text[512];
  std::vsnprintf(text, sizeof text, format, arguments);
  *static_cast<std::string*>(user) = text;
  return 1;
}

int IgnoreWarning(TIFF*, void*, const char*, const char*, va_list) { return 1; }

bool Fail(SImage image, std::uint8_t error) {
  if (image->driverData != nullptr && !Of(image).libraryError.empty()) {
    SImage_SupplyErrorInfos(Of(image).libraryError);
    Of(image).libraryError.clear();
  }
  return SImage_Fail(image, error);
}

TIFF* OpenLibrary(SImage image, const char* mode) {
  Data& data = Of(image);
  TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
  TIFFOpenOptionsSetMaxSingleMemAlloc(options, kMaxLibraryAlloc);
  TIFFOpenOptionsSetErrorHandlerExtR(options, KeepError, &data.libraryError);
  TIFFOpenOptionsSetWarningHandlerExtR(options, IgnoreWarning, nullptr);
  TIFF* tif = TIFFOpenExt(image->fileName, mode, options);
  TIFFOpenOptionsFree(options);
  return tif;
}

// Frees what the driver holds; false when libtiff could not write the file.
bool Release(SImage image) {
  std::unique_ptr<Data> data(&Of(image));
  image->driverData = nullptr;
  bool ok = true;
  if (data->tif != nullptr) {
    if (image->mode == SImage_kWrite) ok = TIFFFlush(data->tif) != 0;
    TIFFClose(data->tif);
  }
  return ok;
}

// --- Reading --------------------------------------------------------------------------------

// Decodes block row `band` of every plane into the buffer.
bool LoadBand(SImage image, std::uint32_t band) {
  Data& d = Of(image);
  if (d.band == band) return true;
  d.band = -1;
  const std::uint32_t top = band * d.blockLength;
  const std::uint64_t rows = std::min<std::uint64_t>(d.blockLength, image->vRes - top);
  for (std::uint16_t plane = 0; plane < d.planes; ++plane) {
    for (std::uint32_t across = 0; across < d.blocksAcross; ++across) {
      std::uint8_t* to = d.blocks.get() + (std::uint64_t{plane} * d.blocksAcross + across) * d.blockBytes;
      const auto size = static_cast<tmsize_t>(d.blockBytes);
      tmsize_t got;
      std::uint64_t needed;
      if (d.tiled) {
        got = TIFFReadEncodedTile(d.tif, TIFFComputeTile(d.tif, across * d.blockWidth, top, 0, plane), to, size);
        needed = d.blockBytes;
      } else {
        got = TIFFReadEncodedStrip(d.tif, TIFFComputeStrip(d.tif, top, plane), to, size);
        needed = rows * d.blockRowBytes;
      }
      if (got < 0 || static_cast<std::uint64_t>(got) < needed) return Fail(image, 3);
    }
  }
  d.band = band;
  return true;
}

// Row `line` of the file (counted from its top) of one plane into d.row.
bool LoadRow(SImage image, std::uint32_t line, std::uint16_t plane) {
  Data& d = Of(image);
  if (d.byLine) return TIFFReadScanline(d.tif, d.row.get(), line, plane) >= 0 || Fail(image, 3);
  if (!LoadBand(image, line / d.blockLength)) return false;
  const std::uint64_t inBlock = std::uint64_t{line % d.blockLength} * d.blockRowBytes;
  for (std::uint32_t across = 0; across < d.blocksAcross; ++across) {
    const std::uint64_t at = std::uint64_t{across} * d.blockRowBytes;
    const std::uint8_t* from =
        d.blocks.get() + (std::uint64_t{plane} * d.blocksAcross + across) * d.blockBytes + inBlock;
    std::memcpy(d.row.get() + at, from, std::min(d.blockRowBytes, d.rowBytes - at));
  }
  return true;
}

// Image row `y` (counted from the bottom) into the scan.
bool ReadRow(SImage image, std::uint32_t y, SScan scan) {
  if (y >= image->vRes) return Fail(image, 1);
  Data& d = Of(image);
  const std::uint32_t line = image->vRes - 1 - y;
  if (d.planes == 1) {
    return LoadRow(image, line, 0) &&
           SScan_DecomposeInterleaved(scan, image->channelMask, d.row.get(), image->channels, 0);
  }
  for (std::uint16_t plane = 0; plane < d.planes; ++plane) {
    if (((image->channelMask >> plane) & 1u) == 0) continue;
    if (!LoadRow(image, line, plane) || !SScan_DecomposeInterleaved(scan, image->channelMask, d.row.get(), 1, plane)) {
      return false;
    }
  }
  return true;
}

bool ReadScan(SImage image, SScan scan) {
  Data& d = Of(image);
  if (d.done >= image->vRes) return Fail(image, 1);
  const std::uint32_t y = image->order == SImage_kTopBottom ? image->vRes - 1 - d.done : d.done;
  if (!ReadRow(image, y, scan)) return false;
  ++d.done;
  return true;
}

bool SkipScan(SImage image, std::uint32_t count) {
  Data& d = Of(image);
  if (count > image->vRes - d.done) return Fail(image, 1);
  d.done += count;
  return true;
}

bool RandomRead(SImage image, std::uint32_t row, SScan scan) { return ReadRow(image, row, scan); }

bool GetEmbeddedProfile(SImage image, std::vector<std::uint8_t>& profile) {
  profile.clear();
  std::uint32_t count = 0;
  void* bytes = nullptr;
  if (TIFFGetField(Of(image).tif, TIFFTAG_ICCPROFILE, &count, &bytes) == 0 || bytes == nullptr) {
    return Fail(image, 9);
  }
  const auto* first = static_cast<const std::uint8_t*>(bytes);
  profile.assign(first, first + count);
  return true;
}

// The file's resolution in lines per cm where it states one.
void ReadResolution(SImage image) {
  TIFF* tif = Of(image).tif;
  float x = 0, y = 0;
  std::uint16_t unit = RESUNIT_INCH;
  const bool hasX = TIFFGetField(tif, TIFFTAG_XRESOLUTION, &x) != 0;
  const bool hasY = TIFFGetField(tif, TIFFTAG_YRESOLUTION, &y) != 0;
  TIFFGetFieldDefaulted(tif, TIFFTAG_RESOLUTIONUNIT, &unit);
  if (!hasX || unit == RESUNIT_NONE) return;
  const double perCm = unit == RESUNIT_INCH ? 1.0 / kCmPerInch : 1.0;
  image->resX = x * perCm;
  image->resY = (hasY ? y : x) * perCm;
}

// Checks the header and sizes the buffers; the error, or 0.
std::uint8_t Layout(SImage image) {
  Data& d = Of(image);
  TIFF* tif = d.tif;
  std::uint32_t width = 0, height = 0;
  std::uint16_t samples = 1, bits = 1, format = SAMPLEFORMAT_UINT, planar = PLANARCONFIG_CONTIG;
  std::uint16_t photometric = PHOTOMETRIC_MINISBLACK, compression = COMPRESSION_NONE;
  TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &width);
  TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &height);
  TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &samples);
  TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &bits);
  TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLEFORMAT, &format);
  TIFFGetFieldDefaulted(tif, TIFFTAG_PLANARCONFIG, &planar);
  TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &photometric);
  TIFFGetFieldDefaulted(tif, TIFFTAG_COMPRESSION, &compression);
  if (width == 0 || height == 0) return 3;
  if (samples == 0 || samples > kSScanMaxChannels || (bits != 1 && bits != 8 && bits != 16) ||
      (format != SAMPLEFORMAT_UINT && format != SAMPLEFORMAT_VOID)) {
    return 9;
  }
  if (photometric == PHOTOMETRIC_YCBCR) {
    if (compression != COMPRESSION_JPEG) return 9;
    TIFFSetField(tif, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
  }
  image->hRes = width;
  image->vRes = height;
  image->channels = samples;
  image->bits = static_cast<std::uint8_t>(bits);
  d.planes = planar == PLANARCONFIG_SEPARATE ? samples : 1;
  d.tiled = TIFFIsTiled(tif) != 0;
  d.rowBytes = TIFFScanlineSize64(tif);
  if (d.tiled) {
    TIFFGetField(tif, TIFFTAG_TILEWIDTH, &d.blockWidth);
    TIFFGetField(tif, TIFFTAG_TILELENGTH, &d.blockLength);
    d.blockBytes = TIFFTileSize64(tif);
    d.blockRowBytes = TIFFTileRowSize64(tif);
    d.blocksAcross = d.blockWidth == 0 ? 0 : (width - 1) / d.blockWidth + 1;
  } else {
    std::uint32_t rowsPerStrip = height;
    TIFFGetFieldDefaulted(tif, TIFFTAG_ROWSPERSTRIP, &rowsPerStrip);
    d.blockWidth = width;
    d.blockLength = std::clamp<std::uint32_t>(rowsPerStrip, 1, height);
    d.blockBytes = TIFFStripSize64(tif);
    d.blockRowBytes = d.rowBytes;
  }
  if (d.rowBytes == 0 || d.blockBytes == 0 || d.blockRowBytes == 0 || d.blockLength == 0 || d.blocksAcross == 0) {
    return 3;
  }
  if (d.rowBytes > kMaxRowBytes || d.blocksAcross * d.blockRowBytes < d.rowBytes) return 8;
  std::uint64_t blockRow = 0;
  if (__builtin_mul_overflow(std::uint64_t{d.planes} * d.blocksAcross, d.blockBytes, &blockRow) ||
      blockRow > kMaxBlockRowBytes) {
    if (d.tiled) return 8;
    d.byLine = true;
  }
  if (!d.byLine) d.blocks.reset(new std::uint8_t[blockRow]);
  d.row.reset(new std::uint8_t[d.rowBytes]);
  return 0;
}

bool Open(SImage image) {
  image->driverData = new Data;
  Data& d = Of(image);
  if (image->mode != SImage_kRead || image->order >= SImage_kLeftRight) {
    Release(image);
    return SImage_Fail(image, 9);
  }
  d.tif = OpenLibrary(image, "rm");
  const std::uint8_t error = d.tif == nullptr ? 6 : Layout(image);
  if (error != 0) {
    Fail(image, error);
    Release(image);
    return false;
  }
  ReadResolution(image);
  image->close = Release;
  image->readScan = ReadScan;
  image->skipScan = SkipScan;
  image->randomRead = RandomRead;
  image->getEmbeddedProfile = GetEmbeddedProfile;
  return true;
}

// --- Writing ----------------------------------------------------------------------------------

bool WriteScan(SImage image, SScan scan) {
  Data& d = Of(image);
  if (d.done >= image->vRes) return Fail(image, 1);
  std::fill_n(d.row.get(), d.rowBytes, 0);
  SScan_ComposeInterleaved(scan, image->channelMask, d.row.get(), image->channels, 0);
  if (TIFFWriteScanline(d.tif, d.row.get(), d.done, 0) < 0) return Fail(image, 2);
  ++d.done;
  return true;
}

// Rows not written are zero; the resolution is the record's at closing.
bool CloseNew(SImage image) {
  Data& d = Of(image);
  std::fill_n(d.row.get(), d.rowBytes, 0);
  bool ok = true;
  for (; ok && d.done < image->vRes; ++d.done) ok = TIFFWriteScanline(d.tif, d.row.get(), d.done, 0) >= 0;
  TIFFSetField(d.tif, TIFFTAG_XRESOLUTION, static_cast<float>(image->resX));
  TIFFSetField(d.tif, TIFFTAG_YRESOLUTION, static_cast<float>(image->resY));
  TIFFSetField(d.tif, TIFFTAG_RESOLUTIONUNIT, RESUNIT_CENTIMETER);
  if (!ok) Fail(image, 2);
  const bool closed = Release(image);
  return ok && (closed || SImage_Fail(image, 2));
}

void SetPhotometric(TIFF* tif, std::uint32_t channels) {
  if (channels == 1) {
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
  } else if (channels == 3) {
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
  } else {
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_SEPARATED);
    if (channels != 4) {
      TIFFSetField(tif, TIFFTAG_INKSET, INKSET_MULTIINK);
      TIFFSetField(tif, TIFFTAG_NUMBEROFINKS, static_cast<std::uint16_t>(channels));
    }
  }
}

bool Create(SImage image) {
  image->driverData = new Data;
  Data& d = Of(image);
  d.rowBytes = std::uint64_t{image->hRes} * image->channels;
  const std::uint8_t refused = image->order != SImage_kTopBottom ? 9 : d.rowBytes > kMaxRowBytes ? 8 : 0;
  if (refused != 0) {
    Release(image);
    return SImage_Fail(image, refused);
  }
  const std::uint64_t bytes = std::uint64_t{image->hRes} * image->vRes * image->channels;
  d.tif = OpenLibrary(image, bytes > kClassicLimit ? "w8" : "w");
  if (d.tif == nullptr) {
    Fail(image, 2);
    Release(image);
    return false;
  }
  TIFFSetField(d.tif, TIFFTAG_IMAGEWIDTH, image->hRes);
  TIFFSetField(d.tif, TIFFTAG_IMAGELENGTH, image->vRes);
  TIFFSetField(d.tif, TIFFTAG_SAMPLESPERPIXEL, static_cast<std::uint16_t>(image->channels));
  TIFFSetField(d.tif, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(d.tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(d.tif, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
  SetPhotometric(d.tif, image->channels);
  TIFFSetField(d.tif, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(d.tif, 0));
  d.row.reset(new std::uint8_t[d.rowBytes]);
  image->close = CloseNew;
  image->writeScan = WriteScan;
  return true;
}

std::uint32_t Capabilities(StrIn, std::uint8_t mode) {
  return mode == SImage_kWrite ? kWriteCapabilities : kReadCapabilities;
}

}  // namespace

void SItiff_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  SImage_Init();
  // Complaints reach the image that caused them, not the standard error.
  TIFFSetErrorHandler(nullptr);
  TIFFSetWarningHandler(nullptr);
  SImage_RegisterDriverStatic(SImage_kDriverTIFF, Open, Create, Capabilities);
  SImage_SetFormatNameRecognition(SImage_kDriverTIFF, SImage_RecognizeByExpression);
}
