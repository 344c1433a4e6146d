// SImage: the image abstraction. All tools open, read, write and close raster
// images through it, by scan lines, columns or pixels, without knowing the
// file format; each format is served by a driver module (SIqif, SItiff, ...)
// that fills an image record's procedures when it opens or makes a file.
//
// The format table. Every format the suite knows has a fixed driver number
// (its row in the table below the first dynamic number), a description (the
// text of choice boxes, kept as it stands in every language), a default
// suffix with its dot, and an expression (POSIX extended, for SRegExpr) that
// recognises a file name of the format. A few formats have no default
// suffix: their names carry the format in a varying ending. A driver module
// enters its procedures into its format's row at start
// (SImage_RegisterDriverStatic); external drivers get rows of their own
// (SImage_RegisterDriver). What a format can do (read, write, line work) is
// asked of its driver; a format without a driver can do nothing, but it is
// still listed, so that hot folders recognise its files.
//
// Format lists are chains of entries sorted by description (byte order),
// owned by the caller who asked for them. Walk one as
//   for (SImage_FormatList e = list; e != nullptr; e = e->next) ...
// and free it with SImage_DestroyListOfSupportedFormats.
//
// Images. Rows count from the bottom (row 0 is the lowest line) and columns
// from the left. An image is opened in an order of access, which says which
// way its sequential scans run: top to bottom (rows from the last one down),
// bottom to top, left to right or right to left (columns). Random access by
// row or column works in any order where the driver offers it. A scan is an
// SScan as long as a row (hRes) or a column (vRes), with at least the
// channels that are selected; only selected channels are read or written,
// each into the scan channel of its own number. Scans of another depth than
// the image's are converted (see SScan_Convert).
//
// Names may carry a line resolution for the image they name: "NAME@X" or
// "NAME@XxY" in lines per cm. It stands for the image's resolution where the
// file has none of its own (and is the resolution of a new image) in place
// of SImage_crlinesCMx and SImage_crlinesCMy, which are back at 120.0 after
// every open or create.
//
// Errors: a failing call sets SImage_imgError, pushes the image's name as a
// reason and shows nothing; the caller reports with SImage_Error or forgets.
// 1 read or written past the end of the image, 2 the file could not be
// written, 3 the image data are damaged, 4 format not recognised, 5 open in
// write mode, 6 opening failed, 7 tile layout not the format's, 8 image too
// large for its format, 9 operation not supported, 10 no random access on a
// buffered file, 12 no LUT, 15 no valid resolution. Probing calls (formats,
// capabilities, resolutions) switch messages off and forget their reasons.
//
// Images belong to one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/Strings.h"
#include "image/SScan.h"

struct SImage_Rec;
using SImage = SImage_Rec*;

// --- Numbers -------------------------------------------------------------------------

inline constexpr std::size_t kSImageMaxDrivers = 128;
// SImage_RegisterDriver hands out numbers from here.
inline constexpr std::uint8_t kSImageFirstDynamicDriver = 58;
// The number of no driver: a record's format until a driver opens it.
inline constexpr std::uint8_t SImage_kNoDriver = 55;
// The fixed numbers of the drivers built into the suite.
inline constexpr std::uint8_t SImage_kDriverQIF = 0;
inline constexpr std::uint8_t SImage_kDriverTIFF = 6;

// Modes.
inline constexpr std::uint8_t SImage_kRead = 0;
inline constexpr std::uint8_t SImage_kWrite = 1;
inline constexpr std::uint8_t SImage_kUpdate = 2;

// Orders of access.
inline constexpr std::uint8_t SImage_kTopBottom = 0;
inline constexpr std::uint8_t SImage_kBottomTop = 1;
inline constexpr std::uint8_t SImage_kLeftRight = 2;
inline constexpr std::uint8_t SImage_kRightLeft = 3;

// Flags of SImage_Open: a file whose name tells no format is tried with
// every driver that can read (SImage_TryFormats).
inline constexpr unsigned SImage_kTryFormats = 1u << 0;

