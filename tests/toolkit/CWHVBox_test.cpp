// Measuring and placing: dimensions, the share-out of room, and boxes of
// widgets whose sizes the test gives.
#include "toolkit/CWHVBox.h"

#include <gtest/gtest.h>

#include <numeric>
#include <random>
#include <tuple>

#include "base/Messages.h"
#include "tests/support/TestFiles.h"
#include "toolkit/CObject.h"
#include "toolkit/CWGlue.h"
#include "toolkit/Wt.h"
#include "toolkit/WtBase.h"
#include "toolkit/WtWnds.h"

namespace {

constexpr std::uint32_t kInf = Dim_Unbounded;

std::vector<CWHVBox_Item> Items(std::initializer_list<Dim> dims) {
  std::vector<CWHVBox_Item> items;
  for (const Dim& d : dims) items.push_back({d});
  return items;
}

std::vector<int> Sizes(const std::vector<CWHVBox_Item>& items) {
  std::vector<int> sizes;
  for (const auto& i : items) sizes.push_back(i.size);
  return sizes;
}

TEST(Dims, AddAndCombine) {
  EXPECT_EQ(WtBase_AddDim({3, 4}, {5, 6}).stretch, 10u);
  EXPECT_EQ(WtBase_AddDim({3, 4}, {5, kInf}).stretch, kInf);
  const Dim both = WtBase_CombineDim({10, 20}, {15, 100});  // largest 30 and 115
  EXPECT_EQ(both.min, 15);
  EXPECT_EQ(both.stretch, 15u);
  EXPECT_EQ(WtBase_CombineDim({10, kInf}, {5, 10}).stretch, 5u);
  EXPECT_EQ(WtBase_CombineDim({10, kInf}, {5, kInf}).stretch, kInf);
  EXPECT_EQ(WtBase_CombineDim({40, 0}, {5, 10}).stretch, 0u);  // never below 0
}

TEST(Distribute, TheRulesOfTheShareOut) {
  // Overfull: everybody at the minimum.
  auto items = Items({{10, 5}, {20, 5}});
  EXPECT_EQ(CWHVBox_Distribute(items, 25, false), 0);
  EXPECT_EQ(Sizes(items), (std::vector<int>{10, 20}));
  // Below the total stretch: in proportion, the left-over pixel to the first.
  items = Items({{0, 10}, {0, 10}, {0, 10}});
  CWHVBox_Distribute(items, 10, false);
  EXPECT_EQ(Sizes(items), (std::vector<int>{4, 3, 3}));
  items = Items({{0, 30}, {0, 10}});
  CWHVBox_Distribute(items, 20, false);
  EXPECT_EQ(Sizes(items), (std::vector<int>{15, 5}));
  // Above it: all at their largest, the rest before and after when centred.
  items = Items({{10, 5}, {10, 5}});
  EXPECT_EQ(CWHVBox_Distribute(items, 41, true), 5);
  EXPECT_EQ(Sizes(items), (std::vector<int>{15, 15}));
  EXPECT_EQ(CWHVBox_Distribute(items, 41, false), 0);
  // Unbounded ones take all the extra in equal shares, the first ones a
  // pixel more.
  items = Items({{10, kInf}, {10, 50}, {10, kInf}});
  CWHVBox_Distribute(items, 41, false);
  EXPECT_EQ(Sizes(items), (std::vector<int>{16, 10, 15}));
}

TEST(Distribute, EveryPixelIsPlacedWithinTheLimits) {
  std::mt19937 random(13);
  for (int round = 0; round < 500; ++round) {
    std::vector<CWHVBox_Item> items;
    const int n = 1 + static_cast<int>(random() % 6);
    std::int64_t sumMin = 0, sumLargest = 0;
    for (int i = 0; i < n; ++i) {
      const Dim d{static_cast<std::int32_t>(random() % 40), static_cast<std::uint32_t>(random() % 60)};
      items.push_back({d});
      sumMin += d.min;
      sumLargest += d.min + d.stretch;
    }
    const int room = static_cast<int>(random() % 300);
    const int offset = CWHVBox_Distribute(items, room, round % 2 == 0);
    std::int64_t total = 0;
    for (const auto& item : items) {
      EXPECT_GE(item.size, item.dim.min);
      EXPECT_LE(item.size, WtBase_Largest(item.dim));
      total += item.size;
    }
    EXPECT_EQ(total, std::max<std::int64_t>(sumMin, std::min<std::int64_t>(room, sumLargest)));
    EXPECT_LE(offset + total, std::max<std::int64_t>(room, sumMin));
  }
}

// A widget of the size the test gives, counting its class's measurements.
int measured = 0;
Classes_ClassPtr blockClass = nullptr;

void MakeBlockClass() {
  if (blockClass != nullptr) return;
  blockClass = new CWCore_ClassRec;
  const auto initClass = [](Classes_ClassPtr c, void*) {
    static_cast<CWCore_ClassRec*>(c)->QueryGeometry = [](Widget w, Geometry& g) {
      ++measured;
      CWCore_MyQueryGeometry(w, g);
      g.hDim = {20, 10};
      g.vDim = {10, 0};
    };
  };
  Classes_MakeClass(blockClass, CWCore_class, "TBlock", sizeof(CWCore_Rec), initClass, nullptr, nullptr, "");
}

class BoxTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Wt_Initialize();
    MakeBlockClass();
  }
  void TearDown() override { Wt_DestroyWidget(box_); }

  void MakeBox(Classes_ClassPtr cls, int gap, bool center = false, int border = 0) {
    SAttribs attrs = nullptr;
    Geometry glue{{gap, 0}, {gap, 0}};
    SAttribs_AddByName(attrs, "impliedGlue", &glue, sizeof glue);
    SAttribs_AddBool(attrs, "center", center);
    SAttribs_AddInt(attrs, "borderWidth", border);
    box_ = Wt_CreateWidget(nullptr, cls, attrs);
    SAttribs_Destroy(attrs);
  }
  Widget Add(Classes_ClassPtr cls, Dim h = {-1, static_cast<std::uint32_t>(-32767)},
             Dim v = {-1, static_cast<std::uint32_t>(-32767)}) {
    SAttribs attrs = nullptr;
    SAttribs_AddByName(attrs, "hDim", &h, sizeof h);
    SAttribs_AddByName(attrs, "vDim", &v, sizeof v);
    Widget w = Wt_CreateWidget(box_, cls, attrs);
    SAttribs_Destroy(attrs);
    return w;
  }
  Geometry Query() {
    Geometry g;
    CWCore_QueryGeometry(box_, g);
    return g;
  }

  Widget box_ = nullptr;
};

