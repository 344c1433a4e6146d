#include "rc/AutoDict.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// A module's parameters as a front end declares them: one of each type.
class Dictionary : public ::testing::Test {
 protected:
  void SetUp() override {
    AutoDict_Init();
    flag_ = AutoDict_DefineBool(dict_, "FLAG", 5, true);
    count_ = AutoDict_DefineCard(dict_, "COUNT", 2, 7);
    shift_ = AutoDict_DefineInt(dict_, "SHIFT", 9, -1);
    delay_ = AutoDict_DefineReal(dict_, "DELAY", 4, 0.5);
    dir_ = AutoDict_DefineString(dict_, "DIR", 1, "/default");
  }
  void TearDown() override {
    AutoDict_Destroy(dict_);
    SAutoRcF_Destroy(rc_);
  }

  std::string String(AutoDict_Parameter parameter) {
    char text[kTextCap];
    AutoDict_GetString(parameter, text);
    return StrIn(text).Str();
  }

  AutoDict dict_ = AutoDict_Create(4);
  SAutoRcF rc_ = SAutoRcF_Create();
  AutoDict_Parameter flag_, count_, shift_, delay_, dir_;
};

// The directory check refuses relative paths.
bool AbsoluteOnly(AutoDict_Parameter parameter) {
  char text[kTextCap];
  AutoDict_GetString(parameter, text);
  return text[0] == '/';
}

std::vector<std::uint32_t> checked;
bool Record(AutoDict_Parameter parameter) {
  checked.push_back(AutoDict_GetAObjId(parameter));
  return true;
}

}  // namespace

TEST_F(Dictionary, ValuesComeFromTheRcOrFallBackToDefaults) {
  // Nothing set: every default, also for a nil rc.
  AutoDict_SetBool(flag_, false);
  AutoDict_SetString(dir_, "/changed");
  for (SAutoRcF rc : {rc_, SAutoRcF_Nil()}) {
    ASSERT_TRUE(AutoDict_GetAllValues(dict_, rc, true));
    EXPECT_TRUE(AutoDict_GetBool(flag_));
    EXPECT_EQ(String(dir_), "/default");
  }

  SAutoRcF_SetBoolOpt(rc_, "FLAG", false);
  SAutoRcF_SetCardOpt(rc_, "COUNT", 12);
  SAutoRcF_SetStringOpt(rc_, "SHIFT", "3 apples");  // wrong form: default
  SAutoRcF_SetRealOpt(rc_, "DELAY", 2.25);
  SAutoRcF_SetStringOpt(rc_, "DIR", "relative");
  AutoDict_DefineCheckCB(dict_, 1, AbsoluteOnly);
  AutoDict_GetAllValues(dict_, rc_, false);
  EXPECT_EQ(String(dir_), "relative");  // no check asked for
  AutoDict_GetAllValues(dict_, rc_, true);
  EXPECT_FALSE(AutoDict_GetBool(flag_));
  EXPECT_EQ(AutoDict_GetCard(count_), 12u);
  EXPECT_EQ(AutoDict_GetInt(shift_), -1);
  EXPECT_EQ(AutoDict_GetReal(delay_), 2.25);
  EXPECT_EQ(String(dir_), "/default");  // refused: the default, and no error
  EXPECT_EQ(AutoDict_error, 0);

  // Writing back keeps options that no parameter names.
  SAutoRcF_SetStringOpt(rc_, "FOREIGN", "kept");
  AutoDict_SetInt(shift_, -40);
  ASSERT_TRUE(AutoDict_SetAllValues(dict_, rc_));
  char text[kTextCap];
  EXPECT_TRUE(SAutoRcF_GetOpt(rc_, "SHIFT", text) && StrIn(text).Str() == "-40");
  EXPECT_TRUE(SAutoRcF_GetOpt(rc_, "FOREIGN", text));
  EXPECT_TRUE(SAutoRcF_GetOpt(rc_, "DIR", text) && StrIn(text).Str() == "/default");
  EXPECT_FALSE(AutoDict_SetAllValues(dict_, SAutoRcF_Nil()));
}

