// WFconfig: the user-defined components of a site, the file "floatdeck.cfg".
//
// A component is a hot folder with a command of the site's own, used in
// workflows as a folder of kind 42 (with outs) or 49 (without). The file lies
// in the first element of TV_CUSTOMER; a second one of the same name in
// "env" below MARLLIB holds the components the tool dialog offers ready made.
// One component per line of SConfigF fields, "FOLDER" first:
//
//   #Created by Workflow Manager
//   FOLDER=/projects/x:SUBDIRS=TRUE:CMD=x.sh:OPTIONS=-rc:SHORTDESC=X:OUTS=1
//
// The module keeps a cached copy of the file, parsed again only when the
// file's time changes; every query looks at that time first. Illegal
// components (see WFconfig_DeleteIllegalEntries) never reach a list.
//
// WFconfig_error: 0 none, 1 the file could not be written (the old one
// stays), 2 a one-string form could not be read. Failures are answers: this
// module reports no messages of its own and lets none of the lower ones out.
#pragma once

#include <cstdint>

#include "base/SConfigF.h"
#include "base/Strings.h"
#include "watch/TVWcfg.h"

inline constexpr char WFconfig_cfgName[] = "floatdeck.cfg";
inline constexpr std::size_t kWFconfigShortDescCap = 10;
// A component has at most this many outs.
inline constexpr std::uint32_t kWFconfigMaxOuts = 2;

// One component. A list owns its entries, linked by next.
struct WFconfig_Entry {
  WFconfig_Entry* next;
  bool selected;                           // dialog mark
  char shortDesc[kWFconfigShortDescCap];   // text on the icon; the identity users see
  char folder[kTextCap];                   // the hot folder
  bool subdirs;                            // workflows get sub-folders in it
  char files[kTextCap];                    // expression of the files taken
  char cmd[kNameCap];
  char options[kNameCap];                  // the rc file option
  char readableCmd[kNameCap];              // the command's name for people
  bool highCPU;
  char icon[kTextCap];
  char stoppedIcon[kTextCap];
  std::uint32_t outs;
  bool multipleFiles;
  char precondResource[kNameCap];
  char precondScript[kNameCap];
  bool sortedSubmit;
  std::uint32_t atOnce;
  std::uint32_t silence;
  std::int32_t user;   // -1: none
  std::int32_t group;  // -1: none
  bool mark;           // free for the caller
};

// A list is its first entry; the empty list is nil.
using WFconfig_List = WFconfig_Entry*;

extern std::uint8_t WFconfig_error;

// Computes the file's resource name and announces it; starts the modules
// used. Once.
void WFconfig_Init();

// --- Components and lists ----------------------------------------------------------

// A blank component for the dialog: subdirs true, highCPU false, cmd empty,
// the rest as a parsed line starts. The caller owns it.
WFconfig_Entry* WFconfig_CreateComponent();
// An unlinked copy of `entry`, owned by the caller; nil for nil.
WFconfig_Entry* WFconfig_CopyComponent(const WFconfig_Entry* entry);
// Frees one component (not its successors); nil is accepted.
void WFconfig_DestroyComponent(WFconfig_Entry* entry);
// Appends `entry` (its next is set to nil) at the end; the list owns it.
void WFconfig_AppendEntry(WFconfig_List& list, WFconfig_Entry* entry);
// Frees every entry of the list and sets it to nil; nil is accepted.
void WFconfig_DestroyList(WFconfig_List& list);
// Drops from `list` every component that is not legal: with outs, subdirs
// and options are required; without outs, subdirs, options and multipleFiles
// must be absent; outs must be below 3. With TEST=Floatdeck each component
// is told on standard output.
void WFconfig_DeleteIllegalEntries(WFconfig_List& list);

// --- The file ------------------------------------------------------------------------

// The full name of the site's file (first element of TV_CUSTOMER).
void WFconfig_GetCfgFilename(StrOut name);
// The site's components, cleaned; the caller owns the list (nil when the file
// is missing or empty).
WFconfig_List WFconfig_LoadConfiguration();
// The preconfigured components ("env" below MARLLIB), cleaned; the caller
// owns the list.
WFconfig_List WFconfig_GetPreconfigured();
// Writes `list` (still owned by the caller) through a temporary file renamed
// over the site's file. True on success; false with error 1, the old file
// kept. Either way the next query parses the file again.
bool WFconfig_SaveConfiguration(WFconfig_List list);
// Writes one component as one line of `file`, in the file's field order,
// empty strings and default flags left out.
void WFconfig_GenerateEntry(SConfigF file, const WFconfig_Entry& entry);

// --- Queries on the cached file --------------------------------------------------------

// Parses the file again when its time differs from the cached one; a
// missing file empties the cache.
void WFconfig_ReloadCfg();
// Walks the cache: the first reloads if needed. `entry` points into the
// cache and stays valid until the next query that reloads. False at the end.
bool WFconfig_GetFirstEntry(const WFconfig_Entry*& entry);
bool WFconfig_GetNextEntry(const WFconfig_Entry*& entry);
// True when a component owns `path`: its folder, or, with subdirs, a parent
// of the path. The first such component in file order is copied into
// `entry` (unlinked).
bool WFconfig_GetEntry(StrIn path, WFconfig_Entry& entry);
// The first component whose short description equals `text`, copied.
bool WFconfig_GetEntryByShortDesc(StrIn text, WFconfig_Entry& entry);

// --- Derived forms ------------------------------------------------------------------------

// The demon's entry for the component's folder, owned by the caller; nil for
// nil.
TVWcfg_Entry* WFconfig_CreateDemonConfigEntry(const WFconfig_Entry* entry);
// Every field of `entry` in one line for the synchronisation protocol:
// fields joined by ":", each with "\", ":" and "/" escaped.
void WFconfig_EntryToString(const WFconfig_Entry& entry, StrOut text);
// Reads that form into `entry` (unlinked; marks cleared). False with error 2
// when fields are missing or a number does not convert.
bool WFconfig_StringToEntry(StrIn text, WFconfig_Entry& entry);

// --- Exclusive use of the file ------------------------------------------------------------

// Reserves the file on the resource manager for this process (freed if it
// dies). False when another holds it or the manager can't be reached.
bool WFconfig_Reserve();
// Gives the reservation back.
void WFconfig_Release();
