// FEwfGenr: the frame, its hooks and the dialog run. The values' way to and
// from the elements is in FEwfGenrView.cpp, the selection boxes in
// FEwfGenrSel.cpp.
#include "frontends/FEwfGenr.h"

#include <cstring>

#include "base/Messages.h"
#include "base/SIdPool.h"
#include "base/SPrintf.h"
#include "frontends/FEwfGenrRec.h"
#include "workflow/WFbase.h"

namespace {

constexpr char section[] = "FEwfGenr";
constexpr unsigned kTitleMsg = 10;  // messages: FEwfGenr 10

}  // namespace

void FEwfGenr_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  Messages_UseMsgCat("FEGENRmsg");
  // Without a display there are no dialogs to find.
  Messages_Quietly([] { return I_UseContextCat("FEGENRdlg"); });
}

// --- The frame ----------------------------------------------------------------------------

FEwfGenr FEwfGenr_Create(AutoDict dictionary, WFmodule_Kind kind, std::uintptr_t client) {
  auto* frame = new FEwfGenr_Rec;
  frame->dictionary = dictionary;
  frame->kind = kind;
  frame->client = client;
  return frame;
}

void FEwfGenr_Destroy(FEwfGenr& frame) {
  delete frame;
  frame = nullptr;
}

void FEwfGenr_Attach(FEwfGenr frame, I_Context dialog, std::int32_t shellElement) {
  if (frame == nullptr || frame->dialog != nullptr) return;
  frame->dialog = dialog;
  frame->shellElement = shellElement;
  FEwfGenr_EnterCallbacks(frame);
  Messages_Quietly([&] {
    I_SetINTEGERcallback(dialog, kFEwfGenrCommand, FEwfGenr_CommandCB, reinterpret_cast<std::uintptr_t>(frame));
  });
}

void FEwfGenr_RegisterGetValuesCB(FEwfGenr frame, FEwfGenr_ValuesCB proc) {
  if (frame != nullptr) frame->getValuesCB = proc;
}

void FEwfGenr_RegisterSetValuesCB(FEwfGenr frame, FEwfGenr_ValuesCB proc) {
  if (frame != nullptr) frame->setValuesCB = proc;
}

void FEwfGenr_RegisterCheckValuesCB(FEwfGenr frame, FEwfGenr_CheckValuesCB proc) {
  if (frame != nullptr) frame->checkValuesCB = proc;
}

void FEwfGenr_RegisterParameterCB(FEwfGenr frame, std::uint32_t element, FEwfGenr_ParameterCB proc) {
  if (frame == nullptr) return;
  if (frame->parameterCallbacks == nullptr) {
    frame->parameterCallbacks = std::make_unique<std::unordered_map<std::uint32_t, FEwfGenr_ParameterCB>>();
    frame->parameterCallbacks->reserve(kFEwfGenrCallbackBuckets);
  }
  (*frame->parameterCallbacks)[element] = proc;
}

I_Context FEwfGenr_Dialog(FEwfGenr frame) { return frame != nullptr ? frame->dialog : nullptr; }
AutoDict FEwfGenr_Dictionary(FEwfGenr frame) { return frame != nullptr ? frame->dictionary : nullptr; }
bool FEwfGenr_Modified(FEwfGenr frame) { return frame != nullptr && frame->modified; }
bool FEwfGenr_Confirmed(FEwfGenr frame) { return frame != nullptr && frame->confirmed; }

// --- Changes -------------------------------------------------------------------------------

void FEwfGenr_SetModified(FEwfGenr frame) {
  if (frame != nullptr) frame->modified = true;
}

void FEwfGenr_ParameterModified(FEwfGenr frame, AutoDict_Parameter parameter) {
  if (frame == nullptr || parameter == nullptr) return;
  if (frame->parameterCallbacks != nullptr) {
    const auto found = frame->parameterCallbacks->find(AutoDict_GetAObjId(parameter));
    if (found != frame->parameterCallbacks->end() && found->second != nullptr) found->second(parameter, frame->client);
  }
  frame->modified = true;
}

