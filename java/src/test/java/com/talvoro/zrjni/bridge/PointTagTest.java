package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniTagProp;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Nested;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Point tags")
class PointTagTest extends BridgeTest {
  private static final int CLEARED_WHEN_MODIFYING = 172;

  private static Struct added(ZRJniTagProp tag) {
    return TagRows.sent(TagRows.POINT, tag, Struct.cleared(Layouts.POINT_TAG));
  }

  private static Struct modified(ZRJniTagProp tag) {
    return TagRows.sent(
        TagRows.POINT, tag, Struct.clearedUpTo(CLEARED_WHEN_MODIFYING, Layouts.POINT_TAG));
  }

  private static ExpectedCall addCall(Struct record, Struct mask, String node) {
    return call("pt3_add_tag")
        .with("pProp", record)
        .with("pMask", mask)
        .with("szNode", node)
        .with("pTagID", -1);
  }

  @Nested
  @DisplayName("Adding")
  @MismatchedAccessor
  class Adding {
    @ParameterizedTest
    @ValueSource(ints = {1, 2})
    void sendsEveryFieldInAClearedRecordAndChangesNoField(int seed) {
      ZRJniTagProp tag = Fields.filled(ZRJniTagProp.class, seed);
      ZRJniTagProp before = Fields.copy(tag);
      answer("pt3_add_tag", out("pTagID", 77));
      assertEquals(0, Jni_Zervane.addTag(tag, 5, -6));
      assertCalls(addCall(added(before), Layouts.mask(5, -6), null));
      Fields.assertSameFields(before, tag);
    }

    @Test
    void takesCreationDateSpanAndMinimumFromOtherFields() {
      ZRJniTagProp tag = new ZRJniTagProp();
      tag.m_changeDate = 1000;
      tag.m_creationDate = 2000;
      tag.m_span = 100;
      tag.m_excDev = 0.5f;
      tag.m_minValue = -40;
      tag.m_compDev = 0.25f;
      tag.m_DeviceID = 9;
      Jni_Zervane.addTag(tag, 0, 0);
      assertCalls(
          addCall(
              Struct.cleared(Layouts.POINT_TAG)
                  .set("nChangeDate", 1000)
                  .set("nCreationDate", 1000)
                  .set("fSpan", 0.5)
                  .set("fExcDev", 0.5)
                  .set("fMinValue", 0.25)
                  .set("fCompDev", 0.25),
              Layouts.mask(0, 0),
              null));
    }

    @ParameterizedTest
    @ValueSource(bytes = {-1, -128, 0, 127})
    void widensEnumerationsBySignAndKeepsSmallNumbersInOneByte(byte value) {
      ZRJniTagProp tag = new ZRJniTagProp();
      tag.m_tagType = value;
      tag.m_tagClass = value;
      tag.m_compType = value;
      tag.m_recAccess = value;
      tag.m_tagAccess = value;
      tag.m_instrumentPointType = value;
      tag.m_param5 = value;
      Jni_Zervane.addTag(tag, 0, 0);
      assertCalls(
          addCall(
              Struct.cleared(Layouts.POINT_TAG)
                  .set("nTagType", (int) value)
                  .set("nTagClass", (int) value)
                  .set("nCompType", (int) value)
                  .set("nRecAccess", value & 0xff)
                  .set("nTagAccess", value & 0xff)
                  .set("nInstrumentAddressType", value & 0xff)
                  .set("nParam5", value & 0xff),
              Layouts.mask(0, 0),
              null));
    }

    @Test
    void sendsTextsThatFillTheirArraysWhole() {
      ZRJniTagProp tag = new ZRJniTagProp();
      for (TagRows.Row row : TagRows.POINT) {
        Layout.Member member = Layouts.POINT_TAG.member(row.api());
        if (member.kind() == Layout.Kind.TEXT) {
          Fields.set(tag, row.java(), "x".repeat(member.size() - 1));
        }
      }
      Jni_Zervane.addTag(tag, -1, -1);
      assertCalls(addCall(added(tag), Layouts.mask(-1, -1), null));
    }

    @Test
    void sendsNullTextsEmpty() {
      Jni_Zervane.addTag(new ZRJniTagProp(), Long.MIN_VALUE, Long.MAX_VALUE);
      assertCalls(
          addCall(
              Struct.cleared(Layouts.POINT_TAG),
              Layouts.mask(Long.MIN_VALUE, Long.MAX_VALUE),
              null));
    }

    @Test
    void convertsEachTextOnceInABufferOfItsOwn() {
      Jni_Zervane.addTag(new ZRJniTagProp(), 0, 0);
      assertAllocated(1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1);
      Recorder.takeCalls();
    }

    @Test
    void returnsTheStatusUnchanged() {
      answer("pt3_add_tag", FAILURE);
      assertEquals(FAILURE, Jni_Zervane.addTag(new ZRJniTagProp(), 0, 0));
      answer("pt3_add_tag", FAILURE);
      assertEquals(FAILURE, Jni_Zervane.addTagWithNodeName(new ZRJniTagProp(), 0, 0, null));
      Recorder.takeCalls();
      assertLeft(1);
    }

