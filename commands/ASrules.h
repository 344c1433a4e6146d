// ASrules: what each module kind does with a file, as a decision: where the
// file goes (the targets of a plan), that it fails (with the lines of its
// ".err" file), that it stays, or that it is removed. The rules read the
// folder's rc file and never touch the file; the step carries the decision
// out (ASdeliver, ASerror).
//
// Kinds and their rules (the keys are the folder's rc options):
//   1 start      the rc's first command: "mv"/"imgmv" move the file to out
//                1, "cp"/"imgcp" copy it, "ln"/"imgln" put a symbolic link
//                to it, "jobticket.sh" a job ticket naming it (a ticket
//                itself moves); with EXTENDFILENAMES a file from a
//                subdirectory gets the subdirectory in its name
//   2 rename     MODE 1 SCHEME, MODE 3 SCHEME_0.. (SCHEMECOUNT): the first
//                scheme that matches gives the name in out 1; NOMATCHMODE 0
//                fails a file that none matches, 1 passes it on unchanged;
//                MODE 2 (a format change) needs the raster engine
//   3 duplicate  a copy to out 2, the file itself to out 1
//   4 switch     MODE 0 out 1; MODE 1 SCHEME matches: out 1, else out 2;
//                MODE 2 IMAGEFORMATS holds the file's format: out 1, else
//                out 2; MODE 3 (ink coverage) needs the raster engine
//   5 check      out 1
//   7 sort       into a subdirectory of the folder: MODE 0 by suffix, 1 by
//                the NAME1 segment of SCHEME, 2 by the date
//   8 distribute DISTDIR_0..: DISTMODE 0 the one holding the fewest files,
//                1 a copy into each
//   9 delete     removed
//  40 log        a line in the folder's file "Log", then out 1
//  all others    need an engine this installation does not have: they fail
#pragma once

#include <string>
#include <vector>

#include "commands/ASplan.h"
#include "rc/SAutoRcF.h"
#include "workflow/WFmodule.h"

// The folder a step works in.
struct ASrules_Folder {
  WFmodule_Kind kind = kWFmoduleNoKind;
  std::string path;             // the hot folder, where its rc file lies
  SAutoRcF rc = SAutoRcF_Nil();  // nil for a kind without rc file
};

struct ASrules_Decision {
  enum What { Deliver, Fail, Stay, Remove } what = Stay;
  bool keep = false;                   // Deliver: the file stays in its folder too
  std::vector<ASplan_Target> targets;  // Deliver: out directory and name of each
  std::vector<std::string> reason;     // Fail: the lines of the ".err" file
  bool noRetry = false;                // Fail: a retry would fail again
};

// Starts the modules the rules use (rename schemes, images, job tickets).
void ASrules_Init();

// The decision for the file `source` (an absolute path) of `folder`. `subdir`
// is the file's directory relative to the folder ("" when it lies in it).
ASrules_Decision ASrules_Decide(const ASrules_Folder& folder, const std::string& source, const std::string& subdir);

// --- For the rules of each kind -----------------------------------------------------------

// The cardinal option `key` of the rc, `fallback` when it is absent or no number.
std::uint32_t ASrules_CardOpt(SAutoRcF rc, const char* key, std::uint32_t fallback);

// A failure with message `number` of `section`, its "%s" filled by `args`.
ASrules_Decision ASrules_Fail(const char* section, unsigned number, const std::vector<std::string>& args = {});
// A delivery of the file itself under `name` into out `index` (1..8) of the
// folder; a failure when the rc names no such out.
ASrules_Decision ASrules_ToOut(const ASrules_Folder& folder, std::uint32_t index, const std::string& name,
                               ASplan_How how = ASplan_How::Move);
// Adds target of out `index` to a delivery; false (and the decision turned
// into that failure) when the rc names no such out.
bool ASrules_AddOut(const ASrules_Folder& folder, std::uint32_t index, const std::string& name, ASplan_How how,
                    ASrules_Decision& decision);
// The failure of a step whose work needs engine `engine` (1 raster images,
// 2 PostScript and PDF, 3 colour management, 4 imposition, 5 web approval,
// 6 remote transfer), which this installation does not have.
ASrules_Decision ASrules_NeedsEngine(const ASrules_Folder& folder, unsigned engine);

// The rules of the kinds, each in its own file.
ASrules_Decision ASrules_Start(const ASrules_Folder& folder, const std::string& source, const std::string& subdir);
ASrules_Decision ASrules_Rename(const ASrules_Folder& folder, const std::string& source);
ASrules_Decision ASrules_Switch(const ASrules_Folder& folder, const std::string& source);
ASrules_Decision ASrules_Sort(const ASrules_Folder& folder, const std::string& source, const std::string& subdir);
ASrules_Decision ASrules_Distribute(const ASrules_Folder& folder, const std::string& source);
ASrules_Decision ASrules_Log(const ASrules_Folder& folder, const std::string& source);
// A rename scheme by its path (relative paths from the folder), loaded once
// per process; nil when it can't be loaded, with `reason` saying why.
struct SRename_Rec;
SRename_Rec* ASrules_Scheme(const ASrules_Folder& folder, const std::string& path, std::string& reason);