// Capabilities, the answer of a driver for a name and a direction. The first
// seven say what kinds of image a direction handles; a direction is possible
// when any of them is set.
inline constexpr std::uint32_t SImage_kCapBilevel = 1u << 0;
inline constexpr std::uint32_t SImage_kCapGrey = 1u << 1;
inline constexpr std::uint32_t SImage_kCapRGB = 1u << 2;
inline constexpr std::uint32_t SImage_kCapCMYK = 1u << 3;
inline constexpr std::uint32_t SImage_kCapMultiChannel = 1u << 4;
inline constexpr std::uint32_t SImage_kCapDeep = 1u << 5;     // 16-bit samples
inline constexpr std::uint32_t SImage_kCapIndexed = 1u << 6;  // palette images, read as indices
inline constexpr std::uint32_t SImage_kCapKinds = 0x7Fu;
inline constexpr std::uint32_t SImage_kCapColumns = 1u << 8;  // the column orders
inline constexpr std::uint32_t SImage_kCapTags = 1u << 9;
inline constexpr std::uint32_t SImage_kCapLinework = 1u << 10;
inline constexpr std::uint32_t SImage_kCapNotUnixFS = 1u << 11;
inline constexpr std::uint32_t SImage_kCapDevice = 1u << 12;

// The error of the last failing call; 0 after none.
extern std::uint8_t SImage_imgError;
// The resolution, in lines per cm, of the next image opened or made without
// one of its own; both go back to 120.0 after each open or create.
extern double SImage_crlinesCMx;
extern double SImage_crlinesCMy;
inline constexpr double kSImageDefaultLineRes = 120.0;

// --- Driver procedures -----------------------------------------------------------------

// Fills the record (see SImage_Rec) for reading or updating, or makes the
// file `fileName` of hRes, vRes and channels for writing. False, with
// SImage_imgError set and everything the driver took freed, on failure.
using SImage_OpenProc = bool (*)(SImage image);
using SImage_CreateProc = bool (*)(SImage image);
// What the driver can do with a file of this name in mode 0 (read) or 1 (write).
using SImage_CapabilitiesProc = std::uint32_t (*)(StrIn name, std::uint8_t mode);
// Whether driver `driver` takes a file of this name.
using SImage_RecognizeProc = bool (*)(std::uint8_t driver, StrIn name);
// The largest width and height the format holds.
using SImage_LimitsProc = void (*)(StrIn name, std::uint32_t& hLimit, std::uint32_t& vLimit);

using SImage_ScanProc = bool (*)(SImage image, SScan scan);
using SImage_SkipProc = bool (*)(SImage image, std::uint32_t count);
using SImage_RandomProc = bool (*)(SImage image, std::uint32_t index, SScan scan);
using SImage_AddChannelsProc = bool (*)(SImage image, std::uint32_t count);
using SImage_CloseProc = bool (*)(SImage image);
using SImage_GetLUTProc = bool (*)(SImage image, std::uint32_t channel, std::uint8_t* lut);
using SImage_SetLUTProc = bool (*)(SImage image, std::uint32_t channel, const std::uint8_t* lut);
using SImage_GetDataProc = bool (*)(SImage image, std::vector<std::uint8_t>& data);
using SImage_SetDataProc = bool (*)(SImage image, const std::vector<std::uint8_t>& data);
using SImage_PutTagProc = bool (*)(SImage image, StrIn name, const std::vector<std::uint8_t>& data);
using SImage_GetTagProc = bool (*)(SImage image, StrIn name, std::vector<std::uint8_t>& data);
using SImage_TagNameProc = bool (*)(SImage image, StrOut name);
using SImage_DestroyTagProc = bool (*)(SImage image, StrIn name);
using SImage_TagSizeProc = std::int64_t (*)(SImage image, StrIn name);

// --- The format table ------------------------------------------------------------------

// A driver's row: the format as the table gives it, the procedures its
// driver entered, and what the driver answered about the format.
struct SImage_Format {
  char driver[16];     // the module that serves the format ("SIqif"); empty for the devices
  char name[128];      // description, as choice boxes show it
  char suffix[6];      // default suffix with the dot; empty where names vary
  char altSuffix[6];   // a second suffix that names the format (SImage_SetAlternativeSuffix)
  char regExpr[128];   // expression that recognises a file name of the format
  char typeFlag;       // ' ' leaves the format out of all format lists; 'S' lists it
  bool canRead;        // what the capabilities say, when the lists are made
  bool canWrite;
  bool isLinework;     // false: continuous tone
  bool onUnixFS;       // its files lie on the Unix file system
  bool isDevice;       // an output device, not a file
  SImage_OpenProc open;             // nullptr until a driver registers
  SImage_CreateProc create;
  SImage_CapabilitiesProc capabilities;
  SImage_RecognizeProc recognize;   // SImage_DummyRecognize until set
  SImage_LimitsProc limits;         // SImage_DummyLimits until set
};