    @ParameterizedTest
    @ValueSource(strings = {"node", "", "\u6f22\ud83d\ude00"})
    void toANamedNodeSendsTheNameAndKeepsItAllocated(String node) {
      ZRJniTagProp tag = Fields.filled(ZRJniTagProp.class, 3);
      ZRJniTagProp before = Fields.copy(tag);
      answer("pt3_add_tag", out("pTagID", 77));
      assertEquals(0, Jni_Zervane.addTagWithNodeName(tag, 7, 8, node));
      assertCalls(addCall(added(before), Layouts.mask(7, 8), node));
      assertLeft(textBuffer(node));
      Fields.assertSameFields(before, tag);
    }

    @Test
    void toANullNodeSendsAnEmptyName() {
      assertEquals(0, Jni_Zervane.addTagWithNodeName(new ZRJniTagProp(), 7, 8, null));
      assertCalls(addCall(Struct.cleared(Layouts.POINT_TAG), Layouts.mask(7, 8), ""));
      assertLeft(1);
    }
  }

  @Nested
  @DisplayName("Modifying")
  @MismatchedAccessor
  class Modifying {
    @ParameterizedTest
    @ValueSource(ints = {1, 2})
    void sendsTheSameFieldsInARecordOfWhichOnlyTheBeginningIsCleared(int seed) {
      ZRJniTagProp tag = Fields.filled(ZRJniTagProp.class, seed);
      tag.m_tagID = -5;
      ZRJniTagProp before = Fields.copy(tag);
      answer("pt3_modify_tag_prop", 117801);
      assertEquals(117801, Jni_Zervane.modifyTag(tag, 5, -6));
      assertCalls(
          call("pt3_modify_tag_prop")
              .with("nTagID", 0xffff_fffbL)
              .with("pProp", modified(before))
              .with("pMask", Layouts.mask(5, -6)));
      Fields.assertSameFields(before, tag);
    }

    @Test
    void ofTheSpanAloneSendsTheExceptionDeviation() {
      ZRJniTagProp tag = new ZRJniTagProp();
      tag.m_tagID = 4;
      tag.m_span = 100;
      tag.m_excDev = 0.5f;
      assertEquals(0, Jni_Zervane.modifyTag(tag, 1L << 23, 0));
      assertCalls(
          call("pt3_modify_tag_prop")
              .with("nTagID", 4)
              .with("pProp", modified(tag).set("fSpan", 0.5))
              .with("pMask", Layouts.mask(1L << 23, 0)));
    }
  }

  @Nested
  @DisplayName("Reading")
  class Reading {
    @ParameterizedTest
    @ValueSource(ints = {1, 2})
    void writesEveryFieldButTheClass(int seed) {
      Struct record = Struct.filled(Layouts.POINT_TAG, seed);
      ZRJniTagProp tag = Fields.filled(ZRJniTagProp.class, seed + 1);
      ZRJniTagProp expected = TagRows.read(TagRows.POINT, record, Fields.copy(tag));
      answer("pt3_query_tag_prop", out("pProp", record));
      assertEquals(0, Jni_Zervane.getTag(-1, tag));
      Fields.assertSameFields(expected, tag);
      assertCalls(call("pt3_query_tag_prop").with("nTagID", 0xffff_ffffL));
    }

    @Test
    void keepsThePreviousClass() {
      ZRJniTagProp tag = new ZRJniTagProp();
      tag.m_tagClass = 42;
      answer(
          "pt3_query_tag_prop",
          out("pProp", Struct.cleared(Layouts.POINT_TAG).set("nTagType", 6).set("nTagClass", 3)));
      assertEquals(0, Jni_Zervane.getTag(8, tag));
      assertEquals(6, tag.m_tagType);
      assertEquals(42, tag.m_tagClass);
      Recorder.takeCalls();
    }

    @Test
    void ofAnUnknownTagChangesNoField() {
      ZRJniTagProp tag = Fields.filled(ZRJniTagProp.class, 3);
      ZRJniTagProp before = Fields.copy(tag);
      answer("pt3_query_tag_prop", 117801, out("pProp", Struct.filled(Layouts.POINT_TAG, 1)));
      assertEquals(117801, Jni_Zervane.getTag(8, tag));
      Fields.assertSameFields(before, tag);
      assertCalls(call("pt3_query_tag_prop").with("nTagID", 8));
    }

    @Test
    void ofTextsThatDoNotConvertYieldsEmptyTextsAndKeepsTheirBuffersAllocated() {
      byte[] invalid = {'a', (byte) 0xff, 'b', 0};
      Struct record =
          Struct.cleared(Layouts.POINT_TAG).set("szTagName", invalid).set("szDescriptor", invalid);
      ZRJniTagProp tag = Fields.filled(ZRJniTagProp.class, 3);
      answer("pt3_query_tag_prop", out("pProp", record));
      assertEquals(0, Jni_Zervane.getTag(8, tag));
      assertEquals("", tag.m_tagName);
      assertEquals("", tag.m_descriptor);
      assertLeft(3 * 4, 3 * 4);
      Recorder.takeCalls();
    }
  }

  @ParameterizedTest
  @ValueSource(ints = {0, FAILURE})
  void deletingPassesTheIdentifierOnAndReturnsTheStatus(int status) {
    answer("tag3_delete_tag", status);
    assertEquals(status, Jni_Zervane.deleteTag(-2));
    assertCalls(call("tag3_delete_tag").with("nTagID", 0xffff_fffeL));
  }
}
