// Where the graph view draws a folder, by the grid's geometry: 61 pixels a
// column from x 10, 46 a row from just above the panel, a frame of 41 pixels
// (toolkit coordinates, y upward from the drawing area's lower left corner).
#pragma once

#include <gtest/gtest.h>

#include <utility>

#include "manager/WFshow.h"

// The lower left corner of the folder's frame.
inline std::pair<int, int> FrameCorner(WFshow_View view, WFfolder folder) {
  int column = 0, row = 0, firstColumn = 0, firstRow = 0;
  EXPECT_TRUE(WFshow_GetCell(view, folder, column, row)) << "the folder has no cell";
  WFshow_GetFirst(view, firstColumn, firstRow);
  return {(column - firstColumn) * 61 + 10, WFshow_GetPanelHeight(view) + (row - firstRow) * 46 + 1};
}

// The middle of the folder's icon.
inline std::pair<int, int> IconMiddle(WFshow_View view, WFfolder folder) {
  const auto [x, y] = FrameCorner(view, folder);
  return {x + 20, y + 20};
}
