#include "image/SQIF.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "base/BFileIO.h"
#include "base/Messages.h"
#include "base/StrHash.h"
#include "image/MMap.h"
#include "image/SACache.h"
#include "image/SImage.h"

namespace {

constexpr std::size_t kTagBuckets = 1024;
constexpr char kYes[] = "yes";
// Pages of the cache: enough for one tile row or column of every channel,
// within a bound.
constexpr std::uint32_t kMinCachePages = 64;
constexpr std::uint32_t kMaxCachePages = 16384;

using Bytes = std::vector<std::uint8_t>;

std::uint16_t Get16(const std::uint8_t* p) { return static_cast<std::uint16_t>(p[0] | p[1] << 8); }
std::uint32_t Get32(const std::uint8_t* p) {
  return std::uint32_t{p[0]} | std::uint32_t{p[1]} << 8 | std::uint32_t{p[2]} << 16 | std::uint32_t{p[3]} << 24;
}
void Put16(std::uint8_t* p, std::uint32_t v) {
  p[0] = static_cast<std::uint8_t>(v);
  p[1] = static_cast<std::uint8_t>(v >> 8);
}
void Put32(std::uint8_t* p, std::uint32_t v) {
  Put16(p, v);
  Put16(p + 2, v >> 16);
}

std::uint64_t PixelBytes(std::uint32_t tilesAcross, std::uint32_t tilesDown, std::uint32_t channels) {
  return std::uint64_t{tilesAcross} * tilesDown * channels * kSQIFTileSize;
}

}  // namespace

struct SQIF_Rec {
  std::string name;
  bool writable = false;
  SQIF_Header header{};
  int descriptor = -1;            // the raw variants
  BFileIO_File buffered = nullptr;  // the buffered variant
  std::uint8_t* map = nullptr;    // the file up to the tag list, when mapped
  SACache cache = nullptr;        // the tiles, when not mapped
  StrHash tags = nullptr;         // name -> Bytes*
  bool inverted = false;
  bool sequential = false;
  std::int64_t lastBand = -1;     // the tile row last read or written by rows

  std::uint64_t TileIndex(std::uint32_t tx, std::uint32_t ty, std::uint32_t c) const {
    return (std::uint64_t{tx} + std::uint64_t{ty} * header.tilesAcross) * header.channels + c;
  }
  std::uint64_t TileOffset(std::uint64_t index) const { return header.dataOffset + index * kSQIFTileSize; }
  std::uint64_t BandBytes() const { return std::uint64_t{header.tilesAcross} * header.channels * kSQIFTileSize; }
};

namespace {

bool Fail(SQIF qif, std::uint8_t error) {
  SImage_imgError = error;
  SImage_SupplyErrorInfos(qif->name);
  return false;
}

bool ReadAt(SQIF qif, std::uint64_t at, void* buffer, std::size_t count) {
  if (qif->buffered != nullptr) {
    return Messages_Quietly([&] {
      return BFileIO_SetPos(qif->buffered, static_cast<std::int64_t>(at)) &&
             BFileIO_Read(qif->buffered, buffer, count) == count;
    });
  }
  return SACache_ReadAt(qif->descriptor, at, buffer, count);
}

bool WriteAt(SQIF qif, std::uint64_t at, const void* buffer, std::size_t count) {
  if (qif->buffered != nullptr) {
    return Messages_Quietly([&] {
      return BFileIO_SetPos(qif->buffered, static_cast<std::int64_t>(at)) &&
             BFileIO_Write(qif->buffered, buffer, count);
    });
  }
  return SACache_WriteAt(qif->descriptor, at, buffer, count);
}

std::int64_t FileSize(SQIF qif) {
  if (qif->buffered != nullptr) return Messages_Quietly([&] { return BFileIO_Length(qif->buffered); });
  struct stat info;
  return ::fstat(qif->descriptor, &info) == 0 ? static_cast<std::int64_t>(info.st_size) : -1;
}

void Invert(std::uint8_t* samples, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) samples[i] = static_cast<std::uint8_t>(~samples[i]);
}

void ClearTags(SQIF qif) {
  NameStr key;
  for (std::uintptr_t value = StrHash_GetFirst(qif->tags, key); !StrHash_AtEnd(qif->tags);
       value = StrHash_GetNext(qif->tags, key)) {
    delete reinterpret_cast<Bytes*>(value);
  }
  StrHash_DestroyTable(qif->tags);
}

