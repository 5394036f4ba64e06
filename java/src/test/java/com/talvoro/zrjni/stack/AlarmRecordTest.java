package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniAlarmRecord;
import com.talvoro.zrjni.ZRJniAlarmTag;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZrAlarmQuery;
import java.util.Arrays;
import java.util.List;
import java.util.function.BiConsumer;
import java.util.stream.IntStream;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

@DisplayName("Alarm records")
class AlarmRecordTest {
  private static final int FAILED = -1;
  private static final byte MANUAL = 0;
  private static final byte HIHI = 3;
  private static final byte HIGH = 4;

  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  private int source;
  private int high;
  private int hihi;

  /** From 100 to 200 s the one alarm stands, from 150 to 200 s the other; from 300 s on both. */
  @BeforeEach
  void raiseAlarms() {
    source = Tags.add("source", ValueType.FLOAT64);
    high = AlarmTags.add("high", "source", "HIGH > 10");
    hihi = AlarmTags.add("hihi", "source", "HIHI > 20 PRIORITY 4");
    write(100, 15.5);
    write(150, 25);
    write(200, 5);
    write(300, 30);
  }

  // ---- queries ----

  @Test
  void haveEveryPropertyOfTheAlarm() {
    ZRJniAlarmRecord record = Alarms.ofTag(high, Alarms.any()).get(0);
    assertAll(
        () -> assertEquals(high, record.nAlarmTagID),
        () -> assertEquals(100, record.startTimeSec),
        () -> assertEquals(0, record.startTimeMSec),
        () -> assertEquals(200, record.endTimeSec),
        () -> assertEquals(0, record.ackTimeSec),
        () -> assertEquals(0, record.commentTimeSec),
        () -> assertEquals(0, record.nAcked),
        () -> assertEquals(1, record.nRestored),
        () -> assertEquals(0, record.nCommented),
        () -> assertEquals(2, record.nPriority),
        () -> assertEquals(MANUAL, record.nAckType),
        () -> assertEquals(HIGH, record.nAlarmType),
        () -> assertEquals("15.5", record.strSrcValue),
        () -> assertEquals("HIGH > 10", record.strTest),
        () -> assertEquals("", record.strComment),
        () -> assertEquals("", record.strAcker),
        () -> assertEquals("", record.strCommentor));
  }

  @Test
  void comeInOrderOfStartThenTagAndOnceForATagThatIsNamedTwice() {
    List<String> all = keys(high, 100, hihi, 150, high, 300, hihi, 300);
    assertEquals(all, Alarms.keys(Alarms.ofTags(hihi, high, hihi)));
    assertEquals(all, Alarms.keys(Alarms.ofGroup(Alarms.ROOT)));
    database.reopen();
    assertEquals(all, Alarms.keys(Alarms.ofTags(high, hihi)));
  }

  @Test
  void areAskedForInEveryWay() {
    int[] tags = {high, hihi};
    LongWrapper handle = Searches.holder();
    List<String> all = keys(high, 100, hihi, 150, high, 300, hihi, 300);
    assertEquals(
        Codes.OK, Jni_Zervane.queryAllAlarmRecordsEx(tags, 2, Alarms.any(), Alarms.ALL, handle));
    assertEquals(all, Alarms.keys(Alarms.drainTags(handle.Value)));
    int narrow = Jni_Zervane.queryAllAlarmRecords(tags, 2, Alarms.any(), Alarms.ALL);
    assertEquals(all, Alarms.keys(Alarms.drainTags(narrow)));
    narrow = Jni_Zervane.queryAlarmRecords(high, Alarms.any(), Alarms.ALL);
    assertEquals(keys(high, 100, high, 300), Alarms.keys(Alarms.drainTags(narrow)));
    narrow = Jni_Zervane.queryAlarmGroupRecords(Alarms.ROOT, Alarms.any(), Alarms.ALL);
    assertEquals(all, Alarms.keys(Alarms.drainTags(narrow)));
  }

