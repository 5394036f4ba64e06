package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.AlarmGroup;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Nested;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Alarm groups")
class AlarmGroupTest extends BridgeTest {
  private static final long HANDLE = 0x7123_4567_89ab_cdefL;
  private static final String NAME = "boilers" + Fields.BEYOND_ASCII;

  private static AlarmGroup read(Struct record) {
    AlarmGroup group = new AlarmGroup();
    group.m_GroupName = record.text("szName");
    group.m_GroupDesc = record.text("szDesc");
    group.m_GroupID = (int) record.integer("nGroupID");
    group.m_ParentID = (int) record.integer("nParentID");
    return group;
  }

  @Nested
  @DisplayName("Changing")
  class Changing {
    private static final int OWN_PARENT = 516;

    @ParameterizedTest
    @ValueSource(ints = {0, FAILURE})
    void addingSendsAllFieldsAndChangesNone(int status) {
      AlarmGroup group = Fields.filled(AlarmGroup.class, 1);
      AlarmGroup before = Fields.copy(group);
      answer("am3_add_group", status, out("pGroupID", 77));
      assertEquals(status, Jni_Zervane.addAlarmGroup(group));
      Fields.assertSameFields(before, group);
      assertCalls(
          call("am3_add_group")
              .with(
                  "pGroup",
                  Struct.uncleared(Layouts.ALARM_GROUP)
                      .set("szName", before.m_GroupName)
                      .set("szDesc", before.m_GroupDesc)
                      .set("nGroupID", before.m_GroupID)
                      .set("nParentID", before.m_ParentID))
              .with("pGroupID", OWN_PARENT));
      assertAllocated(textBuffer(before.m_GroupName), textBuffer(before.m_GroupDesc));
    }

    @ParameterizedTest
    @ValueSource(ints = {0, FAILURE})
    void deletingPassesTheIdentifierOn(int status) {
      answer("am3_delete_group", status);
      assertEquals(status, Jni_Zervane.deleteAlarmGroup(-2));
      assertCalls(call("am3_delete_group").with("nGroupID", 0xffff_fffeL));
    }

    @ParameterizedTest
    @ValueSource(ints = {0, FAILURE})
    void nameAndDescriptionAreSentAlone(int status) {
      answer("am3_modify_group", status);
      assertEquals(status, Jni_Zervane.modifyAlarmGroupName(-2, NAME));
      answer("am3_modify_group", status);
      assertEquals(status, Jni_Zervane.modifyAlarmGroupDesc(-2, NAME));
      assertCalls(modification("szName", NAME), modification("szDesc", NAME));
      assertAllocated(textBuffer(NAME), textBuffer(NAME));
    }

    @Test
    void nullTextsAreSentEmpty() {
      assertEquals(0, Jni_Zervane.modifyAlarmGroupName(-2, null));
      assertEquals(0, Jni_Zervane.modifyAlarmGroupDesc(-2, null));
      assertCalls(modification("szName", ""), modification("szDesc", ""));
    }

    private static ExpectedCall modification(String member, String text) {
      return call("am3_modify_group")
          .with("nGroupID", 0xffff_fffeL)
          .with("pGroup", Struct.uncleared(Layouts.ALARM_GROUP).set(member, text));
    }

    @Test
    void theParentCannotBeChangedAndNobodyIsAsked() {
      assertEquals(0, Jni_Zervane.modifyAlarmParentID(5, 7));
    }
  }

  @Nested
  @DisplayName("Reading")
  class Reading {
    private static final Struct RECORD = Struct.filled(Layouts.ALARM_GROUP, 1);

    @ParameterizedTest(name = "status {0}, identifier {1}: {2}")
    @CsvSource({"0, 5, 5", "0, -1, -1", "110113, 5, -1"})
    void aNameUnderAParentYieldsTheIdentifierOrMinusOne(int status, int identifier, int returned) {
      answer("am3_query_group_id", status, out("pGroupID", identifier));
      assertEquals(returned, Jni_Zervane.queryAlarmGroupID(NAME, -3));
      assertCalls(call("am3_query_group_id").with("szName", NAME).with("nParentID", 0xffff_fffdL));
      assertAllocated(textBuffer(NAME));
    }

    private static ExpectedCall properties() {
      return call("am3_query_group_props").with("nNum", 1).with("pGroupIDs", new int[] {-2});
    }

    private static void answerProperties(int status, int code) {
      answer("am3_query_group_props", status, out("pGroups", RECORD), out("pErrCodes", code));
    }

    @Test
    void fillsEveryField() {
      AlarmGroup group = Fields.filled(AlarmGroup.class, 2);
      answerProperties(0, 0);
      assertEquals(0, Jni_Zervane.queryAlarmGroupProp(-2, group));
      Fields.assertSameFields(read(RECORD), group);
      assertCalls(properties().withAnything("pErrCodes"));
    }