TEST_F(Dictionary, TableOrderIsIdentifierBucketsThenDefinition) {
  // Four buckets: 4 | 5, 9, 1 | 2 | (none), whatever the order of definition.
  const std::vector<std::uint32_t> order = {4, 5, 9, 1, 2};
  std::vector<std::uint32_t> walked;
  for (AutoDict_Parameter p = AutoDict_GetFirstParameter(dict_); p != nullptr; p = AutoDict_GetNextParameter(dict_)) {
    walked.push_back(AutoDict_GetAObjId(p));
  }
  EXPECT_EQ(walked, order);
  checked.clear();
  for (std::uint32_t id : order) AutoDict_DefineCheckCB(dict_, id, Record);
  SAutoRcF_SetBoolOpt(rc_, "FLAG", true);
  SAutoRcF_SetCardOpt(rc_, "COUNT", 1);
  SAutoRcF_SetIntOpt(rc_, "SHIFT", 1);
  SAutoRcF_SetRealOpt(rc_, "DELAY", 1);
  SAutoRcF_SetStringOpt(rc_, "DIR", "/");
  AutoDict_GetAllValues(dict_, rc_, true);
  EXPECT_EQ(checked, order);

  // A parameter replaced during a walk is passed over, and the new one joins
  // the end of its bucket. A name taken again replaces its old owner too.
  ASSERT_EQ(AutoDict_GetFirstParameter(dict_), delay_);  // bucket 0 holds 4 only
  AutoDict_Parameter renamed = AutoDict_DefineInt(dict_, "FLAG", 13, 0);
  EXPECT_EQ(AutoDict_GetParameter(dict_, 5), nullptr);
  EXPECT_EQ(AutoDict_GetParameterByName(dict_, "FLAG"), renamed);
  std::vector<std::uint32_t> rest;
  for (AutoDict_Parameter p; (p = AutoDict_GetNextParameter(dict_)) != nullptr;) rest.push_back(AutoDict_GetAObjId(p));
  EXPECT_EQ(rest, (std::vector<std::uint32_t>{9, 1, 13, 2}));
}

TEST_F(Dictionary, CopiesDefaultsAndTypes) {
  AutoDict other = AutoDict_Create(8);
  AutoDict_Parameter otherCount = AutoDict_DefineCard(other, "COUNT", 2, 0);
  AutoDict_DefineBool(other, "DIR", 1, false);  // same identifier, other type
  AutoDict_SetCard(count_, 99);
  AutoDict_SetString(dir_, "/mine");
  ASSERT_TRUE(AutoDict_CopyAllParameters(dict_, other));
  EXPECT_EQ(AutoDict_GetCard(otherCount), 99u);
  AutoDict_SetDefault(otherCount);
  EXPECT_EQ(AutoDict_GetCard(otherCount), 0u);  // only the value came over
  AutoDict_Parameter copied = AutoDict_GetParameter(other, 1);
  EXPECT_EQ(AutoDict_GetValueType(copied), kAutoDictString);
  AutoDict_SetString(dir_, "/changed later");  // the copy owns its string
  EXPECT_EQ(String(copied), "/mine");
  EXPECT_NE(AutoDict_GetParameter(other, 9), nullptr);
  AutoDict_Destroy(other);

  AutoDict_SetValueAsDefault(dir_);
  AutoDict_SetCard(count_, 1);
  AutoDict_SetAllDefaults(dict_);
  EXPECT_EQ(String(dir_), "/changed later");
  EXPECT_EQ(AutoDict_GetCard(count_), 7u);
}

TEST_F(Dictionary, WrongTypesAndSelections) {
  EXPECT_EQ(AutoDict_GetCard(flag_), 0u);
  EXPECT_EQ(AutoDict_error, 3);
  AutoDict_SetString(count_, "12");
  EXPECT_EQ(AutoDict_error, 3);
  EXPECT_EQ(AutoDict_GetCard(count_), 7u);
  EXPECT_EQ(String(flag_), "");
  EXPECT_FALSE(AutoDict_DefineCheckCB(dict_, 77, Record));

  AutoDict_DefineSelection(dict_, 6, 1, 2, 0);
  AutoDict_DefineSelection(dict_, 5, 10, 2, 1);
  AutoDict_DefineSelection(dict_, 3, 1, 2, 0);
  AutoDict_Selection selection;
  std::vector<std::uint8_t> types;
  for (bool more = AutoDict_GetFirstSelection(dict_, selection); more;
       more = AutoDict_GetNextSelection(dict_, selection)) {
    types.push_back(selection.type);
  }
  EXPECT_EQ(types, (std::vector<std::uint8_t>{3, 5, 6}));
  ASSERT_TRUE(AutoDict_GetSelection(dict_, 2, 1, selection));
  EXPECT_EQ(selection.parameter, 10u);
  EXPECT_FALSE(AutoDict_GetSelection(dict_, 3, 0, selection));
}
