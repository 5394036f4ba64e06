package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniTagProp;
import java.util.List;

/** Connection, settings, point tags and lookups. */
final class DeedsOfTags {
  private static final String DROPPED = "nothing is answered: what the client says is dropped";

  private DeedsOfTags() {}

  static List<Deed> all() {
    return List.of(
        Deed.of(
            "connectEx",
            stack -> {
              stack.database.close();
              String address = stack.database.address();
              assertEquals(Codes.OK, Jni_Zervane.connectEx(address, 0, "", 0));
              assertEquals(stack.source, Jni_Zervane.queryTagID(WholeStack.SOURCE));
            },
            stack ->
                assertEquals(
                    Codes.ALREADY_CONNECTED, Jni_Zervane.connectEx("memory:", 0, "", 0))),
        Deed.of(
            "connect3",
            stack -> {
              stack.database.close();
              String address = stack.database.address();
              assertEquals(Codes.OK, Jni_Zervane.connect3(address, 0, "", 0));
              assertEquals(stack.source, Jni_Zervane.queryTagID(WholeStack.SOURCE));
            },
            stack ->
                assertEquals(
                    Codes.ALREADY_CONNECTED, Jni_Zervane.connect3("memory:", 0, "", 0))),
        Deed.of(
            "disconnect",
            stack -> assertEquals(Codes.OK, Jni_Zervane.disconnect()),
            stack -> stack.assertNotConnected(Jni_Zervane::disconnect)),
        Deed.thatNeverFails(
            "testConnect",
            "it asks nobody",
            stack -> {
              IntWrapper state = new IntWrapper();
              state.Value = 7;
              assertEquals(Codes.OK, Jni_Zervane.testConnect(state, 1));
              assertEquals(0, state.Value);
            }),
        Deed.thatNeverFails(
            "setRequestTimeout", DROPPED, stack -> Jni_Zervane.setRequestTimeout(3)),
        Deed.thatNeverFails("setAPIOption", DROPPED, stack -> Jni_Zervane.setAPIOption(0)),
        Deed.thatNeverFails(
            "setRequestCacheCapacity",
            DROPPED,
            stack -> Jni_Zervane.setRequestCacheCapacity(100_000)),
        Deed.of(
            "getServerMsTime",
            stack -> {
              LongWrapper time = new LongWrapper();
              assertEquals(Codes.OK, Jni_Zervane.getServerMsTime(time));
              assertTrue(time.Value > 0);
            },
            stack ->
                stack.assertNotConnected(() -> Jni_Zervane.getServerMsTime(new LongWrapper()))),
        Deed.of(
            "addTag",
            stack -> {
              ZRJniTagProp tag = Tags.named("NEW", ValueType.INT32);
              assertEquals(Codes.OK, Jni_Zervane.addTag(tag, Columns.TYPE, Columns.NONE));
              assertTrue(Jni_Zervane.queryTagID("NEW") > stack.alarm);
            },
            stack -> {
              ZRJniTagProp tag = Tags.named("source", ValueType.INT32);
              assertEquals(
                  Codes.TAG_EXISTS, Jni_Zervane.addTag(tag, Columns.TYPE, Columns.NONE));
            }),
        Deed.of(
            "addTagWithNodeName",
            stack -> {
              ZRJniTagProp tag = Tags.named("NEW", ValueType.INT32);
              assertEquals(
                  Codes.OK,
                  Jni_Zervane.addTagWithNodeName(tag, Columns.TYPE, Columns.NONE, "node"));
              assertTrue(Jni_Zervane.queryTagID("NEW") > stack.alarm);
            },
            stack -> {
              ZRJniTagProp tag = Tags.named("", ValueType.INT32);
              assertEquals(
                  Codes.INVALID_TAG_NAME,
                  Jni_Zervane.addTagWithNodeName(tag, Columns.TYPE, Columns.NONE, "node"));
            }),
        Deed.of(
            "modifyTag",
            stack -> {
              Tags.rename(stack.source, "RENAMED");
              assertEquals("RENAMED", Tags.get(stack.source).m_tagName);
            },
            stack -> {
              ZRJniTagProp changes = new ZRJniTagProp();
              changes.m_tagID = Tags.UNKNOWN;
              assertEquals(
                  Codes.TAG_NOT_FOUND,
                  Jni_Zervane.modifyTag(changes, Columns.NONE, Columns.NONE));
            }),
        Deed.of(
            "getTag",
            stack -> assertEquals(WholeStack.SOURCE, Tags.get(stack.source).m_tagName),
            stack ->
                assertEquals(
                    Codes.INVALID_TAG_CLASS,
                    Jni_Zervane.getTag(stack.alarm, new ZRJniTagProp()))),
        Deed.of(
            "deleteTag",
            stack -> {
              assertEquals(Codes.OK, Jni_Zervane.deleteTag(stack.alarm));
              assertEquals(-1, Jni_Zervane.queryTagID(WholeStack.ALARM));
            },
            stack -> assertEquals(Codes.TAG_NOT_FOUND, Jni_Zervane.deleteTag(Tags.UNKNOWN))),
        Deed.of(
            "getTagType",
            stack -> {
              IntWrapper type = new IntWrapper();
              assertEquals(Codes.OK, Jni_Zervane.getTagType(stack.source, type));
              assertEquals(ValueType.FLOAT64.number(), type.Value);
            },
            stack ->
                assertEquals(
                    Codes.TAG_NOT_FOUND,
                    Jni_Zervane.getTagType(Tags.UNKNOWN, new IntWrapper()))),
        Deed.of(
            "queryTagType",
            stack ->
                assertEquals(
                    ValueType.FLOAT64.number(), Jni_Zervane.queryTagType(WholeStack.SOURCE)),
            stack -> assertEquals(-1, Jni_Zervane.queryTagType("NOBODY"))),
        Deed.of(
            "queryTagID",
            stack -> assertEquals(stack.source, Jni_Zervane.queryTagID(WholeStack.SOURCE)),
            stack -> assertEquals(-1, Jni_Zervane.queryTagID("NOBODY"))),
        Deed.of(
            "queryTagIDByName",
            stack -> {
              IntWrapper id = new IntWrapper();
              assertEquals(Codes.OK, Jni_Zervane.queryTagIDByName(WholeStack.SOURCE, id));
              assertEquals(stack.source, id.Value);
            },
            stack ->
                assertEquals(
                    Codes.NAME_NOT_FOUND,
                    Jni_Zervane.queryTagIDByName("NOBODY", new IntWrapper()))),
        Deed.of(
            "queryTagIDsByNames",
            stack -> {
              String[] names = {WholeStack.ALARM, WholeStack.SOURCE};
              int[] ids = new int[2];
              assertEquals(Codes.OK, Jni_Zervane.queryTagIDsByNames(names, 2, ids, new int[2]));
              assertEquals(stack.source, ids[1]);
            },
            stack -> {
              String[] names = {WholeStack.ALARM, "NOBODY"};
              int[] errors = new int[2];
              assertEquals(
                  Codes.SOME_NAMES_FAILED,
                  Jni_Zervane.queryTagIDsByNames(names, 2, new int[2], errors));
              assertEquals(Codes.NAME_NOT_FOUND, errors[1]);
            }),
        Deed.of(
            "getNewlyTagVersion",
            stack -> assertTrue(Tags.catalogueVersion() > 0),
            stack ->
                stack.assertNotConnected(
                    () -> Jni_Zervane.getNewlyTagVersion(new LongWrapper()))));
  }
}
