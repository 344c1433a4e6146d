#include "base/SRegExpr.h"

#include <regex.h>

#include <memory>
#include <string>

// Holds a successfully compiled expression only: a record whose regcomp
// failed is dropped before anyone sees it, so every record needs regfree.
struct SRegExpr_Rec {
  regex_t compiled;
};

SRegExpr SRegExpr_Create(StrIn pattern) {
  auto expr = std::make_unique<SRegExpr_Rec>();
  if (::regcomp(&expr->compiled, pattern.Str().c_str(), REG_EXTENDED | REG_NOSUB) != 0) return nullptr;
  return expr.release();
}

void SRegExpr_Destroy(SRegExpr& expr) {
  if (expr == nullptr) return;
  ::regfree(&expr->compiled);
  delete expr;
  expr = nullptr;
}

SRegExpr SRegExpr_Nil() { return nullptr; }

bool SRegExpr_Match(SRegExpr expr, StrIn text) {
  if (expr == nullptr) return false;
  return ::regexec(&expr->compiled, text.Str().c_str(), 0, nullptr, 0) == 0;
}
