// WFstatusContent: the content of a folder and its window. A click on a
// folder of the graph opens the window (the dialog "WFstatus_FolderContent"
// of "FLOATDECKdlg"; one for the program, showing one folder): the files
// that lie in the folder, each in its state, and the commands an operator
// acts with: run files again, delete or move them, hand them to the queue,
// start or stop the folder, look at a file, read the demon's log.
//
// A file's state comes from four sources, asked in this order:
//   the job table (WFjobStat)  its job waits (4) or runs (5) in the queue
//   the demon's entry          a name it passes over (0: omitted files,
//                              hidden and temporary names never list)
//   the folder's scheme        a Rename folder's file that no scheme fits (1)
//   ".readyFiles"              handled and left in the folder (6)
//   the demon                  new (2), or in the demon's hands (3); files
//                              in state 2 are asked in one status query per
//                              list, and only while the demon runs
// A file list is made when its directory changed (its identity and time,
// like the graph's directory cache), when the filter changed, or when a
// file left the job table; otherwise a refresh only asks the job table. So
// a refresh of a quiet folder reads no directory and asks the demon nothing.
//
// The window keeps a copy of the folder read from disk, so that it outlives
// the workflow the graph shows; it closes when another workflow is shown or
// the mode changes ("workflow changed", "mode changed" on
// WFbase_switchboard) and refreshes on "folder content changed", "folder
// stopped/started" and "workflow stopped/started". Commands that changed a
// folder tell "folder content changed".
//
// Messages of "WFstatus": 1 to 8 the states, 29 a ticket that names no
// image, 50 to 69 the window's questions and failures.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/Strings.h"
#include "toolkit/I.h"
#include "toolkit/WtTableD.h"
#include "workflow/WFfolder.h"

// --- The window's values and elements --------------------------------------------------------

inline constexpr std::int32_t WFstatus_kCntCommand = 1;   // the commands below
inline constexpr std::int32_t WFstatus_kCntPath = 2;      // the directory listed
inline constexpr std::int32_t WFstatus_kCntLamp = 3;      // 0 not watched, 1 watched, 2 disk full, 3 remote
inline constexpr std::int32_t WFstatus_kCntFiles = 4;     // the list (element 994)
inline constexpr std::int32_t WFstatus_kCntPartners = 5;  // the second list of a check folder (element 995)
inline constexpr std::int32_t WFstatus_kCntHasDirs = 6;   // the folder has sub-directories to show
inline constexpr std::int32_t WFstatus_kCntTwoLists = 7;  // a check folder's two lists are shown
inline constexpr std::int32_t WFstatus_kCntShowDirs = 9;  // the directory pane is shown
inline constexpr std::int32_t WFstatus_kCntDirs = 10;     // the directory pane's tree (element 10)
inline constexpr std::int32_t WFstatus_kCntOutput = 13;   // show the folder's output directory instead
inline constexpr std::int32_t WFstatus_kCntOnlyImages = 14;
inline constexpr std::int32_t WFstatus_kCntPairMode = 16;     // 0 single files, 1 colour and line work in pairs
inline constexpr std::int32_t WFstatus_kCntDisplayMode = 17;  // 0 normal, 1 quick
inline constexpr std::int32_t WFstatus_kCntHost = 18;         // the host of a remote folder
inline constexpr std::int32_t WFstatus_kCntTickets = 19;      // 1: the folder passes job tickets
inline constexpr std::int32_t WFstatus_kCntTable = 994;       // elements of the two tables
inline constexpr std::int32_t WFstatus_kCntPartnerTable = 995;

// Commands (values of WFstatus_kCntCommand).
inline constexpr std::int32_t WFstatus_cntClose = 1;
inline constexpr std::int32_t WFstatus_cntRedo = 2;
inline constexpr std::int32_t WFstatus_cntDeleteAll = 4;
inline constexpr std::int32_t WFstatus_cntDelete = 5;
inline constexpr std::int32_t WFstatus_cntView = 7;
inline constexpr std::int32_t WFstatus_cntRedoAll = 8;
inline constexpr std::int32_t WFstatus_cntInfo = 9;
inline constexpr std::int32_t WFstatus_cntStartFiles = 11;
inline constexpr std::int32_t WFstatus_cntLog = 12;
inline constexpr std::int32_t WFstatus_cntStartFolder = 20;
inline constexpr std::int32_t WFstatus_cntStopFolder = 21;
inline constexpr std::int32_t WFstatus_cntMove = 30;  // and every other number: move into a chosen directory

// --- Files and their states ------------------------------------------------------------------

inline constexpr std::uint8_t WFstatus_fsOmitted = 0;   // the demon passes it over
inline constexpr std::uint8_t WFstatus_fsNoScheme = 1;  // no rename scheme of the folder fits
inline constexpr std::uint8_t WFstatus_fsNew = 2;       // waits to be taken
inline constexpr std::uint8_t WFstatus_fsInHand = 3;    // the demon has taken it
inline constexpr std::uint8_t WFstatus_fsQueued = 4;    // its job waits in the queue
inline constexpr std::uint8_t WFstatus_fsRunning = 5;   // its job runs
inline constexpr std::uint8_t WFstatus_fsHandled = 6;   // handled, left in the folder