// Starts the module: the table, and the removal of unfinished new images'
// temporary files when the process ends. The list functions call it themselves.
void SImage_Init();

// The number of fixed rows of the table.
std::size_t SImage_FormatCount();
// The row of driver `number`; nullptr for an empty slot. The row belongs to
// the module and lives as long as the process.
const SImage_Format* SImage_GetFormat(std::size_t number);

// --- Drivers -----------------------------------------------------------------------------

// Enters a driver's procedures into the fixed row `number`. A row that has a
// driver already, or no format, keeps what it has: a line on standard error,
// and false.
bool SImage_RegisterDriverStatic(std::uint8_t number, SImage_OpenProc open, SImage_CreateProc create,
                                 SImage_CapabilitiesProc capabilities);
// A new row for an external driver, at the next free number from
// kSImageFirstDynamicDriver; SImage_kNoDriver when the table is full.
std::uint8_t SImage_RegisterDriver(StrIn suffix, StrIn description, StrIn regExpr, char typeFlag,
                                   SImage_OpenProc open, SImage_CreateProc create,
                                   SImage_CapabilitiesProc capabilities);
// A second suffix that names the format of driver `number`.
void SImage_SetAlternativeSuffix(std::uint8_t number, StrIn suffix);
void SImage_SetFormatNameRecognition(std::uint8_t number, SImage_RecognizeProc recognize);
void SImage_SetFormatLimitsCB(std::uint8_t number, SImage_LimitsProc limits);
// The defaults: no name is taken; no limit is known (the largest 32-bit value).
bool SImage_DummyRecognize(std::uint8_t driver, StrIn name);
void SImage_DummyLimits(StrIn name, std::uint32_t& hLimit, std::uint32_t& vLimit);
// A recognition drivers may set: the name matches the row's expression.
bool SImage_RecognizeByExpression(std::uint8_t driver, StrIn name);

// The driver of a file by its name (`path`, with its `suffix` as
// SFilMisc_SuffixOf gives it): rows whose default or alternative suffix is
// the suffix, then the drivers' recognition; "pipe.dev" and named pipes are
// the devices. False, with driver SImage_kNoDriver, when no driver takes it.
// `mode` is the direction the file is wanted for.
bool SImage_RecognizeFormat(std::uint8_t mode, StrIn path, StrIn suffix, std::uint8_t& driver);
// What the driver of `name` can do in mode 0 (read) or 1 (write); 0 when no
// driver takes the name.
std::uint32_t SImage_InquireCapabilities(StrIn name, std::uint8_t mode);
// Whether the file can be read sequentially in `order`.
bool SImage_SequencePossible(StrIn name, std::uint8_t order);
// The largest image the format of `name` holds; false when no driver takes it.
bool SImage_GetLimits(StrIn name, std::uint32_t& hLimit, std::uint32_t& vLimit);
// The line-work format of a continuous-tone one and back (".qif" and ".qlf",
// ".sct" and ".slw", ...), by default suffix; false, related empty, when the
// format has no partner.
bool SImage_GetRelatedFormat(StrIn suffix, StrOut related);

// --- Format lists --------------------------------------------------------------------

// One entry of a format list.
struct SImage_FormatListEntry {
  SImage_FormatListEntry* next;  // the following entry; nullptr after the last
  bool preselected;              // true for the main format ".qif"
  char description[128];
  char suffix[6];                // default suffix with the dot; empty where names vary
  char regExpr[128];
};
// A list is its first entry; the empty list is nil.
using SImage_FormatList = SImage_FormatListEntry*;

