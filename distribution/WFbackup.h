// WFbackup: a workflow as one archive and back, and the list of what belongs
// to a workflow on disk.
//
// What is kept of a workflow are its rc files and the files they refer to,
// never the data that flows through it: a directory (the error and end
// directories, passive ends) is kept as itself with a placeholder ".dummy"
// in it. The archive is a tar file made and read by GNU tar, "gtar" when it
// is on PATH, else "tar"; every argument passes the shell escaped. Its
// members are relative to the projects directory ("./workflow/NAME/..."), with
// files outside that directory under their absolute names, plus a small
// description ".wfarchive" in the start directory: the workflow's name, the
// projects directory it came from and its group.
//
// An archive from elsewhere is not trusted. Unpacking first lists it and
// refuses it whole, before anything is written, when a member has an
// absolute name or one with "..", is a link leading out of the projects
// directory, lies behind a link of the archive, is a device or other special
// file, or has a name too long for a path. It is then extracted into a
// private directory inside the projects directory and moved into place from
// there, so a damaged archive changes nothing. An existing workflow is never
// overwritten, and existing files are kept. The workflow takes the archive's
// name: a renamed archive, or one from another projects directory, has its
// paths (members, rc files, places) moved to the name and directory here.
// It is then brought into the demon's configuration as an install does,
// with every folder stopped, and rejoins its group.
//
// Messages (section "WFbackup") go through WFbase_Message: to standard
// error in batch work.
#pragma once

#include <string>

#include "base/Strings.h"
#include "workflow/WFbase.h"
#include "workflow/WFmodule.h"

// Set at start: the value of TMP, the projects directory (first element of
// TV_PROJECTS) and "wfbackup" in it.
extern char WFbackup_tmpDir[kTextCap];
extern char WFbackup_dataDir[kTextCap];
extern char WFbackup_backupDir[kTextCap];

// The placeholder in a kept directory, and the archive's own description.
inline constexpr char WFbackup_dummyName[] = ".dummy";
inline constexpr char WFbackup_infoName[] = ".wfarchive";

// Starts the workflow model, the groups and the shell helpers, and sets the
// directories; once.
void WFbackup_Init();

void WFbackup_GetBackupDir(StrOut dir);
// "gtar" when it is on PATH, else "tar".
void WFbackup_GetTarProgram(StrOut program);

// --- The list of a workflow's files ---------------------------------------------------------

// What belongs to `workflow` on disk, folder by folder: the start folder's rc,
// places, error and end directories (and, with `withLinks`, a start that is a
// link: its target as a directory and the link); a passive end as a
// directory; every other folder's rc; with `withMarks` on multi-host folders
// the installer marks; the files the parameters refer to; for a component
// its folder into `userDefList` when that is given, else its command and
// icon (unless they lie below MARLLIB) and the components' file. Directory
// entries carry the flag. Nil for a nil workflow; the caller owns the list.
WFmodule_FileList WFbackup_BuildFilelist(WFbase workflow, bool withLinks, bool withMarks,
                                         WFmodule_FileList userDefList);
// The list for packing workflow `name`, rebuilt from disk without repairs;
// nil when it can't be rebuilt.
WFmodule_FileList WFbackup_GetFilelist(StrIn name);
// Writes the list for GNU tar, one path a line: relative to the projects
// directory ("./...") unless `absolute`, what doesn't exist left out, a
// directory as its ".dummy" (made here; message 2 and left out when it can't
// be). A backslash and a line feed in a path are written "\\" and "\n",
// which tar reads back. False when the file can't be written.
bool WFbackup_WriteFilelist(WFmodule_FileList list, bool absolute, StrIn fileName);

// --- Archives -------------------------------------------------------------------------------

// The archive's description: the workflow's name, the projects directory it
// was packed in, its group.
struct WFbackup_Info {
  char workflow[kNameCap] = "";
  char projects[kPathCap] = "";
  char group[kNameCap] = "";
};

// Packs the files of `list` (relative to the projects directory) and, with
// `info`, the description into the start directory of info's workflow.
// The archive is `archive` (an absolute path), replaced in one step when all
// went well and given mode 0666; or, with `stream` at 0 or above, the open
// descriptor `stream` (it stays the caller's) and `archive` is not used.
// True when tar ended well.
bool WFbackup_PackFilelist(WFmodule_FileList list, const WFbackup_Info* info, StrIn archive, int stream);
// Packs workflow `name` into "NAME.tar" in `targetDir` (empty: the backup
// directory; made when missing). `archive` gets the archive's path. True on
// success.
bool WFbackup_PackWorkflow(StrIn name, StrIn targetDir, StrOut archive);

// Checks and extracts `archive` (an absolute path) into the projects
// directory as workflow `name`, moving its paths there (see above); `info`
// gets the archive's description (empty fields when it has none). Members
// whose files exist are kept (message 20) and make the result false; the
// others are in place then. False with a message when the archive is
// refused or can't be extracted; then nothing was written.
bool WFbackup_ExtractArchive(StrIn archive, StrIn name, WFbackup_Info& info);
// Unpacks the archive `archive` as the workflow named by its file name
// without ".tar"; a relative name lies in the backup directory, and ".tar"
// is added when missing. Then makes the workflow's end and error
// directories, its demon entries (all folders stopped) and its group. An
// existing workflow of that name: message 11, false.
bool WFbackup_UnpackWorkflow(StrIn archive);

// --- Staging ---------------------------------------------------------------------------------

// A private directory (mode 0700) inside the projects directory, named like a
// temporary file of `prefix`; it goes with everything in it when the object
// does, however the work in it ends.
class WFbackup_Stage {
 public:
  WFbackup_Stage() = default;
  WFbackup_Stage(const WFbackup_Stage&) = delete;
  WFbackup_Stage& operator=(const WFbackup_Stage&) = delete;
  ~WFbackup_Stage();
  // False when it could not be made.
  bool Make(StrIn prefix);
  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

// --- Checking an archive's listing ------------------------------------------------------------

// One member as "tar --list --verbose --quoting-style=c" tells it: its type
// ('-' file, 'd' directory, 'l' symbolic link, 'h' hard link, others as tar
// shows them), its name and the link's target, unquoted.
struct WFbackup_Member {
  char type = '?';
  char name[kTextCap] = "";
  char link[kTextCap] = "";
};
// Reads one line of the listing; false when it has not that form.
bool WFbackup_ParseMember(StrIn line, WFbackup_Member& member);
// Checks every member of a listing (lines as above) against extraction into
// `tree`: 0 when all may go in, else the number of the message that refuses
// the archive (13 unreadable, 14 absolute, 15 "..", 16 a link leading out,
// 17 special file, 18 name too long, 19 behind a link), with the member in
// `member`.
unsigned WFbackup_CheckListing(StrIn listing, StrIn tree, StrOut member);
