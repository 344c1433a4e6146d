// CCjobClass: where the jobs of a class may run, by the class file
// "CCjobClasses.cfg" in TV_CUSTOMER, which the administrator edits.
//
// The file is a structured data file: VERSION (written as 4) and one
// JOBCLASS block per class with NAME and EXECUTE_ON ("local" or "cluster").
// In memory each class has its current and its default node type; a class
// the file names takes its node type from there, the others keep their
// defaults. The file is read again when its modification time changes, and
// written (atomically) with the defaults where there is none.
#pragma once
#include <cstdint>

#include "base/Strings.h"

// Runs once: the fixed default classes.
void CCjobClass_Init();
// Adds a default class, for the layers that define classes of their own
// (the workflow modules that can run on the cluster). A class added twice
// keeps its first default.
void CCjobClass_AddDefaultClass(StrIn className, std::uint8_t nodeType);

// The node type of `className`: local (1) for every class but the fill-cache
// ones when the flag NFS_PREFIX_BEHAVIOUR is set; otherwise the table's,
// and local for a class it does not know.
std::uint8_t CCjobClass_ExecuteOn(StrIn className);

