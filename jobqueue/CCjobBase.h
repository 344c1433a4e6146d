// CCjobBase: the job record, as the queue, its clients and its workers see it.
//
// A job is reference counted: Create and Copy give a record with one
// reference, IncRef adds one, Destroy takes one away and frees the record at
// none. Every accessor accepts nil and answers empty: "", -1 ids, false.
// String fields are dynamic; an empty one counts as not set.
//
// The job text is the one form in which a job leaves a process: KEY=VALUE
// parameters separated by one blank, every blank and backslash of a value
// escaped with a backslash, TYPE first, empty values left out.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "base/Strings.h"
#include "jobqueue/CCcleanup.h"
#include "jobqueue/CCprecond.h"
#include "jobqueue/CCrestrict.h"

// Job types, by what the job runs.
inline constexpr std::uint8_t CCjobBase_UnknownJob = 0;
inline constexpr std::uint8_t CCjobBase_PelRipXJob = 1;  // a PDF file and a destination
inline constexpr std::uint8_t CCjobBase_ScriptJob = 2;  // a script file
inline constexpr std::uint8_t CCjobBase_InlineJob = 3;  // a command line

// The word of a job type: "Unknown", "PelRipX", "Script", "Inline"; an
// unknown word reads as 0.
const char* CCjobBase_TypeWord(std::uint8_t type);
std::uint8_t CCjobBase_TypeOfWord(std::string_view word);

struct CCjobBase_JobRec;
using CCjobBase_Job = CCjobBase_JobRec*;

// --- Create and destroy -------------------------------------------------------------------
CCjobBase_Job CCjobBase_Nil();
// A record of `type` with the defaults: status 0, priority 0, local, high
// CPU, ids -1, no time-out, empty lists.
CCjobBase_Job CCjobBase_Create(std::uint8_t type);
// A deep copy with a reference of its own; nil for nil.
CCjobBase_Job CCjobBase_Copy(CCjobBase_Job job);
void CCjobBase_IncRef(CCjobBase_Job job);
// One reference less; the record goes with the last. Sets the handle to nil.
void CCjobBase_Destroy(CCjobBase_Job& job);
std::int32_t CCjobBase_RefCount(CCjobBase_Job job);

// --- Job text --------------------------------------------------------------------------------
std::string CCjobBase_JobToString(CCjobBase_Job job);
// A new record from a job text; nil unless the text begins with TYPE. Reading
// stops at a parameter without key or value; unknown keys are passed over,
// numbers that don't parse leave their field as it was.
CCjobBase_Job CCjobBase_CreateFromString(std::string_view text);

// --- Fields ------------------------------------------------------------------------------------
std::uint8_t CCjobBase_GetJobType(CCjobBase_Job job);
std::uint8_t CCjobBase_GetStatus(CCjobBase_Job job);
void CCjobBase_SetStatus(CCjobBase_Job job, std::uint8_t status);
std::uint32_t CCjobBase_GetPriority(CCjobBase_Job job);
void CCjobBase_SetPriority(CCjobBase_Job job, std::uint32_t priority);
std::uint8_t CCjobBase_GetExecuteOn(CCjobBase_Job job);
void CCjobBase_SetExecuteOn(CCjobBase_Job job, std::uint8_t nodeType);
std::uint8_t CCjobBase_GetCpuUsage(CCjobBase_Job job);
void CCjobBase_SetCpuUsage(CCjobBase_Job job, std::uint8_t usage);
void CCjobBase_GetId(CCjobBase_Job job, StrOut id);
void CCjobBase_SetId(CCjobBase_Job job, StrIn id);  // cut at 127 characters
std::int32_t CCjobBase_GetUid(CCjobBase_Job job);
std::int32_t CCjobBase_GetGid(CCjobBase_Job job);
void CCjobBase_SetUid(CCjobBase_Job job, std::int32_t uid);
void CCjobBase_SetGid(CCjobBase_Job job, std::int32_t gid);
double CCjobBase_GetTimeout(CCjobBase_Job job);  // seconds; 0 for none
void CCjobBase_SetTimeout(CCjobBase_Job job, double seconds);

