// WFdebug: a readable dump of a workflow's graph, for batch use and for
// finding out what a rebuild made of the directories on disk.
#pragma once

#include <cstdio>

#include "workflow/WFbase.h"

// Starts WFbase and the catalog it writes from; once.
void WFdebug_Init();

// Writes `workflow` to `file`: an empty line, a line naming the workflow, then
// one line per folder in depth-first order of first meeting from the start:
//   "[N] TITLE: PATH --> [A], [B]"
// N is the folder's running number, TITLE its icon title in capitals, PATH its
// directory with a symbolic link resolved; the arrow and the numbers of its
// outs follow only for a folder that has outs (an out not in the walk shows as
// 0). Nothing is written for a nil workflow. The file stays open.
void WFdebug_WriteWorkflow(std::FILE* file, WFbase workflow);
