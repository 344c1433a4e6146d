// Editing in text fields, on made-up windows: characters, selections,
// lines, and the typed fields that refuse what is no number.
#include "toolkit/CWTextIO.h"

#include <gtest/gtest.h>

#include <string>

#include "base/Messages.h"
#include "tests/support/TestFiles.h"
#include "tests/toolkit/FakeW.h"
#include "toolkit/CWIOFld.h"
#include "toolkit/CWShell.h"
#include "toolkit/Wt.h"

namespace {

int reports = 0;
WidgetValue lastValue;
void Report(Widget, std::uintptr_t, WidgetValue* value) {
  ++reports;
  lastValue = *value;
}

class TextTest : public ::testing::Test {
 protected:
  void SetUp() override {
    FakeW::Install();
    Wt_Initialize();
    reports = 0;
    shell_ = Wt_CreateWidget(nullptr, CWShell_class, nullptr);
  }
  void TearDown() override {
    Wt_DestroyWidget(shell_);
    FakeW::Remove();
  }
  Widget Field(Classes_ClassPtr cls, SAttribs attrs) {
    Widget w = Wt_CreateWidget(shell_, cls, attrs);
    SAttribs_Destroy(attrs);
    CWCore_SetCallback(w, Report, 0);
    CWShell_Popup(shell_, 0);
    CWCore_AcceptFocus(w, false);
    CWShell_RequestFocus(w);
    return w;
  }
  void Keys(const std::string& keys, std::uint32_t state = 0) {
    for (const char c : keys) {
      W_Event e;
      e.kind = W_KeyPress;
      e.window = shell_->window;
      e.input.ch = static_cast<std::uint8_t>(c);
      e.input.state = state;
      WtEvents_DispatchEvent(e);
    }
  }
  std::string Text(Widget w) { return CWTextIO_GetText(w).Str(); }

  Widget shell_ = nullptr;
};

TEST_F(TextTest, TypingEditsByCharactersAndSelectionsAreReplaced) {
  Widget t = Field(CWTextIO_class, nullptr);
  Keys("gr\xF6\xDF" "e");  // Latin-1 keys become UTF-8 characters
  EXPECT_EQ(Text(t), "gr\xC3\xB6\xC3\x9F" "e");
  Keys(std::string(1, W_KeyBackSpace) + std::string(1, W_KeyBackSpace));
  EXPECT_EQ(Text(t), "gr\xC3\xB6");
  Keys(std::string(1, W_KeyLeft), W_ShiftMask);
  EXPECT_EQ(CWTextIO_SelectedText(t), "\xC3\xB6");
  Keys("o");
  EXPECT_EQ(Text(t), "gro");
  Keys(std::string(1, W_KeyHome));
  Keys("a");
  EXPECT_EQ(Text(t), "agro");
  Keys("\x01");  // Ctrl-A selects all
  EXPECT_EQ(CWTextIO_SelectedText(t), "agro");
  // Committing reports a changed text once.
  EXPECT_EQ(reports, 0);
  CWCore_CheckValue(t);
  CWCore_CheckValue(t);
  EXPECT_EQ(reports, 1);
  EXPECT_EQ(WtTypes_AsString(lastValue).Str(), "agro");
}

TEST_F(TextTest, SeveralLinesBreakAtReturnAndMoveByLines) {
  SAttribs attrs = nullptr;
  SAttribs_AddInt(attrs, "rows", 3);
  Widget t = Field(CWTextIO_class, attrs);
  Keys("abc\rde");
  EXPECT_EQ(Text(t), "abc\nde");
  Keys(std::string(1, W_KeyUp));
  Keys("X");
  EXPECT_EQ(Text(t), "abXc\nde");
  Keys(std::string(1, W_KeyDown) + std::string(1, W_KeyEnd) + "!");
  EXPECT_EQ(Text(t), "abXc\nde!");
  EXPECT_EQ(reports, 0);  // Return breaks the line, it does not commit
}

TEST_F(TextTest, ANumberFieldTakesDigitsAndRefusesWhatIsNoNumber) {
  SAttribs attrs = nullptr;
  const WidgetValue five = WtTypes_Integer(5);
  SAttribs_AddByName(attrs, "widgetType", &five.widgetType, 4);
  SAttribs_AddByName(attrs, "VALUE", five.VALUE, 4);
  SAttribs_AddBool(attrs, "allowNilValue", true);
  Widget f = Field(CWIOFld_class, attrs);
  EXPECT_EQ(Text(f), "5");
  const int bells = FakeW::bells;
  Keys("1x2");
  EXPECT_EQ(Text(f), "12");
  EXPECT_EQ(FakeW::bells, bells + 1);
  CWCore_CheckValue(f);
  EXPECT_EQ(WtTypes_AsInteger(lastValue), 12);
  // "--3" has only allowed characters but is no number: refused, the last
  // value shows again.
  Keys("\x01--3");
  CWCore_CheckValue(f);
  EXPECT_EQ(Text(f), "12");
  EXPECT_EQ(reports, 1);
  // Empty is the nil value.
  Keys("\x01" + std::string(1, W_KeyDelete));
  CWCore_CheckValue(f);
  EXPECT_EQ(WtTypes_AsInteger(lastValue), -2147483647 - 1);
  CWCore_SetValue(f, WtTypes_Integer(-2147483647 - 1));
  EXPECT_EQ(Text(f), "");
}

const bool site = UseBuildTreeSite(Messages_Init);

}  // namespace
