// SRegExpr: compiled regular expressions in POSIX extended syntax ("|", "()",
// "$", brackets), the form of the demon's file patterns.
//
// A handle is created from a pattern and destroyed by whoever created it. A
// pattern that does not compile gives the nil handle, which matches nothing,
// so callers may keep nil where "no expression" is meant.
#pragma once

#include "base/Strings.h"

struct SRegExpr_Rec;
using SRegExpr = SRegExpr_Rec*;

// --- Create and destroy ---------------------------------------------------------

// Compiles `pattern` (extended syntax, case-sensitive); nil when it is no valid
// expression. The caller owns the handle.
SRegExpr SRegExpr_Create(StrIn pattern);
// Frees the expression and sets the handle to nil; nil is accepted.
void SRegExpr_Destroy(SRegExpr& expr);
// The empty handle: an expression that was never compiled.
SRegExpr SRegExpr_Nil();

// --- Use ------------------------------------------------------------------------

// Whether `text` holds a match anywhere in it (only "^" and "$" anchor).
// False for nil.
bool SRegExpr_Match(SRegExpr expr, StrIn text);
