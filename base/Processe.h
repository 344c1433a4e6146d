// The life of a process: exit status, the termination chain and the one way
// out, signals in the system's own numbering.
#pragma once

#include <cstdint>

// --- Exit ------------------------------------------------------------------

using Processe_TerminationProcedure = void (*)();

// Runs once: sets the defaults of the process record.
void Processe_Init();
// The status Processe_Exit leaves with: 0 success, 1 reported failure,
// 2 internal failure nobody ignored. 0 at start.
void Processe_SetExitStatus(int status);
int Processe_GetExitStatus();
// Adds a procedure to the termination chain; the newest runs first.
void Processe_InstallTerminationProcedure(Processe_TerminationProcedure procedure);
// Runs the termination chain, each procedure taken off before it is called,
// and ends the process with the exit status. A second call (from inside the
// chain) returns at once.
void Processe_Exit();

// --- Signals -----------------------------------------------------------------

// The operating system's number for a signal of the system's numbering.
int Processe_MapTVsignal2OSsignal(int signal);
// Sends `signal` (system numbering) to `pid`; false with Processe_prError set
// (4 no such process, 5 no permission, 6 other).
bool Processe_Kill(int pid, int signal);
int Processe_GetPID();
// Whether a process with this id exists (a process of another user counts).
bool Processe_IsAlive(int pid);

extern std::uint8_t Processe_prError;
