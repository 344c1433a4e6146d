// WFticket: job ticket files. In job ticket mode a small ticket travels
// through the folders of a workflow instead of the image it names; the image
// stays where it is.
//
//   #T Tavrin-1.0 workflow ticket file
//   IMAGEREFERENCE=/projects/orders/4711/page1.tif
//
// A ticket is a text of "KEY=value" lines; lines whose first non-blank is "#"
// are comments, lines without "=" are passed over, keys are compared as they
// stand and a value runs from the first "=" to the line's end.
//
// Every failure here is an answer: the routines give false or empty and
// leave no error reasons behind.
#pragma once

#include "base/Strings.h"

inline constexpr char WFticket_imageReferenceKey[] = "IMAGEREFERENCE";
inline constexpr char WFticket_header[] = "#T Tavrin-1.0 workflow ticket file";

// Starts the modules used; once.
void WFticket_Init();

// --- Names ---------------------------------------------------------------------------

// Whether `path` names a ticket: suffix ".jtpd", or four characters
// beginning with ".jt".
bool WFticket_IsTicketFile(StrIn path);
// The ticket's name for `path`: a ticket's name as it stands; any other gets
// its image suffix replaced by the ticket suffix of that image kind. A name
// without a suffix (or one with no ticket suffix) stays as it is.
void WFticket_TicketFilename(StrIn path, StrOut ticket);

// --- Reading --------------------------------------------------------------------------

// The value of the first line of the ticket `path` with key `key`. False,
// value empty, when the file can't be opened or has no such line.
bool WFticket_Lookup(StrIn path, StrIn key, StrOut value);
// The image the ticket names. With `resolve`, a reference below the root of
// the start folders whose workflow directory there is a symbolic link is
// rebuilt through the link's target, so that a moved workflow keeps its
// tickets. False, image empty, when the ticket has no reference.
bool WFticket_LoadImageReference(StrIn path, bool resolve, StrOut image);

// --- Writing --------------------------------------------------------------------------

// Writes a ticket naming `image` (mode 0666), at `ticketName` or, when that
// is empty, beside the image; the name passes WFticket_TicketFilename. False
// for an empty image or when the file could not be written.
bool WFticket_Save(StrIn ticketName, StrIn image);
// Writes the ticket for `image` into `directory`, under the image's name.
bool WFticket_SaveInDir(StrIn directory, StrIn image);