  @ParameterizedTest(name = "from {0} to {1}: {2}")
  @CsvSource({
    "0, 0, 100 300",
    "100, 300, 100 300",
    "101, 300, 300",
    "100, 299, 100",
    "101, 299, ''",
    "101, 0, 300",
    "301, 0, ''"
  })
  void haveTheirStartInAClosedRange(int start, int end, String seconds) {
    List<ZRJniAlarmRecord> records = Alarms.ofTag(high, Alarms.between(start, end));
    String found = String.join(" ", records.stream().map(r -> "" + r.startTimeSec).toList());
    assertEquals(seconds, found);
  }

  @ParameterizedTest(name = "mask {0}: {1}")
  @CsvSource({"0, 4", "-1, 4", "1, 2", "2, 2", "3, 4", "124, 4", "-126, 2"})
  void areFilteredByTheirRestoreState(byte mask, int count) {
    assertFound(count, (query, m) -> query.nRestoreMask = m, mask);
  }

  @ParameterizedTest(name = "mask {0}: {1}")
  @CsvSource({"0, 4", "-1, 4", "1, 3", "2, 1", "3, 4"})
  void areFilteredByTheirAcknowledgementState(byte mask, int count) {
    assertEquals(Codes.OK, Alarms.acknowledge(high, 100));
    assertFound(count, (query, m) -> query.nAckMask = m, mask);
  }

  @ParameterizedTest(name = "mask {0}: {1}")
  @CsvSource({"0, 4", "-1, 4", "8, 2", "16, 2", "24, 4", "32, 0", "1, 4"})
  void areFilteredByTheirType(byte mask, int count) {
    assertFound(count, (query, m) -> query.nTypeMask = m, mask);
  }

  @ParameterizedTest(name = "mask {0}: {1}")
  @CsvSource({"0, 4", "-1, 4", "4, 2", "16, 2", "2, 0", "20, 4"})
  void areFilteredByTheirPriority(byte mask, int count) {
    assertFound(count, (query, m) -> query.nPriorMask = m, mask);
  }

  @Test
  void areNotFilteredByTheirComments() {
    assertFound(4, (query, m) -> query.nCommentMask = m, (byte) 2);
  }

  @Test
  void haveTheSelectedPropertiesAndAlwaysTagAndStart() {
    ZRJniAlarmRecord record = Alarms.ofTag(high, Alarms.any(), 0).get(0);
    assertEquals(Alarms.key(high, 100), Alarms.key(record.nAlarmTagID, record.startTimeSec));
    assertEquals(0, record.endTimeSec);
    assertEquals("", record.strTest);
    record = Alarms.ofTag(high, Alarms.any(), 1 << 11).get(0);
    assertEquals("HIGH > 10", record.strTest);
    assertEquals("", record.strSrcValue);
  }

  @ParameterizedTest(name = "tag {0}, mask {1}, start {2}, end {3}: status {4}")
  @CsvSource({
    "true, 32768, 0, 0, " + Codes.INVALID_MASK,
    "true, -1, 2, 1, " + Codes.INVALID_REGION,
    "false, -1, 0, 0, " + Codes.TAG_NOT_FOUND
  })
  void areRefusedWithAStatusOrMinusOne(
      boolean isKnown, long mask, int start, int end, int status) {
    int tag = isKnown ? high : Tags.UNKNOWN;
    ZrAlarmQuery query = Alarms.between(start, end);
    LongWrapper handle = Searches.holder();
    assertEquals(status, Jni_Zervane.queryAlarmRecordsEx(tag, query, mask, handle));
    assertEquals(0, handle.Value);
    int[] tags = {tag};
    assertEquals(status, Jni_Zervane.queryAllAlarmRecordsHandle(tags, 1, query, mask, handle));
    assertEquals(FAILED, Jni_Zervane.queryAlarmRecords(tag, query, mask));
    assertEquals(FAILED, Jni_Zervane.queryAllAlarmRecords(tags, 1, query, mask));
  }