void EnterTag(SQIF qif, StrIn name, Bytes data) {
  delete reinterpret_cast<Bytes*>(StrHash_GetEntry(qif->tags, name));
  StrHash_PutEntry(qif->tags, name, reinterpret_cast<std::uintptr_t>(new Bytes(std::move(data))));
  if (Strings_Equal(name, SQIF_blackIsWhiteTag)) {
    const Bytes* value = reinterpret_cast<const Bytes*>(StrHash_GetEntry(qif->tags, name));
    qif->inverted = std::string(value->begin(), value->end()).starts_with(kYes);
  }
}

// Reads the tag list from its offset up to the entry of size 0; every entry
// must lie wholly in the file.
bool ReadTags(SQIF qif, std::uint64_t fileSize) {
  std::uint64_t at = qif->header.tagListOffset;
  for (;;) {
    std::uint8_t size[2];
    if (at + 2 > fileSize || !ReadAt(qif, at, size, 2)) return Fail(qif, 1);
    const std::uint16_t count = Get16(size);
    if (count == 0) return true;
    char name[kSQIFTagNameSize];
    Bytes data(count);
    if (at + 2 + kSQIFTagNameSize + count > fileSize || !ReadAt(qif, at + 2, name, kSQIFTagNameSize) ||
        !ReadAt(qif, at + 2 + kSQIFTagNameSize, data.data(), count)) {
      return Fail(qif, 1);
    }
    if (name[0] != '\0') EnterTag(qif, name, std::move(data));
    at += 2 + kSQIFTagNameSize + count;
  }
}

// Tiles a cache keeps: a tile row or a tile column of every channel.
std::uint32_t CachePages(const SQIF_Header& h) {
  const std::uint64_t wanted = std::uint64_t{std::max(h.tilesAcross, h.tilesDown)} * h.channels;
  return static_cast<std::uint32_t>(std::clamp<std::uint64_t>(wanted, kMinCachePages, kMaxCachePages));
}

// Maps the file up to its tag list, or sets up the cache.
void Attach(SQIF qif) {
  if (MMap_MMapEnabled()) qif->map = MMap_Map(qif->descriptor, qif->header.tagListOffset, qif->writable);
  if (qif->map != nullptr) return;
  qif->cache = SACache_Create(qif->descriptor, qif->header.dataOffset, kSQIFTileSize, CachePages(qif->header),
                              qif->writable);
}

void Free(SQIF qif) {
  MMap_Unmap(qif->map, qif->header.tagListOffset);
  SACache_Destroy(qif->cache);
  if (qif->descriptor >= 0) ::close(qif->descriptor);
  Messages_Quietly([&] { return BFileIO_Close(qif->buffered); });
  ClearTags(qif);
  delete qif;
}

SQIF OpenFile(StrIn name, bool update, bool buffered) {
  auto qif = std::make_unique<SQIF_Rec>();
  qif->name = name.Str();
  qif->writable = update;
  qif->tags = StrHash_CreateTable(kTagBuckets);
  if (buffered) {
    qif->buffered = Messages_Quietly([&] { return BFileIO_Open(name, update ? 2 : 0); });
  } else {
    qif->descriptor = ::open(qif->name.c_str(), (update ? O_RDWR : O_RDONLY) | O_CLOEXEC);
  }
  if (qif->buffered == nullptr && qif->descriptor < 0) {
    Fail(qif.get(), 6);
    Free(qif.release());
    return nullptr;
  }
  const std::int64_t size = FileSize(qif.get());
  std::uint8_t bytes[kSQIFHeaderSize] = {};
  const std::size_t got = static_cast<std::size_t>(std::clamp<std::int64_t>(size, 0, kSQIFHeaderSize));
  std::uint8_t error = !ReadAt(qif.get(), 0, bytes, got) ? 6 : 0;
  if (error == 0 && got < kSQIFHeaderSize) error = got >= 2 && Get16(bytes) == kSQIFMagic ? 1 : 4;
  if (error == 0) {
    qif->header = SQIF_DecodeHeader(bytes);
    error = SQIF_CheckHeader(qif->header);
  }
  // The pixels must all be there; the tags are checked as they are read.
  if (error == 0 && static_cast<std::uint64_t>(size) < qif->header.tagListOffset) error = 1;
  if (error != 0) Fail(qif.get(), error);
  if (error != 0 || !ReadTags(qif.get(), static_cast<std::uint64_t>(size))) {
    Free(qif.release());
    return nullptr;
  }
  if (!buffered) Attach(qif.get());
  return qif.release();
}

