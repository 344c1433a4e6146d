#include "toolkit/WtTableD.h"

#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/Messages.h"
#include "base/SIdPool.h"

struct WtTableD_ColumnRec {
  WtTableD_Kind kind = WtTableD_kNull;
  std::string header;
  std::uint32_t offset = 0, size = 0;
  int nullWidth = 0;
  unsigned fillUp = 0;
  bool shown = true;
  bool editable = false;
  struct Entry {
    std::string text;
    int icon = -1;
  };
  std::map<std::uint32_t, Entry> entries;
};

struct WtTableD_TableRec {
  std::vector<std::unique_ptr<WtTableD_ColumnRec>> columns;
  WtTableD_Column key = nullptr;
  WtTableD_RowColorsProc rowColors = nullptr;
  void* rowColorsData = nullptr;
  WtTableD_CellTipProc cellTip = nullptr;
  void* cellTipData = nullptr;
};

namespace {

const std::uint8_t* Field(WtTableD_Column c, const WtTableD_Record* r) {
  return reinterpret_cast<const std::uint8_t*>(r) + c->offset;
}

std::uint32_t EnumValue(WtTableD_Column c, const WtTableD_Record* r) {
  const std::uint8_t* f = Field(c, r);
  switch (c->size) {
    case 1: return *f;
    case 2: {
      std::uint16_t v;
      std::memcpy(&v, f, 2);
      return v;
    }
    default: {
      std::uint32_t v;
      std::memcpy(&v, f, 4);
      return v;
    }
  }
}

std::string Text(WtTableD_Column c, const WtTableD_Record* r) {
  const char* f = reinterpret_cast<const char*>(Field(c, r));
  return std::string(f, strnlen(f, c->size));
}

WtTableD_Column Make(WtTableD_Kind kind, StrIn header, std::uint32_t offset, std::uint32_t size) {
  auto* c = new WtTableD_ColumnRec;
  c->kind = kind;
  c->header = header.Str();
  c->offset = offset;
  c->size = size;
  return c;
}

}  // namespace

WtTableD_Table WtTableD_CreateTableDef() { return new WtTableD_TableRec; }

void WtTableD_DestroyTableDef(WtTableD_Table& table) {
  delete table;
  table = nullptr;
}

WtTableD_Column WtTableD_CreateEnumColumn(StrIn header, std::uint32_t offset, std::uint32_t size) {
  return Make(WtTableD_kEnum, header, offset, size == 1 || size == 2 ? size : 4);
}

WtTableD_Column WtTableD_CreateStringColumn(StrIn header, std::uint32_t offset, std::uint32_t size) {
  return Make(WtTableD_kString, header, offset, size);
}

WtTableD_Column WtTableD_CreateNullColumn(int width) {
  WtTableD_Column c = Make(WtTableD_kNull, "", 0, 0);
  c->nullWidth = width;
  return c;
}

WtTableD_Column WtTableD_CreateProgressColumn(StrIn header, std::uint32_t offset, int width) {
  WtTableD_Column c = Make(WtTableD_kProgress, header, offset, sizeof(double));
  c->nullWidth = width;
  return c;
}

void WtTableD_SetColumnShown(WtTableD_Column column, bool shown) { column->shown = shown; }
bool WtTableD_ColumnShown(WtTableD_Column column) { return column->shown; }

void WtTableD_SetColumnEditable(WtTableD_Column column, bool editable) {
  column->editable = editable && (column->kind == WtTableD_kString || column->kind == WtTableD_kEnum);
}
bool WtTableD_ColumnEditable(WtTableD_Column column) { return column->editable; }

void WtTableD_SetRowColorsProc(WtTableD_Table table, WtTableD_RowColorsProc proc, void* data) {
  table->rowColors = proc;
  table->rowColorsData = data;
}

void WtTableD_SetCellTipProc(WtTableD_Table table, WtTableD_CellTipProc proc, void* data) {
  table->cellTip = proc;
  table->cellTipData = data;
}

bool WtTableD_RowColors(WtTableD_Table table, const WtTableD_Record* record, W_Color& background, W_Color& text) {
  return table != nullptr && table->rowColors != nullptr && table->rowColors(record, table->rowColorsData, background, text);
}

std::string WtTableD_CellTip(WtTableD_Table table, const WtTableD_Record* record, std::size_t column) {
  return table != nullptr && table->cellTip != nullptr ? table->cellTip(record, column, table->cellTipData)
                                                       : std::string();
}

double WtTableD_CellProgress(WtTableD_Column column, const WtTableD_Record* record) {
  if (column->kind != WtTableD_kProgress) return -1.0;
  double v;
  std::memcpy(&v, Field(column, record), sizeof v);
  return v;
}

void WtTableD_SetSingleEnum(WtTableD_Column column, std::uint32_t value, StrIn text, int icon) {
  column->entries[value] = WtTableD_ColumnRec::Entry{text.Str(), icon};
}

