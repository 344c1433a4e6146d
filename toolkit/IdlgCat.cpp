#include "toolkit/IdlgCat.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "base/Catalog.h"
#include "base/DirAcces.h"
#include "base/FileIO.h"
#include "base/Messages.h"
#include "base/SFilMisc.h"
#include "base/SIdPool.h"
#include "base/StrVector.h"

std::uint8_t IdlgCat_catError = 0;

namespace {

char section[kSectionCap] = "IdlgCat";

// Nesting of widgets deeper than this is taken for a damaged file.
constexpr int kMaxDepth = 200;

struct OpenCatalog {
  std::string name;
  IdlgCat_Catalog catalog;
};
// Newest first.
std::vector<std::unique_ptr<OpenCatalog>> openCatalogs;

void Fail(std::uint8_t code, StrIn origin) {
  IdlgCat_catError = code;
  Messages_SupplyAdditionalInfo(origin);
  Messages_Error(section, code);  // messages: IdlgCat 1-4 6
}

// --- Reading ------------------------------------------------------------------------------

class Reader {
 public:
  Reader(const std::uint8_t* data, std::size_t size) : at_(data), end_(data + size) {}

  bool ok() const { return ok_; }
  std::size_t Left() const { return static_cast<std::size_t>(end_ - at_); }

  std::uint32_t Card() {
    if (!Need(4)) return 0;
    const std::uint32_t v = static_cast<std::uint32_t>(at_[0]) | static_cast<std::uint32_t>(at_[1]) << 8 |
                            static_cast<std::uint32_t>(at_[2]) << 16 | static_cast<std::uint32_t>(at_[3]) << 24;
    at_ += 4;
    return v;
  }
  std::int32_t Int() { return static_cast<std::int32_t>(Card()); }
  std::uint8_t Byte() { return Need(1) ? *at_++ : 0; }
  // A count of records of at least `minSize` bytes each; more than the
  // rest of the file can hold is damage.
  std::uint32_t Count(std::int64_t count, std::size_t minSize) {
    if (count < 0 || static_cast<std::uint64_t>(count) * minSize > Left()) ok_ = false;
    return ok_ ? static_cast<std::uint32_t>(count) : 0;
  }
  // A String: at most `bound` bytes kept, the rest passed over.
  std::string String(std::size_t bound) {
    const std::uint32_t length = Card();
    if (!Need(length)) return {};
    std::string text(reinterpret_cast<const char*>(at_), length < bound ? length : bound);
    at_ += length;
    return text;
  }
  void Bytes(std::vector<std::uint8_t>& into, std::uint32_t size) {
    if (!Need(size)) return;
    into.assign(at_, at_ + size);
    at_ += size;
  }
  void Damage() { ok_ = false; }

 private:
  bool Need(std::size_t n) {
    if (!ok_ || Left() < n) ok_ = false;
    return ok_;
  }
  const std::uint8_t* at_;
  const std::uint8_t* end_;
  bool ok_ = true;
};

class Decoder {
 public:
  Decoder(const std::uint8_t* data, std::size_t size, IdlgCat_Catalog& into) : in_(data, size), into_(into) {}

  // 0 or the error code.
  std::uint8_t Run() {
    if (in_.Card() != IdlgCat_magic) return 1;
    if (in_.Card() != IdlgCat_version) return 2;
    for (int i = 0; i < 5; ++i) in_.Int();  // reserved words and the pool header
    const std::uint32_t poolSize = in_.Count(in_.Int(), 4);
    StrVector pool = StrVector_Create();
    for (std::uint32_t i = 0; i < poolSize && in_.ok(); ++i)
      StrVector_AddElement(pool, in_.String(IdlgCat_poolStringCap));
    if (in_.ok()) {
      ids_.resize(poolSize);
      for (std::uint32_t i = 0; i < poolSize; ++i) ids_[i] = SIdPool_TranslateId(pool, i);
    }
    StrVector_Destroy(pool);
    const std::uint32_t count = in_.Count(in_.Card(), 12);
    for (std::uint32_t i = 0; i < count && in_.ok(); ++i) {
      auto context = std::make_unique<IdlgCat_ContextDef>();
      context->name = Ident();
      const std::uint32_t aobjs = in_.Count(in_.Card(), 17);
      context->aobjs.resize(aobjs);
      for (IdlgCat_AObjDef& a : context->aobjs) ReadAObj(a);
      ReadRObjs(context->robjs, 0);
      into_.contexts.push_back(std::move(context));
    }
    return in_.ok() ? 0 : 6;
  }

