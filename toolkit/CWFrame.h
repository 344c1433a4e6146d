// CWFrame: keyword "FRAME" (class "WFrame"), a vertical box inside an etched
// line with a title ("TEXT") set into the line: at the top ("labelPos" 0) or
// the bottom (1), left, centred or right by "labelHoriAlign" (0, 1, 2), in
// "labelColor", "labelGap" pixels from the corner. "frameGap" is the room
// between the line and the children.
#pragma once

#include "toolkit/CWHVBox.h"

struct CWFrame_Rec : CWHVBox_Rec {
  CAttribs_String TEXT;
  W_Color labelColor;
  std::uint8_t labelPos, labelHoriAlign;
  std::int32_t labelGap, frameGap;
};

extern Classes_ClassPtr CWFrame_class;

void CWFrame_CreateClass();
