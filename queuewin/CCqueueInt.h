// CCqueueInt: the queue window, the operator's view of the job queue: the
// jobs waiting and running, the failed ones, the workers, and commands to
// delete, raise and edit jobs and to stop or run the queue. One window per
// process; it runs inside a program (the manager's command 50) or as the
// program "CCqueueDlg" of its own.
//
// The window follows the server's events (CCqueueReq); it never asks for
// the queue as a whole. A task reads at most 200 ms of events a turn and
// shows them 100 ms after a change; otherwise it redraws the progress
// column at most once a second.
#pragma once

#include <cstdint>
#include <string>

#include "base/Strings.h"
#include "toolkit/I.h"

// --- The dialog "CCqueueInt" --------------------------------------------------------------
inline constexpr std::int32_t CCqueueInt_kCommand = 1;   // INTEGER: the commands below
inline constexpr std::int32_t CCqueueInt_kActual = 10;   // table of waiting and running jobs (element too)
inline constexpr std::int32_t CCqueueInt_kFailed = 11;   // table of failed jobs (element too)
inline constexpr std::int32_t CCqueueInt_kWorkers = 12;  // table of workers (element too)
inline constexpr std::int32_t CCqueueInt_kMessage = 13;  // STRING: the message line
inline constexpr std::int32_t CCqueueInt_kLamp = 14;     // INTEGER: queue status 0 unknown, 1 running, 2 stopped
// BOOLEAN column toggles: priority, CPU, host, position, progress.
inline constexpr std::int32_t CCqueueInt_kColumnFirst = 15;
inline constexpr std::int32_t CCqueueInt_kColumnCount = 5;

inline constexpr std::int32_t CCqueueInt_cmdDelete = 1;        // selected jobs of the actual list
inline constexpr std::int32_t CCqueueInt_cmdRaise = 2;
inline constexpr std::int32_t CCqueueInt_cmdDeleteFailed = 3;  // selected failed jobs
inline constexpr std::int32_t CCqueueInt_cmdStop = 4;          // the queue
inline constexpr std::int32_t CCqueueInt_cmdRun = 5;
inline constexpr std::int32_t CCqueueInt_cmdDetails = 6;       // of the selected job
inline constexpr std::int32_t CCqueueInt_cmdErrorFile = 7;     // of the selected failed job
inline constexpr std::int32_t CCqueueInt_cmdEdit = 8;          // the selected waiting job
inline constexpr std::int32_t CCqueueInt_cmdClose = 9;

// Called when the window closed, with the argument given to StartUp.
using CCqueueInt_ExitProc = void (*)(std::uintptr_t data);
// Leaves the main loop: the exit of a program that is nothing but the window.
void CCqueueInt_DefaultExitCB(std::uintptr_t data);

// --- Life ---------------------------------------------------------------------------------
// Opens the window (the display must be open, I_Init done), connecting to
// the server on `host` ("" this machine) for up to 2000 ms; a server that
// does not answer is said in the message line and connected to when it
// comes. A window already open is only raised. `exit` (nil: the default)
// is called when it closes. False when the dialog can't be made.
bool CCqueueInt_StartUp(StrIn host, CCqueueInt_ExitProc exit, std::uintptr_t data);
// Closes the window: saves the settings, ends the tasks, frees the lists and
// the connection, takes down the viewer, then calls the exit procedure.
void CCqueueInt_Exit();
// Whether the window is open, and its dialog (nil when not).
bool CCqueueInt_IsOpen();
I_Context CCqueueInt_Context();

// --- What the tasks do (public for tests and benchmarks) -------------------------------------
// Reads the events that came (at most 200 ms of them); true when the lists changed.
bool CCqueueInt_GotNewData();
// Shows the lists as they stand now.
void CCqueueInt_UpdateView();
// Reads the progress files of the running jobs and redraws the progress column.
void CCqueueInt_UpdateProgress();

// --- Commands -----------------------------------------------------------------------------
// Deletes (CCprotocol_Delete) or raises (CCprotocol_Raise) the selected jobs
// of the actual list, or deletes those of the failed list with `inFailed`.
// Running jobs are asked about first. False when nothing was sent or the
// server refused (its reason in a box).
bool CCqueueInt_JobCommand(std::uint8_t command, bool inFailed);
// Whether a job of `status` may be edited: waiting ones only; a running job
// is told with message 29, an ended one with 28, "unknown" silently not.
bool CCqueueInt_JobEditable(std::uint8_t status);
// Sets the queue status (1 running, 2 stopped).
bool CCqueueInt_SetQueueStatus(std::uint8_t status);
// The editor of the selected waiting job: priority and description.
void CCqueueInt_ModifyJob();
// The record of the selected job, every field, in the text viewer.
void CCqueueInt_ShowJobInfos();
// The error file of the selected failed job in the text viewer, its job's
// description put at its head first unless it stands there already.
void CCqueueInt_ShowFailedJobInfos();

// --- Progress and error files -----------------------------------------------------------------
// The first line of a progress file as the window shows it (`text`) and the
// percentage it holds: a plain number is that many percent (message 9), a
// text its first "<number>%"; -1 when there is none. An empty name gives -1
// and no text; a file that can't be read gives message 8.
double CCqueueInt_GetJobProgressLine(StrIn progressFile, std::string& text);
// The first "<number>%" of `text` (17.5 for "17.5% done"); -1 when none.
double CCqueueInt_FindProgressPercent(StrIn text);
// Puts `description` as the first line of `errorFile` unless it is that
// already (through the shell, by a temporary file beside it). False with the
// reason in `why` when the file can't be read or written.
bool CCqueueInt_HeadErrorFile(StrIn errorFile, StrIn description, std::string& why);

// --- Settings -------------------------------------------------------------------------------
// The column toggles, kept in ".CCqueueIntrc" of HOME between runs.
void CCqueueInt_GetSettings();
void CCqueueInt_SetSettings();

// --- Its own process --------------------------------------------------------------------------
// Runs "CCqueueDlg" (beside this program, else on PATH) as a child that
// dies with this process; a child that runs already is raised (SIGUSR1).
// The child's id, or -1 when it could not be started.
int CCqueueInt_StartAsDependentProcess();
