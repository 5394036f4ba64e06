package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.AlarmGroup;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniAlarmTag;
import java.util.ArrayList;
import java.util.List;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("An alarm group")
class AlarmGroupTest {
  private static final int FAILED = -1;
  private static final int UNKNOWN = 4711;

  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  @Test
  void isFoundUnderItsParentAfterReopening() {
    AlarmGroup group = Alarms.group("Süd 鍋爐", "of the south, 鍋爐", Alarms.ROOT);
    assertEquals(Codes.OK, Jni_Zervane.addAlarmGroup(group));
    int area = Jni_Zervane.queryAlarmGroupID("Süd 鍋爐", Alarms.ROOT);
    int boiler = Alarms.addGroup("Boiler", area);

    database.reopen();

    AlarmGroup stored = Alarms.getGroup(area);
    assertAll(
        () -> assertEquals(area, stored.m_GroupID),
        () -> assertEquals(Alarms.ROOT, stored.m_ParentID),
        () -> assertEquals("Süd 鍋爐", stored.m_GroupName),
        () -> assertEquals("of the south, 鍋爐", stored.m_GroupDesc),
        () -> assertEquals(area, Alarms.getGroup(boiler).m_ParentID),
        () -> assertEquals(boiler, Jni_Zervane.queryAlarmGroupID("boiler", area)));
  }

  @Test
  void doesNotTellItsIdentifierToTheCaller() {
    AlarmGroup group = Alarms.group("Area", "", Alarms.ROOT);
    group.m_GroupID = UNKNOWN;
    assertEquals(Codes.OK, Jni_Zervane.addAlarmGroup(group));
    assertEquals(UNKNOWN, group.m_GroupID);
    assertEquals(Alarms.ROOT, group.m_ParentID);
  }

  @Test
  void isNotFoundUnderTheWrongParent() {
    int area = Alarms.addGroup("Area", Alarms.ROOT);
    Alarms.addGroup("Boiler", area);
    assertEquals(FAILED, Jni_Zervane.queryAlarmGroupID("Boiler", Alarms.ROOT));
    assertEquals(FAILED, Jni_Zervane.queryAlarmGroupID("Boiler", UNKNOWN));
    assertEquals(FAILED, Jni_Zervane.queryAlarmGroupID("Area", area));
  }

  @Test
  void hasANameThatIsUniqueUnderItsParentAlone() {
    int north = Alarms.addGroup("North", Alarms.ROOT);
    int south = Alarms.addGroup("South", Alarms.ROOT);
    int boiler = Alarms.addGroup("Boiler", north);
    assertEquals(
        Codes.GROUP_EXISTS, Jni_Zervane.addAlarmGroup(Alarms.group("BOILER", "", north)));
    assertTrue(Alarms.addGroup("Boiler", south) > boiler);
  }

  @ParameterizedTest(name = "length {0}, status {1}")
  @CsvSource({"0, " + Codes.INVALID_GROUP_NAME, "1, 0", "255, 0"})
  void hasANameOf1To255Bytes(int length, int status) {
    AlarmGroup group = Alarms.group("n".repeat(length), "d".repeat(length), Alarms.ROOT);
    assertEquals(status, Jni_Zervane.addAlarmGroup(group));
  }

  @ParameterizedTest(name = "character {0}")
  @ValueSource(ints = {1, 9, 31, 127})
  void hasNoControlCharacterInItsName(int character) {
    AlarmGroup group = Alarms.group("A" + (char) character, "", Alarms.ROOT);
    assertEquals(Codes.INVALID_GROUP_NAME, Jni_Zervane.addAlarmGroup(group));
  }

  @Test
  void hasAParentThatExists() {
    assertEquals(
        Codes.GROUP_NOT_FOUND, Jni_Zervane.addAlarmGroup(Alarms.group("Area", "", UNKNOWN)));
  }

