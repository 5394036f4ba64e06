package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.AlarmGroup;
import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniAlarmRecord;
import java.util.List;

/** Groups of alarms, and the alarms of groups. */
final class DeedsOfAlarmGroups {
  private static final int UNKNOWN = 77;

  private DeedsOfAlarmGroups() {}

  private static void assertTheAlarm(WholeStack stack, long handle) {
    ZRJniAlarmRecord record = new ZRJniAlarmRecord();
    assertEquals(Codes.OK, Jni_Zervane.getAmGroupRecordsItemStep(handle, record));
    assertEquals(stack.alarm, record.nAlarmTagID);
    Jni_Zervane.freeIterator(handle);
  }

  private static void assertTheGroup(WholeStack stack, long handle) {
    AlarmGroup group = new AlarmGroup();
    assertEquals(Codes.OK, Jni_Zervane.getAmChildGroupsItemStep(handle, group));
    assertEquals(stack.group, group.m_GroupID);
    Jni_Zervane.freeIterator(handle);
  }

  private static long childTags(WholeStack stack) {
    LongWrapper handle = Searches.holder();
    assertEquals(Codes.OK, Jni_Zervane.queryAlarmChildTagsEx(stack.group, handle));
    return handle.Value;
  }

  static List<Deed> all() {
    return List.of(
        Deed.of(
            "queryAlarmGroupRecordsEx",
            stack -> {
              LongWrapper handle = Searches.holder();
              assertEquals(
                  Codes.OK,
                  Jni_Zervane.queryAlarmGroupRecordsEx(
                      stack.group, Alarms.any(), Alarms.ALL, handle));
              assertTheAlarm(stack, handle.Value);
            },
            stack ->
                assertEquals(
                    Codes.GROUP_NOT_FOUND,
                    Jni_Zervane.queryAlarmGroupRecordsEx(
                        UNKNOWN, Alarms.any(), Alarms.ALL, Searches.holder()))),
        Deed.of(
            "queryAlarmGroupRecords",
            stack ->
                assertTheAlarm(
                    stack,
                    Jni_Zervane.queryAlarmGroupRecords(stack.group, Alarms.any(), Alarms.ALL)),
            stack ->
                assertEquals(
                    -1,
                    Jni_Zervane.queryAlarmGroupRecords(UNKNOWN, Alarms.any(), Alarms.ALL))),
        Deed.of(
            "getAmGroupRecordsItemStep",
            stack ->
                assertTheAlarm(
                    stack,
                    Jni_Zervane.queryAlarmGroupRecords(stack.group, Alarms.any(), Alarms.ALL)),
            stack ->
                assertEquals(
                    Codes.INVALID_HANDLE,
                    Jni_Zervane.getAmGroupRecordsItemStep(0, new ZRJniAlarmRecord()))),
        Deed.of(
            "addAlarmGroup",
            stack -> {
              int id = Alarms.addGroup("boiler", stack.group);
              assertEquals("boiler", Alarms.getGroup(id).m_GroupName);
            },
            stack ->
                assertEquals(
                    Codes.GROUP_EXISTS,
                    Jni_Zervane.addAlarmGroup(Alarms.group("PLANT", "", Alarms.ROOT)))),
        Deed.of(
            "deleteAlarmGroup",
            stack -> {
              assertEquals(Codes.OK, Jni_Zervane.deleteTag(stack.alarm));
              assertEquals(Codes.OK, Jni_Zervane.deleteAlarmGroup(stack.group));
              assertEquals(-1, Jni_Zervane.queryAlarmGroupID(WholeStack.GROUP, Alarms.ROOT));
            },
            stack ->
                assertEquals(
                    Codes.GROUP_NOT_EMPTY, Jni_Zervane.deleteAlarmGroup(stack.group))),
        Deed.of(
            "modifyAlarmGroupName",
            stack -> {
              assertEquals(Codes.OK, Jni_Zervane.modifyAlarmGroupName(stack.group, "works"));
              assertEquals("works", Alarms.getGroup(stack.group).m_GroupName);
            },
            stack ->
                assertEquals(
                    Codes.INVALID_GROUP_NAME,
                    Jni_Zervane.modifyAlarmGroupName(stack.group, "a\nb"))),
        Deed.of(
            "modifyAlarmGroupDesc",
            stack -> {
              assertEquals(Codes.OK, Jni_Zervane.modifyAlarmGroupDesc(stack.group, "of it"));
              assertEquals("of it", Alarms.getGroup(stack.group).m_GroupDesc);
            },
            stack ->
                assertEquals(
                    Codes.GROUP_NOT_FOUND, Jni_Zervane.modifyAlarmGroupDesc(UNKNOWN, "of it"))),
        Deed.thatNeverFails(
            "modifyAlarmParentID",
            "it does nothing, since a group cannot be moved, and answers 0",
            stack -> {
              assertEquals(0, Jni_Zervane.modifyAlarmParentID(stack.group, UNKNOWN));
              assertEquals(Alarms.ROOT, Alarms.getGroup(stack.group).m_ParentID);
            }),
        Deed.of(
            "queryAlarmGroupID",
            stack ->
                assertEquals(
                    stack.group, Jni_Zervane.queryAlarmGroupID(WholeStack.GROUP, Alarms.ROOT)),
            stack ->
                assertEquals(-1, Jni_Zervane.queryAlarmGroupID(WholeStack.GROUP, stack.group))),
        Deed.of(
            "queryAlarmGroupProp",
            stack -> assertEquals(WholeStack.GROUP, Alarms.getGroup(stack.group).m_GroupName),
            stack ->
                assertEquals(
                    Codes.GROUP_NOT_FOUND,
                    Jni_Zervane.queryAlarmGroupProp(UNKNOWN, new AlarmGroup()))),
        Deed.of(
            "queryAmGroup",
            stack -> {
              AlarmGroup group = new AlarmGroup();
              assertEquals(Codes.OK, Jni_Zervane.queryAmGroup(stack.group, group));
              assertEquals(WholeStack.GROUP, group.m_GroupName);
            },
            stack ->
                stack.assertNotConnected(
                    () -> Jni_Zervane.queryAmGroup(stack.group, new AlarmGroup()))),
        Deed.of(
            "queryAlarmChildGroupsEx",
            stack -> {
              LongWrapper handle = Searches.holder();
              assertEquals(Codes.OK, Jni_Zervane.queryAlarmChildGroupsEx(Alarms.ROOT, handle));
              assertTheGroup(stack, handle.Value);
            },
            stack ->
                assertEquals(
                    Codes.GROUP_NOT_FOUND,
                    Jni_Zervane.queryAlarmChildGroupsEx(UNKNOWN, Searches.holder()))),
        Deed.of(
            "queryAlarmChildGroups",
            stack -> assertTheGroup(stack, Jni_Zervane.queryAlarmChildGroups(Alarms.ROOT)),
            stack -> assertEquals(-1, Jni_Zervane.queryAlarmChildGroups(UNKNOWN))),
        Deed.of(
            "getAmChildGroupsItemStep",
            stack -> assertTheGroup(stack, Jni_Zervane.queryAlarmChildGroups(Alarms.ROOT)),
            stack -> {
              long handle = Jni_Zervane.queryAlarmChildGroups(stack.group);
              assertEquals(
                  Codes.END_OF_ITERATION,
                  Jni_Zervane.getAmChildGroupsItemStep(handle, new AlarmGroup()));
              Jni_Zervane.freeIterator(handle);
            }),
        Deed.of(
            "queryAlarmChildTagsEx",
            stack -> {
              long handle = childTags(stack);
              assertEquals(stack.alarm, Jni_Zervane.getAmChildTagsItemStep(handle));
              Jni_Zervane.freeIterator(handle);
            },
            stack ->
                assertEquals(
                    Codes.GROUP_NOT_FOUND,
                    Jni_Zervane.queryAlarmChildTagsEx(UNKNOWN, Searches.holder()))),
        Deed.of(
            "queryAlarmChildTags",
            stack -> {
              long handle = Jni_Zervane.queryAlarmChildTags(stack.group);
              assertEquals(stack.alarm, Jni_Zervane.getAmChildTagsItemStep(handle));
              Jni_Zervane.freeIterator(handle);
            },
            stack -> assertEquals(-1, Jni_Zervane.queryAlarmChildTags(UNKNOWN))),
        Deed.of(
            "getAmChildTagsItemStep",
            stack -> {
              long handle = childTags(stack);
              assertEquals(stack.alarm, Jni_Zervane.getAmChildTagsItemStep(handle));
              Jni_Zervane.freeIterator(handle);
            },
            stack -> {
              long handle = Jni_Zervane.queryAlarmChildTags(Alarms.ROOT);
              assertEquals(-1, Jni_Zervane.getAmChildTagsItemStep(handle));
              Jni_Zervane.freeIterator(handle);
            }),
        Deed.of(
            "getIDItemStep",
            stack -> {
              IntWrapper id = new IntWrapper();
              long handle = childTags(stack);
              assertEquals(Codes.OK, Jni_Zervane.getIDItemStep(handle, id));
              assertEquals(stack.alarm, id.Value);
              Jni_Zervane.freeIterator(handle);
            },
            stack -> {
              long handle = Jni_Zervane.queryAlarmChildTags(Alarms.ROOT);
              assertEquals(
                  Codes.END_OF_ITERATION, Jni_Zervane.getIDItemStep(handle, new IntWrapper()));
              Jni_Zervane.freeIterator(handle);
            }));
  }
}