// --- The transfers ----------------------------------------------------------------------------

void FEwfGenr_GetValuesFromRcFile(FEwfGenr frame, SAutoRcF rc, bool quiet) {
  if (frame == nullptr) return;
  AutoDict_GetAllValues(frame->dictionary, rc, true);
  // The callbacks themselves, not a change: the dialog's enabling follows
  // the values read.
  if (!quiet && frame->parameterCallbacks != nullptr) {
    for (AutoDict_Parameter p = AutoDict_GetFirstParameter(frame->dictionary); p != nullptr;
         p = AutoDict_GetNextParameter(frame->dictionary)) {
      const auto found = frame->parameterCallbacks->find(AutoDict_GetAObjId(p));
      if (found != frame->parameterCallbacks->end() && found->second != nullptr) found->second(p, frame->client);
    }
  }
  if (frame->getValuesCB != nullptr) frame->getValuesCB(rc, frame->client);
}

void FEwfGenr_SetValuesInRcFile(FEwfGenr frame, SAutoRcF rc) {
  if (frame == nullptr) return;
  AutoDict_SetAllValues(frame->dictionary, rc);
  if (frame->setValuesCB != nullptr) frame->setValuesCB(rc, frame->client);
}

// --- The dialog run ----------------------------------------------------------------------

void FEwfGenr_Open(FEwfGenr frame, SAutoRcF rc, StrIn workflow, bool& modified) {
  modified = false;
  if (frame == nullptr || frame->dialog == nullptr) return;
  // The title: the kind's name, with the workflow's behind it.
  NameStr name;
  TextStr title;
  WFmodule_GetName(frame->kind, name);
  if (workflow.Empty()) {
    Strings_Assign(name, title);
  } else {
    Messages_GetMsg(section, kTitleMsg, title);
    SPrintf_String(title, name);
    SPrintf_String(title, workflow);
  }
  Messages_Quietly([&] {
    I_SetReprAttr(frame->dialog, frame->shellElement, SIdPool_EnterId("title"), title,
                  static_cast<std::uint32_t>(std::strlen(title) + 1));
  });
  frame->modified = false;
  frame->confirmed = false;
  FEwfGenr_GetValuesFromRcFile(frame, rc, false);
  FEwfGenr_UpdateView(frame, false);
  I_Activate(frame->dialog);
  I_Dialog(frame->dialog);
  if (frame->confirmed) {
    FEwfGenr_SetValuesInRcFile(frame, rc);
    modified = frame->modified;
  }
}

void FEwfGenr_Cancel(FEwfGenr frame) {
  if (frame == nullptr || frame->dialog == nullptr || !I_Active(frame->dialog)) return;
  frame->confirmed = false;
  I_Deactivate(frame->dialog);
}

bool FEwfGenr_ClosesDialog(std::uintptr_t message) {
  const auto* text = reinterpret_cast<const char*>(message);
  return text != nullptr &&
         (std::strcmp(text, WFbase_msgWorkflowChanged) == 0 || std::strcmp(text, WFbase_msgModeChanged) == 0);
}

void FEwfGenr_CancelOnChange(FEwfGenr frame, std::uintptr_t message) {
  if (FEwfGenr_ClosesDialog(message)) FEwfGenr_Cancel(frame);
}

void FEwfGenr_CommandCB(I_Context, std::int32_t, std::int32_t value, std::uintptr_t data) {
  auto* frame = reinterpret_cast<FEwfGenr>(data);
  if (value == kFEwfGenrCancel) {
    FEwfGenr_Cancel(frame);
  } else if (value == kFEwfGenrOK) {
    if (frame->checkValuesCB != nullptr && !frame->checkValuesCB(frame->dictionary, frame->client)) return;
    frame->confirmed = true;
    I_Deactivate(frame->dialog);
  }
}