 private:
  std::uint32_t Ident() {
    const std::uint32_t id = in_.Card();
    return id < ids_.size() ? ids_[id] : SIdPool_NoName;
  }

  void ReadAttrs(IdlgCat_Attrs& attrs) {
    const std::uint32_t count = in_.Count(in_.Int(), 9);
    std::vector<std::uint8_t> value;
    for (std::uint32_t i = 0; i < count && in_.ok(); ++i) {
      const std::uint8_t type = in_.Byte();
      const std::uint32_t name = Ident();
      const std::uint32_t size = in_.Card();
      value.clear();
      if (size != 0 && type == IdlgCat_tString) {
        // A text ends at its first zero byte, as its readers take it.
        const std::string text = in_.String(size);
        value.assign(text.begin(), std::find(text.begin(), text.end(), '\0'));
        value.push_back(0);
        if (value.size() > size) value.resize(size);
      } else if (size != 0) {
        in_.Bytes(value, size);
      }
      if (in_.ok()) attrs.Append(type, name, value.data(), static_cast<std::uint32_t>(value.size()));
    }
  }

  IdlgCat_Template* ReadTemplate(IdlgCat_Templates& table) {
    const std::uint32_t name = Ident();
    if (name == SIdPool_NoName || !in_.ok()) return nullptr;
    const std::uint8_t marker = in_.Byte();
    if (marker == 1) {
      for (const auto& t : table)
        if (t->name == name) return t.get();
      in_.Damage();
      return nullptr;
    }
    if (marker != 0 || ++depth_ > kMaxDepth) {
      in_.Damage();
      return nullptr;
    }
    auto t = std::make_unique<IdlgCat_Template>();
    t->name = name;
    ReadAttrs(t->attrs);
    // Entered only now: a template can't be its own ancestor.
    t->parent = ReadTemplate(table);
    --depth_;
    if (!in_.ok()) return nullptr;
    table.push_back(std::move(t));
    return table.back().get();
  }

  void ReadAObj(IdlgCat_AObjDef& a) {
    a.type = Ident();
    a.name = Ident();
    a.number = in_.Int();
    a.tmpl = ReadTemplate(into_.aobjTemplates);
    ReadAttrs(a.attrs);
  }

  void ReadRObjs(std::vector<IdlgCat_RObjDef>& robjs, int depth) {
    if (depth > kMaxDepth) return in_.Damage();
    const std::uint32_t count = in_.Count(in_.Card(), 24);
    robjs.resize(count);
    for (IdlgCat_RObjDef& r : robjs) {
      if (!in_.ok()) return;
      r.keyword = Ident();
      r.aobj = in_.Int();
      r.element = in_.Int();
      r.tmpl = ReadTemplate(into_.robjTemplates);
      ReadAttrs(r.attrs);
      ReadRObjs(r.children, depth + 1);
    }
  }

  Reader in_;
  IdlgCat_Catalog& into_;
  std::vector<std::uint32_t> ids_;
  int depth_ = 0;
};

// --- Writing ------------------------------------------------------------------------------

class Encoder {
 public:
  std::vector<std::uint8_t> bytes;