SQIF CreateFile(StrIn name, std::uint32_t width, std::uint32_t height, std::uint32_t channels, bool buffered) {
  auto qif = std::make_unique<SQIF_Rec>();
  qif->name = name.Str();
  qif->writable = true;
  qif->tags = StrHash_CreateTable(kTagBuckets);
  SQIF_Header& h = qif->header;
  const std::uint32_t across = (width + kSQIFTileWidth - 1) / kSQIFTileWidth;
  const std::uint32_t down = (height + kSQIFTileHeight - 1) / kSQIFTileHeight;
  const std::uint64_t end = kSQIFDataOffset + PixelBytes(across, down, channels);
  std::uint8_t error = 0;
  if (channels == 0 || channels > kSQIFMaxChannels) error = 9;
  if (width == 0 || height == 0) error = 9;
  if (width > 0xFFFF || height > 0xFFFF || std::uint64_t{across} * down > kSQIFMaxTiles || end > 0xFFFFFFFFu) {
    error = 8;
  }
  if (error != 0) {
    Fail(qif.get(), error);
    Free(qif.release());
    return nullptr;
  }
  h = SQIF_Header{kSQIFMagic,
                  kSQIFVersion,
                  static_cast<std::uint16_t>(width),
                  static_cast<std::uint16_t>(height),
                  static_cast<std::uint16_t>(across),
                  static_cast<std::uint16_t>(down),
                  kSQIFTileWidth,
                  kSQIFTileHeight,
                  static_cast<std::uint16_t>(channels),
                  static_cast<std::uint32_t>(end),
                  kSQIFDataOffset};
  std::uint8_t head[kSQIFDataOffset] = {};
  Put16(head + 0, h.magic);
  Put16(head + 2, h.version);
  Put16(head + 4, h.width);
  Put16(head + 6, h.height);
  Put16(head + 8, h.tilesAcross);
  Put16(head + 10, h.tilesDown);
  Put16(head + 12, h.tileWidth);
  Put16(head + 14, h.tileHeight);
  Put16(head + 16, h.channels);
  Put32(head + 18, h.tagListOffset);
  Put32(head + 22, h.dataOffset);
  const std::uint8_t endOfTags[2] = {0, 0};
  bool ok;
  if (buffered) {
    qif->buffered = Messages_Quietly([&] { return BFileIO_Create(name); });
    ok = qif->buffered != nullptr;
  } else {
    qif->descriptor = ::open(qif->name.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    // The room is taken now: writing to a mapping finds no full disk later.
    ok = qif->descriptor >= 0 && ::posix_fallocate(qif->descriptor, 0, static_cast<off_t>(end + 2)) == 0;
  }
  ok = ok && WriteAt(qif.get(), 0, head, sizeof head) && WriteAt(qif.get(), end, endOfTags, 2);
  if (!ok) {
    Fail(qif.get(), 2);
    Free(qif.release());
    ::unlink(std::string(name.View()).c_str());
    return nullptr;
  }
  if (!buffered) Attach(qif.get());
  return qif.release();
}

// The samples of a tile, or nullptr (error set) when they can't be had.
std::uint8_t* Tile(SQIF qif, std::uint32_t tx, std::uint32_t ty, std::uint32_t c, bool change) {
  const std::uint64_t index = qif->TileIndex(tx, ty, c);
  if (qif->map != nullptr) return qif->map + qif->TileOffset(index);
  std::uint8_t* page = SACache_Page(qif->cache, index, change);
  if (page == nullptr) Fail(qif, 1);
  return page;
}

// Checks an access of `length` samples from (x, y) along a row or a column.
bool Check(SQIF qif, std::uint32_t x, std::uint32_t y, std::uint32_t length, std::uint32_t channel, bool column,
           bool change) {
  if (qif == nullptr) {
    SImage_imgError = 9;
    return false;
  }
  if (qif->buffered != nullptr) return Fail(qif, 10);
  if (channel >= qif->header.channels || (change && !qif->writable)) return Fail(qif, 9);
  const std::uint64_t along = column ? y : x, limit = column ? qif->header.height : qif->header.width;
  if (x >= qif->header.width || y >= qif->header.height || along + length > limit) return Fail(qif, 1);
  return true;
}

// In a sequential pass by rows, gives back the memory of the tile row left.
void EnterBand(SQIF qif, std::uint32_t y) {
  const std::int64_t band = y / kSQIFTileHeight;
  if (band == qif->lastBand) return;
  if (qif->sequential && qif->lastBand >= 0 && qif->map != nullptr) {
    const std::uint64_t start = qif->header.dataOffset + static_cast<std::uint64_t>(qif->lastBand) * qif->BandBytes();
    MMap_Release(qif->map, start, start + qif->BandBytes());
  }
  qif->lastBand = band;
}

// Moves `length` samples of a row between the tiles and `samples`.
bool RowTransfer(SQIF qif, std::uint32_t x, std::uint32_t y, std::uint32_t length, std::uint32_t channel,
                 std::uint8_t* samples, bool put) {
  if (!Check(qif, x, y, length, channel, false, put)) return false;
  EnterBand(qif, y);
  const std::uint32_t ty = y / kSQIFTileHeight, offset = (y % kSQIFTileHeight) * kSQIFTileWidth;
  while (length > 0) {
    const std::uint32_t inTile = x % kSQIFTileWidth, count = std::min(kSQIFTileWidth - inTile, length);
    std::uint8_t* tile = Tile(qif, x / kSQIFTileWidth, ty, channel, put);
    if (tile == nullptr) return false;
    std::uint8_t* at = tile + offset + inTile;
    if (put) {
      std::memcpy(at, samples, count);
      if (qif->inverted) Invert(at, count);
    } else {
      std::memcpy(samples, at, count);
      if (qif->inverted) Invert(samples, count);
    }
    samples += count;
    x += count;
    length -= count;
  }
  return true;
}

bool ColumnTransfer(SQIF qif, std::uint32_t x, std::uint32_t y, std::uint32_t length, std::uint32_t channel,
                    std::uint8_t* samples, bool put) {
  if (!Check(qif, x, y, length, channel, true, put)) return false;
  const std::uint8_t flip = qif->inverted ? 0xFF : 0x00;
  while (length > 0) {
    const std::uint32_t inTile = y % kSQIFTileHeight, count = std::min(kSQIFTileHeight - inTile, length);
    std::uint8_t* tile = Tile(qif, x / kSQIFTileWidth, y / kSQIFTileHeight, channel, put);
    if (tile == nullptr) return false;
    std::uint8_t* at = tile + inTile * kSQIFTileWidth + x % kSQIFTileWidth;
    for (std::uint32_t i = 0; i < count; ++i, at += kSQIFTileWidth) {
      if (put) {
        *at = samples[i] ^ flip;
      } else {
        samples[i] = *at ^ flip;
      }
    }
    samples += count;
    y += count;
    length -= count;
  }
  return true;
}

bool TileTransfer(SQIF qif, std::uint32_t tx, std::uint32_t ty, std::uint32_t c, std::uint8_t* samples, bool put) {
  if (qif == nullptr) {
    SImage_imgError = 9;
    return false;
  }
  if (c >= qif->header.channels || (put && !qif->writable)) return Fail(qif, 9);
  if (tx >= qif->header.tilesAcross || ty >= qif->header.tilesDown) return Fail(qif, 1);
  // Stored samples are inverted on the way in, read ones on the way out.
  if (put && qif->inverted) Invert(samples, kSQIFTileSize);
  bool ok;
  if (qif->buffered != nullptr) {
    const std::uint64_t at = qif->TileOffset(qif->TileIndex(tx, ty, c));
    ok = put ? WriteAt(qif, at, samples, kSQIFTileSize) : ReadAt(qif, at, samples, kSQIFTileSize);
    if (!ok) Fail(qif, put ? 2 : 1);
  } else {
    std::uint8_t* tile = Tile(qif, tx, ty, c, put);
    ok = tile != nullptr;
    if (ok) std::memcpy(put ? tile : samples, put ? samples : tile, kSQIFTileSize);
  }
  if (!put && ok && qif->inverted) Invert(samples, kSQIFTileSize);
  return ok;
}

bool CheckTagName(SQIF qif, StrIn name, bool change) {
  if (qif == nullptr) {
    SImage_imgError = 9;
    return false;
  }
  if (name.Empty() || name.Length() > kSQIFTagNameSize || (change && !qif->writable)) return Fail(qif, 9);
  return true;
}

}  // namespace

