// TVWDstages: where a folder stands in its workflow, for the queue's order:
// the workflow's name (its jobs' flow) and the folder's stage, how many
// steps a file takes from the workflow's start folder to reach it (the
// shortest way along the folders' outs). The queue prefers later stages, so
// that files flow through a workflow one after the other instead of every
// file waiting for each step in turn.
#pragma once

#include <cstdint>
#include <string>

// The flow and stage of the folder `dir` (a path); "" and 0 for a directory
// of no workflow, and stage 0 for a folder the start folder does not reach.
void TVWDstages_Of(const std::string& dir, std::string& flow, std::uint32_t& stage);
// Forgets what it worked out: the workflows may have changed.
void TVWDstages_Forget();
