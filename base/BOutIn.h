// BOutIn: reading and writing text on buffered files.
//
// Reads fill bounded strings and report through BOutIn_done: false at the
// end of the file or on failure (BFileIO_ioError tells which: 0 at the end).
// A line or word longer than its string is cut at the string's bound and the
// rest of it is passed over, so the next read starts at the next item.
// Writes answer true when the text was taken by the file; numbers are
// converted by BConvert. A failure reports message (BOutIn, 1) for writing
// or (BOutIn, 2) for reading, above the buffered layer's report.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/BFileIO.h"
#include "base/Strings.h"

// Whether the last read found what it looked for.
extern bool BOutIn_done;

// Runs once, after BFileIO.
void BOutIn_Init();

// --- Reading -------------------------------------------------------------------

// The next line without its line feed; the last line of a file needs none.
// An empty line is read as done with an empty string.
bool BOutIn_ReadLine(BFileIO_File file, StrOut line);
// The next word: blanks, tabs, carriage returns and line feeds are passed
// over, then the word is read up to the next of them, which is taken too.
bool BOutIn_ReadWord(BFileIO_File file, StrOut word);
// The next byte, line feeds included.
bool BOutIn_ReadChar(BFileIO_File file, char& c);

// --- Writing -------------------------------------------------------------------

bool BOutIn_WriteString(BFileIO_File file, StrIn text);
bool BOutIn_WriteChar(BFileIO_File file, char c);
// A line feed.
bool BOutIn_WriteLn(BFileIO_File file);
// `text` and a line feed.
bool BOutIn_WriteLine(BFileIO_File file, StrIn text);
// Numbers in decimal, right-aligned in `width` (a minimum).
bool BOutIn_WriteCard(BFileIO_File file, std::uint64_t value, std::size_t width);
bool BOutIn_WriteInt(BFileIO_File file, std::int64_t value, std::size_t width);
// `precision` decimals, right-aligned in `width`; a negative precision gives
// exponent notation, as BConvert_RealToStr.
bool BOutIn_WriteReal(BFileIO_File file, double value, int width, int precision);