    @ParameterizedTest(name = "status {0}, code {1}: {2}")
    @CsvSource({"110113, 0, 110113", "110113, 7, 110113", "0, 7, 7"})
    void thatFailsReturnsTheStatusOrTheGroupsCode(int status, int code, int returned) {
      AlarmGroup group = Fields.filled(AlarmGroup.class, 2);
      AlarmGroup before = Fields.copy(group);
      answerProperties(status, code);
      assertEquals(returned, Jni_Zervane.queryAlarmGroupProp(-2, group));
      Fields.assertSameFields(before, group);
      assertCalls(properties().withAnything("pErrCodes"));
    }

    @ParameterizedTest(name = "code {0}")
    @ValueSource(ints = {0, 7})
    void inTheOtherFormTakesNoNoticeOfTheGroupsCode(int code) {
      AlarmGroup group = Fields.filled(AlarmGroup.class, 2);
      answerProperties(0, code);
      assertEquals(0, Jni_Zervane.queryAmGroup(-2, group));
      Fields.assertSameFields(read(RECORD), group);
      assertCalls(properties().with("pErrCodes", new int[] {0}));
    }

    @Test
    void inTheOtherFormReturnsAFailureToo() {
      AlarmGroup group = Fields.filled(AlarmGroup.class, 2);
      AlarmGroup before = Fields.copy(group);
      answerProperties(FAILURE, 0);
      assertEquals(FAILURE, Jni_Zervane.queryAmGroup(-2, group));
      Fields.assertSameFields(before, group);
      assertCalls(properties().with("pErrCodes", new int[] {0}));
    }
  }

  @Nested
  @DisplayName("Walking the tree")
  class WalkingTheTree {
    private static final ExpectedCall GROUPS =
        call("am3_query_group_child_groups").with("nGroupID", 0xffff_fffeL);
    private static final ExpectedCall TAGS =
        call("am3_query_group_child_tags").with("nGroupID", 0xffff_fffeL);
    private static final ExpectedCall STEP = call("ut3_get_item_step").with("hIterator", HANDLE);

    @ParameterizedTest
    @ValueSource(ints = {0, FAILURE})
    void writesTheHandleWhateverTheStatus(int status) {
      LongWrapper groups = Holders.ofLong();
      LongWrapper tags = Holders.ofLong();
      answer("am3_query_group_child_groups", status, out("pIterator", HANDLE));
      assertEquals(status, Jni_Zervane.queryAlarmChildGroupsEx(-2, groups));
      answer("am3_query_group_child_tags", status, out("pIterator", HANDLE - 1));
      assertEquals(status, Jni_Zervane.queryAlarmChildTagsEx(-2, tags));
      assertEquals(HANDLE, groups.Value);
      assertEquals(HANDLE - 1, tags.Value);
      assertCalls(GROUPS, TAGS);
    }

    @ParameterizedTest(name = "status {0}: {1}")
    @CsvSource({"0, -1985229329", "110113, -1"})
    void returnsTheLowHalfOfTheHandleOrMinusOne(int status, int returned) {
      answer("am3_query_group_child_groups", status, out("pIterator", HANDLE));
      assertEquals(returned, Jni_Zervane.queryAlarmChildGroups(-2));
      answer("am3_query_group_child_tags", status, out("pIterator", HANDLE));
      assertEquals(returned, Jni_Zervane.queryAlarmChildTags(-2));
      assertCalls(GROUPS, TAGS);
    }

    @Test
    void fillsEveryFieldOfAChildGroup() {
      Struct record = Struct.filled(Layouts.ALARM_GROUP, 2);
      AlarmGroup group = Fields.filled(AlarmGroup.class, 1);
      answer("ut3_get_item_step", out("pItem", record));
      assertEquals(0, Jni_Zervane.getAmChildGroupsItemStep(HANDLE, group));
      Fields.assertSameFields(read(record), group);
      assertCalls(STEP);
    }

    @Test
    void leavesTheGroupPastTheLastChild() {
      AlarmGroup group = Fields.filled(AlarmGroup.class, 1);
      AlarmGroup before = Fields.copy(group);
      answer("ut3_get_item_step", 110192, out("pItem", Struct.filled(Layouts.ALARM_GROUP, 2)));
      assertEquals(110192, Jni_Zervane.getAmChildGroupsItemStep(HANDLE, group));
      Fields.assertSameFields(before, group);
      assertCalls(STEP);
    }

    @ParameterizedTest(name = "status {0}, identifier {1}: {2}")
    @CsvSource({"0, 5, 5", "0, -1, -1", "110192, 5, -1"})
    void returnsAChildTagOrMinusOne(int status, int identifier, int returned) {
      answer("ut3_get_item_step", status, out("pItem", identifier));
      assertEquals(returned, Jni_Zervane.getAmChildTagsItemStep(HANDLE));
      assertCalls(STEP);
    }
  }
}
