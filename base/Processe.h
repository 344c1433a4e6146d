// The life of a process: its type, exit status, the termination chain and the
// one way out, children, signals in the system's own numbering, the run file
// and the site's stop file.
#pragma once

#include <cstdint>

#include "base/Strings.h"

// Errors of the last call: 4 no such process, 5 no permission, 6 other,
// 7 a command killed for running out of time.
extern std::uint8_t Processe_prError;

// Application types: 0 unset (becomes 1), 1 ordinary program, 3 demon.
inline constexpr std::uint8_t kProcesseDefaultType = 1;
inline constexpr std::uint8_t kProcesseDemonType = 3;

// --- Start -------------------------------------------------------------------

// Runs once: default type, original process id, core dumps, signal handlers;
// unless the flag NO_RUN_FILE is set, the stop file ends the process with
// status 0 and the run file is made. Call Argument_Init before it.
void Processe_Init();
// Called before Processe_Init: the process makes no run file (it only tells
// its usage and ends). The stop file still holds it.
void Processe_WithoutRunFile();
// A demon refuses to start while the flag NO_DAEMONS is set ("CCworker"
// excepted): a line on standard error and exit status 1.
void Processe_SetApplicationType(std::uint8_t type);
std::uint8_t Processe_GetApplicationType();

// --- Exit --------------------------------------------------------------------

using Processe_TerminationProcedure = void (*)();

// 0 at start; 1 reported failure; 2 internal failure nobody ignored.
void Processe_SetExitStatus(int status);
int Processe_GetExitStatus();
// Adds a procedure to the termination chain; the newest runs first.
void Processe_InstallTerminationProcedure(Processe_TerminationProcedure procedure);
// Runs the chain, each procedure taken off before it is called, and ends the
// process with the exit status. A second call (from inside the chain) returns.
void Processe_Exit();

// --- Children ----------------------------------------------------------------

// fork with the termination chain hidden from the child, which gets a run
// file of its own. The parent's answer is the child's id; the child's is 0;
// -1 on failure.
int Processe_Fork();
// Replaces the process image; returns only on failure.
void Processe_Exec(StrIn path, const char* const* args);
// Waits for any child; its id, or -1.
int Processe_Wait(int& status);
// Waits for `pid` (without blocking when `nohang`); the id, 0 when still
// running with nohang, -1 on failure. `status` is the exit code, or
// 128 + signal for a killed child.
int Processe_WaitPID(int pid, bool nohang, int& status);
// Runs `command` (cut at 2050 bytes) through the shell; true when its exit
// code is not 0.
bool Processe_System(StrIn command);
// Runs `command` through "/bin/sh -c"; with `timeoutMs` above 0 it is killed
// with signal 9 when the time runs out. The exit code; 2 when it could not be
// started or was killed (then Processe_prError is 7).
int Processe_ExecuteCommand(StrIn command, int timeoutMs);

// --- Processes -----------------------------------------------------------------

int Processe_GetPID();
int Processe_GetPPID();
// The id of the process that started the program (before any fork).
int Processe_OriginalPID();
// Whether a process with this id exists (one of another user counts).
bool Processe_IsAlive(int pid);
// Alive, and, when `name` is not empty, its command line holds `name` as a
// whole word (after nothing, a blank or "/", before a blank or the end). An
// unreadable command line counts as alive.
bool Processe_IsApplicationAlive(int pid, StrIn name);

// --- Signals -----------------------------------------------------------------

using Processe_SignalHandler = void (*)(int signal);

// The operating system's number for a signal of the system's numbering.
int Processe_MapTVsignal2OSsignal(int signal);
// Sends `signal` (system numbering) to `pid`; false with Processe_prError set.
bool Processe_Kill(int pid, int signal);
// Handlers take and receive the system's numbering.
void Processe_InstallSignalHandler(int signal, Processe_SignalHandler handler);
void Processe_SignalDefault(int signal);
void Processe_SignalIgnore(int signal);