void WtTableD_SetLocalSingleEnum(WtTableD_Column column, std::uint32_t value, StrIn section, unsigned number,
                                 int icon) {
  TextStr text;
  Messages_GetMsg(section, number, text);
  WtTableD_SetSingleEnum(column, value, text, icon);
}

void WtTableD_SetFillUpWeight(WtTableD_Column column, unsigned weight) { column->fillUp = weight; }

void WtTableD_AddColumn(WtTableD_Table table, WtTableD_Column column) { table->columns.emplace_back(column); }

void WtTableD_SetKeyColumns(WtTableD_Table table, WtTableD_Column key) { table->key = key; }

void WtTableD_SetTableDescription(I_Context context, std::int32_t element, WtTableD_Table table) {
  I_SetReprAttr(context, element, SIdPool_EnterId("internTableDescr"), &table, sizeof table);
}

std::size_t WtTableD_ColumnCount(WtTableD_Table table) { return table != nullptr ? table->columns.size() : 0; }

WtTableD_Column WtTableD_GetColumn(WtTableD_Table table, std::size_t index) {
  return index < WtTableD_ColumnCount(table) ? table->columns[index].get() : nullptr;
}

WtTableD_Kind WtTableD_KindOf(WtTableD_Column column) { return column->kind; }
StrIn WtTableD_Header(WtTableD_Column column) { return column->header; }
unsigned WtTableD_FillUpWeight(WtTableD_Column column) { return column->fillUp; }
int WtTableD_NullWidth(WtTableD_Column column) { return column->nullWidth; }
WtTableD_Column WtTableD_KeyColumn(WtTableD_Table table) { return table != nullptr ? table->key : nullptr; }

std::string WtTableD_CellText(WtTableD_Column column, const WtTableD_Record* record) {
  switch (column->kind) {
    case WtTableD_kString: return Text(column, record);
    case WtTableD_kProgress: {
      const double v = WtTableD_CellProgress(column, record);
      if (v < 0) return {};
      char text[32];
      std::snprintf(text, sizeof text, "%3.1f%%", v);
      return text;
    }
    case WtTableD_kEnum: {
      const auto found = column->entries.find(EnumValue(column, record));
      return found != column->entries.end() ? found->second.text : std::string();
    }
    default: return {};
  }
}

int WtTableD_CellIcon(WtTableD_Column column, const WtTableD_Record* record) {
  if (column->kind != WtTableD_kEnum) return -1;
  const auto found = column->entries.find(EnumValue(column, record));
  return found != column->entries.end() ? found->second.icon : -1;
}

int WtTableD_Compare(WtTableD_Column column, const WtTableD_Record* a, const WtTableD_Record* b) {
  switch (column->kind) {
    case WtTableD_kString: return Text(column, a).compare(Text(column, b));
    case WtTableD_kEnum: {
      const std::uint32_t x = EnumValue(column, a), y = EnumValue(column, b);
      return x < y ? -1 : x > y ? 1 : 0;
    }
    case WtTableD_kProgress: {
      const double x = WtTableD_CellProgress(column, a), y = WtTableD_CellProgress(column, b);
      return x < y ? -1 : x > y ? 1 : 0;
    }
    default: return 0;
  }
}

// --- Editing cells -----------------------------------------------------------------------------

std::size_t WtTableD_TextCapacity(WtTableD_Column column) {
  return column->kind == WtTableD_kString && column->size > 0 ? column->size - 1 : 0;
}

bool WtTableD_SetCellText(WtTableD_Column column, WtTableD_Record* record, StrIn text) {
  if (column->kind != WtTableD_kString || text.Length() > WtTableD_TextCapacity(column)) return false;
  char* field = reinterpret_cast<char*>(record) + column->offset;
  std::memset(field, 0, column->size);
  std::memcpy(field, text.Data(), text.Length());
  return true;
}

std::uint32_t WtTableD_CellValue(WtTableD_Column column, const WtTableD_Record* record) {
  return column->kind == WtTableD_kEnum ? EnumValue(column, record) : 0;
}

void WtTableD_SetCellValue(WtTableD_Column column, WtTableD_Record* record, std::uint32_t value) {
  if (column->kind != WtTableD_kEnum) return;
  std::uint8_t* field = reinterpret_cast<std::uint8_t*>(record) + column->offset;
  if (column->size == 1) {
    *field = static_cast<std::uint8_t>(value);
  } else if (column->size == 2) {
    const auto v = static_cast<std::uint16_t>(value);
    std::memcpy(field, &v, 2);
  } else {
    std::memcpy(field, &value, 4);
  }
}

std::uint32_t WtTableD_NextValue(WtTableD_Column column, std::uint32_t value) {
  const auto next = column->entries.upper_bound(value);
  if (next != column->entries.end()) return next->first;
  return 0;  // past the last entry
}
