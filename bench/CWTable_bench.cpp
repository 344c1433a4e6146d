// How fast a table redraws its progress column: the queue window does it
// once a second for up to 200 running jobs. A table of 200 jobs (state,
// name, host, progress) with 20 or 120 rows in view; one redraw of the
// progress column after every value changed, until the server has done the
// drawing. Target: under 10 ms. For comparison the whole table's redraw.
// Needs an X server in DISPLAY (scripts/bench.sh starts one).
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <vector>

#include "bench/BenchSettle.h"
#include "toolkit/CWShell.h"
#include "toolkit/CWTable.h"
#include "toolkit/SAttribs.h"
#include "toolkit/Wt.h"
#include "toolkit/WtBase.h"
#include "toolkit/WtDraw.h"

namespace {

constexpr int kJobs = 200;

struct Job {
  WtTableD_Record link;
  std::uint8_t state;
  char name[32], host[32];
  double progress;
};

// Running jobs in green, the others in the table's colours.
bool Colors(const WtTableD_Record* record, void*, W_Color& background, W_Color& text) {
  if (reinterpret_cast<const Job*>(record)->state != 1) return false;
  background = W_Color{210, 255, 210};
  text = W_Color{0, 0, 0};
  return true;
}

class Table {
 public:
  explicit Table(int rows) : jobs_(kJobs) {
    descr_ = WtTableD_CreateTableDef();
    WtTableD_Column state = WtTableD_CreateEnumColumn("State", offsetof(Job, state), 1);
    WtTableD_SetSingleEnum(state, 0, "waiting", -1);
    WtTableD_SetSingleEnum(state, 1, "running", -1);
    WtTableD_Column name = WtTableD_CreateStringColumn("Job", offsetof(Job, name), sizeof(Job::name));
    WtTableD_SetFillUpWeight(name, 1);
    WtTableD_Column host = WtTableD_CreateStringColumn("Host", offsetof(Job, host), sizeof(Job::host));
    for (WtTableD_Column c : {state, name, host}) WtTableD_AddColumn(descr_, c);
    WtTableD_AddColumn(descr_, WtTableD_CreateProgressColumn("Progress", offsetof(Job, progress), 120));
    WtTableD_SetKeyColumns(descr_, name);
    WtTableD_SetRowColorsProc(descr_, Colors, nullptr);
    for (int i = 0; i < kJobs; ++i) {
      Job& j = jobs_[static_cast<std::size_t>(i)];
      j.link.next = i + 1 < kJobs ? &jobs_[static_cast<std::size_t>(i) + 1].link : nullptr;
      j.state = 1;
      std::snprintf(j.name, sizeof j.name, "job-%03d.pdf", i);
      std::snprintf(j.host, sizeof j.host, "worker%d", i % 7);
      j.progress = i % 101;
    }
    shell_ = Wt_CreateWidget(nullptr, CWShell_class, nullptr);
    SAttribs attrs = nullptr;
    SAttribs_AddInt(attrs, "defaultRows", rows);
    SAttribs_AddInt(attrs, "defaultWidth", 600);
    SAttribs_AddBool(attrs, "horiLines", true);
    SAttribs_AddBool(attrs, "vertLines", true);
    SAttribs_AddByName(attrs, "internTableDescr", &descr_, sizeof descr_);
    table_ = Wt_CreateWidget(shell_, CWTable_class, attrs);
    SAttribs_Destroy(attrs);
    WidgetValue value;
    value.widgetType = WtTypes_DeclareType(WtTableD_listType, sizeof(void*));
    WtTableD_Record* head = &jobs_[0].link;
    std::memcpy(value.VALUE, &head, sizeof head);
    CWCore_SetValue(table_, value);
    CWShell_Popup(shell_, 0);
    Bench_Settle();
  }
  ~Table() {
    Wt_DestroyWidget(shell_);
    WtTableD_DestroyTableDef(descr_);
    Bench_Settle();
  }
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;

  // Every job a little further.
  void Advance() {
    for (Job& j : jobs_) j.progress = j.progress >= 100 ? 0 : j.progress + 0.7;
  }
  Widget widget() const { return table_; }

 private:
  std::vector<Job> jobs_;
  WtTableD_Table descr_ = nullptr;
  Widget shell_ = nullptr, table_ = nullptr;
};

bool Ready(benchmark::State& state) {
  Wt_Initialize();
  if (WtBase_AssertDisplayOpen()) return true;
  state.SkipWithError("no X display");
  return false;
}

void BM_RedrawProgressColumn(benchmark::State& state) {
  if (!Ready(state)) return;
  Table table(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    table.Advance();
    CWTable_RedrawColumn(table.widget(), 3);
    W_Sync(false);
  }
  state.counters["rowsInView"] = static_cast<double>(state.range(0));
}
BENCHMARK(BM_RedrawProgressColumn)->Arg(20)->Arg(120)->Unit(benchmark::kMillisecond);

void BM_RedrawWholeTable(benchmark::State& state) {
  if (!Ready(state)) return;
  Table table(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    table.Advance();
    WtDraw_RedrawWidgetDirect(table.widget());
    W_Sync(false);
  }
}
BENCHMARK(BM_RedrawWholeTable)->Arg(20)->Arg(120)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