TEST_F(BoxTest, AHorizontalBoxAddsAlongAndIntersectsAcross) {
  MakeBox(CWHVBox_class, 5, false, 2);
  Add(blockClass);
  Add(blockClass);
  Add(CWGlue_class, {0, kInf}, {0, 0});
  Add(blockClass);
  const Geometry g = Query();
  // Three blocks, implied glue only between the first two (the glue stands
  // between the others), the border twice.
  EXPECT_EQ(std::tuple(g.hDim.min, g.hDim.stretch, g.vDim.min, g.vDim.stretch), std::tuple(3 * 20 + 5 + 4, kInf, 10 + 4, 0u));
}

TEST_F(BoxTest, AVerticalBoxFillsFromTheTopDown) {
  MakeBox(CWHVBox_vboxClass, 4, false, 1);
  Widget a = Add(blockClass);
  Widget b = Add(blockClass);
  Widget c = Add(CWCore_class, {5, 0}, {10, kInf});
  const Geometry g = Query();
  EXPECT_EQ(g.vDim.min, 10 + 10 + 10 + 2 * 4 + 2);
  WtWnds_ConfigureWidget(box_, 100, 50, 60, 70);
  // Inside the border: x 101, y 51 to 119. The extra 30 goes to the one
  // unbounded child; across, each gets the room within its limits, left.
  EXPECT_EQ(std::tuple(a->y + a->height, a->height, b->y + b->height, c->height, c->y),
            std::tuple(50 + 70 - 1, 10, a->y - 4, 10 + 30, 51));
  // a: 20 + stretch 10 of a 58 wide room.
  EXPECT_EQ(std::tuple(a->x, a->width, c->width), std::tuple(101, 30, 5));
  // With "fillAcross" every child is as wide as the room, whatever its limits.
  bool on = true, ok;
  CObject_SetAttr(box_, CWHVBox_fillAcrossAT, &on, 1, ok);
  WtWnds_ConfigureWidget(box_, 100, 50, 61, 70);
  EXPECT_EQ(std::tuple(a->width, b->width, c->width), std::tuple(59, 59, 59));
}

TEST_F(BoxTest, CentredAndEquallySpaced) {
  MakeBox(CWHVBox_class, 0, true);
  bool on = true;
  bool ok;
  CObject_SetAttr(box_, CWHVBox_equalSpacingAT, &on, 1, ok);
  Widget a = Add(blockClass);
  Widget b = Add(CWCore_class, {40, 0}, {4, 0});
  // Every child counts with the largest min (40) and the smallest largest
  // size (40): the row is 80 wide; in 100 the rest 20 is split around it.
  EXPECT_EQ(Query().hDim.min, 80);
  WtWnds_ConfigureWidget(box_, 0, 0, 100, 30);
  EXPECT_EQ(std::tuple(a->x, a->width, b->x), std::tuple(10, 40, 50));
  // Across, centred: 10 high in 30 -> 10 from the bottom; 4 high -> 13.
  EXPECT_EQ(std::tuple(a->y, b->y), std::tuple(10, 13));
}

TEST_F(BoxTest, GeometryIsMeasuredOnceAndGivenValuesAreKept) {
  MakeBox(CWHVBox_class, 0);
  Widget given = Add(blockClass, {33, static_cast<std::uint32_t>(-32767)});
  measured = 0;
  Geometry g;
  CWCore_QueryGeometry(given, g);
  CWCore_QueryGeometry(given, g);
  EXPECT_EQ(measured, 1);
  // The creator's width stays; the stretch is the class's.
  EXPECT_EQ(std::tuple(g.hDim.min, g.hDim.stretch), std::tuple(33, 10u));
  // Invalidating asks again, and the box above is invalid too.
  CWCore_QueryGeometry(box_, g);
  ASSERT_TRUE(box_->geometryValid);
  CWCore_InvalidateGeometry(given);
  EXPECT_FALSE(box_->geometryValid);
  CWCore_QueryGeometry(given, g);
  EXPECT_EQ(measured, 2);
}

TEST_F(BoxTest, TheBorderCountsOnlyWhenTheWidthHoldsIt) {
  MakeBox(CWHVBox_class, 0, false, 3);
  WtWnds_ConfigureWidget(box_, 10, 20, 6, 40);
  EXPECT_EQ(std::tuple(box_->innerX, box_->innerWidth), std::tuple(10, 6));  // 2 * 3 is not below 6: the whole widget
  WtWnds_ConfigureWidget(box_, 10, 20, 7, 40);
  EXPECT_EQ(std::tuple(box_->innerX, box_->innerY, box_->innerWidth, box_->innerHeight), std::tuple(13, 23, 1, 34));
}

const bool site = UseBuildTreeSite(Messages_Init);

}  // namespace