  @Test
  void changesItsNameAndItsDescriptionApart() {
    int area = Alarms.addGroup("Area", Alarms.ROOT);
    assertEquals(Codes.OK, Jni_Zervane.modifyAlarmGroupDesc(area, "described"));
    assertEquals("Area", Alarms.getGroup(area).m_GroupName);
    assertEquals("described", Alarms.getGroup(area).m_GroupDesc);

    assertEquals(Codes.OK, Jni_Zervane.modifyAlarmGroupName(area, "Plant"));
    assertEquals("Plant", Alarms.getGroup(area).m_GroupName);
    assertEquals("described", Alarms.getGroup(area).m_GroupDesc);

    assertEquals(Codes.OK, Jni_Zervane.modifyAlarmGroupDesc(area, ""));
    assertEquals("Plant", Alarms.getGroup(area).m_GroupName);
    assertEquals("", Alarms.getGroup(area).m_GroupDesc);
  }

  @Test
  void isNotRenamedToTheNameOfAnother() {
    int area = Alarms.addGroup("Area", Alarms.ROOT);
    Alarms.addGroup("Plant", Alarms.ROOT);
    assertEquals(Codes.GROUP_EXISTS, Jni_Zervane.modifyAlarmGroupName(area, "plant"));
    assertEquals(Codes.OK, Jni_Zervane.modifyAlarmGroupName(area, "AREA"));
    assertEquals(Codes.GROUP_NOT_FOUND, Jni_Zervane.modifyAlarmGroupName(UNKNOWN, "A"));
    assertEquals(Codes.INVALID_ARGUMENT, Jni_Zervane.modifyAlarmGroupName(Alarms.ROOT, "A"));
  }

  @Test
  void staysUnderItsParent() {
    int north = Alarms.addGroup("North", Alarms.ROOT);
    int south = Alarms.addGroup("South", Alarms.ROOT);
    int boiler = Alarms.addGroup("Boiler", north);
    assertEquals(0, Jni_Zervane.modifyAlarmParentID(boiler, south));
    assertEquals(0, Jni_Zervane.modifyAlarmParentID(UNKNOWN, UNKNOWN + 1));
    assertEquals(north, Alarms.getGroup(boiler).m_ParentID);
  }

  @Test
  void isDeletedWhenItIsEmptyAndItsIdentifierIsNotGivenAgain() {
    int area = Alarms.addGroup("Area", Alarms.ROOT);
    int boiler = Alarms.addGroup("Boiler", area);
    assertEquals(Codes.GROUP_NOT_EMPTY, Jni_Zervane.deleteAlarmGroup(area));
    assertEquals(Codes.OK, Jni_Zervane.deleteAlarmGroup(boiler));
    assertEquals(Codes.OK, Jni_Zervane.deleteAlarmGroup(area));
    assertEquals(Codes.GROUP_NOT_FOUND, Jni_Zervane.deleteAlarmGroup(area));
    assertEquals(Codes.INVALID_ARGUMENT, Jni_Zervane.deleteAlarmGroup(Alarms.ROOT));
    database.reopen();
    assertTrue(Alarms.addGroup("Area", Alarms.ROOT) > boiler);
  }

  @Test
  void isNotDeletedWithAlarmTagsInIt() {
    int area = Alarms.addGroup("Area", Alarms.ROOT);
    int tag = tagIn("alarm", area);
    assertEquals(Codes.GROUP_NOT_EMPTY, Jni_Zervane.deleteAlarmGroup(area));
    Tags.delete(tag);
    assertEquals(Codes.OK, Jni_Zervane.deleteAlarmGroup(area));
  }

  @Test
  void thatIsUnknownLeavesTheObjectAsItWas() {
    AlarmGroup group = Alarms.group("before", "before", 5);
    group.m_GroupID = 6;
    List<String> before = Records.fieldsOf(group);
    assertEquals(Codes.GROUP_NOT_FOUND, Jni_Zervane.queryAlarmGroupProp(UNKNOWN, group));
    assertEquals(before, Records.fieldsOf(group));
    assertEquals(Codes.GROUP_NOT_FOUND, Jni_Zervane.queryAmGroup(UNKNOWN, group));
    assertEquals(before, Records.fieldsOf(group));
  }

