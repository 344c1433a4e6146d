// Iplaces: where the windows of dialogs were, kept in the settings under
// "Iplaces_<dialog>" as position and size, so that a dialog opens again
// where its user left it (saved with the program's settings file).
#pragma once

#include "base/Strings.h"

// The stored place of a dialog's window: position and, as negative values,
// its size. False when nothing is stored.
bool Iplaces_GetConfig(StrIn dialogName, int& x, int& y, int& dx, int& dy);
// Stores the place of a dialog's window; the size of the window manager's
// frame is not kept.
void Iplaces_SetConfig(StrIn dialogName, int x, int y, int width, int height, int dWidth, int dHeight);