// Selection mask bits of SImage_GetListOfSelectedSupportedFormats. The first
// five narrow the formats that are no devices; a device passes exactly when
// SImage_kNoDevices is clear.
inline constexpr unsigned SImage_kNeedRead = 1u << 0;
inline constexpr unsigned SImage_kNeedWrite = 1u << 1;
inline constexpr unsigned SImage_kNeedUnixFS = 1u << 2;
inline constexpr unsigned SImage_kNeedContone = 1u << 3;
inline constexpr unsigned SImage_kNeedLinework = 1u << 4;
inline constexpr unsigned SImage_kNoDevices = 1u << 5;
// The tile format's expression also takes the imposition files.
inline constexpr unsigned SImage_kTileWithImposition = 1u << 7;

// The empty list.
SImage_FormatList SImage_NilFormatList();
// Every listed format, devices included, sorted by description; nil when there
// is none. The caller owns the list.
SImage_FormatList SImage_GetListOfSupportedFormats();
// The listed formats that pass `mask` (bits above), in the same order; nil
// when none does. The caller owns the list. What each format can do is asked
// of the drivers once, and again after a driver registers.
SImage_FormatList SImage_GetListOfSelectedSupportedFormats(unsigned mask);
// Frees every entry of `list` and sets it to nil; nil is accepted.
void SImage_DestroyListOfSupportedFormats(SImage_FormatList& list);

// The first entry of `list` whose default suffix is `suffix` exactly (case
// counts: ".sct" and ".Sct" are two formats); nullptr when there is none or
// suffix is empty. The entry belongs to the list.
const SImage_FormatListEntry* SImage_FindSupportedFormat(SImage_FormatList list, StrIn suffix);

// --- The image record ------------------------------------------------------------------

// Callers read the fields; drivers fill them. When a driver's open or create
// runs, mode, order, name, fileName, path and suffix are set, every procedure
// is its default (the Null forms: error 9; LUTs error 12), format is the
// driver's number and resX, resY the resolution of the name or the default.
// A driver sets hRes, vRes, channels, bits, close and the procedures that fit
// mode and order, reports through SImage_imgError and frees all it took on
// failure. For create, hRes, vRes and channels are set before.
struct SImage_Rec {
  std::uint8_t mode;
  std::uint8_t order;
  char name[kTextCap];      // the file's name, without a resolution
  char fileName[kTextCap];  // the file the driver works on: the name, or for a new image a temporary beside it
  char path[128];           // the directory part of the name
  char suffix[128];         // the suffix of the name, with its dot
  std::uint32_t hRes;       // width in pixels
  std::uint32_t vRes;       // height in pixels
  std::uint32_t channels;   // channels in the file, at most kSScanMaxChannels
  std::uint8_t bits;        // bits per sample: 1, 8 or 16
  double resX, resY;        // line resolution in lines per cm
  std::uint64_t channelMask;  // channels selected for reading and writing
  SImage_ScanProc readScan;
  SImage_ScanProc readHRScan;
  SImage_SkipProc skipScan;
  SImage_RandomProc randomRead;
  SImage_RandomProc randomColumnRead;
  SImage_ScanProc writeScan;
  SImage_RandomProc randomWrite;
  SImage_RandomProc randomColumnWrite;
  SImage_AddChannelsProc addChannels;
  SImage_CloseProc close;
  void* driverData;
  std::uint8_t format;      // the driver's number
  SImage_GetLUTProc getLUT;
  SImage_SetLUTProc setLUT;
  SImage_GetDataProc getEmbeddedProfile;
  SImage_GetDataProc getOutputIntent;
  SImage_SetDataProc setOutputIntent;
  bool hasTags;
  SImage_PutTagProc putTag;
  SImage_GetTagProc getTag;
  SImage_DestroyTagProc destroyTag;
  SImage_TagNameProc getFirstTag;
  SImage_TagNameProc getNextTag;
  SImage_TagSizeProc tagSize;
  char creator[kNameCap];   // the tag "CREATOR", read at open when the driver has tags
  SScan depthScan;          // SImage's own: the scan of the image's depth for converting
};

// --- Open, make, close ---------------------------------------------------------------