  void Card(std::uint32_t v) {
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<std::uint8_t>(v >> shift));
  }
  void String(StrIn text) {
    const std::string s = text.Str();
    Card(static_cast<std::uint32_t>(s.size()));
    bytes.insert(bytes.end(), s.begin(), s.end());
  }
  void Attrs(const IdlgCat_Attrs& attrs) {
    std::uint32_t count = 0;
    for (SAttribs n = attrs.list; n != nullptr; n = n->next) ++count;
    Card(count);
    std::size_t i = 0;
    for (SAttribs n = attrs.list; n != nullptr; n = n->next, ++i) {
      const std::uint8_t type = i < attrs.types.size() ? attrs.types[i] : IdlgCat_tWords;
      bytes.push_back(type);
      Card(n->id);
      Card(n->size);
      if (n->size == 0) continue;
      if (type == IdlgCat_tString)
        String(std::string(reinterpret_cast<const char*>(n->bytes),
                           strnlen(reinterpret_cast<const char*>(n->bytes), n->size)));
      else
        bytes.insert(bytes.end(), n->bytes, n->bytes + n->size);
    }
  }
  void Template(IdlgCat_Template* t) {
    if (t == nullptr) return Card(SIdPool_NoName);
    Card(t->name);
    bytes.push_back(t->written ? 1 : 0);
    if (t->written) return;
    t->written = true;
    Attrs(t->attrs);
    Template(t->parent);
  }
  void RObjs(const std::vector<IdlgCat_RObjDef>& robjs) {
    Card(static_cast<std::uint32_t>(robjs.size()));
    for (const IdlgCat_RObjDef& r : robjs) {
      Card(r.keyword);
      Card(static_cast<std::uint32_t>(r.aobj));
      Card(static_cast<std::uint32_t>(r.element));
      Template(r.tmpl);
      Attrs(r.attrs);
      RObjs(r.children);
    }
  }
};

bool ReadWholeFile(StrIn path, std::vector<std::uint8_t>& data) {
  std::FILE* file = std::fopen(path.Str().c_str(), "rb");
  if (file == nullptr) return false;
  std::uint8_t buffer[65536];
  std::size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, file)) > 0) data.insert(data.end(), buffer, buffer + n);
  const bool ok = std::ferror(file) == 0;
  std::fclose(file);
  return ok;
}

template <class T>
void MoveAll(std::vector<T>& from, std::vector<T>& to) {
  for (T& item : from) to.push_back(std::move(item));
}

}  // namespace

// --- Attribute lists ----------------------------------------------------------------------

IdlgCat_Attrs::IdlgCat_Attrs(IdlgCat_Attrs&& other) noexcept : list(other.list), types(std::move(other.types)) {
  other.list = nullptr;
}

IdlgCat_Attrs& IdlgCat_Attrs::operator=(IdlgCat_Attrs&& other) noexcept {
  if (this != &other) {
    SAttribs_Destroy(list);
    list = other.list;
    types = std::move(other.types);
    other.list = nullptr;
  }
  return *this;
}

IdlgCat_Attrs::~IdlgCat_Attrs() { SAttribs_Destroy(list); }

void IdlgCat_Attrs::Append(std::uint8_t type, std::uint32_t id, const void* bytes, std::uint32_t size) {
  SAttribs* link = &list;
  while (*link != nullptr) link = &(*link)->next;
  auto* node = new SAttribs_Node;
  node->id = id;
  node->size = size;
  node->bytes = new std::uint8_t[size > 0 ? size : 1];
  if (size > 0) std::memcpy(node->bytes, bytes, size);
  *link = node;
  types.push_back(type);
}

// --- The module ---------------------------------------------------------------------------

void IdlgCat_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  Messages_Init();
  Catalog_Init();
  DirAcces_Init();
}

bool IdlgCat_Decode(const std::uint8_t* data, std::size_t size, StrIn origin, IdlgCat_Catalog& catalog) {
  IdlgCat_catError = 0;
  IdlgCat_Catalog read;
  const std::uint8_t code = Decoder(data, size, read).Run();
  if (code != 0) {
    Fail(code, origin);
    return false;
  }
  MoveAll(read.contexts, catalog.contexts);
  MoveAll(read.aobjTemplates, catalog.aobjTemplates);
  MoveAll(read.robjTemplates, catalog.robjTemplates);
  return true;
}

bool IdlgCat_LoadContextCatOpt(StrIn path, IdlgCat_Contexts& contexts, IdlgCat_Templates& aobjTemplates,
                               IdlgCat_Templates& robjTemplates) {
  std::vector<std::uint8_t> data;
  if (!ReadWholeFile(path, data)) {
    Fail(3, path);
    return false;
  }
  IdlgCat_Catalog read;
  if (!IdlgCat_Decode(data.data(), data.size(), path, read)) return false;
  MoveAll(read.contexts, contexts);
  MoveAll(read.aobjTemplates, aobjTemplates);
  MoveAll(read.robjTemplates, robjTemplates);
  return true;
}