  @Test
  void isReadInEitherWay() {
    int area = Alarms.addGroup("Area", Alarms.ROOT);
    AlarmGroup group = new AlarmGroup();
    assertEquals(Codes.OK, Jni_Zervane.queryAmGroup(area, group));
    assertEquals(Records.fieldsOf(Alarms.getGroup(area)), Records.fieldsOf(group));
  }

  @Test
  void hasItsChildGroupsInOrderOfIdentifier() {
    int area = Alarms.addGroup("Area", Alarms.ROOT);
    Alarms.addGroup("B", area);
    Alarms.addGroup("A", area);
    LongWrapper handle = Searches.holder();
    assertEquals(Codes.OK, Jni_Zervane.queryAlarmChildGroupsEx(area, handle));
    assertEquals(List.of("B", "A"), names(handle.Value));
    assertEquals(List.of("B", "A"), names(Jni_Zervane.queryAlarmChildGroups(area)));
    assertEquals(List.of("Area"), names(Jni_Zervane.queryAlarmChildGroups(Alarms.ROOT)));
  }

  @Test
  void hasItsChildTagsAloneAndMinusOnePastTheLast() {
    int area = Alarms.addGroup("Area", Alarms.ROOT);
    int boiler = Alarms.addGroup("Boiler", area);
    int first = tagIn("first", area);
    int second = tagIn("second", area);
    tagIn("below", boiler);
    LongWrapper handle = Searches.holder();
    assertEquals(Codes.OK, Jni_Zervane.queryAlarmChildTagsEx(area, handle));
    assertEquals(List.of(first, second), tags(handle.Value));
    assertEquals(List.of(first, second), tags(Jni_Zervane.queryAlarmChildTags(area)));
    database.reopen();
    assertEquals(List.of(first, second), tags(Jni_Zervane.queryAlarmChildTags(area)));
  }

  @Test
  void thatIsUnknownHasNoChildren() {
    LongWrapper handle = Searches.holder();
    assertEquals(Codes.GROUP_NOT_FOUND, Jni_Zervane.queryAlarmChildGroupsEx(UNKNOWN, handle));
    assertEquals(0, handle.Value);
    handle = Searches.holder();
    assertEquals(Codes.GROUP_NOT_FOUND, Jni_Zervane.queryAlarmChildTagsEx(UNKNOWN, handle));
    assertEquals(0, handle.Value);
    assertEquals(FAILED, Jni_Zervane.queryAlarmChildGroups(UNKNOWN));
    assertEquals(FAILED, Jni_Zervane.queryAlarmChildTags(UNKNOWN));
  }

  @Test
  void isNotStepGivenAHandleOfZero() {
    assertEquals(Codes.INVALID_HANDLE, Jni_Zervane.getAmChildGroupsItemStep(0, new AlarmGroup()));
    assertEquals(FAILED, Jni_Zervane.getAmChildTagsItemStep(0));
  }

  private static int tagIn(String name, int group) {
    if (Jni_Zervane.queryTagID("source") < 0) {
      Tags.add("source", ValueType.FLOAT64);
    }
    ZRJniAlarmTag tag = AlarmTags.on(name, "source", "HIGH > 10");
    tag.m_nAlarmGroupID = group;
    return AlarmTags.add(tag);
  }

  private static List<String> names(long handle) {
    List<String> names = new ArrayList<>();
    AlarmGroup group = new AlarmGroup();
    int status = Jni_Zervane.getAmChildGroupsItemStep(handle, group);
    while (status == Codes.OK) {
      names.add(group.m_GroupName);
      status = Jni_Zervane.getAmChildGroupsItemStep(handle, group);
    }
    assertEquals(Codes.END_OF_ITERATION, status);
    assertEquals(0, Jni_Zervane.freeIterator(handle));
    return names;
  }

  private static List<Integer> tags(long handle) {
    List<Integer> tags = new ArrayList<>();
    int tag = Jni_Zervane.getAmChildTagsItemStep(handle);
    while (tag != FAILED) {
      tags.add(tag);
      tag = Jni_Zervane.getAmChildTagsItemStep(handle);
    }
    assertEquals(0, Jni_Zervane.freeIterator(handle));
    return tags;
  }
}