SQIF_Header SQIF_DecodeHeader(const std::uint8_t* b) {
  return SQIF_Header{Get16(b),      Get16(b + 2),  Get16(b + 4),  Get16(b + 6),  Get16(b + 8), Get16(b + 10),
                     Get16(b + 12), Get16(b + 14), Get16(b + 16), Get32(b + 18), Get32(b + 22)};
}

std::uint8_t SQIF_CheckHeader(const SQIF_Header& h) {
  if (h.magic != kSQIFMagic) return 4;
  if (h.version != kSQIFVersion) return 6;
  if (h.tileWidth != kSQIFTileWidth || h.tileHeight != kSQIFTileHeight) return 7;
  if (h.width == 0 || h.height == 0 || h.channels == 0 ||
      h.tilesAcross != (h.width + kSQIFTileWidth - 1) / kSQIFTileWidth ||
      h.tilesDown != (h.height + kSQIFTileHeight - 1) / kSQIFTileHeight || h.dataOffset < kSQIFHeaderSize ||
      h.tagListOffset != h.dataOffset + PixelBytes(h.tilesAcross, h.tilesDown, h.channels)) {
    return 7;
  }
  if (h.channels > kSQIFMaxChannels) return 9;
  return 0;
}

SQIF SQIF_Open(StrIn name, bool update) { return OpenFile(name, update, false); }
SQIF SQIF_OpenBuffered(StrIn name, bool update) { return OpenFile(name, update, true); }

