// SQIF: the suite's own image file format, in which continuous-tone images
// live between tools.
//
// A file has a fixed header, tiled pixel data and a list of named tags.
// Integers are 16 or 32 bits with the least significant byte first.
//
//   offset width field
//        0     2 magic 25892
//        2     2 version 1
//        4     2 width in pixels
//        6     2 height in pixels
//        8     2 tiles across: (width + 127) / 128
//       10     2 tiles down: (height + 47) / 48
//       12     2 tile width 128
//       14     2 tile height 48
//       16     2 channels
//       18     4 tag list offset: data offset + tiles down * tiles across * channels * 6144
//       22     4 data offset 1024
//
// The bytes from 26 to the data offset are unused (written as zeros). Pixel
// data are 8-bit samples in tiles of 6144 bytes, 48 rows of 128; tiles are
// ordered by tile row, then tile column, then channel, so the sample at
// column x, row y, channel c lies at
//   data offset + (((x / 128) + (y / 48) * tiles across) * channels + c) * 6144
//               + (y mod 48) * 128 + (x mod 128).
// Edge tiles are stored whole. At most 600000 tiles make an image. The tag
// list follows the pixel data: entries of a 2-byte size, a 128-byte name
// (zero-filled) and that many bytes of data, ended by a size of 0; so a tag
// can't be empty. The tag "BLACKISWHITE" with the value "yes" says that
// samples are stored inverted; every access here turns them round.
//
// Access: a file is mapped when mapping is on (MMap), else its tiles are
// served through a page cache (SACache) of one tile a page. The buffered
// variant goes through BFileIO and moves whole tiles only: its scan, column
// and pixel calls fail with error 10. Tags are held in a table of 1024
// buckets and the list is written anew whenever a tag changes.
//
// Errors are SImage's: SImage_imgError is set and the file's name pushed.
// 1 a read past the end of the image or of a short file, 2 the file could not
// be written, 4 no QIF (wrong magic), 6 the file could not be opened or has
// another version, 7 tile size or layout not the format's, 8 too large for
// the format, 9 a channel that is not there, a change to a file opened for
// reading, a tag that can't be stored, 10 see above.
#pragma once

#include <cstdint>
#include <vector>

#include "base/Strings.h"

struct SQIF_Rec;
using SQIF = SQIF_Rec*;

inline constexpr std::uint16_t kSQIFMagic = 25892;
inline constexpr std::uint16_t kSQIFVersion = 1;
inline constexpr std::uint32_t kSQIFTileWidth = 128;
inline constexpr std::uint32_t kSQIFTileHeight = 48;
inline constexpr std::uint32_t kSQIFTileSize = kSQIFTileWidth * kSQIFTileHeight;
inline constexpr std::uint32_t kSQIFHeaderSize = 26;
inline constexpr std::uint32_t kSQIFDataOffset = 1024;
inline constexpr std::uint32_t kSQIFMaxTiles = 600000;
inline constexpr std::uint32_t kSQIFTagNameSize = 128;
inline constexpr std::uint32_t kSQIFMaxTagSize = 65535;
// The most channels this program handles in one file.
inline constexpr std::uint32_t kSQIFMaxChannels = 64;

inline constexpr char SQIF_blackIsWhiteTag[] = "BLACKISWHITE";
inline constexpr char SQIF_lineResTag[] = "_LINERES";

struct SQIF_Header {
  std::uint16_t magic, version, width, height, tilesAcross, tilesDown, tileWidth, tileHeight, channels;
  std::uint32_t tagListOffset, dataOffset;
};

// The header in its 26 bytes.
SQIF_Header SQIF_DecodeHeader(const std::uint8_t* bytes);
// 0 for a header this program reads, else the error: 4 wrong magic, 6 wrong
// version, 7 a tile size other than 128 by 48, no pixels or channels, or
// counts and offsets that don't follow from the sizes, 9 more channels than
// kSQIFMaxChannels.
std::uint8_t SQIF_CheckHeader(const SQIF_Header& header);

