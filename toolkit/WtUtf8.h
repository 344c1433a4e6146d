// WtUtf8: texts in widgets are UTF-8 (as the catalogs are); keys and the
// server's core fonts speak ISO 8859-1. These convert between the two and
// step through UTF-8 by characters.
#pragma once

#include <string>

// Characters beyond ISO 8859-1, and bytes that are no UTF-8, become "?".
std::string WtUtf8_ToLatin1(const std::string& utf8);
std::string WtUtf8_FromLatin1(const std::string& latin1);
// The index of the character after (before) the one at `index`; the ends of
// the text stay where they are.
int WtUtf8_Next(const std::string& text, int index);
int WtUtf8_Previous(const std::string& text, int index);
// The number of characters.
int WtUtf8_Length(const std::string& text);
