// WtIconList: the icons a widget names in its attributes "iconList" to
// "iconList4" (pixmap names separated by blanks, relative ones found below
// "iconPath"), counted from 0 across the lists. Loaded when first asked for,
// so a widget that is never drawn reads no file; released when the widget
// is unrealized or its attributes change.
#pragma once

#include <cstdint>
#include <vector>

#include "toolkit/CAttribs.h"
#include "toolkit/W.h"

class WtIconList {
 public:
  // Defines "iconPath" at `path` and the lists at `lists` for a widget class;
  // their identifiers go to `ids` when given (the path's last).
  static void DefineAttrs(Classes_ClassPtr c, CAttribs_String& path, CAttribs_String (&lists)[5],
                          std::uint32_t (*ids)[6] = nullptr);
  // The icon `index` with its size; 0 and a size of 0 for a name that could
  // not be read or an index beyond the lists.
  W_Pixmap Get(const CAttribs_String& path, const CAttribs_String (&lists)[5], std::int32_t index, int& width,
               int& height);
  // The height of the tallest icon; 0 for none.
  int TallestHeight(const CAttribs_String& path, const CAttribs_String (&lists)[5]);
  void Release();
  ~WtIconList() { Release(); }

 private:
  void Load(const CAttribs_String& path, const CAttribs_String (&lists)[5]);
  std::vector<W_Pixmap> icons_;
  bool loaded_ = false;
};
