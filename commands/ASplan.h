// ASplan: what a step does with one file, and the step record that keeps it
// on disk while the step runs.
//
// A plan names the file (its path and identity) and the places it goes to,
// each a target: an out directory and the name there, and how the file gets
// there (the file itself moved, a copy, a symbolic link to it, or a text
// such as a job ticket that names it or the ".err" file of a failure). Every target but a move
// is first written under a temporary name in its directory; the step record
// is then marked committed, and only then are the temporary names renamed
// into place, a move last. So a step killed at any point leaves either
// nothing placed (the record is not committed: start again) or a committed
// record whose pending targets are exactly those whose temporary file is
// still there (and the move, while the file is still in its folder).
//
// The step record is ".<name>.fdstep" beside the file: text lines of fields
// parted by tabs, each field with backslash, tab and line feed escaped, so
// that any file name passes. A record whose identity differs from the file
// now there belongs to an earlier file of that name and is void.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// How a target is made.
enum class ASplan_How : std::uint8_t {
  Move,  // the file itself is renamed into place (last of all)
  Copy,  // a copy of the file
  Link,  // a symbolic link to the file's absolute path
  Text,  // `text` itself (a job ticket, the ".err" file of a failure)
};

struct ASplan_Target {
  ASplan_How how = ASplan_How::Move;
  bool overwrite = false;  // may replace a file of that name
  std::string dir;         // absolute directory
  std::string name;        // the name there
  std::string tmp;         // the temporary name in dir (not for a move)
  std::string text;        // content of a Text target
};

// The file's identity: a record of another file of the same name is void.
struct ASplan_Identity {
  std::uint64_t device = 0, inode = 0, size = 0;
  std::int64_t mtimeNs = 0;
  bool operator==(const ASplan_Identity&) const = default;
};

struct ASplan_Plan {
  std::string source;          // absolute path of the file
  ASplan_Identity identity;
  bool keep = false;           // the file stays where it is (copy, link, ticket modes)
  bool failure = false;        // the plan puts the file into the error directory
  std::vector<std::string> cleanup;  // leftovers of an earlier plan, removed first
  std::vector<ASplan_Target> targets;
  bool committed = false;
  bool done = false;           // a kept file's record stays, marked done
};

// The identity of `path` (following links); false when it can't be had.
bool ASplan_GetIdentity(const std::string& path, ASplan_Identity& identity);
// The path of the step record of the file `source`.
std::string ASplan_RecordPath(const std::string& source);
// A temporary name for `name` in its target directory, unique to this process
// and never taken by a hot folder: ".<name>.<host>-<pid>-<n>.tmp".
std::string ASplan_TmpName(const std::string& name);
// The path of target `t`'s final name and of its temporary file.
std::string ASplan_FinalPath(const ASplan_Target& t);
std::string ASplan_TmpPath(const ASplan_Target& t);

// Writes the plan as the file's step record, whole (temporary file, then
// rename); false when it can't be written.
bool ASplan_Save(const ASplan_Plan& plan);
// Reads the step record of `source`; false when there is none or it can't
// be read whole.
bool ASplan_Load(const std::string& source, ASplan_Plan& plan);
// Appends the mark "committed" or "done" to the record; false on failure.
bool ASplan_MarkCommitted(const ASplan_Plan& plan);
bool ASplan_MarkDone(const ASplan_Plan& plan);
// Removes the record (a missing one is no failure).
void ASplan_Remove(const std::string& source);
