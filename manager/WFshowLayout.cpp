// The layout of a workflow on the grid.
//
// Every folder gets a height: the rows its branch wants. A folder places
// its outs in the next column, the middle one (of an odd count) straight,
// the others alternately above and below at distances that keep their
// branches apart; high out numbers lie above (rows grow upward). A folder
// met a second time is a join: it moves, with everything behind it, one
// column behind its last predecessor and half way between the highest and
// the lowest. An occupied place is given up for the nearest free row of
// the same column. Last, the places a user gave to folders (".wfplaces")
// move them and their successors.
#include <algorithm>
#include <unordered_set>

#include "base/Messages.h"
#include "manager/WFshowRec.h"

namespace {

char section[kSectionCap] = "WFshow";

// What the layout knows of a folder while it runs.
struct FolderInfo {
  std::uint32_t usedOuts = 0;
  std::uint32_t outMask = 0;  // bit n: out n leads to a folder not met on a lower out
  int height = 0;
  bool placed = false;
  bool moved = false;
  bool done = false;
};
using InfoTable = std::unordered_map<WFfolder, FolderInfo>;

// The outs of the mask, lowest first.
std::vector<std::uint32_t> UsedOuts(std::uint32_t mask) {
  std::vector<std::uint32_t> outs;
  for (std::uint32_t out = 1; out <= kWFfolderMaxOuts; ++out)
    if ((mask & (1u << out)) != 0) outs.push_back(out);
  return outs;
}

// 1. The rows each branch wants. A child counted under another folder
// already adds nothing here.
int CalcOutHeight(WFfolder folder, InfoTable& table) {
  const FolderInfo& info = table[folder];
  const std::uint32_t n = info.usedOuts;
  int base = n == 0 ? 0 : static_cast<int>(n % 2 == 1 ? n : n + 1);
  for (std::uint32_t out : UsedOuts(info.outMask)) {
    const WFfolder child = WFfolder_OutFolder(folder, out);
    FolderInfo& c = table[child];
    if (c.done) continue;
    c.done = true;
    c.height = CalcOutHeight(child, table);
    if (c.height > 0) base += c.height - 1;
  }
  return base;
}

void CreateFolderInfoTable(WFbase workflow, InfoTable& table) {
  WFbase_FolderList list = WFbase_GetAllFolders(workflow);
  for (WFbase_FolderList e = list; e != nullptr; e = e->next) {
    FolderInfo& info = table[e->folder];
    info.usedOuts = WFfolder_CountUsedOuts(e->folder, true, info.outMask);
  }
  for (WFbase_FolderList e = list; e != nullptr; e = e->next) {
    FolderInfo& info = table[e->folder];
    if (info.done) continue;
    info.done = true;
    info.height = CalcOutHeight(e->folder, table);
  }
  WFbase_DestroyFolderList(list);
}

bool InGrid(int column, int row) {
  return column >= 0 && column < WFshow_kGridSize && row >= 0 && row < WFshow_kGridSize;
}

// The nearest free row of the column: row - 1, row + 1, row - 2, ... False
// when the column is full both ways.
bool CorrectPosition(WFshow_View view, int column, int& row) {
  const auto& rows = view->grid[static_cast<std::size_t>(column)];
  for (int d = 1;; ++d) {
    const bool below = row - d >= 0, above = row + d < WFshow_kGridSize;
    if (!below && !above) return false;
    if (below && rows[static_cast<std::size_t>(row - d)] == nullptr) {
      row -= d;
      return true;
    }
    if (above && rows[static_cast<std::size_t>(row + d)] == nullptr) {
      row += d;
      return true;
    }
  }
}

WFshow_Cell*& At(WFshow_View view, int column, int row) {
  return view->grid[static_cast<std::size_t>(column)][static_cast<std::size_t>(row)];
}

// Puts the cell at (column, row) or the nearest free row there.
bool PlaceCell(WFshow_View view, WFshow_Cell& cell, int column, int row) {
  if (!InGrid(column, row)) return false;
  if (At(view, column, row) != nullptr && !CorrectPosition(view, column, row)) return false;
  At(view, column, row) = &cell;
  cell.column = column;
  cell.row = row;
  return true;
}

void Link(WFshow_Cell* from, std::uint32_t out, WFshow_Cell& to) {
  if (from == nullptr) return;
  from->outLinks.push_back({&to, out});
  to.inLinks.push_back({from, out});
}

void ClearMoved(InfoTable& table) {
  for (auto& [folder, info] : table) info.moved = false;
}

// Moves the cell by (dcolumn, drow) and its successors by the distance it
// really went; each cell once per move.
bool MoveAllCells(WFshow_View view, WFshow_Cell& cell, int dcolumn, int drow, InfoTable& table) {
  FolderInfo& info = table[cell.folder];
  if ((dcolumn == 0 && drow == 0) || info.moved) return true;
  info.moved = true;
  const int oldColumn = cell.column, oldRow = cell.row;
  At(view, oldColumn, oldRow) = nullptr;
  if (!PlaceCell(view, cell, oldColumn + dcolumn, oldRow + drow)) return false;
  for (const WFshow_Link& link : cell.outLinks)
    if (!MoveAllCells(view, *link.other, cell.column - oldColumn, cell.row - oldRow, table)) return false;
  return true;
}

// One column behind the last predecessor, half way between the lowest and
// the highest.
void CalcJoinPosition(const WFshow_Cell& cell, int& column, int& row) {
  if (cell.inLinks.empty()) {
    column = WFshow_kStartCol;
    row = WFshow_kStartRow;
    return;
  }
  int low = WFshow_kGridSize, high = -1;
  column = -1;
  for (const WFshow_Link& link : cell.inLinks) {
    low = std::min(low, link.other->row);
    high = std::max(high, link.other->row);
    column = std::max(column, link.other->column);
  }
  row = low + (high - low) / 2;
  ++column;
}

bool SetFolderCell(WFshow_View view, WFfolder folder, int column, int row, WFshow_Cell* parent, std::uint32_t out,
                   InfoTable& table) {
  // 1. Nothing to place.
  if (folder == nullptr) return true;
  FolderInfo& info = table[folder];
  // 2. Met before: a join.
  if (info.placed) {
    const auto found = view->cellOf.find(folder);
    if (found == view->cellOf.end()) {
      Messages_Error(section, 90);
      return false;
    }
    WFshow_Cell& cell = *found->second;
    Link(parent, out, cell);
    int joinColumn, joinRow;
    CalcJoinPosition(cell, joinColumn, joinRow);
    ClearMoved(table);
    return MoveAllCells(view, cell, joinColumn - cell.column, joinRow - cell.row, table);
  }
  // 3. A new cell.
  view->cells.push_back(std::make_unique<WFshow_Cell>());
  WFshow_Cell& cell = *view->cells.back();
  cell.folder = folder;
  view->cellOf[folder] = &cell;
  info.placed = true;
  if (!PlaceCell(view, cell, column, row)) return false;
  Link(parent, out, cell);
  const std::vector<std::uint32_t> outs = UsedOuts(info.outMask);
  const int n = static_cast<int>(outs.size()), half = n / 2;
  if (n == 0) return true;
  auto child = [&](int k) { return WFfolder_OutFolder(folder, outs[static_cast<std::size_t>(k - 1)]); };
  auto height = [&](int k) { return table[child(k)].height; };
  auto place = [&](int k, int childRow) {
    return SetFolderCell(view, child(k), cell.column + 1, childRow, &cell, outs[static_cast<std::size_t>(k - 1)],
                         table);
  };
  // 4. The middle out of an odd count goes straight on; only the lower side
  // starts beyond it, so the two sides are not symmetric.
  int up = 0, down = 0;
  if (n % 2 == 1) {
    if (!place(half + 1, cell.row)) return false;
    down = height(half + 1) / 2 + 1;
  }
  // 5. Pairs outward: the higher out above, the lower below.
  for (int i = 1; i <= half; ++i) {
    const int upper = i + half + (n % 2), lower = half - i + 1;
    int offset = height(upper) / 2 + up + 1;
    if (!place(upper, cell.row + offset)) return false;
    up = height(upper) / 2 + offset + 1;
    offset = height(lower) / 2 + down + 1;
    if (!place(lower, cell.row - offset)) return false;
    down = height(lower) / 2 + offset + 1;
  }
  return true;
}

// The places a user gave: depth first from the start, each cell once.
bool OverridePositionManually(WFshow_View view, WFshow_Cell& cell, InfoTable& table,
                              std::unordered_set<const WFshow_Cell*>& seen) {
  if (!seen.insert(&cell).second) return true;
  if (!WFfolder_InvisibleEnd(cell.folder)) {
    PathStr path;
    WFfolder_GetPath(cell.folder, path);
    std::int32_t dcolumn = 0, drow = 0;
    if (WFplaces_GetPlace(view->places, path, dcolumn, drow)) {
      ClearMoved(table);
      if (!MoveAllCells(view, cell, dcolumn, drow, table)) return false;
    }
  }
  for (const WFshow_Link& link : cell.outLinks)
    if (!OverridePositionManually(view, *link.other, table, seen)) return false;
  return true;
}

}  // namespace

void WFshow_ClearCells(WFshow_View view) {
  for (auto& column : view->grid) column.fill(nullptr);
  view->cells.clear();
  view->cellOf.clear();
}

bool WFshow_SetWorkflowCells(WFshow_View view) {
  WFshow_ClearCells(view);
  const WFfolder start = WFbase_StartFolder(view->workflow);
  if (start == nullptr) return true;
  InfoTable table;
  CreateFolderInfoTable(view->workflow, table);
  std::unordered_set<const WFshow_Cell*> seen;
  const bool ok = SetFolderCell(view, start, WFshow_kStartCol, WFshow_kStartRow, nullptr, 0, table) &&
                  OverridePositionManually(view, *view->cellOf.at(start), table, seen);
  if (!ok) WFshow_ClearCells(view);
  return ok;
}
