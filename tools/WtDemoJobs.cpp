#include "tools/WtDemoJobs.h"

#include <cstdio>
#include <cstring>

#include "base/Messages.h"
#include "base/SPrintf.h"
#include "toolkit/WtEvents.h"
#include "toolkit/WtGuiLog.h"

namespace {

char section[kSectionCap] = "wtdemo";

constexpr unsigned kFirstJobName = 20, kJobNames = 12;

void Buttons(I_Context, std::int32_t, std::int32_t value, std::uintptr_t data) {
  reinterpret_cast<WtDemoJobs*>(data)->button = value;
  WtEvents_leaveMainLoop = true;
}

// The status line names the first selected job.
void JobSelected(I_Context context, std::int32_t, void* block, std::uintptr_t) {
  const WtDemoJobs_Job* job = nullptr;
  std::memcpy(&job, block, sizeof job);
  for (; job != nullptr && !job->link.selected; job = reinterpret_cast<const WtDemoJobs_Job*>(job->link.next)) {
  }
  TextStr status;
  if (job != nullptr) {
    Messages_GetMsg(section, 18, status);  // messages: wtdemo 18
    SPrintf_String(status, job->name);
  }
  I_PutSTRING(context, WtDemoJobs_kStatus, status);
}

WtTableD_Table JobTable() {
  WtTableD_Table table = WtTableD_CreateTableDef();
  TextStr header;
  Messages_GetMsg(section, 12, header);  // messages: wtdemo 12-17
  WtTableD_Column state = WtTableD_CreateEnumColumn(header, offsetof(WtDemoJobs_Job, state), 1);
  for (unsigned value = 0; value < 3; ++value)
    WtTableD_SetLocalSingleEnum(state, value, section, 15 + value, static_cast<int>(value));
  Messages_GetMsg(section, 13, header);
  WtTableD_Column name =
      WtTableD_CreateStringColumn(header, offsetof(WtDemoJobs_Job, name), sizeof(WtDemoJobs_Job::name));
  WtTableD_SetFillUpWeight(name, 1);
  Messages_GetMsg(section, 14, header);
  WtTableD_Column pages =
      WtTableD_CreateStringColumn(header, offsetof(WtDemoJobs_Job, pages), sizeof(WtDemoJobs_Job::pages));
  for (WtTableD_Column c : {state, name, pages}) WtTableD_AddColumn(table, c);
  WtTableD_SetKeyColumns(table, name);
  return table;
}

}  // namespace

bool WtDemoJobs_Open(WtDemoJobs& demo) {
  if (!I_UseContextCat("WTDEMOdlg")) return false;
  demo.dialog = I_Create("WtDemo_Jobs", false);
  if (demo.dialog == nullptr) return false;
  demo.table = JobTable();
  WtTableD_SetTableDescription(demo.dialog, WtDemoJobs_kTable, demo.table);
  demo.jobs.assign(kJobNames, WtDemoJobs_Job{});
  for (unsigned i = 0; i < kJobNames; ++i) {
    WtDemoJobs_Job& job = demo.jobs[i];
    job.link.next = i + 1 < kJobNames ? &demo.jobs[i + 1].link : nullptr;
    job.state = i == 0 ? 0 : i % 5 == 3 ? 2 : 1;
    Messages_GetMsg(section, kFirstJobName + i, job.name);  // messages: wtdemo 20-31
    std::snprintf(job.pages, sizeof job.pages, "%u", 4 + (i * 7) % 29);
  }
  WtTableD_Record* head = &demo.jobs[0].link;
  I_PutGeneric(demo.dialog, WtDemoJobs_kJobs, &head);
  I_SetINTEGERcallback(demo.dialog, WtDemoJobs_kButtons, Buttons, reinterpret_cast<std::uintptr_t>(&demo));
  I_SetGenericcallback(demo.dialog, WtDemoJobs_kJobs, JobSelected, 0);
  return true;
}

void WtDemoJobs_Close(WtDemoJobs& demo) {
  I_Destroy(demo.dialog);
  WtEvents_ExecuteDeferredActions();
  WtTableD_DestroyTableDef(demo.table);
  demo.jobs.clear();
}

std::vector<std::string> WtDemoJobs_Values(const WtDemoJobs& demo) {
  I_Context d = demo.dialog;
  TextStr name;
  I_GetSTRING(d, WtDemoJobs_kName, name);
  char scale[32];
  std::snprintf(scale, sizeof scale, "%.17g", I_GetREAL(d, WtDemoJobs_kScale));
  std::string selected;
  for (const WtDemoJobs_Job& job : demo.jobs)
    if (job.link.selected) selected += " " + WtGuiLog_Quote(job.name);
  return {"2 " + WtGuiLog_Quote(name),
          "3 " + std::to_string(I_GetINTEGER(d, WtDemoJobs_kCopies)),
          "4 " + std::string(scale),
          "5 " + std::string(I_GetBOOLEAN(d, WtDemoJobs_kProof) ? "TRUE" : "FALSE"),
          "6 " + std::to_string(I_GetCARDINAL(d, WtDemoJobs_kPriority)),
          "7" + selected};
}
