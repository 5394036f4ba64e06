package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniAlarmRecord;
import com.talvoro.zrjni.ZrAlarmQuery;
import java.util.function.ToIntBiFunction;
import java.util.function.ToIntFunction;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Nested;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.EnumSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Alarm record queries")
class AlarmQueryTest extends BridgeTest {
  private static final long HANDLE = 0x7123_4567_89ab_cdefL;
  private static final long MASK = 0x8000_0001_0000_0002L;
  private static final int[] TAGS = {11, -12, 13};

  private static Struct sent(ZrAlarmQuery query) {
    return Struct.uncleared(Layouts.ALARM_QUERY)
        .set("tvStart.nSec", query.nStartSec)
        .set("tvStart.nMsec", query.nStartMsec)
        .set("tvEnd.nSec", query.nEndSec)
        .set("tvEnd.nMsec", query.nEndMsec)
        .set("nAckMask", query.nAckMask)
        .set("nTypeMask", query.nTypeMask)
        .set("nPriorMask", query.nPriorMask)
        .set("nRestoreMask", query.nRestoreMask);
  }

  private static final String QUERY_TAGS = "am3_query_tags_all_records";
  private static final String QUERY_TAG = "am3_query_tag_records";
  private static final String QUERY_GROUP = "am3_query_group_records";

  /** The methods that write the handle into a holder. */
  enum WithHolder {
    OF_TAGS(
        QUERY_TAGS,
        (query, holder) -> Jni_Zervane.queryAllAlarmRecordsHandle(TAGS, 2, query, MASK, holder)),
    OF_TAGS_EX(
        QUERY_TAGS,
        (query, holder) -> Jni_Zervane.queryAllAlarmRecordsEx(TAGS, 2, query, MASK, holder)),
    OF_TAG(QUERY_TAG, (query, holder) -> Jni_Zervane.queryAlarmRecordsEx(-2, query, MASK, holder)),
    OF_GROUP(
        QUERY_GROUP,
        (query, holder) -> Jni_Zervane.queryAlarmGroupRecordsEx(-2, query, MASK, holder));

    final String function;
    private final ToIntBiFunction<ZrAlarmQuery, LongWrapper> method;

    WithHolder(String function, ToIntBiFunction<ZrAlarmQuery, LongWrapper> method) {
      this.function = function;
      this.method = method;
    }

    int query(ZrAlarmQuery query, LongWrapper holder) {
      return method.applyAsInt(query, holder);
    }
  }

  /** The methods that return the handle. */
  enum Returning {
    OF_TAGS(QUERY_TAGS, query -> Jni_Zervane.queryAllAlarmRecords(TAGS, 2, query, MASK)),
    OF_TAG(QUERY_TAG, query -> Jni_Zervane.queryAlarmRecords(-2, query, MASK)),
    OF_GROUP(QUERY_GROUP, query -> Jni_Zervane.queryAlarmGroupRecords(-2, query, MASK));

    final String function;
    private final ToIntFunction<ZrAlarmQuery> method;

    Returning(String function, ToIntFunction<ZrAlarmQuery> method) {
      this.function = function;
      this.method = method;
    }

    int query(ZrAlarmQuery query) {
      return method.applyAsInt(query);
    }
  }

  /** The call that a query makes; what it allocates for that is the identifiers alone. */
  private static ExpectedCall expected(String function, ZrAlarmQuery query) {
    ExpectedCall call = call(function);
    switch (function) {
      case QUERY_TAGS -> call.with("nTagNum", 2).with("pTagIDs", new int[] {11, -12});
      case QUERY_TAG -> call.with("nTagID", 0xffff_fffeL);
      default -> call.with("nGroupID", 0xffff_fffeL);
    }
    return call.with("pQuery", sent(query)).with("nPropMask", MASK);
  }

  private static void assertAllocatedBy(String function) {
    assertAllocated(function.equals(QUERY_TAGS) ? new long[] {2 * 4} : new long[0]);
  }

  @ParameterizedTest
  @EnumSource
  void writesTheHandleWhateverTheStatus(WithHolder method) {
    for (int status : new int[] {0, FAILURE}) {
      for (int seed : new int[] {1, 2}) {
        ZrAlarmQuery query = Fields.filled(ZrAlarmQuery.class, seed);
        answer(method.function, status, out("pIterator", HANDLE));
        LongWrapper holder = Holders.ofLong();
        assertEquals(status, method.query(query, holder));
        assertEquals(HANDLE, holder.Value);
        assertCalls(expected(method.function, query));
        assertAllocatedBy(method.function);
        AllocationProbe.reset();
      }
    }
  }

