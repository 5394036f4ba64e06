package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.TagInfoWithField;
import com.talvoro.zrjni.ZRJniRecord;
import java.util.List;

/** Current values, and the subscription to them. */
final class DeedsOfValues {
  private static final byte ANY = 0;

  private DeedsOfValues() {}

  private static int[] withUnknown(WholeStack stack) {
    return new int[] {stack.source, Tags.UNKNOWN};
  }

  private static int[] twice(WholeStack stack) {
    return new int[] {stack.source, stack.source};
  }

  private static ZRJniRecord[] two() {
    return new ZRJniRecord[] {Records.float64(10, 10), Records.float64(11, 11)};
  }

  private static TagInfoWithField[] pair(int tag) {
    TagInfoWithField pair = new TagInfoWithField();
    pair.m_nTagID = tag;
    pair.m_nFieldID = 1;
    return new TagInfoWithField[] {pair};
  }

  private static long takeBatch() {
    LongWrapper handle = new LongWrapper();
    assertEquals(Codes.OK, Jni_Zervane.getRegisterTagSnHandle(handle));
    return handle.Value;
  }

  private static void assertChanges(int count) {
    long batch = takeBatch();
    assertEquals(count, Jni_Zervane.getRegisterTagSnNum(batch));
    Jni_Zervane.freeRegisterTagSnHandle(batch);
  }

  /** A batch with one change. */
  private static long batchOf(WholeStack stack) {
    assertEquals(Codes.OK, Jni_Zervane.registerSnCallback(1, new int[] {stack.source}));
    stack.writeChange();
    return takeBatch();
  }