// --- Files ------------------------------------------------------------------------------

// Opens a file for reading, or for reading and writing with `update`. Nil on
// failure. The caller owns the handle.
SQIF SQIF_Open(StrIn name, bool update);
// Makes a file (replacing one of that name) of zero samples and no tags.
// Refuses sizes of 0 or above 65535 and more than kSQIFMaxTiles tiles or a
// tag list offset beyond 32 bits (error 8). Nil on failure, with no file left.
SQIF SQIF_Create(StrIn name, std::uint32_t width, std::uint32_t height, std::uint32_t channels);
// The same through BFileIO, tile by tile.
SQIF SQIF_OpenBuffered(StrIn name, bool update);
SQIF SQIF_CreateBuffered(StrIn name, std::uint32_t width, std::uint32_t height, std::uint32_t channels);
// Writes out what is pending, closes and frees the handle and sets it to nil;
// false when writing failed. Nil is accepted.
bool SQIF_Close(SQIF& qif);

const SQIF_Header& SQIF_GetHeader(SQIF qif);
// Tells the file's reader that rows will be read from one end to the other:
// a mapped file gives back the memory of tile rows it has left.
void SQIF_SequentialAccessHint(SQIF qif);

// --- Pixels -------------------------------------------------------------------------------

// `length` samples of row y of `channel`, from column x to the right.
bool SQIF_GetScan(SQIF qif, std::uint32_t x, std::uint32_t y, std::uint32_t length, std::uint32_t channel,
                  std::uint8_t* samples);
bool SQIF_PutScan(SQIF qif, std::uint32_t x, std::uint32_t y, std::uint32_t length, std::uint32_t channel,
                  const std::uint8_t* samples);
// `length` samples of column x of `channel`, from row y upwards.
bool SQIF_GetColumn(SQIF qif, std::uint32_t x, std::uint32_t y, std::uint32_t length, std::uint32_t channel,
                    std::uint8_t* samples);
bool SQIF_PutColumn(SQIF qif, std::uint32_t x, std::uint32_t y, std::uint32_t length, std::uint32_t channel,
                    const std::uint8_t* samples);
bool SQIF_GetPixel(SQIF qif, std::uint32_t x, std::uint32_t y, std::uint32_t channel, std::uint8_t& value);
bool SQIF_PutPixel(SQIF qif, std::uint32_t x, std::uint32_t y, std::uint32_t channel, std::uint8_t value);
// The kSQIFTileSize samples of a tile; the one access of the buffered variant.
bool SQIF_ReadTile(SQIF qif, std::uint32_t tileX, std::uint32_t tileY, std::uint32_t channel, std::uint8_t* tile);
bool SQIF_WriteTile(SQIF qif, std::uint32_t tileX, std::uint32_t tileY, std::uint32_t channel,
                    const std::uint8_t* tile);

// --- Tags -----------------------------------------------------------------------------------

// Enters or replaces a tag of 1 to kSQIFMaxTagSize bytes under a name of 1 to
// 128 characters, and writes the list.
bool SQIF_PutTag(SQIF qif, StrIn name, const std::vector<std::uint8_t>& data);
// The data of a tag; false (data empty) when there is none.
bool SQIF_GetTag(SQIF qif, StrIn name, std::vector<std::uint8_t>& data);
// Removes a tag and writes the list; false when there was none.
bool SQIF_DestroyTag(SQIF qif, StrIn name);
// The size of a tag's data; -1 when there is none.
std::int64_t SQIF_TagSize(SQIF qif, StrIn name);
// Walks the tag names in the list's order; false, name empty, past the last.
bool SQIF_GetFirstTag(SQIF qif, StrOut name);
bool SQIF_GetNextTag(SQIF qif, StrOut name);
// Writes the whole tag list at its place and ends the file after it.
bool SQIF_RewriteTagList(SQIF qif);
