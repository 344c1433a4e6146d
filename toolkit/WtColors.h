// WtColors: colours by name (the X file "rgb.txt") and the toolkit's fixed
// colours. The colour (-1, -1, -1) is WtColors_copyColor: "take the parent's".
#pragma once

#include "toolkit/W.h"

extern const W_Color WtColors_copyColor;
extern const W_Color WtColors_defaultBackground;  // (230,230,225)
extern const W_Color WtColors_coreBackground;     // (242,242,237)
extern const W_Color WtColors_inputColor;         // white
extern const W_Color WtColors_buttonColor;        // (215,215,210)
extern const W_Color WtColors_menubarColor;       // (215,215,210)
extern const W_Color WtColors_selectionColor;     // (64,64,64)
extern const W_Color WtColors_insensitiveColor;   // (150,150,150)
extern const W_Color WtColors_rootColor;          // black

bool WtColors_IsCopyColor(const W_Color& color);
// The colour of `name` (any case, blanks as in the file). An unknown name
// gives black and message 2 of "WtColors"; false then. Without "rgb.txt" on
// the machine every name is unknown.
bool WtColors_SetColorByName(StrIn name, W_Color& color);
// Darker by `delta`: all components scaled by (max - delta) / max, max the
// largest component. Lighter: the inverse made darker, inverted back.
W_Color WtColors_Darker(const W_Color& color, int delta);
W_Color WtColors_Lighter(const W_Color& color, int delta);
