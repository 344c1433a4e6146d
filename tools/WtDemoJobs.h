// WtDemoJobs: the demonstration dialog "WtDemo_Jobs" of the catalog
// "WTDEMOdlg" (wtdemo -d): fields of several kinds, a table of print jobs
// (several may be selected) and OK and Cancel. Shared by wtdemo and the
// tests of the GUI log, which record a session on it and replay it.
// Its texts are section "wtdemo" of the catalog "WTDEMOmsg".
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "toolkit/I.h"
#include "toolkit/WtTableD.h"

struct WtDemoJobs_Job {
  WtTableD_Record link;
  std::uint8_t state;  // 0 printing, 1 waiting, 2 failed
  char name[64];
  char pages[16];
};

struct WtDemoJobs {
  I_Context dialog = nullptr;
  WtTableD_Table table = nullptr;
  std::vector<WtDemoJobs_Job> jobs;
  std::int32_t button = -1;  // the button pressed (1 OK, 0 Cancel); -1 none yet
};

// The elements and values the program and its tests speak of.
inline constexpr std::int32_t WtDemoJobs_kButtons = 1, WtDemoJobs_kName = 2, WtDemoJobs_kCopies = 3,
                              WtDemoJobs_kScale = 4, WtDemoJobs_kProof = 5, WtDemoJobs_kPriority = 6,
                              WtDemoJobs_kJobs = 7, WtDemoJobs_kStatus = 8, WtDemoJobs_kTable = 10;

// Makes the dialog with its jobs, not yet shown; false when the catalog or
// the dialog can't be had. A button sets `button` and leaves the main loop.
// The record must stay where it is until WtDemoJobs_Close.
bool WtDemoJobs_Open(WtDemoJobs& demo);
void WtDemoJobs_Close(WtDemoJobs& demo);
// The dialog's values as lines "<number> <value>" in the GUI log's form
// (the table: "7" and the names of the selected jobs, quoted).
std::vector<std::string> WtDemoJobs_Values(const WtDemoJobs& demo);
