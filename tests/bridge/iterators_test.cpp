#include "harness/method.h"

namespace zervane::bridge_test {
namespace {

Ref Holder() { return Java().New(kIntWrapperClass, "id"); }

class Iterators : public BridgeTest {};

TEST_F(Iterators, AnIdentifierArrivesAsTheBitsOfAnInt) {
  Api().On<ut3_get_item_step>([](ZR3HANDLE, void* item) {
    EXPECT_EQ(*static_cast<uint32*>(item), 0U);
    *static_cast<uint32*>(item) = 4294967295U;
    return 0;
  });
  const Ref id = Holder();
  EXPECT_EQ(Call(ZR(getIDItemStep), 77, id), 0);
  EXPECT_EQ(id.Int("Value"), -1);
}

TEST_F(Iterators, PastTheLastIdentifierTheHolderStaysAsItWas) {
  Api().Answer("ut3_get_item_step", ZR3_ERR_END_OF_ITERATION);
  const Ref id = Holder().Set("Value", 41);
  EXPECT_EQ(Call(ZR(getIDItemStep), 77, id), ZR3_ERR_END_OF_ITERATION);
  EXPECT_EQ(id.Int("Value"), 41);
  EXPECT_TRUE(SameLines({"ut3_get_item_step(handle 77, out)"}, Log().Steps()));
}

TEST_F(Iterators, AllBitsOfAHandleComeBack) {
  Call(ZR(freeIterator), 0x7FFF123456789ABC);
  EXPECT_TRUE(SameLines({"ut3_free_handle(handle 9223110577876409020)"}, Log().Api()));
}

TEST_F(Iterators, AFailedReleaseIsNotReported) {
  Api().Answer("ut3_free_handle", ZR3_ERR_INVALID_HANDLE);
  EXPECT_EQ(Call(ZR(freeIterator), 0), 0);
}

}  // namespace

Methods IteratorMethods() {
  return {
      {.name = "getIDItemStep",
       .lookups = LookUp(kIntWrapperClass),
       .api = {"ut3_get_item_step(handle 77, out)"},
       .call = [] { return Call(ZR(getIDItemStep), 77, Holder()); }},
      {.name = "freeIterator",
       .api = {"ut3_free_handle(handle 77)"},
       .failures = {{.result = 0}},
       .call = [] { return Call(ZR(freeIterator), 77); }},
  };
}

}  // namespace zervane::bridge_test
