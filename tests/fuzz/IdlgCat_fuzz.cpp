// Fuzz target: reads arbitrary bytes as a dialog catalog. What loads is
// written back, and the written bytes load to the same definitions.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "base/Messages.h"
#include "toolkit/IdlgCat.h"

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

bool SameAttrs(const IdlgCat_Attrs& a, const IdlgCat_Attrs& b) {
  if (a.types != b.types) return false;
  SAttribs x = a.list, y = b.list;
  for (; x != nullptr && y != nullptr; x = x->next, y = y->next)
    if (x->id != y->id || x->size != y->size || std::memcmp(x->bytes, y->bytes, x->size) != 0) return false;
  return x == y;
}

bool SameTemplate(const IdlgCat_Template* a, const IdlgCat_Template* b) {
  for (; a != nullptr && b != nullptr; a = a->parent, b = b->parent)
    if (a->name != b->name || !SameAttrs(a->attrs, b->attrs)) return false;
  return a == b;
}

bool SameRObjs(const std::vector<IdlgCat_RObjDef>& a, const std::vector<IdlgCat_RObjDef>& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (a[i].keyword != b[i].keyword || a[i].aobj != b[i].aobj || a[i].element != b[i].element ||
        !SameTemplate(a[i].tmpl, b[i].tmpl) || !SameAttrs(a[i].attrs, b[i].attrs) ||
        !SameRObjs(a[i].children, b[i].children))
      return false;
  return true;
}

bool Same(const IdlgCat_Catalog& a, const IdlgCat_Catalog& b) {
  if (a.contexts.size() != b.contexts.size()) return false;
  for (std::size_t i = 0; i < a.contexts.size(); ++i) {
    const IdlgCat_ContextDef &x = *a.contexts[i], &y = *b.contexts[i];
    if (x.name != y.name || x.aobjs.size() != y.aobjs.size() || !SameRObjs(x.robjs, y.robjs)) return false;
    for (std::size_t j = 0; j < x.aobjs.size(); ++j)
      if (x.aobjs[j].type != y.aobjs[j].type || x.aobjs[j].name != y.aobjs[j].name ||
          x.aobjs[j].number != y.aobjs[j].number || !SameTemplate(x.aobjs[j].tmpl, y.aobjs[j].tmpl) ||
          !SameAttrs(x.aobjs[j].attrs, y.aobjs[j].attrs))
        return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Messages_IgnoreErrors(true);
  IdlgCat_Catalog first;
  if (IdlgCat_Decode(data, size, "fuzz", first)) {
    const std::vector<std::uint8_t> again =
        IdlgCat_Encode(first.contexts, first.aobjTemplates, first.robjTemplates);
    IdlgCat_Catalog second;
    Check(IdlgCat_Decode(again.data(), again.size(), "again", second));
    Check(Same(first, second));
  }
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  return 0;
}
