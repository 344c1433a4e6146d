// CCtypes: the enumerations of the job queue with the words that stand for
// them in every text, and the text helpers the job's text forms share.
//
// Numbers are used in memory and in sets; words in texts. A set of job
// states fits a byte, one bit per number; as text it is the words joined by
// "," in rising order.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/Strings.h"

// Job status.
inline constexpr std::uint8_t CCtypes_Unknown = 0;
inline constexpr std::uint8_t CCtypes_Waiting = 1;
inline constexpr std::uint8_t CCtypes_WaitingForPrecond = 2;
inline constexpr std::uint8_t CCtypes_Running = 3;
inline constexpr std::uint8_t CCtypes_Done = 4;
inline constexpr std::uint8_t CCtypes_Failed = 5;
inline constexpr std::uint8_t CCtypes_Canceled = 6;
inline constexpr std::uint8_t CCtypes_Removed = 7;
inline constexpr std::uint8_t CCtypes_AllJobStates = 255;
inline constexpr std::uint8_t CCtypes_WaitingJobStates = 6;

// Queue status.
inline constexpr std::uint8_t CCtypes_QueueUnknown = 0;
inline constexpr std::uint8_t CCtypes_QueueRunning = 1;
inline constexpr std::uint8_t CCtypes_QueueStopped = 2;

// CPU usage; a set of them is a bit set too.
inline constexpr std::uint8_t CCtypes_CpuLow = 0;
inline constexpr std::uint8_t CCtypes_CpuHigh = 1;
inline constexpr std::uint8_t CCtypes_CpuFree = 2;
inline constexpr std::uint8_t CCtypes_AllCpuUsages = 7;

// Node type: where a job runs.
inline constexpr std::uint8_t CCtypes_Local = 1;
inline constexpr std::uint8_t CCtypes_Cluster = 2;

// Why a job was canceled.
inline constexpr std::uint8_t CCtypes_NoReason = 0;
inline constexpr std::uint8_t CCtypes_ServerTermination = 1;
inline constexpr std::uint8_t CCtypes_Timeout = 2;
inline constexpr std::uint8_t CCtypes_Remove = 3;

// The variables a job's command finds in its environment, and the name a
// worker on the employer's own host goes by.
inline constexpr char CCtypes_jobIdEnvVar[] = "CCJOB_ID";
inline constexpr char CCtypes_employerEnvVar[] = "CCJOB_EMPLOYER";
inline constexpr char CCtypes_localWorkerName[] = "localhost";

// --- Words ----------------------------------------------------------------------------
// Each writes the word of `value`; each reader answers the number of `word`.

void CCtypes_JobStatusToString(std::uint8_t status, StrOut word);
// Any other word reads as "unknown" (0).
std::uint8_t CCtypes_StringToJobStatus(StrIn word);
// The words of the set's bits joined by ",", rising.
void CCtypes_JobStatusSetToString(std::uint8_t set, StrOut text);
// The same form back; an unknown word sets bit 0.
std::uint8_t CCtypes_StringToJobStatusSet(StrIn text);

void CCtypes_QueueStatusToString(std::uint8_t status, StrOut word);
std::uint8_t CCtypes_StringToQueueStatus(StrIn word);

// A number above 2 prints as "unknown"; an unknown word reads as high.
void CCtypes_CpuUsageToString(std::uint8_t usage, StrOut word);
std::uint8_t CCtypes_StringToCpuUsage(StrIn word);
void CCtypes_CpuUsageSetToString(std::uint8_t set, StrOut text);
std::uint8_t CCtypes_StringToCpuUsageSet(StrIn text);

// Anything but 1 and 2 prints as "???"; an unknown word reads as 0.
void CCtypes_NodeTypeToString(std::uint8_t type, StrOut word);
std::uint8_t CCtypes_StringToNodeType(StrIn word);

// A number above 3 prints as "???"; an unknown word reads as 0.
void CCtypes_CancelReasonToString(std::uint8_t reason, StrOut word);
std::uint8_t CCtypes_StringToCancelReason(StrIn word);

// --- Escaped texts ------------------------------------------------------------------------
// The job's text forms put a backslash before every blank and backslash of a
// value, so that values split at unescaped blanks.

std::string CCtypes_Escape(std::string_view value);
// Removes one level: a backslash makes the next character plain.
std::string CCtypes_Unescape(std::string_view text);
// The tokens of `text` split at unescaped blanks, unescaped; runs of blanks
// give empty tokens, as the writer never makes them.
std::vector<std::string> CCtypes_SplitEscaped(std::string_view text);
// A text on one line: "%", line feed and carriage return become "%25",
// "%0A" and "%0D". The queue's files keep one job text a line.
std::string CCtypes_LineEscape(std::string_view text);
std::string CCtypes_LineUnescape(std::string_view text);
