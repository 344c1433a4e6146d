// The queue window's tables: their columns, the colours of a job's row and
// the tips of its progress cell.
#include <cstddef>

#include "base/Messages.h"
#include "jobqueue/CCtypes.h"
#include "queuewin/CCqueueIntRec.h"

namespace {

// messages: CCqueueInt 20-27 30-37 40-42 43-48
constexpr unsigned kHeaders = 20;   // job, status, priority, CPU, host, position, progress, description
constexpr unsigned kStates = 30;    // the job states 0 to 7
constexpr unsigned kCpu = 40;       // low, high, free
constexpr unsigned kWorkerStates = 43, kWorkerHeader = 46, kLocalHeader = 47, kLocalWord = 48;
constexpr int kProgressWidth = 110;

constexpr W_Color kRunning{210, 255, 210}, kWaitingForPrecond{255, 255, 210};
constexpr W_Color kBlack{0, 0, 0}, kRed{180, 0, 0}, kYellow{180, 180, 0}, kWhite{255, 255, 255};

WtTableD_Column String(unsigned header, std::uint32_t offset, std::uint32_t size) {
  return WtTableD_CreateStringColumn(CCqueueInt_Text(header), offset, size);
}

WtTableD_Column States(unsigned header, std::uint32_t offset, unsigned first, std::uint32_t count) {
  WtTableD_Column column = WtTableD_CreateEnumColumn(CCqueueInt_Text(header), offset, sizeof(std::uint8_t));
  for (std::uint32_t value = 0; value < count; ++value)
    WtTableD_SetLocalSingleEnum(column, value, CCqueueInt_section, first + value, -1);
  return column;
}

// The columns both job tables begin with: the job and its status.
WtTableD_Table JobTable(WtTableD_Column& key) {
  WtTableD_Table table = WtTableD_CreateTableDef();
  key = String(kHeaders, offsetof(CCqueueInt_Job, id), kNameCap);
  WtTableD_AddColumn(table, key);
  WtTableD_AddColumn(table, States(kHeaders + 1, offsetof(CCqueueInt_Job, status), kStates, 8));
  WtTableD_SetKeyColumns(table, key);
  WtTableD_SetRowColorsProc(table, CCqueueInt_RowColors, nullptr);
  return table;
}

WtTableD_Column Description() {
  WtTableD_Column column = String(kHeaders + 7, offsetof(CCqueueInt_Job, description), kPathCap);
  WtTableD_SetFillUpWeight(column, 1);
  return column;
}

}  // namespace

std::string CCqueueInt_Text(unsigned number) {
  TextStr text;
  Messages_GetMsg(CCqueueInt_section, number, text);
  return StrIn(text).Str();
}

// Columns in this order: job, status, priority, CPU, host, position,
// progress, description; the toggles show the third to the seventh.
WtTableD_Table CCqueueInt_MakeActualTable() {
  WtTableD_Column key = nullptr;
  WtTableD_Table table = JobTable(key);
  WtTableD_AddColumn(table, String(kHeaders + 2, offsetof(CCqueueInt_Job, priorityText), 16));
  WtTableD_AddColumn(table, States(kHeaders + 3, offsetof(CCqueueInt_Job, cpuUsage), kCpu, 3));
  WtTableD_AddColumn(table, String(kHeaders + 4, offsetof(CCqueueInt_Job, host), kNameCap));
  WtTableD_AddColumn(table, String(kHeaders + 5, offsetof(CCqueueInt_Job, positionText), 16));
  WtTableD_AddColumn(table, WtTableD_CreateProgressColumn(CCqueueInt_Text(kHeaders + 6),
                                                         offsetof(CCqueueInt_Job, progress), kProgressWidth));
  WtTableD_AddColumn(table, Description());
  WtTableD_SetCellTipProc(table, CCqueueInt_CellTip, nullptr);
  return table;
}

WtTableD_Table CCqueueInt_MakeFailedTable() {
  WtTableD_Column key = nullptr;
  WtTableD_Table table = JobTable(key);
  WtTableD_AddColumn(table, String(kHeaders + 4, offsetof(CCqueueInt_Job, host), kNameCap));
  WtTableD_AddColumn(table, Description());
  return table;
}

WtTableD_Table CCqueueInt_MakeWorkerTable() {
  WtTableD_Table table = WtTableD_CreateTableDef();
  WtTableD_Column name = String(kWorkerHeader, offsetof(CCqueueInt_Worker, name), kNameCap);
  WtTableD_SetFillUpWeight(name, 1);
  WtTableD_AddColumn(table, name);
  WtTableD_AddColumn(table, States(kHeaders + 1, offsetof(CCqueueInt_Worker, status), kWorkerStates, 3));
  WtTableD_Column local = WtTableD_CreateEnumColumn(CCqueueInt_Text(kLocalHeader), offsetof(CCqueueInt_Worker, local),
                                                    sizeof(std::uint8_t));
  WtTableD_SetLocalSingleEnum(local, 1, CCqueueInt_section, kLocalWord, -1);
  WtTableD_AddColumn(table, local);
  WtTableD_SetKeyColumns(table, name);
  return table;
}

std::size_t CCqueueInt_ToggledColumn(std::int32_t toggle) { return 2 + static_cast<std::size_t>(toggle); }

// Rows of other jobs keep the table's own colours (its black text and its
// shades); a failed or canceled job's text stands on white.
bool CCqueueInt_RowColors(const WtTableD_Record* record, void*, W_Color& background, W_Color& text) {
  const auto* job = reinterpret_cast<const CCqueueInt_Job*>(record);
  text = kBlack;
  switch (job->status) {
    case CCtypes_Running: background = kRunning; return true;
    case CCtypes_WaitingForPrecond: background = kWaitingForPrecond; return true;
    case CCtypes_Failed: background = kWhite, text = kRed; return true;
    case CCtypes_Canceled: background = kWhite, text = kYellow; return true;
    default: return false;
  }
}

std::string CCqueueInt_CellTip(const WtTableD_Record* record, std::size_t column, void*) {
  const auto* job = reinterpret_cast<const CCqueueInt_Job*>(record);
  if (column != CCqueueInt_progressColumn) return "";
  return job->progressText;
}
