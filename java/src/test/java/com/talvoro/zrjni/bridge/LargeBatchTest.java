package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniTime;
import java.util.Arrays;
import java.util.List;
import java.util.stream.Stream;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;

/**
 * Batches far larger than the local references that the virtual machine plans for: the bridge
 * deletes none before it returns, which {@code tests/bridge} shows on a table of JNI functions where
 * deleting one is a failure. The checker of {@code -Xcheck:jni} of some releases remarks on their
 * number, that of others does not; none may remark on anything else.
 */
@DisplayName("Large batches")
class LargeBatchTest extends BridgeTest {
  private static final int COUNT = 200;
  private static final String REMARK = "WARNING: JNI local refs: \\d+, exceeds capacity: \\d+";

  @AfterEach
  void theCheckerFindsNothingElse() {
    Recorder.takeCalls();
    List<String> findings =
        NativeOutput.take()
            .lines()
            .filter(line -> !isStackFrame(line) && !line.matches(REMARK))
            .toList();
    assertEquals(List.of(), findings, "printed by native code");
  }

  private static boolean isStackFrame(String line) {
    return line.startsWith("\tat ");
  }

  private static final ApiRecord[] ANSWERED =
      RecordBatch.apiRecords(COUNT, i -> TypedValue.STRING.answered(i));

  private static void assertDelivered(ZRJniRecord[] records) {
    for (int i = 0; i < COUNT; ++i) {
      Fields.assertSameFields(TypedValue.STRING.read(ANSWERED[i], new ZRJniRecord()), records[i]);
    }
  }

  private static TypedValue[] texts() {
    return Stream.generate(() -> TypedValue.STRING).limit(COUNT).toArray(TypedValue[]::new);
  }

  @Test
  void ofCurrentValuesAreRead() {
    RecordBatch.answerTypes(texts());
    answer("sn3_query_snapshots", Output.records("pRecords", ANSWERED));
    ZRJniRecord[] records = new ZRJniRecord[COUNT];
    assertEquals(0, Jni_Zervane.querySnapShots(new int[COUNT], COUNT, records, new int[COUNT]));
    assertDelivered(records);
  }

  @Test
  void ofHistoryAreRead() {
    RecordBatch.answerTypes(TypedValue.STRING);
    answer("ar3_query_raw_records", Output.records("pRecords", ANSWERED), out("pNum", COUNT));
    ZRJniRecord[] records = new ZRJniRecord[COUNT];
    ZRJniTime time = new ZRJniTime();
    assertEquals(0, Jni_Zervane.queryRawRecords(1, (byte) 0, time, time, COUNT, records));
    assertDelivered(records);
  }

  @Test
  void ofChangesAreRead() {
    answer(
        "sn3_get_callback_sn",
        out("pNum", COUNT),
        out("ppTagIDs", new int[COUNT]),
        Output.records("ppRecords", ANSWERED));
    LongWrapper handle = Holders.ofLong();
    assertEquals(0, Jni_Zervane.getRegisterTagSnHandle(handle));
    ZRJniRecord[] records = new ZRJniRecord[COUNT];
    Jni_Zervane.getRegisterTagSn(handle.Value, new int[COUNT], records);
    Jni_Zervane.freeRegisterTagSnHandle(handle.Value);
    assertDelivered(records);
  }

  @Test
  void ofCurrentValuesAreWritten() {
    ZRJniRecord[] records = RecordBatch.javaRecords(COUNT);
    int[] tags = RecordBatch.identifiers(COUNT);
    RecordBatch.answerTypes(texts());
    RecordBatch.answerTypes(texts());
    assertEquals(0, Jni_Zervane.saveSnapshots(tags, COUNT, records, new int[COUNT]));
    ExpectedCall[] types = RecordBatch.typeCalls(tags);
    ApiRecord[] sent =
        RecordBatch.apiRecords(COUNT, i -> TypedValue.STRING.sent(records[i], ApiRecord.cleared()));
    assertCalls(
        RecordBatch.inOrder(
            types,
            RecordBatch.then(
                call("sn3_save_snapshots")
                    .with("nNum", COUNT)
                    .with("pTagIDs", tags)
                    .withRecords("pRecords", sent)
                    .with("pErrCodes", new int[COUNT])),
            types));
  }

  @Test
  void ofNamesAreLookedUp() {
    String[] names = new String[COUNT];
    Arrays.setAll(names, i -> "tag " + i);
    int[] identifiers = new int[COUNT];
    int[] found = RecordBatch.identifiers(COUNT);
    answer("tag3_query_ids_by_names", out("pTagIDs", found));
    assertEquals(0, Jni_Zervane.queryTagIDsByNames(names, COUNT, identifiers, new int[COUNT]));
    assertEquals(Arrays.toString(found), Arrays.toString(identifiers));
  }
}