// Opens an image in `mode` (read or update; write is error 5) and `order`;
// `flags` are the SImage_k... open flags. After the driver, the channel mask
// selects every channel, both resolutions must be above 0.000001 (error 15),
// and the creator is read. Nil on failure. The caller owns the image.
SImage SImage_Open(StrIn name, unsigned flags, std::uint8_t mode, std::uint8_t order);
// The same with the driver given by number.
SImage SImage_TypedOpen(StrIn name, unsigned flags, std::uint8_t mode, std::uint8_t order, std::uint8_t driver);
// Tries the readable drivers on the file's content, quietly, for a file of
// more than one byte: the image of the first that opens it, or nil (error 4).
SImage SImage_TryFormats(StrIn name, std::uint8_t mode, std::uint8_t order);
// Makes a new image of 8-bit samples, with the format of the name's suffix,
// to be written in `order`. It is written to a temporary file beside the
// name, which SImage_Close puts in place. Nil on failure.
SImage SImage_Create(StrIn name, std::uint32_t hRes, std::uint32_t vRes, std::uint32_t channels,
                     std::uint8_t order);
// Closes the image through its driver, puts a new image in place, frees the
// record and sets the handle to nil. False when the driver or the renaming
// failed (a new image's temporary is removed then, the target untouched).
// Nil is accepted.
bool SImage_Close(SImage& image);
// Closes the image and removes its file: a new image is abandoned (its
// temporary goes, the target stays untouched). False for nil.
bool SImage_Remove(SImage& image);
// Removes the temporary files of every new image not yet closed; runs when
// the process ends.
void SImage_RemoveTmpFiles();

// --- Header -------------------------------------------------------------------------

// Selects the channels to read and write; bits above the file's channels are
// cut off. Error 9 for nil.
bool SImage_SelectChannels(SImage image, std::uint64_t mask);
// Sets the line resolution (both above 0.000001; error 15 otherwise), kept in
// the file by a driver that can.
bool SImage_SetLineRes(SImage image, double resX, double resY);
// Sets the creator, kept in the tag "CREATOR" by a driver with tags.
bool SImage_SetCreator(SImage image, StrIn creator);
// The resolution and size of an image file, opened quietly and closed again;
// of PostScript and PDF files (which have no driver) the size in points of
// their bounding box or page box, at the resolution of points.
bool SImage_GetResolution(StrIn name, double& resX, double& resY, std::uint32_t& hRes, std::uint32_t& vRes);

// --- Scans ----------------------------------------------------------------------------
// Each checks its handle and scan (error 9) and calls the driver's procedure.

bool SImage_ReadScan(SImage image, SScan scan);
bool SImage_ReadHRScan(SImage image, SScan scan);
bool SImage_SkipScan(SImage image, std::uint32_t count);
bool SImage_RandomRead(SImage image, std::uint32_t row, SScan scan);
bool SImage_RandomColumnRead(SImage image, std::uint32_t column, SScan scan);
bool SImage_WriteScan(SImage image, SScan scan);
bool SImage_RandomWrite(SImage image, std::uint32_t row, SScan scan);
bool SImage_RandomColumnWrite(SImage image, std::uint32_t column, SScan scan);
bool SImage_AddChannels(SImage image, std::uint32_t count);

// --- Tables, profiles, tags --------------------------------------------------------------

// The 256-entry table of `channel`.
bool SImage_GetLUT(SImage image, std::uint32_t channel, std::uint8_t* lut);
bool SImage_SetLUT(SImage image, std::uint32_t channel, const std::uint8_t* lut);
// ICC data.
bool SImage_GetEmbeddedProfile(SImage image, std::vector<std::uint8_t>& profile);
bool SImage_GetOutputIntent(SImage image, std::vector<std::uint8_t>& profile);
bool SImage_SetOutputIntent(SImage image, const std::vector<std::uint8_t>& profile);
// Named byte strings kept with the image.
bool SImage_PutTag(SImage image, StrIn name, const std::vector<std::uint8_t>& data);
bool SImage_GetTag(SImage image, StrIn name, std::vector<std::uint8_t>& data);
bool SImage_DestroyTag(SImage image, StrIn name);
bool SImage_GetFirstTag(SImage image, StrOut name);
bool SImage_GetNextTag(SImage image, StrOut name);
// The size of a tag's data; -1 when there is no such tag.
std::int64_t SImage_TagSize(SImage image, StrIn name);

// --- Errors -----------------------------------------------------------------------------

// Reports SImage_imgError as message of its number of section "SImage".
void SImage_Error();
// Pushes `name` as a reason.
void SImage_SupplyErrorInfos(StrIn name);
// Sets SImage_imgError and pushes the image's name: for drivers.
bool SImage_Fail(SImage image, std::uint8_t error);
