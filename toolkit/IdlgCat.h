// IdlgCat: dialog catalogs, the ".drf" files that describe every dialog of
// the program, and the table of open catalogs.
//
// A catalog holds contexts (dialogs). A context has numbered values (AObjs:
// a type, a name, a number, attributes) and a tree of widgets (RObjs: a
// class keyword, the number of the AObj it shows or -1, its element number
// or -1, attributes, children). An object may name a template: a named
// attribute list with a parent template; its own attributes win over the
// template's, the template's over its parent's. AObj and RObj templates
// are two tables.
//
// File layout (all integers 32-bit little-endian; identifiers are indexes
// into the file's pool; a String is a length and that many bytes):
//   magic 24291, version 4, 4 reserved words, pool header (0), pool size n,
//   n pool Strings (read at most 32 bytes each), context count, contexts.
//   Context:     name, AObj count, AObjs, RObj count, RObjs.
//   AObj:        type, name, number, TemplatePtr, AttrList.
//   RObj:        keyword, aobj, element, TemplatePtr, AttrList, RObj count,
//                the children.
//   TemplatePtr: name; the no-name identifier ends it. Otherwise a byte:
//                1 defined earlier (found by name), 0 defined here: AttrList
//                and the parent's TemplatePtr follow.
//   AttrList:    count, then per attribute a type byte, name, size and,
//                when size is not 0, the value: type 6 a String of at most
//                size bytes, else size raw bytes (little-endian words, REAL
//                as IEEE double).
//
// Failures are messages of "IdlgCat" with the file beneath, kept in
// IdlgCat_catError: 1 wrong magic, 2 wrong version, 3 no such file,
// 4 no such context, 6 damaged file (nothing of it stays loaded).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "base/Strings.h"
#include "toolkit/SAttribs.h"

// The type bytes of attribute values.
inline constexpr std::uint8_t IdlgCat_tBoolean = 0;
inline constexpr std::uint8_t IdlgCat_tInteger = 1;
inline constexpr std::uint8_t IdlgCat_tReal = 3;
inline constexpr std::uint8_t IdlgCat_tWords = 5;  // several words or doubles
inline constexpr std::uint8_t IdlgCat_tString = 6;

inline constexpr std::uint32_t IdlgCat_magic = 24291;
inline constexpr std::uint32_t IdlgCat_version = 4;
inline constexpr std::size_t IdlgCat_poolStringCap = 32;

// An attribute list that frees itself. `types` holds the type byte of each
// node, in list order (the list itself has no room for it).
struct IdlgCat_Attrs {
  SAttribs list = nullptr;
  std::vector<std::uint8_t> types;

  IdlgCat_Attrs() = default;
  IdlgCat_Attrs(IdlgCat_Attrs&& other) noexcept;
  IdlgCat_Attrs& operator=(IdlgCat_Attrs&& other) noexcept;
  ~IdlgCat_Attrs();
  // Appends a copy of the value behind the nodes there are.
  void Append(std::uint8_t type, std::uint32_t id, const void* bytes, std::uint32_t size);
};

struct IdlgCat_Template {
  std::uint32_t name = 0;
  IdlgCat_Attrs attrs;
  IdlgCat_Template* parent = nullptr;  // not owned: a template of the same table
  bool written = false;                // the saver wrote its definition
};
using IdlgCat_Templates = std::vector<std::unique_ptr<IdlgCat_Template>>;

struct IdlgCat_AObjDef {
  std::uint32_t type = 0, name = 0;
  std::int32_t number = 0;
  IdlgCat_Template* tmpl = nullptr;  // not owned
  IdlgCat_Attrs attrs;
};

struct IdlgCat_RObjDef {
  std::uint32_t keyword = 0;
  std::int32_t aobj = -1, element = -1;
  IdlgCat_Template* tmpl = nullptr;  // not owned
  IdlgCat_Attrs attrs;
  std::vector<IdlgCat_RObjDef> children;
};

struct IdlgCat_ContextDef {
  std::uint32_t name = 0;
  std::vector<IdlgCat_AObjDef> aobjs;
  std::vector<IdlgCat_RObjDef> robjs;
  std::uint32_t instances = 0;  // instances made so far; numbers the next one
};
using IdlgCat_Contexts = std::vector<std::unique_ptr<IdlgCat_ContextDef>>;

// What one file holds.
struct IdlgCat_Catalog {
  IdlgCat_Contexts contexts;
  IdlgCat_Templates aobjTemplates, robjTemplates;
};

extern std::uint8_t IdlgCat_catError;

void IdlgCat_Init();

// --- Reading and writing ---------------------------------------------------------------

// Reads the file at `path` into the three tables (appended; identifiers
// translated into this process's pool). On failure nothing is added.
bool IdlgCat_LoadContextCatOpt(StrIn path, IdlgCat_Contexts& contexts, IdlgCat_Templates& aobjTemplates,
                               IdlgCat_Templates& robjTemplates);
// The same from bytes in memory; `origin` names them in reports.
bool IdlgCat_Decode(const std::uint8_t* data, std::size_t size, StrIn origin, IdlgCat_Catalog& catalog);
// Writes the contexts with this process's whole pool under a temporary name
// renamed to `path`; a template goes out with its first use. False (file
// error reported) when it can't be written; the old file then stays.
bool IdlgCat_SaveContextCatOpt(StrIn path, const IdlgCat_Contexts& contexts, IdlgCat_Templates& aobjTemplates,
                               IdlgCat_Templates& robjTemplates);
// The bytes the saver writes.
std::vector<std::uint8_t> IdlgCat_Encode(const IdlgCat_Contexts& contexts, IdlgCat_Templates& aobjTemplates,
                                         IdlgCat_Templates& robjTemplates);

// --- Open catalogs -----------------------------------------------------------------------

// Opens "<name>.drf" once per name: looked for along MARLENV in the
// language's directory, then "eng", then "deu". False with error 3 when no
// file is found, or the error of the load.
bool IdlgCat_UseCatalog(StrIn name);
// The context of that name, from the catalog opened last first; nullptr
// with error 4 when no catalog has it.
IdlgCat_ContextDef* IdlgCat_LookupContext(std::uint32_t name);
// The template chain of an object: its own attributes supplemented by the
// template's and its parents' (own attributes win). The caller owns the list.
SAttribs IdlgCat_ResolveAttrs(const IdlgCat_Attrs& own, const IdlgCat_Template* tmpl);