  @Test
  void ofAPointTagOrAnUnknownGroupAreRefused() {
    LongWrapper handle = Searches.holder();
    assertEquals(
        Codes.INVALID_TAG_CLASS,
        Jni_Zervane.queryAlarmRecordsEx(source, Alarms.any(), Alarms.ALL, handle));
    assertEquals(
        Codes.GROUP_NOT_FOUND,
        Jni_Zervane.queryAlarmGroupRecordsEx(4711, Alarms.any(), Alarms.ALL, handle));
    assertEquals(FAILED, Jni_Zervane.queryAlarmGroupRecords(4711, Alarms.any(), Alarms.ALL));
  }

  @Test
  void ofAGroupAreThoseOfTheGroupsUnderItToo() {
    int area = Alarms.addGroup("Area", Alarms.ROOT);
    int boiler = Alarms.addGroup("Boiler", area);
    ZRJniAlarmTag tag = AlarmTags.on("below", "source", "HIGH > 10");
    tag.m_nAlarmGroupID = boiler;
    int below = AlarmTags.add(tag);
    write(400, 31);
    assertEquals(keys(below, 400), Alarms.keys(Alarms.ofGroup(area)));
    assertEquals(keys(below, 400), Alarms.keys(Alarms.ofGroup(boiler)));
    assertEquals(5, Alarms.ofGroup(Alarms.ROOT).size());
  }

  @Test
  void areNotStepGivenAHandleOfZero() {
    ZRJniAlarmRecord record = new ZRJniAlarmRecord();
    List<String> before = Records.fieldsOf(record);
    assertEquals(Codes.INVALID_HANDLE, Jni_Zervane.getAmTagRecordsItemStep(0, record));
    assertEquals(Codes.INVALID_HANDLE, Jni_Zervane.getAmGroupRecordsItemStep(0, record));
    assertEquals(before, Records.fieldsOf(record));
  }

  @Test
  void ofAGroupKeepWhatTheCallerHadForCommented() {
    assertEquals(Codes.OK, Alarms.comment(high, 100, "seen"));
    int handle = Jni_Zervane.queryAlarmGroupRecords(Alarms.ROOT, Alarms.any(), Alarms.ALL);
    ZRJniAlarmRecord record = new ZRJniAlarmRecord();
    record.nCommented = 7;
    assertEquals(Codes.OK, Jni_Zervane.getAmGroupRecordsItemStep(handle, record));
    assertEquals("seen", record.strComment);
    assertEquals(7, record.nCommented);
    assertEquals(0, Jni_Zervane.freeIterator(handle));
    assertEquals(1, Alarms.ofTag(high, Alarms.any()).get(0).nCommented);
  }

  @Test
  void ofADeletedTagAreGone() {
    Tags.delete(hihi);
    assertEquals(keys(high, 100, high, 300), Alarms.keys(Alarms.ofGroup(Alarms.ROOT)));
  }

  @Test
  void ofMoreThanAPageComeWhole() {
    int change = AlarmTags.add("change", "source", "CHANGE");
    int[] tags = new int[1_100];
    ZRJniRecord[] values = new ZRJniRecord[tags.length];
    for (int i = 0; i < tags.length; i++) {
      tags[i] = source;
      values[i] = Records.float64(1_000 + i, i % 2);
    }
    assertEquals(
        Codes.OK, Jni_Zervane.saveSnapshots(tags, tags.length, values, new int[tags.length]));
    List<ZRJniAlarmRecord> records = Alarms.ofTag(change, Alarms.between(1_000, 0));
    assertEquals(
        IntStream.range(1_000, 2_100).boxed().toList(),
        records.stream().map(record -> record.startTimeSec).toList());
  }

  // ---- snapshots ----

