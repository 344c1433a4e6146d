#include "base/BOutIn.h"

#include "base/BConvert.h"
#include "base/Messages.h"

bool BOutIn_done = false;

namespace {

char section[kSectionCap] = "BOutIn";

enum Operation : unsigned { kWrite = 1, kRead = 2 };

// Runs a call of the buffered layer with its report held back, so that it
// stands beneath this module's own, which follows when that layer failed.
template <class Call>
auto Below(unsigned operation, Call call) {
  Messages_IgnoreErrors(true);
  const auto result = call();
  Messages_IgnoreErrors(false);
  // messages: BOutIn 1-2
  if (BFileIO_ioError != 0) Messages_Error(section, operation);
  return result;
}

// The next byte; false at the end of the file or on failure.
bool Next(BFileIO_File file, char& c) {
  return Below(kRead, [&] { return BFileIO_Read(file, &c, 1); }) == 1;
}

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// Puts `c` at `length` while there is room; past the bound bytes are dropped.
void Append(StrOut text, std::size_t& length, char c) {
  if (length <= text.High()) text[length++] = c;
}

bool Put(BFileIO_File file, StrIn text) {
  const std::string_view bytes = text.View();
  Below(kWrite, [&] { return BFileIO_Write(file, bytes.data(), bytes.size()); });
  return BFileIO_ioError == 0;
}

}  // namespace

void BOutIn_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  BFileIO_Init();
}

bool BOutIn_ReadLine(BFileIO_File file, StrOut line) {
  std::size_t length = 0;
  bool any = false;
  char c;
  while (Next(file, c)) {
    any = true;
    if (c == '\n') break;
    Append(line, length, c);
  }
  line.Terminate(length);
  BOutIn_done = any && BFileIO_ioError == 0;
  return BOutIn_done;
}

bool BOutIn_ReadWord(BFileIO_File file, StrOut word) {
  std::size_t length = 0;
  char c;
  bool more = Next(file, c);
  while (more && IsBlank(c)) more = Next(file, c);
  BOutIn_done = more;
  while (more && !IsBlank(c)) {
    Append(word, length, c);
    more = Next(file, c);
  }
  word.Terminate(length);
  BOutIn_done = BOutIn_done && BFileIO_ioError == 0;
  return BOutIn_done;
}

bool BOutIn_ReadChar(BFileIO_File file, char& c) {
  BOutIn_done = Next(file, c);
  return BOutIn_done;
}

bool BOutIn_WriteString(BFileIO_File file, StrIn text) { return Put(file, text); }

bool BOutIn_WriteChar(BFileIO_File file, char c) { return Put(file, StrIn(&c, 0)); }

bool BOutIn_WriteLn(BFileIO_File file) { return Put(file, "\n"); }

bool BOutIn_WriteLine(BFileIO_File file, StrIn text) { return Put(file, text) && Put(file, "\n"); }

bool BOutIn_WriteCard(BFileIO_File file, std::uint64_t value, std::size_t width) {
  char text[kTextCap] = "";
  BConvert_Card64ToStr(text, value, width);
  return Put(file, text);
}

bool BOutIn_WriteInt(BFileIO_File file, std::int64_t value, std::size_t width) {
  char text[kTextCap] = "";
  BConvert_Int64ToStr(text, value, width);
  return Put(file, text);
}

bool BOutIn_WriteReal(BFileIO_File file, double value, int width, int precision) {
  char text[kTextCap] = "";
  BConvert_RealToStr(text, value, width, precision);
  return Put(file, text);
}
