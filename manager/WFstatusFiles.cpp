// WFstatus: which files the content lists show, by expressions built at
// start from the image registry.
#include <string>

#include "base/SRegExpr.h"
#include "image/SImage.h"
#include "manager/WFstatusPrivate.h"

namespace {

SRegExpr images = nullptr;
SRegExpr tickets = nullptr;
SRegExpr texts = nullptr;
std::uint32_t onlyImagesMode = WFstatus_AllFiles;

// Every format's expression of the registry, and PDF files.
std::string AllImages() {
  std::string expr;
  SImage_FormatList list = SImage_GetListOfSupportedFormats();
  for (SImage_FormatList e = list; e != nullptr; e = e->next)
    if (e->regExpr[0] != '\0') expr += std::string(e->regExpr) + "|";
  SImage_DestroyListOfSupportedFormats(list);
  return expr + "\\.(pdf|PDF)$";
}

}  // namespace

void WFstatus_InitFiles() {
  if (images != nullptr) return;
  images = SRegExpr_Create(AllImages());
  tickets = SRegExpr_Create("\\.jt..?$");
  texts = SRegExpr_Create("\\.txt$");
}

void WFstatus_SetOnlyImagesMode(std::uint32_t mode) {
  onlyImagesMode = mode <= WFstatus_ImagesAndTickets ? mode : WFstatus_AllFiles;
}

std::uint32_t WFstatus_OnlyImagesMode() { return onlyImagesMode; }

bool WFstatus_FileShown(StrIn name, std::uint32_t mode) {
  const bool withImages = mode == WFstatus_OnlyImages || mode == WFstatus_ImagesAndTickets;
  const bool withTickets = mode == WFstatus_OnlyTickets || mode == WFstatus_ImagesAndTickets;
  if (!withImages && !withTickets) return true;
  return (withImages && SRegExpr_Match(images, name)) || (withTickets && SRegExpr_Match(tickets, name));
}

bool WFstatus_IsTextFile(StrIn name) { return SRegExpr_Match(texts, name); }