// A file of a folder: a row of the window's tables.
struct WFstatus_File {
  WtTableD_Record link;      // next, selected
  char name[256];            // the whole name, as the directory holds it
  std::uint8_t state;
  char modifiedText[24];     // "yyyy-mm-dd hh:mm:ss", as the table shows it
  std::int64_t modified;     // ns, for telling a changed file
  std::int32_t seconds;      // the same in seconds, as the demon is asked
  std::int64_t size;
  bool listedReady;          // ".readyFiles" names it
};

// A list of files sorted by name, linked through link.next in this order.
using WFstatus_FileList = std::vector<WFstatus_File>;
// Links the records of `list` in their order; the first, nil for none.
WtTableD_Record* WFstatus_LinkFileList(WFstatus_FileList& list);

// The files of `directory` sorted by name (bytes), each with its time and
// whether ".readyFiles" names it; states not set. Hidden and temporary names
// and what is no regular file are passed over; a missing or unreadable
// directory has none. Lists are cached by the directory's identity and time
// (`fresh`: it was read now, not taken from the cache).
void WFstatus_CreateFileList(StrIn directory, WFstatus_FileList& list, bool* fresh = nullptr);
// Whether a check folder's own list is empty: no image (PDF files count,
// "-log.pdf" too) or job ticket waits in `directory`; notes beside them
// wait for nothing.
bool WFstatus_CheckListEmpty(StrIn directory);
// The states of `files` (of `directory`, listed by `folder`), taking over
// the selection of a file of the same name from `old`. Asks the demon about
// the new files (one query in as few requests as lines allow) unless the
// folder is stopped; without `askUnchanged` a file of `old` that did not
// change keeps the demon's answer (the directory was only read again).
void WFstatus_SetStatus(WFfolder folder, StrIn directory, WFstatus_FileList& files, const WFstatus_FileList& old,
                        bool askUnchanged = true);
// Whether the demon lets files be handed to it in partner modes, where the
// folder's scheme pairs files instead of naming each: then no single name
// is held against the scheme.
bool WFstatus_InSingleMode(WFfolder folder);

// The connection to the demon's file status service, opened when first
// needed while the demon runs (1000 ms to connect); a task every 5000 ms
// closes it when the demon went or it was not used for 300 s.
bool WFstatus_EstablishDemonConnection();
void WFstatus_CloseDemonConnection();

// --- Acting on files ---------------------------------------------------------------------------
// Names are those of `directory`; a file that is gone meanwhile is passed
// over. Failures are told in one message, and false answered.

// Removes the files, and their names from ".readyFiles".
bool WFstatus_DeleteFiles(StrIn directory, const std::vector<std::string>& names);
// Moves the files into `target` (WFfileOp: a name there is not replaced),
// and their names off ".readyFiles".
bool WFstatus_MoveFiles(StrIn directory, const std::vector<std::string>& names, StrIn target);
// Hands each file to the queue as the demon would, as a job of the folder's
// command in `directory` (the demon's entry of the directory names it).
// False, with a message, when the directory has no entry or the queue
// refused a job.
bool WFstatus_StartFiles(StrIn directory, const std::vector<std::string>& names);

// --- Pairs and tickets -------------------------------------------------------------------------

// A name without "-log.pdf", or else without its suffix.
std::string WFstatus_GetBasename(const std::string& name);
// Whether `a` and `b` are a coupled pair: one continuous-tone image and one
// line-work image of the same base name.
bool WFstatus_IsCoupledAHF(const std::string& a, const std::string& b);
// Selects in `partners` the line-work files whose base name is that of a
// selected file of `files`, and only those; whether anything changed.
bool WFstatus_SelectPartner(const WFstatus_FileList& files, WFstatus_FileList& partners);
// The image a job ticket `name` of `directory` names; false (message 29
// shown) when it names none.
bool WFstatus_ResolveTicketName(StrIn directory, StrIn name, StrOut image);

// --- The window -----------------------------------------------------------------------------

// Shows the content window of `folder` (made when first needed); false, and
// nothing shown, for nil and a folder of kind 33, which has no content.
bool WFstatus_ShowFolderContent(WFfolder folder);
// A refresh of the window while it is shown (the main window's idle task
// and the commands call it); nothing otherwise.
void WFstatus_UpdateFolderContent();
// Takes the window down.
void WFstatus_CloseFolderContent();
bool WFstatus_FolderContentShown();
// The window's context (nil when never made), the folder's directory shown
// and the files listed.
I_Context WFstatus_FolderContentContext();
std::string WFstatus_ContentDirectory();
const WFstatus_FileList& WFstatus_ContentFiles();
// Shows the folder's demon log in the text viewer, asking the demon to write
// it (its request file) when it does not.
bool WFstatus_ShowLog(StrIn directory);
// Writes the view options of the window's folder ("DISPLAYMODE", "PAIRMODE",
// "PAIR_CT_LW") into its rc file.
bool WFstatus_SaveCheckOpts();
