// ITreeSel: the directory chooser, and the trees of directories it and
// other windows show. A directory is read when its node is first opened.
#include "toolkit/ITreeSel.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <unordered_map>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SIdPool.h"
#include "base/SRegExpr.h"
#include "toolkit/I.h"

struct ITreeSel_DirTreeRec {
  CWTree_Node* first = nullptr;  // owned
  std::unordered_map<const CWTree_Node*, std::string> paths;
  SRegExpr filter = nullptr;  // owned; nil: no files
  ITreeSel_OmitProc omit = nullptr;
  std::uintptr_t omitData = 0;
};

namespace {

constexpr std::int32_t kButtons = 1, kTree = 2, kChosen = 3, kHeading = 4;
constexpr std::int32_t kTreeElement = 10;
constexpr std::int32_t kOK = 1;
constexpr std::int32_t kDirIcon = 0, kFileIcon = 1;

bool IsDir(const std::string& path) {
  struct stat st{};
  return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// The node's children: its sub-directories, then with a filter the files
// that match it, each group by name.
void Fill(ITreeSel_DirTree t, CWTree_Node* node) {
  const std::string dir = t->paths[node];
  std::vector<std::string> dirs, files;
  if (DIR* d = ::opendir(dir.c_str())) {
    while (const dirent* e = ::readdir(d)) {
      const std::string name = e->d_name;
      if (name.empty() || name[0] == '.') continue;
      if (IsDir(dir + "/" + name)) {
        if (t->omit == nullptr || !t->omit(name, t->omitData)) dirs.push_back(name);
      } else if (t->filter != nullptr && SRegExpr_Match(t->filter, name)) {
        files.push_back(name);
      }
    }
    ::closedir(d);
  }
  std::sort(dirs.begin(), dirs.end());
  std::sort(files.begin(), files.end());
  CWTree_Node** tail = &node->firstChild;
  auto add = [&](const std::string& name, bool isDir) {
    auto* child = new CWTree_Node;
    child->text = name;
    child->expandable = isDir;
    child->icon = isDir ? kDirIcon : kFileIcon;
    t->paths[child] = dir + "/" + name;
    *tail = child;
    tail = &child->next;
  };
  for (const std::string& name : dirs) add(name, true);
  for (const std::string& name : files) add(name, false);
  // Nothing inside: no opener any more.
  node->expandable = node->firstChild != nullptr;
  if (node->firstChild == nullptr) node->expanded = false;
}

bool FillOpened(ITreeSel_DirTree t, CWTree_Node* first) {
  bool filled = false;
  for (CWTree_Node* n = first; n != nullptr; n = n->next) {
    if (n->expanded && n->expandable && n->firstChild == nullptr) {
      Fill(t, n);
      filled = true;
    }
    filled = FillOpened(t, n->firstChild) || filled;
  }
  return filled;
}

void Deselect(CWTree_Node* first) {
  for (CWTree_Node* n = first; n != nullptr; n = n->next) {
    n->selected = false;
    Deselect(n->firstChild);
  }
}

void Collect(ITreeSel_DirTree t, const CWTree_Node* first, bool files, std::vector<std::string>& out) {
  for (const CWTree_Node* n = first; n != nullptr; n = n->next) {
    if (n->selected && (n->icon == kFileIcon) == files) out.push_back(t->paths.at(n));
    Collect(t, n->firstChild, files, out);
  }
}

// One showing of the chooser.
struct Chooser {
  I_Context context = nullptr;
  ITreeSel_DirTree tree = nullptr;
  bool files = false;  // files are chosen, not directories
  std::vector<std::string> chosen;
  bool confirmed = false;
};

// The path shown below the tree and OK follow the selection.
void ShowChoice(Chooser& c) {
  const std::vector<std::string> chosen = ITreeSel_SelectedPaths(c.tree, c.files);
  std::string text;
  for (const std::string& path : chosen) text += (text.empty() ? "" : ", ") + path;
  I_PutSTRING(c.context, kChosen, text.empty() ? std::string(" ") : text);
  I_SetEnabledState(c.context, kButtons, chosen.empty() ? ~(1u << kOK) : ~0u);
}

void Finish(Chooser& c, bool confirmed) {
  c.confirmed = confirmed;
  if (confirmed) c.chosen = ITreeSel_SelectedPaths(c.tree, c.files);
  I_Deactivate(c.context);
}

void TreeCB(I_Context, std::int32_t, void*, std::uintptr_t data) {
  Chooser& c = *reinterpret_cast<Chooser*>(data);
  if (ITreeSel_FillOpened(c.tree)) I_PutGeneric(c.context, kTree, ITreeSel_DirTreeValue(c.tree));
  ShowChoice(c);
  // A double click on what may be chosen takes it.
  if (I_WasDoubleClick() && !ITreeSel_SelectedPaths(c.tree, c.files).empty()) Finish(c, true);
}

void ButtonsCB(I_Context, std::int32_t, std::int32_t value, std::uintptr_t data) {
  Chooser& c = *reinterpret_cast<Chooser*>(data);
  if (value != kOK || !ITreeSel_SelectedPaths(c.tree, c.files).empty()) Finish(c, value == kOK);
}

}  // namespace

// --- Trees of directories ------------------------------------------------------------------------

ITreeSel_DirTree ITreeSel_CreateDirTree(StrIn root, StrIn filter, ITreeSel_OmitProc omit, std::uintptr_t data) {
  auto* t = new ITreeSel_DirTreeRec;
  t->omit = omit;
  t->omitData = data;
  if (!filter.Empty()) t->filter = SRegExpr_Create(filter);
  std::string path = root.Str();
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  t->first = new CWTree_Node;
  t->first->text = path.substr(path.rfind('/') + 1);
  if (t->first->text.empty()) t->first->text = path;
  t->first->icon = kDirIcon;
  t->first->expanded = true;
  t->paths[t->first] = path;
  Fill(t, t->first);
  return t;
}

void ITreeSel_DestroyDirTree(ITreeSel_DirTree& tree) {
  if (tree == nullptr) return;
  CWTree_DestroyNodes(tree->first);
  SRegExpr_Destroy(tree->filter);
  delete tree;
  tree = nullptr;
}

CWTree_Node* const* ITreeSel_DirTreeValue(ITreeSel_DirTree tree) { return &tree->first; }

bool ITreeSel_FillOpened(ITreeSel_DirTree tree) { return tree != nullptr && FillOpened(tree, tree->first); }

std::string ITreeSel_NodePath(ITreeSel_DirTree tree, const CWTree_Node* node) {
  if (tree == nullptr) return "";
  const auto found = tree->paths.find(node);
  return found != tree->paths.end() ? found->second : "";
}

CWTree_Node* ITreeSel_OpenAt(ITreeSel_DirTree tree, StrIn path) {
  if (tree == nullptr) return nullptr;
  const std::string& root = tree->paths[tree->first];
  std::string rest = path.Str();
  while (rest.size() > 1 && rest.back() == '/') rest.pop_back();
  if (rest != root && rest.rfind(root + "/", 0) != 0) return nullptr;
  rest.erase(0, root.size());
  CWTree_Node* node = tree->first;
  std::vector<CWTree_Node*> opened;
  for (std::size_t at = 1; at < rest.size() && node != nullptr;) {
    const std::size_t end = std::min(rest.find('/', at), rest.size());
    const std::string name = rest.substr(at, end - at);
    at = end + 1;
    if (name.empty()) continue;
    if (node->expandable && node->firstChild == nullptr) Fill(tree, node);
    opened.push_back(node);
    CWTree_Node* child = node->firstChild;
    while (child != nullptr && child->text != name) child = child->next;
    node = child;
  }
  if (node == nullptr) return nullptr;
  for (CWTree_Node* n : opened) n->expanded = true;
  Deselect(tree->first);
  node->selected = true;
  return node;
}

std::vector<std::string> ITreeSel_SelectedPaths(ITreeSel_DirTree tree, bool files) {
  std::vector<std::string> out;
  if (tree != nullptr) Collect(tree, tree->first, files, out);
  return out;
}

// --- The chooser ---------------------------------------------------------------------------------

namespace {

// The chooser, opened at `start` (empty: at the top).
bool Choose(StrIn title, StrIn root, StrIn filter, bool multiple, StrIn start, std::vector<std::string>& chosen) {
  chosen.clear();
  Chooser c;
  c.context = Messages_Quietly([] { return I_Create("ITreeSel_Choose", false); });
  if (c.context == nullptr) return false;
  PathStr top;
  if (root.Empty()) DirAcces_IncludeSpecialPath(DirAcces_TV_PROJECTS, "", top);
  else Strings_Assign(root, top);
  c.files = !filter.Empty();
  c.tree = ITreeSel_CreateDirTree(top, filter, nullptr, 0);
  const std::uint8_t mode = multiple ? 2 : 1;
  I_SetReprAttr(c.context, kTreeElement, SIdPool_EnterId("selectMode"), &mode, 1);
  const bool scroll = !start.Empty() && ITreeSel_OpenAt(c.tree, start) != nullptr;
  I_SetReprAttr(c.context, kTreeElement, SIdPool_EnterId("autoPos"), &scroll, 1);
  I_SetReprAttr(c.context, -1, SIdPool_EnterId("title"), title.Str().c_str(),
                static_cast<std::uint32_t>(title.Length() + 1));
  I_PutSTRING(c.context, kHeading, title);
  I_PutGeneric(c.context, kTree, ITreeSel_DirTreeValue(c.tree));
  ShowChoice(c);
  I_SetGenericcallback(c.context, kTree, TreeCB, reinterpret_cast<std::uintptr_t>(&c));
  I_SetINTEGERcallback(c.context, kButtons, ButtonsCB, reinterpret_cast<std::uintptr_t>(&c));
  I_Activate(c.context);
  I_Dialog(c.context);
  I_Destroy(c.context);
  ITreeSel_DestroyDirTree(c.tree);
  chosen = c.chosen;
  return c.confirmed && !chosen.empty();
}

}  // namespace

bool ITreeSel_SelectMultipleFiles(StrIn title, StrIn root, StrIn filter, bool multiple,
                                  std::vector<std::string>& chosen) {
  return Choose(title, root, filter, multiple, "", chosen);
}

bool ITreeSel_SelectADirectory(StrIn title, StrIn root, StrOut directory) {
  directory.Clear();
  std::vector<std::string> chosen;
  if (!ITreeSel_SelectMultipleFiles(title, root, "", false, chosen)) return false;
  Strings_Assign(chosen.front(), directory);
  return true;
}

bool ITreeSel_SelectAFile(StrIn title, StrIn filter, StrIn start, StrOut file) {
  const std::string startValue = start.Str();
  std::vector<std::string> chosen;
  const bool confirmed = Choose(title, "", filter, false, startValue, chosen);
  Strings_Assign(confirmed ? chosen.front() : startValue, file);
  return confirmed;
}
