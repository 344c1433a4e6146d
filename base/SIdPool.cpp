#include "base/SIdPool.h"

#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>

namespace {

// The texts live in a deque so that the views in the index and those handed
// out by SIdPool_IdText stay valid while the pool grows.
struct Pool {
  std::deque<std::string> texts{std::string()};
  std::unordered_map<std::string_view, unsigned> index{{std::string_view(), SIdPool_NoName}};
};

Pool& ThePool() {
  static Pool pool;
  return pool;
}

}  // namespace

unsigned SIdPool_EnterId(StrIn name) {
  Pool& pool = ThePool();
  const std::string_view text = name.View();
  if (const auto found = pool.index.find(text); found != pool.index.end()) return found->second;
  const auto id = static_cast<unsigned>(pool.texts.size());
  pool.index.emplace(pool.texts.emplace_back(text), id);
  return id;
}

unsigned SIdPool_FindId(StrIn name) {
  const Pool& pool = ThePool();
  const auto found = pool.index.find(name.View());
  return found == pool.index.end() ? SIdPool_NoName : found->second;
}

void SIdPool_GetId(unsigned id, StrOut name) { Strings_Assign(SIdPool_IdText(id), name); }

StrIn SIdPool_IdText(unsigned id) {
  const Pool& pool = ThePool();
  return id < pool.texts.size() ? StrIn(pool.texts[id]) : StrIn("");
}

std::size_t SIdPool_Count() { return ThePool().texts.size(); }

unsigned SIdPool_TranslateId(StrVector filePool, unsigned fileId) {
  if (fileId >= StrVector_ElementCount(filePool)) return SIdPool_NoName;
  return SIdPool_EnterId(StrVector_DynElementAt(filePool, fileId));
}