  static List<Deed> all() {
    return List.of(
        Deed.of(
            "querySnapShot",
            stack -> assertEquals(4, Records.current(stack.source).fFloat64),
            stack ->
                assertEquals(
                    Codes.NO_RECORD,
                    Jni_Zervane.querySnapShot(stack.alarm, ANY, new ZRJniRecord()))),
        Deed.of(
            "querySnapShots",
            stack -> {
              ZRJniRecord[] records = new ZRJniRecord[2];
              assertEquals(
                  Codes.OK,
                  Jni_Zervane.querySnapShots(twice(stack), 2, records, new int[2]));
              assertEquals(4, records[1].fFloat64);
            },
            stack -> {
              int[] errors = new int[2];
              assertEquals(
                  Codes.SOME_RECORDS_FAILED,
                  Jni_Zervane.querySnapShots(withUnknown(stack), 2, new ZRJniRecord[2], errors));
              assertEquals(Codes.TAG_NOT_FOUND, errors[1]);
            }),
        Deed.of(
            "saveSnapShot",
            stack -> {
              assertEquals(Codes.OK, Records.save(stack.source, Records.float64(9, 9)));
              assertEquals(9, Records.current(stack.source).fFloat64);
            },
            stack ->
                assertEquals(
                    Codes.OUT_OF_ORDER, Records.save(stack.source, Records.float64(1, 9)))),
        Deed.of(
            "saveSnapshots",
            stack -> {
              assertEquals(
                  Codes.OK, Jni_Zervane.saveSnapshots(twice(stack), 2, two(), new int[2]));
              assertEquals(11, Records.current(stack.source).fFloat64);
            },
            stack ->
                assertEquals(
                    Codes.TAG_NOT_FOUND,
                    Jni_Zervane.saveSnapshots(withUnknown(stack), 2, two(), new int[2]))),
        Deed.of(
            "saveSnapshotsNowait",
            stack -> {
              assertEquals(
                  Codes.OK, Jni_Zervane.saveSnapshotsNowait(twice(stack), 2, two(), new int[2]));
              stack.database.reopen(); // which stores what was queued
              assertEquals(11, Records.current(stack.source).fFloat64);
            },
            stack -> {
              ZRJniRecord[] records = {Records.float64(5, 5), Records.float64(1, 1)};
              int[] errors = new int[2];
              assertEquals(
                  Codes.SOME_RECORDS_FAILED,
                  Jni_Zervane.saveSnapshotsNowait(twice(stack), 2, records, errors));
              assertEquals(Codes.OUT_OF_ORDER, errors[1]);
            }),
        Deed.of(
            "saveDisorderSnapshots",
            stack -> {
              ZRJniRecord[] records = {Records.float64(12, 12), Records.at(0, 500)};
              assertEquals(
                  Codes.OK, Jni_Zervane.saveDisorderSnapshots(2, stack.source, records));
              assertEquals(12, Records.current(stack.source).fFloat64);
            },
            stack ->
                assertEquals(
                    Codes.TAG_NOT_FOUND,
                    Jni_Zervane.saveDisorderSnapshots(2, Tags.UNKNOWN, two()))),
        Deed.of(
            "saveTagsDisorderSnapshots",
            stack -> {
              assertEquals(
                  Codes.OK,
                  Jni_Zervane.saveTagsDisorderSnapshots(2, twice(stack), two(), new int[2]));
              assertEquals(11, Records.current(stack.source).fFloat64);
            },
            stack ->
                assertEquals(
                    Codes.TAG_NOT_FOUND,
                    Jni_Zervane.saveTagsDisorderSnapshots(
                        2, withUnknown(stack), two(), new int[2]))),
        Deed.of(
            "registerSnCallback",
            stack -> {
              assertEquals(Codes.OK, Jni_Zervane.registerSnCallback(1, twice(stack)));
              stack.writeChange();
              assertChanges(1);
            },
            stack ->
                assertEquals(
                    Codes.TAG_NOT_FOUND, Jni_Zervane.registerSnCallback(2, withUnknown(stack)))),
        Deed.of(
            "unregisterSnCallback",
            stack -> {
              assertEquals(Codes.OK, Jni_Zervane.registerSnCallback(1, twice(stack)));
              assertEquals(Codes.OK, Jni_Zervane.unregisterSnCallback(1, twice(stack)));
              stack.writeChange();
              assertChanges(0);
            },
            stack ->
                stack.assertNotConnected(
                    () -> Jni_Zervane.unregisterSnCallback(1, twice(stack)))),
        Deed.of(
            "register_rest",
            stack -> {
              assertEquals(Codes.OK, Jni_Zervane.register_rest(1, pair(stack.source)));
              stack.writeChange();
              assertChanges(1);
            },
            stack ->
                assertEquals(
                    Codes.TAG_NOT_FOUND, Jni_Zervane.register_rest(1, pair(Tags.UNKNOWN)))),
        Deed.of(
            "unregister_rest",
            stack -> {
              assertEquals(Codes.OK, Jni_Zervane.register_rest(1, pair(stack.source)));
              assertEquals(Codes.OK, Jni_Zervane.unregister_rest(1, pair(stack.source)));
              stack.writeChange();
              assertChanges(0);
            },
            stack ->
                stack.assertNotConnected(
                    () -> Jni_Zervane.unregister_rest(1, pair(stack.source)))),
        Deed.of(
            "getRegisterTagSnHandle",
            stack -> Jni_Zervane.freeRegisterTagSnHandle(batchOf(stack)),
            stack ->
                stack.assertNotConnected(
                    () -> Jni_Zervane.getRegisterTagSnHandle(new LongWrapper()))),
        Deed.thatNeverFails(
            "getRegisterTagSnNum",
            "the handle is trusted, and 0 has no changes",
            stack -> {
              long batch = batchOf(stack);
              assertEquals(1, Jni_Zervane.getRegisterTagSnNum(batch));
              assertEquals(0, Jni_Zervane.getRegisterTagSnNum(0));
              Jni_Zervane.freeRegisterTagSnHandle(batch);
            }),
        Deed.thatNeverFails(
            "getRegisterTagSn",
            "nothing is answered; the handle is trusted, and 0 does nothing",
            stack -> {
              long batch = batchOf(stack);
              int[] tags = new int[1];
              ZRJniRecord[] records = new ZRJniRecord[1];
              Jni_Zervane.getRegisterTagSn(batch, tags, records);
              assertEquals(stack.source, tags[0]);
              assertEquals(99, records[0].fFloat64);
              Jni_Zervane.freeRegisterTagSnHandle(batch);
            }),
        Deed.thatNeverFails(
            "freeRegisterTagSnHandle",
            "nothing is answered; the handle is trusted, and 0 does nothing",
            stack -> {
              Jni_Zervane.freeRegisterTagSnHandle(batchOf(stack));
              Jni_Zervane.freeRegisterTagSnHandle(0);
            }));
  }
}
