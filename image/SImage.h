// SImage: the image abstraction. This part is its format registry: the fixed
// table of the file formats the suite knows, and the format lists that choice
// boxes and file expressions are made from.
//
// Every format has a description (the text of choice boxes, kept as it stands
// in every language), a default suffix with its dot, and an expression (POSIX
// extended, for SRegExpr) that recognises a file name of the format. A few
// formats have no default suffix: their names carry the format in a varying
// ending. Until a driver answers for its own format, a format counts as
// readable and writable on a Unix file system; the table fixes whether it is
// line work and whether it is a device.
//
// A format list is a chain of entries sorted by description (byte order),
// owned by the caller who asked for it. Walk it as
//   for (SImage_FormatList e = list; e != nullptr; e = e->next) ...
// and free it with SImage_DestroyListOfSupportedFormats.
#pragma once

#include <cstddef>

#include "base/Strings.h"

// --- The format table ---------------------------------------------------------------

// One row of the table.
struct SImage_Format {
  char driver[16];     // the module that serves the format ("SIqif"); empty for the devices
  char name[128];      // description, as choice boxes show it
  char suffix[6];      // default suffix with the dot; empty where names vary
  char regExpr[128];   // expression that recognises a file name of the format
  char typeFlag;       // ' ' leaves the format out of all format lists; 'S' lists it
  bool canRead;
  bool canWrite;
  bool isLinework;     // false: continuous tone
  bool onUnixFS;       // its files lie on the Unix file system
  bool isDevice;       // an output device, not a file
};

// Starts the module: the master list (the listed rows sorted by description)
// is made here, once. The list functions call it themselves.
void SImage_Init();

// The number of rows of the table.
std::size_t SImage_FormatCount();
// Row `index` in table order; nullptr past the last row. The row belongs to
// the module and lives as long as the process.
const SImage_Format* SImage_GetFormat(std::size_t index);

// --- Format lists -------------------------------------------------------------------

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
// when none does. The caller owns the list.
SImage_FormatList SImage_GetListOfSelectedSupportedFormats(unsigned mask);
// Frees every entry of `list` and sets it to nil; nil is accepted.
void SImage_DestroyListOfSupportedFormats(SImage_FormatList& list);

// The first entry of `list` whose default suffix is `suffix` exactly (case
// counts: ".sct" and ".Sct" are two formats); nullptr when there is none or
// suffix is empty. The entry belongs to the list.
const SImage_FormatListEntry* SImage_FindSupportedFormat(SImage_FormatList list, StrIn suffix);
