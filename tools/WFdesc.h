// WFdesc: the short text description of a workflow that the operator's
// install tool reads: its folders by kind, each with a name of its own, the
// folders each one sends its results to, and a few parameters.
//
//   # The sample workflow                   a comment runs to the line's end
//   workflow sample                          the workflow's name (optional)
//   start     in    -> ren  FILEMODE=2       the start folder
//   rename    ren   -> dup
//   duplicate dup   -> outdir filt           out 1, then out 2
//   filter    filt  -> outdir
//
// A folder line is the kind (a module's name in any case, or a component's
// short description; one with blanks in double quotes), the folder's name
// (letters, digits, "_", "-", "."), then "->" and the names of its outs in
// order, then parameters KEY=VALUE, which go into the folder's rc file as
// they stand. A value with blanks stands in double quotes (a backslash keeps
// a quote or a backslash in it). "outdir" names the workflow's own end
// directory, and an "end" line gives it a name of its own. Keys that begin
// with "_" belong to the workflow itself and are refused.
//
// Parse checks the form. Apply checks the meaning against the module kinds
// and changes a workflow in memory, through the same calls as the graph
// editor, until it matches: a folder is found again by its kind and name
// (which its rc keeps as its comment), new ones are made, parameters and outs
// that differ are set, and folders the description no longer has are taken
// out. Both stop at the first fault, told as a message of section "WFdesc"
// with the line it stands on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/Strings.h"
#include "workflow/WFbase.h"

// The longest parameter value: the rc file's lines hold 5120 bytes with the key.
inline constexpr std::size_t kWFdescValueCap = 4096;
// The most folder lines a description may hold.
inline constexpr std::size_t kWFdescMaxFolders = 1000;
// The name of the workflow's own end directory.
inline constexpr char WFdesc_outdir[] = "outdir";

struct WFdesc_Name {
  char text[kNameCap] = "";
};

struct WFdesc_Param {
  char key[kNameCap] = "";
  char value[kWFdescValueCap] = "";
};

struct WFdesc_Folder {
  std::uint32_t line = 0;
  char kind[kNameCap] = "";
  char name[kNameCap] = "";
  std::vector<WFdesc_Name> outs;
  std::vector<WFdesc_Param> params;
};

struct WFdesc_Description {
  char workflow[kNameCap] = "";   // empty when the description names none
  std::vector<WFdesc_Folder> folders;
  std::uint32_t lines = 0;        // the number of lines read
};

struct WFdesc_Error {
  std::uint32_t line = 0;
  char text[kTextCap] = "";
};

// Starts WFbase and the start folder's front end and opens the catalog of
// the messages; once.
void WFdesc_Init();

// Reads `length` bytes at `text` into `description`. False with the first
// fault in `error`.
bool WFdesc_Parse(const char* text, std::size_t length, WFdesc_Description& description,
                  WFdesc_Error& error);
// Whether `name` can name a workflow: not empty, no "/" or blank, not
// beginning with ".", shorter than a name's bound.
bool WFdesc_ValidWorkflowName(StrIn name);

// A folder of the workflow and the line of the description it stands for.
struct WFdesc_Made {
  WFfolder folder;
  const WFdesc_Folder* line;
};

// Changes `workflow` (new, or read from disk) to match `description` and
// marks it modified when anything changed; the folders taken out are added
// to `removed` (they are on the workflow's list of folders to remove). The
// workflow's end directory is an end folder (kind 43), as a rebuild reads it
// back. `made`, when given, gets the folder of every line ("end" lines: the
// end directory). False with the first fault in `error`; the workflow is
// then half changed and is to be thrown away, not installed.
bool WFdesc_Apply(const WFdesc_Description& description, WFbase workflow,
                  std::vector<WFfolder>& removed, WFdesc_Error& error,
                  std::vector<WFdesc_Made>* made = nullptr);
