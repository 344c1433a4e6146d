// SIdPool: texts interned to small numbers. Keys of data files, attribute
// names, type names and dialog contexts are compared as numbers; the pool
// gives the same number for the same text for the life of the process.
//
// Numbers are handed out from 1 upwards in the order texts are first entered;
// 0 is the identifier of no name, whose text is empty. The pool is made on
// first use, so it needs no initialiser, and it never forgets a text.
#pragma once

#include <cstddef>

#include "base/StrVector.h"
#include "base/Strings.h"

// The identifier of no name; its text is "".
inline constexpr unsigned SIdPool_NoName = 0;

// --- Enter and find -----------------------------------------------------------

// The number of `name`, entering it if it is new. Case counts; the empty text
// gives SIdPool_NoName.
unsigned SIdPool_EnterId(StrIn name);
// The number of `name` if it was entered, SIdPool_NoName if not; the pool
// stays as it is.
unsigned SIdPool_FindId(StrIn name);

// --- Texts ----------------------------------------------------------------------

// Copies the text of `id` into `name`, cut at its bound; empty for a number
// the pool has not handed out.
void SIdPool_GetId(unsigned id, StrOut name);
// The text of `id` as a view into the pool, valid for the life of the process;
// empty for a number the pool has not handed out.
StrIn SIdPool_IdText(unsigned id);

// --- Saving and loading pools -------------------------------------------------

// How many numbers are in use: 0 .. SIdPool_Count() - 1. A saver that writes
// the texts in this order writes the pool with its own numbers.
std::size_t SIdPool_Count();
// The number in this process of identifier `fileId` of a saved pool, whose
// texts stand in `filePool` in number order. A number outside the saved pool
// gives SIdPool_NoName.
unsigned SIdPool_TranslateId(StrVector filePool, unsigned fileId);