  @Test
  void ofASnapshotAreTheLatest() {
    ZRJniAlarmRecord record = Alarms.latest(hihi);
    assertEquals(300, record.startTimeSec);
    assertEquals(HIHI, record.nAlarmType);
    assertEquals(4, record.nPriority);
    assertEquals("30", record.strSrcValue);
    assertEquals(0, record.nRestored);
  }

  @Test
  void thatATagHasNotMakeASnapshotFailAndLeaveTheObject() {
    int quiet = AlarmTags.add("quiet", "source", "LOW < -100");
    ZRJniAlarmRecord record = new ZRJniAlarmRecord();
    List<String> before = Records.fieldsOf(record);
    assertEquals(Codes.NO_ALARM, Jni_Zervane.queryAlarmSnapshot(quiet, Alarms.ALL, record));
    assertEquals(
        Codes.TAG_NOT_FOUND, Jni_Zervane.queryAlarmSnapshot(Tags.UNKNOWN, Alarms.ALL, record));
    assertEquals(
        Codes.INVALID_TAG_CLASS, Jni_Zervane.queryAlarmSnapshot(source, Alarms.ALL, record));
    assertEquals(Codes.INVALID_MASK, Jni_Zervane.queryAlarmSnapshot(high, 1 << 15, record));
    assertEquals(before, Records.fieldsOf(record));
  }

  @Test
  void ofSomeTagsComeWithCodesAndAllObjectsWhenSomeFail() {
    int[] tags = {high, Tags.UNKNOWN, hihi};
    int[] codes = {-1, -1, -1};
    ZRJniAlarmRecord[] records = new ZRJniAlarmRecord[3];
    assertEquals(Codes.OK, Jni_Zervane.queryAlarmSnapshots(tags, 3, Alarms.ALL, records, codes));
    assertArrayEquals(new int[] {Codes.OK, Codes.TAG_NOT_FOUND, Codes.OK}, codes);
    assertEquals(
        keys(high, 300, 0, 0, hihi, 300), Alarms.keys(Arrays.asList(records)));
  }

  @Test
  void ofSomeTagsAreCommentedFromTheFirstCommentOn() {
    int third = AlarmTags.add("third", "source", "HIGH > 31");
    write(400, 32);
    assertEquals(Codes.OK, Alarms.comment(high, 300, "seen"));
    int[] tags = {high, hihi, third};
    ZRJniAlarmRecord[] records = new ZRJniAlarmRecord[3];
    assertEquals(
        Codes.OK, Jni_Zervane.queryAlarmSnapshots(tags, 3, Alarms.ALL, records, new int[3]));
    for (ZRJniAlarmRecord record : records) {
      assertEquals(1, record.nCommented);
    }
    assertEquals("", records[1].strComment);
  }

  @Test
  void standAgainAfterReopening() {
    database.reopen();
    assertEquals(0, Alarms.latest(high).nRestored);
    write(500, 5);
    assertEquals(500, Alarms.latest(high).endTimeSec);
    assertTrue(Alarms.latest(high).nRestored == 1);
  }

  private void write(int second, double value) {
    assertEquals(Codes.OK, Records.save(source, Records.float64(second, value)));
  }

  private void assertFound(int count, BiConsumer<ZrAlarmQuery, Byte> filter, byte mask) {
    ZrAlarmQuery query = Alarms.any();
    filter.accept(query, mask);
    LongWrapper handle = Searches.holder();
    assertEquals(
        Codes.OK,
        Jni_Zervane.queryAllAlarmRecordsHandle(
            new int[] {high, hihi}, 2, query, Alarms.ALL, handle));
    assertEquals(count, Alarms.drainTags(handle.Value).size());
  }

  /** Pairs of a tag and a second, as keys. */
  private static List<String> keys(int... pairs) {
    String[] keys = new String[pairs.length / 2];
    for (int i = 0; i < keys.length; i++) {
      keys[i] = Alarms.key(pairs[2 * i], pairs[2 * i + 1]);
    }
    return List.of(keys);
  }
}
