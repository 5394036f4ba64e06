#include "harness/method.h"

namespace zervane::bridge_test {
namespace {

Ref IntHolder() { return Java().New(kIntWrapperClass, "holder").Set("Value", 41); }

Ref LongHolder() { return Java().New(kLongWrapperClass, "holder").Set("Value", 41); }

void NameHasId(uint32 tag_id) {
  Api().On<tag3_query_id_by_name>([tag_id](const char*, uint32* id) {
    *id = tag_id;
    return 0;
  });
}

class TagLookup : public BridgeTest {};

TEST_F(TagLookup, ATagTypeIsStoredAsAnIntOfFullWidth) {
  TagsHaveType(0x1FF);
  const Ref holder = IntHolder();
  EXPECT_EQ(Call(ZR(getTagType), -1, holder), 0);
  EXPECT_EQ(holder.Int("Value"), 0x1FF);
  EXPECT_TRUE(SameLines({"pt3_query_tag_type(4294967295, out)"}, Log().Api()));
}

TEST_F(TagLookup, TheTypeOfANameComesFromTwoLookUps) {
  NameHasId(4000000000U);
  TagsHaveType(ZR3_TAG_TYPE_STRING);
  EXPECT_EQ(Call(ZR(queryTagType), Java().String("fic101")), 6);
  EXPECT_TRUE(
      SameLines({"tag3_query_id_by_name(\"FIC101\", out)", "pt3_query_tag_type(4000000000, out)"},
                Log().Steps()));
}

TEST_F(TagLookup, TheTypeOfANameKeepsItsLowByte) {
  TagsHaveType(0x1FE);
  EXPECT_EQ(Call(ZR(queryTagType), Java().String("a")), -2);
}

struct IdCase {
  const char* name;
  uint32 id;
  jint result;
};

class IdByName : public BridgeTest, public testing::WithParamInterface<IdCase> {};

TEST_P(IdByName, IsReturnedAsTheBitsOfAnInt) {
  NameHasId(GetParam().id);
  EXPECT_EQ(Call(ZR(queryTagID), Java().String("fic101")), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(Identifier, IdByName,
                         testing::Values(IdCase{"Small", 7, 7},
                                         IdCase{"Half", 2147483648U, -2147483648},
                                         IdCase{"LikeAFailure", 4294967295U, -1}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(TagLookup, ANameIsConvertedBeforeTheHolderIsLookedUp) {
  NameHasId(4294967295U);
  const Ref holder = IntHolder();
  EXPECT_EQ(Call(ZR(queryTagIDByName), Java().String("a"), holder), 0);
  EXPECT_EQ(holder.Int("Value"), -1);
  EXPECT_TRUE(
      SameLines(Lines{"GetStringLength \"a\"", "GetStringUTFChars \"a\"", "to system \"a\" 5",
                      "ReleaseStringUTFChars \"a\""} +
                    LookUp(kIntWrapperClass) +
                    Lines{"tag3_query_id_by_name(\"A\", out)", "SetIntField holder.Value = -1"},
                Log().All()));
}

TEST_F(TagLookup, ANullNameIsLookedUpAsAnEmptyOne) {
  Call(ZR(queryTagID), nullptr);
  EXPECT_TRUE(SameLines({"tag3_query_id_by_name(\"\", out)"}, Log().Api()));
}

// ---- many names ----

Ref Names(const std::vector<std::string>& names) {
  std::vector<Ref> elements;
  for (const std::string& name : names) elements.push_back(Java().String(name));
  return Java().Array("names", elements);
}

struct Batch {
  Ref names = Names({"a", "bb"});
  Ref ids = Java().Ints("ids", {5, 6, 1000});
  Ref codes = Java().Ints("codes", {-7, -8, 1001});

  jint Query(jint count) { return Call(ZR(queryTagIDsByNames), names, count, ids, codes); }
};

// Keeps the name block, and answers identifiers 71, 72 and codes 0, 9.
struct NamesAnswer {
  std::string block;

  explicit NamesAnswer(int32 status) {
    Api().On<tag3_query_ids_by_names>(
        [this, status](int32 count, const char* names, uint32* ids, int32* codes) {
          block.assign(names, static_cast<size_t>(count) * 256);
          for (int32 i = 0; i < count; ++i) ids[i] = static_cast<uint32>(71 + i);
          for (int32 i = 0; i < count; ++i) codes[i] = 9 * i;
          return status;
        });
  }
};

using ManyNames = TagLookup;

TEST_F(ManyNames, EachStandsInASlotOf256BytesPaddedButForTheLast) {
  NamesAnswer answer(0);
  Batch().Query(2);
  const std::string pad(254, '\0');
  EXPECT_EQ(answer.block, "A" + pad + '\xA5' + "BB" + pad.substr(1) + '\xA5');
}

TEST_F(ManyNames, ErrorCodesThenIdentifiersAreCopiedBack) {
  NamesAnswer answer(0);
  Batch batch;
  EXPECT_EQ(batch.Query(2), 0);
  EXPECT_TRUE(SameLines(
      {"GetIntArrayRegion ids 0 2", "GetObjectArrayElement names[0]",
       "GetObjectArrayElement names[1]", "tag3_query_ids_by_names(2, out, {5, 6}, {0, 0})",
       "SetIntArrayRegion codes 0 {0, 9}", "SetIntArrayRegion ids 0 {71, 72}"},
      Log().Steps()));
  EXPECT_EQ(batch.ids->ints, (std::vector<jint>{71, 72, 1000}));
  EXPECT_EQ(batch.codes->ints, (std::vector<jint>{0, 9, 1001}));
}

TEST_F(ManyNames, SomeUnknownNamesCopyBothArraysBackAllTheSame) {
  NamesAnswer answer(117803);
  EXPECT_EQ(Batch().Query(2), 117803);
  EXPECT_TRUE(SameLines({"SetIntArrayRegion codes 0 {0, 9}", "SetIntArrayRegion ids 0 {71, 72}"},
                        Log().Writes()));
}

TEST_F(ManyNames, AnyOtherStatusLeavesTheArraysAsTheyWere) {
  NamesAnswer answer(117802);
  Batch batch;
  EXPECT_EQ(batch.Query(2), 117802);
  EXPECT_EQ(batch.ids->ints, (std::vector<jint>{5, 6, 1000}));
  EXPECT_EQ(batch.codes->ints, (std::vector<jint>{-7, -8, 1001}));
}

TEST_F(ManyNames, ANameOf255BytesOrMoreIsCutAndNotTerminated) {
  NamesAnswer answer(0);
  Batch batch;
  batch.names = Names({std::string(255, 'x'), std::string(300, 'y')});
  batch.Query(2);
  EXPECT_EQ(answer.block, std::string(255, 'X') + '\xA5' + std::string(255, 'Y') + '\xA5');
}

TEST_F(ManyNames, NoNamesAreAnEmptyBatch) {
  EXPECT_EQ(Batch().Query(0), 0);
  EXPECT_TRUE(SameLines({"tag3_query_ids_by_names(0, out, {}, {})"}, Log().Api()));
}

TEST_F(ManyNames, ANegativeCountAsksForMoreMemoryThanThereIs) {
  EXPECT_EQ(Batch().Query(-1), -1);
  EXPECT_TRUE(SameLines({}, Log().Steps()));
}

TEST_F(ManyNames, WithoutMemoryForTheIdentifiersNothingIsRead) {
  Probe().FailNth(2);
  EXPECT_EQ(Batch().Query(2), -1);
  EXPECT_TRUE(SameLines({}, Log().Steps()));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(ManyNames, WithoutMemoryForTheErrorCodesNothingIsSent) {
  Probe().FailNth(3);
  EXPECT_EQ(Batch().Query(2), -1);
  EXPECT_TRUE(SameLines({"GetIntArrayRegion ids 0 2"}, Log().Steps()));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(ManyNames, AMissingNameBlockIsNotCaught) {
  Probe().FailNth(1);
  EXPECT_EQ(Batch().Query(0), 0);
  EXPECT_TRUE(SameLines({"tag3_query_ids_by_names(0, null, {}, {})"}, Log().Api()));
}

TEST_F(ManyNames, ANameForWhichThereIsNoBlockEndsTheProcess) {
  EXPECT_DEATH(
      {
        Probe().FailNth(1);
        Batch().Query(1);
      },
      "");
}

// ---- the catalogue's version ----

// Answers a reply that stands in static memory.
void Reply(const char* reply) {
  static char text[300];
  strcpy(text, reply);
  Api().On<cc3_cmd>([](const char*, char** answer) {
    *answer = text;
    return 0;
  });
}

struct VersionCase {
  const char* name;
  const char* reply;
  jlong version;
  const char* printed;
};

class Version : public BridgeTest, public testing::WithParamInterface<VersionCase> {};

TEST_P(Version, IsTheNumberBetweenThePrefixAndTheLastCharacter) {
  Reply(GetParam().reply);
  const Ref holder = LongHolder();
  testing::internal::CaptureStdout();
  EXPECT_EQ(Call(ZR(getNewlyTagVersion), holder), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), GetParam().printed);
  EXPECT_EQ(holder.Int("Value"), GetParam().version);
  EXPECT_TRUE(SameLines({"cc3_cmd(\"cmdtype=read_version;\", out)",
                         "SetLongField holder.Value = " + std::to_string(GetParam().version),
                         "cc3_cmd_free(\"" + std::string(GetParam().reply) + "\")"},
                        Log().Steps()));
}

INSTANTIATE_TEST_SUITE_P(
    Reply, Version,
    testing::Values(
        VersionCase{"Number", "tag_version=4711;", 4711, "#17, 4711\n"},
        VersionCase{"Zero", "tag_version=0;", 0, "#14, 0\n"},
        VersionCase{"NothingBetween", "tag_version=;", 0, "#13, \n"},
        VersionCase{"Negative", "tag_version=-3;", -3, "#15, -3\n"},
        VersionCase{"Largest", "tag_version=2147483647;", 2147483647, "#23, 2147483647\n"},
        VersionCase{"TextAfterTheDigits", "123456789012 12 months.", 12, "#23,  12 months\n"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(TagLookup, AVersionThatCannotBeHadIsPrintedAndTheHolderStaysAsItWas) {
  Api().Answer("cc3_cmd", 110115);
  const Ref holder = LongHolder();
  testing::internal::CaptureStdout();
  EXPECT_EQ(Call(ZR(getNewlyTagVersion), holder), 110115);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "err Java_com_talvoro_zrjni_Jni_1Zervane_getNewlyTagVersion!!!\n");
  EXPECT_EQ(holder.Int("Value"), 41);
  EXPECT_TRUE(SameLines({"cc3_cmd(\"cmdtype=read_version;\", out)"}, Log().Steps()));
}

}  // namespace

Methods TagLookupMethods() {
  const std::string id_by_name = "tag3_query_id_by_name(\"FIC101\", out)";
  return {
      {.name = "getTagType",
       .lookups = LookUp(kIntWrapperClass),
       .api = {"pt3_query_tag_type(7, out)"},
       .call = [] { return Call(ZR(getTagType), 7, IntHolder()); }},
      {.name = "queryTagType",
       .api = {id_by_name, "pt3_query_tag_type(9, out)"},
       .result = 3,
       .failures = {{.result = -1}, {.of = "tag3_query_id_by_name", .result = -1}},
       .call =
           [] {
             NameHasId(9);
             TagsHaveType(3);
             return Call(ZR(queryTagType), Java().String("fic101"));
           }},
      {.name = "queryTagID",
       .api = {id_by_name},
       .result = 9,
       .failures = {{.result = -1}},
       .call =
           [] {
             NameHasId(9);
             return Call(ZR(queryTagID), Java().String("fic101"));
           }},
      {.name = "queryTagIDByName",
       .lookups = LookUp(kIntWrapperClass),
       .api = {id_by_name},
       .call = [] { return Call(ZR(queryTagIDByName), Java().String("fic101"), IntHolder()); }},
      {.name = "queryTagIDsByNames",
       .api = {"tag3_query_ids_by_names(2, out, {5, 6}, {0, 0})"},
       .call = [] { return Batch().Query(2); }},
      {.name = "getNewlyTagVersion",
       .lookups = LookUp(kLongWrapperClass),
       .api = {"cc3_cmd(\"cmdtype=read_version;\", out)", "cc3_cmd_free(\"tag_version=8;\")"},
       .failures = {{.of = "cc3_cmd"},
                    {.of = "cc3_cmd_free",
                     .result = 0,
                     .writes = {"SetLongField holder.Value = 8"}}},
       .call =
           [] {
             Reply("tag_version=8;");
             return Call(ZR(getNewlyTagVersion), LongHolder());
           }},
  };
}

}  // namespace zervane::bridge_test