SQIF SQIF_Create(StrIn name, std::uint32_t width, std::uint32_t height, std::uint32_t channels) {
  return CreateFile(name, width, height, channels, false);
}

SQIF SQIF_CreateBuffered(StrIn name, std::uint32_t width, std::uint32_t height, std::uint32_t channels) {
  return CreateFile(name, width, height, channels, true);
}

bool SQIF_Close(SQIF& qif) {
  if (qif == nullptr) return true;
  bool ok = SACache_Destroy(qif->cache);
  if (qif->buffered != nullptr) ok = Messages_Quietly([&] { return BFileIO_Close(qif->buffered); }) && ok;
  if (!ok) Fail(qif, 2);
  Free(qif);
  qif = nullptr;
  return ok;
}

const SQIF_Header& SQIF_GetHeader(SQIF qif) { return qif->header; }

void SQIF_SequentialAccessHint(SQIF qif) {
  if (qif == nullptr) return;
  qif->sequential = true;
  MMap_Sequential(qif->map, qif->header.tagListOffset);
  SACache_SequentialHint(qif->cache);
}

bool SQIF_GetScan(SQIF qif, std::uint32_t x, std::uint32_t y, std::uint32_t length, std::uint32_t channel,
                  std::uint8_t* samples) {
  return RowTransfer(qif, x, y, length, channel, samples, false);
}

bool SQIF_PutScan(SQIF qif, std::uint32_t x, std::uint32_t y, std::uint32_t length, std::uint32_t channel,
                  const std::uint8_t* samples) {
  return RowTransfer(qif, x, y, length, channel, const_cast<std::uint8_t*>(samples), true);
}

bool SQIF_GetColumn(SQIF qif, std::uint32_t x, std::uint32_t y, std::uint32_t length, std::uint32_t channel,
                    std::uint8_t* samples) {
  return ColumnTransfer(qif, x, y, length, channel, samples, false);
}

bool SQIF_PutColumn(SQIF qif, std::uint32_t x, std::uint32_t y, std::uint32_t length, std::uint32_t channel,
                    const std::uint8_t* samples) {
  return ColumnTransfer(qif, x, y, length, channel, const_cast<std::uint8_t*>(samples), true);
}

