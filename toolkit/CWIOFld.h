// CWIOFld: "WIOFld" (keyword "TEXTFIELD"), a one-line field of a typed value:
// its "widgetType" is INTEGER, CARDINAL, REAL or STRING. A number is shown
// through the template "format" ("%5d", "%.2f"; empty: plainly) and read
// back when the field is committed: a text that is no number of the type is
// refused with the bell and the field shows the last value again. Typing
// takes only characters a number can have. With "allowNilValue" an empty
// field is the nil value (INTEGER -2147483648, CARDINAL all ones, REAL
// -5e19), shown empty. "onlyOneWord" refuses blanks.
#pragma once

#include "toolkit/CWTextIO.h"

struct CWIOFld_Rec : CWTextIO_Rec {
  CAttribs_String format;  // "format"
  bool onlyOneWord;        // "onlyOneWord"
  bool allowNilValue;      // "allowNilValue"
};

extern Classes_ClassPtr CWIOFld_class;

void CWIOFld_CreateClass();
