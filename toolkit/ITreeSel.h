// ITreeSel: the directory chooser, a modal window with a tree (CWTree) of
// the directories below a root, by default the projects directory
// (TV_PROJECTS). Directories are read when their node is opened, so a large
// tree costs only what the user looks at. With a filter, the files whose
// names match it stand under their directories too and are what is chosen.
// Hidden entries (names from ".") are never listed.
//
// The window is the dialog "ITreeSel_Choose" of "marldlg": value 1 its
// buttons (1 OK, 2 Cancel), 2 the tree (element 10, Generic "WtTreeList"),
// 3 the path chosen (a text), 4 the title. Without a display nothing is
// chosen.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/Strings.h"
#include "toolkit/CWTree.h"

// Shows the tree below `root` (empty: the projects directory) under
// `title`, and waits for the user. With an empty `filter` directories are
// chosen, else the files whose names match the expression `filter`;
// `multiple` lets several be chosen. True when the user confirmed a choice:
// the full paths in `chosen`, in the order of the tree.
bool ITreeSel_SelectMultipleFiles(StrIn title, StrIn root, StrIn filter, bool multiple,
                                  std::vector<std::string>& chosen);
// One file below the projects directory whose name matches `filter`: true
// and its path when the user chose one; otherwise `file` is `start` again.
// The tree opens at `start` (a path below the projects directory), which is
// chosen until the user chooses another.
bool ITreeSel_SelectAFile(StrIn title, StrIn filter, StrIn start, StrOut file);
// One directory below `root`: true and its path when the user chose one.
bool ITreeSel_SelectADirectory(StrIn title, StrIn root, StrOut directory);

// --- A tree of directories, for the trees of other windows -----------------------------------
// The nodes of a TREE that show the directories below a root, read as they
// are opened: the top node is the root (its last element as its text, open),
// every directory expandable until it turns out empty; icon 0 a directory,
// icon 1 a file. The tree owns its nodes; the TREE shows them.

struct ITreeSel_DirTreeRec;
using ITreeSel_DirTree = ITreeSel_DirTreeRec*;
// Whether a directory of that name is left out of the tree.
using ITreeSel_OmitProc = bool (*)(StrIn name, std::uintptr_t data);

// A tree of `root` with its first level read; with a `filter` the files
// whose names match it stand beside the directories. `omit` (may be nil)
// leaves directories out. The caller owns the tree.
ITreeSel_DirTree ITreeSel_CreateDirTree(StrIn root, StrIn filter, ITreeSel_OmitProc omit, std::uintptr_t data);
// Frees the tree and its nodes and sets it to nil; nil is accepted.
void ITreeSel_DestroyDirTree(ITreeSel_DirTree& tree);
// The TREE's value: the address of the pointer to the top node, as
// I_PutGeneric takes it.
CWTree_Node* const* ITreeSel_DirTreeValue(ITreeSel_DirTree tree);
// After the TREE reported: reads the directories the user opened that were
// not read yet; whether there were any (then the value is put again).
bool ITreeSel_FillOpened(ITreeSel_DirTree tree);
// Opens the nodes down to `path` (reading them), selects its node alone and
// gives it; nil, the selection unchanged, when `path` is not in the tree.
CWTree_Node* ITreeSel_OpenAt(ITreeSel_DirTree tree, StrIn path);
// The path of a node of the tree; empty for a node of another.
std::string ITreeSel_NodePath(ITreeSel_DirTree tree, const CWTree_Node* node);
// The paths of the selected nodes in tree order: directories, or with
// `files` the files.
std::vector<std::string> ITreeSel_SelectedPaths(ITreeSel_DirTree tree, bool files);
