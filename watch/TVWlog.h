// TVWlog: the demon's log. A folder's log ".tvwatchd.log" is written while
// the request file ".TVWatchD_log" lies in the folder; the same pair in
// MARLDAT (an empty folder) logs the demon as a whole: its start and end,
// its configuration and every folder's lines.
//
// A line is the time, a word of the log and its text: "START" a file handed
// to a job, "END" its job ended, "FOLDER" a watched folder (followed by its
// configuration), "STOP" the demon ends ("demon terminated"). "ALL" stands
// for the demon as a whole. Raw lines stand under them, two blanks in; a
// rule of 79 dashes opens each run of the demon.
#pragma once

#include "base/BFileIO.h"
#include "base/Strings.h"

inline constexpr char TVWlog_logName[] = ".tvwatchd.log";
inline constexpr char TVWlog_requestName[] = ".TVWatchD_log";
inline constexpr char TVWlog_start[] = "START";
inline constexpr char TVWlog_stop[] = "STOP";
inline constexpr char TVWlog_end[] = "END";
inline constexpr char TVWlog_folder[] = "FOLDER";
inline constexpr char TVWlog_all[] = "ALL";
inline constexpr char TVWlog_terminated[] = "demon terminated";

// The log and the request file of `folder`, or of MARLDAT for an empty one.
void TVWlog_GetLogFilename(StrIn folder, StrOut name);
void TVWlog_GetRequestFilename(StrIn folder, StrOut name);
// The folder's log opened for appending while its request file is there;
// nil otherwise. The caller closes it with BFileIO_Close.
BFileIO_File TVWlog_Open(StrIn folder);
bool TVWlog_LogActive(BFileIO_File log);
// `text` as a line of its own, two blanks in with `indent`; nothing for nil.
void TVWlog_WriteRawLine(BFileIO_File log, bool indent, StrIn text);
// The time, `word` and `text` as a line.
void TVWlog_WriteLine(BFileIO_File log, StrIn word, StrIn text);
// The rule that opens a run of the demon.
void TVWlog_WriteRule(BFileIO_File log);
