#include "base/Strings.h"

#include <algorithm>
#include <cstring>

std::size_t StrOut::Length() const noexcept { return ::strnlen(data_, high_ + 1); }

StrIn StrIn::C(const char* text) noexcept {
  if (text == nullptr) return StrIn("");
  return StrIn(text, std::strlen(text));
}

std::size_t StrIn::Length() const noexcept { return ::strnlen(data_, high_ + 1); }

void Strings_Assign(StrIn src, StrOut dst) {
  const std::size_t n = std::min(src.Length(), dst.Capacity());
  std::memmove(dst.Data(), src.Data(), n);
  dst.Terminate(n);
}

std::size_t Strings_Length(StrIn s) { return s.Length(); }

void Strings_Concat(StrIn a, StrIn b, StrOut dst) {
  // b is read after a has been written, so a b that shares dst's storage is
  // copied aside first.
  char aside[kTextCap];
  const char* bData = b.Data();
  std::size_t bLen = b.Length();
  const char* dstEnd = dst.Data() + dst.Capacity();
  if (bData < dstEnd && bData + bLen > dst.Data()) {
    bLen = std::min(bLen, sizeof aside);
    std::memcpy(aside, bData, bLen);
    bData = aside;
  }
  const std::size_t aLen = std::min(a.Length(), dst.Capacity());
  std::memmove(dst.Data(), a.Data(), aLen);
  const std::size_t bCopied = std::min(bLen, dst.Capacity() - aLen);
  std::memmove(dst.Data() + aLen, bData, bCopied);
  dst.Terminate(aLen + bCopied);
}

void Strings_Copy(StrIn src, std::size_t from, std::size_t count, StrOut dst) {
  // Built aside first, so that src may overlap dst in any way.
  const std::size_t n = std::min(count, dst.Capacity());
  std::string aside(n, '\0');
  for (std::size_t i = 0; i < n; ++i) {
    const std::size_t at = from + i;
    if (at >= from && at <= src.High()) aside[i] = src.Data()[at];
  }
  std::memcpy(dst.Data(), aside.data(), n);
  dst.Terminate(n);
}

void Strings_Insert(StrIn src, StrOut dst, std::size_t pos) {
  const std::size_t srcLen = src.Length();
  const std::size_t dstLen = dst.Length();
  if (srcLen == 0 || dstLen + srcLen > dst.Capacity()) return;
  // src may live inside dst: take it aside before moving dst's tail.
  std::string aside(src.Data(), srcLen);
  pos = std::min(pos, dstLen);
  std::memmove(dst.Data() + pos + srcLen, dst.Data() + pos, dstLen - pos);
  std::memcpy(dst.Data() + pos, aside.data(), srcLen);
  dst.Terminate(dstLen + srcLen);
}

void Strings_Delete(StrOut s, std::size_t from, std::size_t count) {
  const std::size_t len = s.Length();
  if (from >= len) return;
  count = std::min(count, len - from);
  std::memmove(s.Data() + from, s.Data() + from + count, len - from - count);
  s.Terminate(len - count);
}

std::size_t Strings_Pos(StrIn pattern, StrIn s) {
  const std::string_view p = pattern.View();
  if (p.empty()) return 0;
  const std::size_t at = s.View().find(p);
  return at == std::string_view::npos ? s.High() + 1 : at;
}

std::size_t Strings_LastPos(StrIn pattern, StrIn s) {
  const std::string_view text = s.View();
  if (text.empty()) return s.High() + 1;
  const std::string_view p = pattern.View();
  if (p.empty()) return text.size() - 1;
  const std::size_t at = text.rfind(p);
  return at == std::string_view::npos ? s.High() + 1 : at;
}

int Strings_CompareStr(StrIn a, StrIn b) {
  const std::string_view x = a.View(), y = b.View();
  const std::size_t n = std::min(x.size(), y.size());
  const int c = std::memcmp(x.data(), y.data(), n);
  if (c != 0) return c < 0 ? -1 : 1;
  if (x.size() == y.size()) return 0;
  return x.size() < y.size() ? -1 : 1;
}

bool Strings_Equal(StrIn a, StrIn b) { return a.View() == b.View(); }