std::vector<std::uint8_t> IdlgCat_Encode(const IdlgCat_Contexts& contexts, IdlgCat_Templates& aobjTemplates,
                                         IdlgCat_Templates& robjTemplates) {
  for (auto& t : aobjTemplates) t->written = false;
  for (auto& t : robjTemplates) t->written = false;
  Encoder out;
  out.Card(IdlgCat_magic);
  out.Card(IdlgCat_version);
  for (int i = 0; i < 5; ++i) out.Card(0);  // reserved words and the pool header
  const std::size_t poolSize = SIdPool_Count();
  out.Card(static_cast<std::uint32_t>(poolSize));
  for (std::size_t id = 0; id < poolSize; ++id) out.String(SIdPool_IdText(static_cast<unsigned>(id)));
  out.Card(static_cast<std::uint32_t>(contexts.size()));
  for (const auto& c : contexts) {
    out.Card(c->name);
    out.Card(static_cast<std::uint32_t>(c->aobjs.size()));
    for (const IdlgCat_AObjDef& a : c->aobjs) {
      out.Card(a.type);
      out.Card(a.name);
      out.Card(static_cast<std::uint32_t>(a.number));
      out.Template(a.tmpl);
      out.Attrs(a.attrs);
    }
    out.RObjs(c->robjs);
  }
  return std::move(out.bytes);
}

bool IdlgCat_SaveContextCatOpt(StrIn path, const IdlgCat_Contexts& contexts, IdlgCat_Templates& aobjTemplates,
                               IdlgCat_Templates& robjTemplates) {
  const std::vector<std::uint8_t> bytes = IdlgCat_Encode(contexts, aobjTemplates, robjTemplates);
  PathStr temporary;
  if (!SFilMisc_CreateTmpName(path, temporary)) return false;
  FileIO_File file = FileIO_Create(temporary);
  if (file == FileIO_nil) return false;
  const bool written = FileIO_Write(file, bytes.data(), bytes.size());
  if (FileIO_Close(file) && written && DirAcces_AtomicRename(temporary, path)) return true;
  Messages_Quietly([&] { return DirAcces_Remove(temporary); });
  return false;
}

bool IdlgCat_UseCatalog(StrIn name) {
  IdlgCat_Init();
  const std::string wanted = name.Str();
  for (const auto& open : openCatalogs)
    if (open->name == wanted) return true;
  IdlgCat_catError = 0;
  NameStr language;
  Catalog_GetLanguage(language, "eng");
  const std::string file = wanted + ".drf";
  const std::string candidates[] = {StrIn(language).Str() + "/" + file, "eng/" + file, "deu/" + file};
  const bool found = Messages_Quietly([&] {
    for (const std::string& candidate : candidates)
      if (DirAcces_PathLookup("MARLENV", candidate, DirAcces_Mode::Read)) return true;
    return false;
  });
  if (!found) {
    Fail(3, file);
    return false;
  }
  PathStr path;
  Strings_Assign(DirAcces_effName, path);
  auto open = std::make_unique<OpenCatalog>();
  open->name = wanted;
  if (!IdlgCat_LoadContextCatOpt(path, open->catalog.contexts, open->catalog.aobjTemplates,
                                 open->catalog.robjTemplates))
    return false;
  openCatalogs.insert(openCatalogs.begin(), std::move(open));
  return true;
}

IdlgCat_ContextDef* IdlgCat_LookupContext(std::uint32_t name) {
  IdlgCat_catError = 0;
  for (const auto& open : openCatalogs)
    for (const auto& context : open->catalog.contexts)
      if (context->name == name) return context.get();
  Fail(4, SIdPool_IdText(name));
  return nullptr;
}

SAttribs IdlgCat_ResolveAttrs(const IdlgCat_Attrs& own, const IdlgCat_Template* tmpl) {
  SAttribs result = nullptr;
  SAttribs_SupplementAttrList(result, own.list);
  for (int depth = 0; tmpl != nullptr && depth <= kMaxDepth; tmpl = tmpl->parent, ++depth)
    SAttribs_SupplementAttrList(result, tmpl->attrs.list);
  return result;
}