bool SQIF_GetPixel(SQIF qif, std::uint32_t x, std::uint32_t y, std::uint32_t channel, std::uint8_t& value) {
  return RowTransfer(qif, x, y, 1, channel, &value, false);
}

bool SQIF_PutPixel(SQIF qif, std::uint32_t x, std::uint32_t y, std::uint32_t channel, std::uint8_t value) {
  return RowTransfer(qif, x, y, 1, channel, &value, true);
}

bool SQIF_ReadTile(SQIF qif, std::uint32_t tileX, std::uint32_t tileY, std::uint32_t channel, std::uint8_t* tile) {
  return TileTransfer(qif, tileX, tileY, channel, tile, false);
}

bool SQIF_WriteTile(SQIF qif, std::uint32_t tileX, std::uint32_t tileY, std::uint32_t channel,
                    const std::uint8_t* tile) {
  Bytes copy(tile, tile + kSQIFTileSize);
  return TileTransfer(qif, tileX, tileY, channel, copy.data(), true);
}

bool SQIF_PutTag(SQIF qif, StrIn name, const std::vector<std::uint8_t>& data) {
  if (!CheckTagName(qif, name, true)) return false;
  if (data.empty() || data.size() > kSQIFMaxTagSize) return Fail(qif, 9);
  EnterTag(qif, name, data);
  return SQIF_RewriteTagList(qif);
}

bool SQIF_GetTag(SQIF qif, StrIn name, std::vector<std::uint8_t>& data) {
  data.clear();
  if (!CheckTagName(qif, name, false)) return false;
  const auto* value = reinterpret_cast<const Bytes*>(StrHash_GetEntry(qif->tags, name));
  if (value == nullptr) return Fail(qif, 9);
  data = *value;
  return true;
}

bool SQIF_DestroyTag(SQIF qif, StrIn name) {
  if (!CheckTagName(qif, name, true)) return false;
  auto* value = reinterpret_cast<Bytes*>(StrHash_GetEntry(qif->tags, name));
  if (value == nullptr) return Fail(qif, 9);
  StrHash_DestroyEntry(qif->tags, name);
  delete value;
  if (Strings_Equal(name, SQIF_blackIsWhiteTag)) qif->inverted = false;
  return SQIF_RewriteTagList(qif);
}

std::int64_t SQIF_TagSize(SQIF qif, StrIn name) {
  const auto* value =
      qif != nullptr ? reinterpret_cast<const Bytes*>(StrHash_GetEntry(qif->tags, name)) : nullptr;
  return value != nullptr ? static_cast<std::int64_t>(value->size()) : -1;
}

bool SQIF_GetFirstTag(SQIF qif, StrOut name) {
  name.Clear();
  if (qif == nullptr) return false;
  StrHash_GetFirst(qif->tags, name);
  return !StrHash_AtEnd(qif->tags);
}

bool SQIF_GetNextTag(SQIF qif, StrOut name) {
  name.Clear();
  if (qif == nullptr) return false;
  StrHash_GetNext(qif->tags, name);
  return !StrHash_AtEnd(qif->tags);
}

bool SQIF_RewriteTagList(SQIF qif) {
  if (qif == nullptr || !qif->writable) return qif != nullptr && Fail(qif, 9);
  Bytes list;
  StrHash_Iterator walk = StrHash_CreateIterator(qif->tags);
  NameStr key;
  std::uintptr_t value;
  while (StrHash_Iterate(walk, key, value)) {
    const Bytes& data = *reinterpret_cast<const Bytes*>(value);
    const std::size_t at = list.size();
    list.resize(at + 2 + kSQIFTagNameSize);
    Put16(list.data() + at, static_cast<std::uint32_t>(data.size()));
    std::memcpy(list.data() + at + 2, key, StrIn(key).Length());
    list.insert(list.end(), data.begin(), data.end());
  }
  StrHash_DestroyIterator(walk);
  list.push_back(0);
  list.push_back(0);
  const std::uint64_t end = qif->header.tagListOffset + list.size();
  bool ok = WriteAt(qif, qif->header.tagListOffset, list.data(), list.size());
  if (ok && qif->descriptor >= 0) ok = ::ftruncate(qif->descriptor, static_cast<off_t>(end)) == 0;
  return ok || Fail(qif, 2);
}