  @ParameterizedTest(name = "{0} is sent as {1}")
  @CsvSource({"0, 0", "1, 1", "127, 127", "-1, -1", "-128, -128"})
  void masksAreWidenedByTheirSign(byte given, long sent) {
    ZrAlarmQuery query = new ZrAlarmQuery();
    query.nAckMask = given;
    Jni_Zervane.queryAlarmRecordsEx(-2, query, MASK, Holders.ofLong());
    assertCalls(
        expected(QUERY_TAG, query).with("pQuery", sent(new ZrAlarmQuery()).set("nAckMask", sent)));
  }

  @ParameterizedTest
  @EnumSource
  void returnsTheLowHalfOfTheHandleOrMinusOne(Returning method) {
    ZrAlarmQuery query = Fields.filled(ZrAlarmQuery.class, 1);
    answer(method.function, out("pIterator", HANDLE));
    assertEquals(0x89ab_cdef, method.query(query));
    answer(method.function, out("pIterator", 5L));
    assertEquals(5, method.query(query));
    assertCalls(expected(method.function, query), expected(method.function, query));
    AllocationProbe.reset();
    answer(method.function, FAILURE, out("pIterator", 5L));
    assertEquals(-1, method.query(query));
    assertCalls(expected(method.function, query));
    assertAllocatedBy(method.function);
  }

  @Test
  void ofTagsWithoutMemoryFailBeforeAnyCall() {
    ZrAlarmQuery query = new ZrAlarmQuery();
    for (WithHolder method : new WithHolder[] {WithHolder.OF_TAGS, WithHolder.OF_TAGS_EX}) {
      LongWrapper holder = Holders.ofLong();
      AllocationProbe.failRequest(1);
      assertEquals(-1, method.query(query, holder));
      assertEquals(Holders.BEFORE, holder.Value);
    }
    AllocationProbe.failRequest(1);
    assertEquals(-1, Jni_Zervane.queryAllAlarmRecords(TAGS, 2, query, MASK));
  }

  @Nested
  @DisplayName("step by step")
  class StepByStep {
    private static ExpectedCall step(long handle) {
      return call("ut3_get_item_step").with("hIterator", handle);
    }

    @ParameterizedTest
    @ValueSource(ints = {1, 2})
    void ofTagsFillTheRecordAndTellWhetherItIsCommented(int seed) {
      Struct[] answered = {AlarmRecords.answered(seed), AlarmRecords.withoutComment(seed)};
      for (int i = 0; i < 2; ++i) {
        ZRJniAlarmRecord record = Fields.filled(ZRJniAlarmRecord.class, seed + 1);
        ZRJniAlarmRecord expected = AlarmRecords.read(answered[i], record, 1 - i);
        answer("ut3_get_item_step", out("pItem", answered[i]));
        assertEquals(0, Jni_Zervane.getAmTagRecordsItemStep(HANDLE, record));
        Fields.assertSameFields(expected, record);
        assertCalls(step(HANDLE));
      }
    }

    @ParameterizedTest
    @ValueSource(ints = {1, 2})
    void ofGroupsFillTheRecordAndLeaveWhetherItIsCommented(int seed) {
      ZRJniAlarmRecord record = Fields.filled(ZRJniAlarmRecord.class, seed + 1);
      ZRJniAlarmRecord expected = AlarmRecords.read(AlarmRecords.answered(seed), record);
      answer("ut3_get_item_step", out("pItem", AlarmRecords.answered(seed)));
      assertEquals(0, Jni_Zervane.getAmGroupRecordsItemStep(HANDLE, record));
      Fields.assertSameFields(expected, record);
      assertCalls(step(HANDLE));
    }

    @Test
    void ofTagsRefuseTheHandleZeroAndOfGroupsPassItOn() {
      ZRJniAlarmRecord record = Fields.filled(ZRJniAlarmRecord.class, 1);
      ZRJniAlarmRecord before = Fields.copy(record);
      assertEquals(110191, Jni_Zervane.getAmTagRecordsItemStep(0, record));
      assertCalls();
      answer("ut3_get_item_step", FAILURE);
      assertEquals(FAILURE, Jni_Zervane.getAmGroupRecordsItemStep(0, record));
      assertCalls(step(0));
      Fields.assertSameFields(before, record);
    }

    @Test
    void leaveTheRecordPastTheLastOne() {
      ZRJniAlarmRecord record = Fields.filled(ZRJniAlarmRecord.class, 1);
      ZRJniAlarmRecord before = Fields.copy(record);
      answer("ut3_get_item_step", 110192, out("pItem", AlarmRecords.answered(2)));
      assertEquals(110192, Jni_Zervane.getAmTagRecordsItemStep(HANDLE, record));
      answer("ut3_get_item_step", 110192, out("pItem", AlarmRecords.answered(2)));
      assertEquals(110192, Jni_Zervane.getAmGroupRecordsItemStep(HANDLE, record));
      Fields.assertSameFields(before, record);
      assertCalls(step(HANDLE), step(HANDLE));
    }
  }
}