// The string fields as stored; the views live as long as the field is unchanged.
std::string_view CCjobBase_GetEmployerHost(CCjobBase_Job job);
void CCjobBase_SetEmployerHost(CCjobBase_Job job, std::string_view host);
std::string_view CCjobBase_GetWorkDir(CCjobBase_Job job);
void CCjobBase_SetWorkDir(CCjobBase_Job job, std::string_view dir);
std::string_view CCjobBase_GetDescriptionField(CCjobBase_Job job);
void CCjobBase_SetDescription(CCjobBase_Job job, std::string_view text);
std::string_view CCjobBase_GetSubmitterName(CCjobBase_Job job);
void CCjobBase_SetSubmitterName(CCjobBase_Job job, std::string_view name);
std::string_view CCjobBase_GetSubmitterAddons(CCjobBase_Job job);
void CCjobBase_SetSubmitterAddons(CCjobBase_Job job, std::string_view addons);
// The pipeline the job belongs to (the demon: its workflow) and how far along
// it its folder is (0 the start); the queue shares its slots between flows
// and prefers later stages among jobs of one priority.
std::string_view CCjobBase_GetFlow(CCjobBase_Job job);
void CCjobBase_SetFlow(CCjobBase_Job job, std::string_view flow);
std::uint32_t CCjobBase_GetStage(CCjobBase_Job job);
void CCjobBase_SetStage(CCjobBase_Job job, std::uint32_t stage);
std::string_view CCjobBase_GetErrorFilenameField(CCjobBase_Job job);
void CCjobBase_SetErrorFilename(CCjobBase_Job job, std::string_view path);
std::string_view CCjobBase_GetProgressFilenameField(CCjobBase_Job job);
void CCjobBase_SetProgressFilename(CCjobBase_Job job, std::string_view path);
// The strings of the type; the setters of another type's string do nothing.
std::string_view CCjobBase_GetPdfFilename(CCjobBase_Job job);
void CCjobBase_SetPdfFilename(CCjobBase_Job job, std::string_view path);
std::string_view CCjobBase_GetDstPath(CCjobBase_Job job);
void CCjobBase_SetDstPath(CCjobBase_Job job, std::string_view path);
std::string_view CCjobBase_GetScriptFilename(CCjobBase_Job job);
void CCjobBase_SetScriptFilename(CCjobBase_Job job, std::string_view path);
std::string_view CCjobBase_GetInlineCmd(CCjobBase_Job job);
void CCjobBase_SetInlineCmd(CCjobBase_Job job, std::string_view command);
// The job's lists, as links it keeps owning; nil for nil.
CCprecond_List CCjobBase_GetPreconditions(CCjobBase_Job job);
CCrestrict_List CCjobBase_GetRestrictions(CCjobBase_Job job);
CCcleanup_List CCjobBase_GetCleanupCommands(CCjobBase_Job job);

// --- Derived views ----------------------------------------------------------------------------
// Paths as this host sees them: with the flag NFS_PREFIX_BEHAVIOUR set and an
// employer other than this machine, "/nfs" + employer + path.
void CCjobBase_GetWorkDirectory(CCjobBase_Job job, StrOut dir);
void CCjobBase_GetErrorFilename(CCjobBase_Job job, StrOut path);
void CCjobBase_GetProgressFilename(CCjobBase_Job job, StrOut path);
// The shell command of the job: the rip command line, the script, or the
// inline text as it stands. File names are escaped for the shell.
std::string CCjobBase_GetCommand(CCjobBase_Job job);
// The description, or the type word, ": " and the first file or command.
std::string CCjobBase_GetDescription(CCjobBase_Job job);
// Only a change to an inline job is possible: the command becomes its text.
// The same type succeeds without change; any other is false.
bool CCjobBase_SetJobType(CCjobBase_Job job, std::uint8_t newType);
// Whether `job` fits `pattern`: a set status must be equal; id, working
// directory, submitter name and addons (and with a pattern type, the type and
// its strings) must be equal, where an empty pattern value fits everything
// and "<contains>" in front asks for the rest as a part. Nil fits everything;
// a nil job nothing.
bool CCjobBase_Match(CCjobBase_Job pattern, CCjobBase_Job job);

// --- Ending ---------------------------------------------------------------------------------------
// Removes the error file unless the job failed or was removed, then runs the
// clean-up commands for the job's status.
void CCjobBase_Cleanup(CCjobBase_Job job);
// The check of the preconditions in the job's working directory, stopping at
// the first that fails.
bool CCjobBase_PreconditionsSatisfied(CCjobBase_Job job, CCprecond_FailTable failTable);
// The submitter gives the resources the job inherits over to the server.
void CCjobBase_InheritResourcesToServer(CCjobBase_Job job);

// --- Ids and files ----------------------------------------------------------------------------
// "<machine>-<milliseconds>-<pid>-<counter>": unique across hosts and
// processes; the counter of this process tells apart ids of one millisecond.
void CCjobBase_GenerateId(StrOut id);
// The job's error (".err") or progress (".progress") file named by its id in
// "cluster-error" or "cluster-progress" of MARLDAT (of TMP with the flag
// NFS_PREFIX_BEHAVIOUR), the directory made on first use. Only when the
// field is not set yet.
void CCjobBase_GenerateErrorFilename(CCjobBase_Job job);
void CCjobBase_GenerateProgressFilename(CCjobBase_Job job);
// The job id an error file's name stands for; false (id empty) unless the
// name ends in ".err" and holds an id of at least four parts.
bool CCjobBase_DecodeErrorFilename(StrIn path, StrOut id);
// "/nfs" + host + path.
void CCjobBase_PrefixNFS(StrIn host, StrIn path, StrOut prefixed);
