#include "base/SwitchBd.h"

// Callbacks run inside the walk over the inlet list and may unplug inlets or
// destroy the board. So while a message is being delivered nothing is freed:
// an unplugged inlet stays linked with its mark set and is passed over, and a
// destroyed board is only marked. When the outermost message returns, the
// board is swept. Messages may nest (a callback sending on the same board);
// the depth counts them.

struct SwitchBd_InletRec {
  SwitchBd board = nullptr;  // not owned; nil once detached
  SwitchBd_InletRec* next = nullptr;
  SwitchBd_Callback callback = SwitchBd_NoMsg;
  bool unplugged = false;  // destroyed during a message, freed by the sweep
};

struct SwitchBd_Rec {
  SwitchBd_InletRec* first = nullptr;  // the newest
  int depth = 0;                       // messages being delivered
  bool destroyed = false;              // destroyed during a message
};

namespace {

// Frees a board that nobody is delivering on, and detaches its inlets.
void Free(SwitchBd board) {
  for (SwitchBd_InletRec* inlet = board->first; inlet != nullptr;) {
    SwitchBd_InletRec* next = inlet->next;
    if (inlet->unplugged) {
      delete inlet;
    } else {
      inlet->board = nullptr;
      inlet->next = nullptr;
    }
    inlet = next;
  }
  delete board;
}

// After the outermost message: frees what callbacks destroyed meanwhile.
void Sweep(SwitchBd board) {
  if (board->destroyed) {
    Free(board);
    return;
  }
  for (SwitchBd_InletRec** link = &board->first; *link != nullptr;) {
    SwitchBd_InletRec* inlet = *link;
    if (inlet->unplugged) {
      *link = inlet->next;
      delete inlet;
    } else {
      link = &inlet->next;
    }
  }
}

void Deliver(SwitchBd board, SwitchBd_Inlet sender, std::uintptr_t data) {
  if (board == nullptr || board->destroyed) return;
  ++board->depth;
  for (SwitchBd_InletRec* inlet = board->first; inlet != nullptr && !board->destroyed; inlet = inlet->next) {
    if (inlet != sender && !inlet->unplugged) inlet->callback(data);
  }
  if (--board->depth == 0) Sweep(board);
}

}  // namespace

SwitchBd SwitchBd_NilSwitchBd() { return nullptr; }

SwitchBd_Inlet SwitchBd_NilInlet() { return nullptr; }

SwitchBd SwitchBd_Create() { return new SwitchBd_Rec; }

void SwitchBd_Destroy(SwitchBd& board) {
  if (board == nullptr) return;
  if (board->depth > 0) {
    board->destroyed = true;
  } else {
    Free(board);
  }
  board = nullptr;
}

SwitchBd_Inlet SwitchBd_CreateInlet(SwitchBd board, SwitchBd_Callback callback) {
  if (board == nullptr || board->destroyed) return nullptr;
  auto* inlet = new SwitchBd_InletRec{board, board->first, callback != nullptr ? callback : SwitchBd_NoMsg};
  board->first = inlet;
  return inlet;
}

SwitchBd_Inlet SwitchBd_NotifyMe(SwitchBd board, SwitchBd_Callback callback) {
  return SwitchBd_CreateInlet(board, callback);
}

void SwitchBd_DestroyInlet(SwitchBd_Inlet& inlet) {
  if (inlet == nullptr) return;
  SwitchBd board = inlet->board;
  if (board != nullptr && board->depth > 0) {
    inlet->unplugged = true;
  } else {
    if (board != nullptr) {
      SwitchBd_InletRec** link = &board->first;
      while (*link != inlet) link = &(*link)->next;
      *link = inlet->next;
    }
    delete inlet;
  }
  inlet = nullptr;
}

void SwitchBd_NoMsg(std::uintptr_t /*data*/) {}

void SwitchBd_Message(SwitchBd_Inlet sender, std::uintptr_t data) {
  if (sender != nullptr && !sender->unplugged) Deliver(sender->board, sender, data);
}

void SwitchBd_WallMessage(SwitchBd board, std::uintptr_t data) { Deliver(board, nullptr, data); }
