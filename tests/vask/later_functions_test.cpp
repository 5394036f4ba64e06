// Functions that are not offered yet: whatever is wrong with their records is told before that.

#include <gtest/gtest.h>

#include <cstring>

#include "tests/vask/connected_test.h"
#include "zervane.h"

namespace zervane {
namespace {

template <std::size_t kCapacity>
void Overflow(char (&text)[kCapacity]) {
  std::memset(text, 'x', kCapacity);
}

int64 Bit(int32 column) { return int64{1} << (column % 100); }

class LaterFunctions : public ConnectedTest {
 protected:
  uint32 id = 0;
  int32 number = 0;
};

// ---- tags of the other classes ----

template <typename Record>
struct TagFunctions;

template <>
struct TagFunctions<ZR3StatsTagProp> {
  static constexpr auto kAdd = st3_add_tag;
  static constexpr auto kModify = st3_modify_tag_prop;
  static constexpr int32 kColumns = ZR3_TAG_COL_ST_EXT_PROP_MAX - ZR3_TAG_COL_ST_EXT_PROP_MIN + 1;
};

template <>
struct TagFunctions<ZR3CalcTagProp> {
  static constexpr auto kAdd = ca3_add_tag;
  static constexpr auto kModify = ca3_modify_tag_prop;
  static constexpr int32 kColumns = ZR3_TAG_COL_CA_EXT_PROP_MAX - ZR3_TAG_COL_CA_EXT_PROP_MIN + 1;
};

// Of alarm tags only what is the same for all classes.
template <>
struct TagFunctions<ZR3AlarmTagProp> {
  static constexpr auto kAdd = am3_add_tag;
  static constexpr auto kModify = am3_modify_tag_prop;
  static constexpr int32 kColumns = ZR3_TAG_COL_AM_EXT_PROP_MAX - ZR3_TAG_COL_AM_EXT_PROP_MIN + 1;
};

template <typename Record>
class LaterTags : public LaterFunctions {
 protected:
  void ExpectBoth(int32 status, const ZR3Mask& mask) {
    EXPECT_EQ(TagFunctions<Record>::kAdd(&tag, &mask, nullptr, &this->id), status);
    EXPECT_EQ(TagFunctions<Record>::kModify(1, &tag, &mask), status);
  }

  static constexpr int32 kLastColumn = TagFunctions<Record>::kColumns - 1;

  Record tag{};
};

using LaterRecords = testing::Types<ZR3StatsTagProp, ZR3CalcTagProp>;
TYPED_TEST_SUITE(LaterTags, LaterRecords);

TYPED_TEST(LaterTags, TakeMasksOfTheirColumns) {
  this->ExpectBoth(ZR3_ERR_NOT_SUPPORTED, {-1, -1});
  this->ExpectBoth(ZR3_ERR_NOT_SUPPORTED, {0, 0});
  this->ExpectBoth(ZR3_ERR_NOT_SUPPORTED, {0, int64{1} << (TestFixture::kLastColumn)});
}

TYPED_TEST(LaterTags, RefuseMasksBeyondTheirColumns) {
  this->ExpectBoth(ZR3_ERR_INVALID_MASK, {int64{1} << 36, 0});
  this->ExpectBoth(ZR3_ERR_INVALID_MASK, {INT64_MIN, 0});
  this->ExpectBoth(ZR3_ERR_INVALID_MASK, {0, int64{1} << (TestFixture::kLastColumn + 1)});
}

TYPED_TEST(LaterTags, RefuseSelectedTextsThatDoNotEnd) {
  Overflow(this->tag.szSourceTagName);
  this->ExpectBoth(ZR3_ERR_INVALID_TEXT, {0, -1});
  this->ExpectBoth(ZR3_ERR_NOT_SUPPORTED, {0, 0});
  Overflow(this->tag.szDescriptor);
  this->ExpectBoth(ZR3_ERR_INVALID_TEXT, {-1, 0});
  this->ExpectBoth(ZR3_ERR_NOT_SUPPORTED, {0, 0});
}

TYPED_TEST(LaterTags, AlwaysCountTheNameOnAdding) {
  Overflow(this->tag.szTagName);
  const ZR3Mask nothing{};
  EXPECT_EQ(TagFunctions<TypeParam>::kAdd(&this->tag, &nothing, nullptr, &this->id),
            ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(TagFunctions<TypeParam>::kModify(1, &this->tag, &nothing), ZR3_ERR_NOT_SUPPORTED);
}

TEST_F(LaterFunctions, KnowEveryTextOfTheExtensions) {
  const auto refuses = [&](auto tag, auto member, int32 column) {
    Overflow(tag.*member);
    const ZR3Mask mask{.nCommMask = 0, .nExtMask = Bit(column)};
    EXPECT_EQ(TagFunctions<decltype(tag)>::kModify(1, &tag, &mask), ZR3_ERR_INVALID_TEXT) << column;
  };
  refuses(ZR3StatsTagProp{}, &ZR3StatsTagProp::szSourceTagName, 400);
  refuses(ZR3StatsTagProp{}, &ZR3StatsTagProp::szFilterExpr, 413);
  refuses(ZR3CalcTagProp{}, &ZR3CalcTagProp::szCalcExpr, 502);
  refuses(ZR3CalcTagProp{}, &ZR3CalcTagProp::szSourceTagName, 507);
  refuses(ZR3AlarmTagProp{}, &ZR3AlarmTagProp::szTest1, 200);
  refuses(ZR3AlarmTagProp{}, &ZR3AlarmTagProp::szTest2, 201);
  refuses(ZR3AlarmTagProp{}, &ZR3AlarmTagProp::szTest3, 202);
  refuses(ZR3AlarmTagProp{}, &ZR3AlarmTagProp::szTest4, 203);
  refuses(ZR3AlarmTagProp{}, &ZR3AlarmTagProp::szAction1, 204);
  refuses(ZR3AlarmTagProp{}, &ZR3AlarmTagProp::szAction2, 205);
  refuses(ZR3AlarmTagProp{}, &ZR3AlarmTagProp::szAction3, 206);
  refuses(ZR3AlarmTagProp{}, &ZR3AlarmTagProp::szAction4, 207);
  refuses(ZR3AlarmTagProp{}, &ZR3AlarmTagProp::szSourceTagName, 208);
}

// ---- subscriptions ----

TEST_F(LaterFunctions, RefuseWhatIsReserved) {
  EXPECT_EQ(sn3_register_callback(1, &id, &number), ZR3_ERR_INVALID_ARGUMENT);
  EXPECT_EQ(am3_register_alarm_record_info(&number), ZR3_ERR_INVALID_ARGUMENT);
}

// ---- relay ----

TEST_F(LaterFunctions, CheckEveryTextOfARelay) {
  constexpr std::size_t kTexts = sizeof(ZRRestCfg) / ZR3_LEN_RELAY_TEXT;
  static_assert(kTexts == 18);
  for (std::size_t i = 0; i < kTexts; ++i) {
    ZRRestCfg cfg{};
    std::memset(reinterpret_cast<char*>(&cfg) + i * ZR3_LEN_RELAY_TEXT, 'x', ZR3_LEN_RELAY_TEXT);
    EXPECT_EQ(ut3_send_rest_info(cfg), ZR3_ERR_INVALID_TEXT) << i;
  }
}

}  // namespace
}  // namespace zervane
