// ASdeliver: carries out a plan (ASplan) so that the file is never lost and
// never doubled, whenever the step is killed.
//
// A plan of one move within one file system is a single rename that never
// replaces (unless the out allows it). Every other plan is first written as
// the file's step record and then runs in its phases: the temporary files,
// the mark "committed", the renames into place (the move last), and the end
// (the file removed when it was copied and is not kept; the record removed,
// or marked done when the file stays). A rerun of the step finds the record
// and resumes it (ASdeliver_Resume) instead of making a new plan.
//
// Fault points: with the flag STEP_FAULT set to n (TV_STEP_FAULT=n), the
// step kills itself with SIGKILL at the n-th point where it has changed
// something on disk, so that tests can stop it at each one in turn.
#pragma once

#include <string>

#include "commands/ASplan.h"

enum class ASdeliver_Result {
  Done,     // every target is in place (or the file had gone already)
  Missing,  // an out directory is missing: `path`; nothing was changed
  Clash,    // a file of the name is in the out already: `path`; placed
            // targets before `index` stay, the rest is undone
  Failed,   // a system call failed on `path` with `error`; as Clash
};

struct ASdeliver_Outcome {
  ASdeliver_Result result = ASdeliver_Result::Done;
  std::string path;
  int error = 0;
  std::size_t index = 0;  // the target that clashed or failed
};

// Reads the flag STEP_FAULT; once.
void ASdeliver_Init();
// A point where the step may be killed (see above).
void ASdeliver_FaultPoint();

// Delivers a new plan. `fd` reads the file (for copies). The targets' out
// directories must exist, and a target's name must be free unless it may be
// overwritten: otherwise nothing is done (Missing, Clash). A move into
// another file system becomes a copy, the file removed at the end.
ASdeliver_Outcome ASdeliver_Run(ASplan_Plan& plan, int fd);
// Resumes a plan read from the file's step record (whose identity the
// caller checked): an uncommitted one starts again, a committed one goes on.
ASdeliver_Outcome ASdeliver_Resume(ASplan_Plan& plan, int fd);
// Removes what a plan left under temporary names, and its record: for a
// record that belongs to another file of that name.
void ASdeliver_Discard(const ASplan_Plan& plan);
// The temporary files of targets from `index` on that still exist.
std::vector<std::string> ASdeliver_Leftovers(const ASplan_Plan& plan, std::size_t index);
