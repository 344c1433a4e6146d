#include "base/SwitchBd.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using Log = std::vector<std::string>;

// Callbacks get only the word, so listener N is a function of its own: it
// logs "N:word", then does what the test set as its reaction.
Log heard;
SwitchBd board;
SwitchBd_Inlet inlets[4];
void (*reaction[4])(int self, std::uintptr_t data);

template <int N>
void Listener(std::uintptr_t data) {
  heard.push_back(std::to_string(N) + ":" + std::to_string(data));
  if (reaction[N] != nullptr) reaction[N](N, data);
}
constexpr SwitchBd_Callback kListeners[4] = {Listener<0>, Listener<1>, Listener<2>, Listener<3>};

// Each test starts with inlets 0, 1, 2 plugged in that order: 2 hears first.
class SwitchBdTest : public testing::Test {
 protected:
  void SetUp() override {
    board = SwitchBd_Create();
    for (int i = 0; i < 3; ++i) inlets[i] = SwitchBd_CreateInlet(board, kListeners[i]);
  }
  void TearDown() override {
    for (SwitchBd_Inlet& inlet : inlets) SwitchBd_DestroyInlet(inlet);
    SwitchBd_Destroy(board);
    for (auto& r : reaction) r = nullptr;
  }
  static Log Heard() { return std::exchange(heard, {}); }
};

}  // namespace

TEST_F(SwitchBdTest, NewestFirstAndTheSenderHearsOnlyTheWall) {
  SwitchBd_Message(inlets[1], 7);
  EXPECT_EQ(Heard(), (Log{"2:7", "0:7"}));
  SwitchBd_WallMessage(board, 8);
  EXPECT_EQ(Heard(), (Log{"2:8", "1:8", "0:8"}));
  inlets[3] = SwitchBd_NotifyMe(board, kListeners[3]);
  SwitchBd_DestroyInlet(inlets[2]);
  SwitchBd_Message(inlets[3], 9);
  EXPECT_EQ(Heard(), (Log{"1:9", "0:9"}));
  inlets[2] = SwitchBd_CreateInlet(board, nullptr);  // deaf, like SwitchBd_NoMsg
  SwitchBd_Message(inlets[3], 10);
  EXPECT_EQ(Heard(), (Log{"1:10", "0:10"}));
}

// Listener 1 unplugs itself, listener 0 (yet to hear) and listener 2 (has
// heard); a listener plugged in meanwhile hears only later messages.
TEST_F(SwitchBdTest, InletsChangedDuringAMessage) {
  reaction[1] = [](int self, std::uintptr_t) {
    for (const int i : {self, 0, 2}) SwitchBd_DestroyInlet(inlets[i]);
    inlets[3] = SwitchBd_CreateInlet(board, kListeners[3]);
  };
  SwitchBd_WallMessage(board, 1);
  EXPECT_EQ(Heard(), (Log{"2:1", "1:1"}));
  SwitchBd_WallMessage(board, 2);
  EXPECT_EQ(Heard(), (Log{"3:2"}));
}

// A message sent from a callback is delivered whole before the outer one goes
// on; an inlet the inner one unplugs is not called by the outer.
TEST_F(SwitchBdTest, NestedMessages) {
  reaction[2] = [](int self, std::uintptr_t data) {
    if (data == 1) SwitchBd_Message(inlets[self], 2);
  };
  reaction[1] = [](int, std::uintptr_t data) {
    if (data == 2) SwitchBd_DestroyInlet(inlets[0]);
  };
  SwitchBd_WallMessage(board, 1);
  EXPECT_EQ(Heard(), (Log{"2:1", "1:2", "1:1"}));
}

// A board destroyed by a listener stops the message; its inlets stay their
// owners' to destroy, detached and deaf.
TEST_F(SwitchBdTest, BoardDestroyedDuringAMessage) {
  reaction[1] = [](int, std::uintptr_t) {
    SwitchBd_DestroyInlet(inlets[2]);
    SwitchBd_Destroy(board);
  };
  SwitchBd_WallMessage(board, 1);
  EXPECT_EQ(Heard(), (Log{"2:1", "1:1"}));
  EXPECT_EQ(board, nullptr);
  SwitchBd_Message(inlets[0], 2);
  TearDown();  // the detached inlets are still freed by their owners
  SetUp();
  SwitchBd_Destroy(board);  // outside a message
  SwitchBd_Message(inlets[0], 3);
  EXPECT_TRUE(Heard().empty());
}
