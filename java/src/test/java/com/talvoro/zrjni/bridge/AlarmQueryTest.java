package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniAlarmRecord;
import com.talvoro.zrjni.ZrAlarmQuery;
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

  private static ExpectedCall ofTags(ZrAlarmQuery query) {
    return rest(
        call("am3_query_tags_all_records").with("nTagNum", 2).with("pTagIDs", new int[] {11, -12}),
        query);
  }

  private static ExpectedCall ofTag(ZrAlarmQuery query) {
    return rest(call("am3_query_tag_records").with("nTagID", 0xffff_fffeL), query);
  }

  private static ExpectedCall ofGroup(ZrAlarmQuery query) {
    return rest(call("am3_query_group_records").with("nGroupID", 0xffff_fffeL), query);
  }

  private static ExpectedCall rest(ExpectedCall call, ZrAlarmQuery query) {
    return call.with("pQuery", sent(query)).with("nPropMask", MASK);
  }

  private static final long[] IDENTIFIERS = {2 * 4};
  private static final long[] NOTHING = {};

  /** The methods that write the handle into a holder. */
  enum WithHolder {
    OF_TAGS("am3_query_tags_all_records", IDENTIFIERS) {
      @Override
      int query(ZrAlarmQuery query, LongWrapper holder) {
        return Jni_Zervane.queryAllAlarmRecordsHandle(TAGS, 2, query, MASK, holder);
      }

      @Override
      ExpectedCall expected(ZrAlarmQuery query) {
        return ofTags(query);
      }
    },
    OF_TAGS_EX("am3_query_tags_all_records", IDENTIFIERS) {
      @Override
      int query(ZrAlarmQuery query, LongWrapper holder) {
        return Jni_Zervane.queryAllAlarmRecordsEx(TAGS, 2, query, MASK, holder);
      }

      @Override
      ExpectedCall expected(ZrAlarmQuery query) {
        return ofTags(query);
      }
    },
    OF_TAG("am3_query_tag_records", NOTHING) {
      @Override
      int query(ZrAlarmQuery query, LongWrapper holder) {
        return Jni_Zervane.queryAlarmRecordsEx(-2, query, MASK, holder);
      }

      @Override
      ExpectedCall expected(ZrAlarmQuery query) {
        return ofTag(query);
      }
    },
    OF_GROUP("am3_query_group_records", NOTHING) {
      @Override
      int query(ZrAlarmQuery query, LongWrapper holder) {
        return Jni_Zervane.queryAlarmGroupRecordsEx(-2, query, MASK, holder);
      }

      @Override
      ExpectedCall expected(ZrAlarmQuery query) {
        return ofGroup(query);
      }
    };

    final String function;
    final long[] allocated;

    WithHolder(String function, long[] allocated) {
      this.function = function;
      this.allocated = allocated;
    }

    abstract int query(ZrAlarmQuery query, LongWrapper holder);

    abstract ExpectedCall expected(ZrAlarmQuery query);
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
        assertCalls(method.expected(query));
        assertAllocated(method.allocated);
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
        call("am3_query_tag_records")
            .with("nTagID", 0xffff_fffeL)
            .with("pQuery", sent(new ZrAlarmQuery()).set("nAckMask", sent))
            .with("nPropMask", MASK));
  }

  /** The methods that return the handle. */
  enum Returning {
    OF_TAGS("am3_query_tags_all_records", IDENTIFIERS) {
      @Override
      int query(ZrAlarmQuery query) {
        return Jni_Zervane.queryAllAlarmRecords(TAGS, 2, query, MASK);
      }

      @Override
      ExpectedCall expected(ZrAlarmQuery query) {
        return ofTags(query);
      }
    },
    OF_TAG("am3_query_tag_records", NOTHING) {
      @Override
      int query(ZrAlarmQuery query) {
        return Jni_Zervane.queryAlarmRecords(-2, query, MASK);
      }

      @Override
      ExpectedCall expected(ZrAlarmQuery query) {
        return ofTag(query);
      }
    },
    OF_GROUP("am3_query_group_records", NOTHING) {
      @Override
      int query(ZrAlarmQuery query) {
        return Jni_Zervane.queryAlarmGroupRecords(-2, query, MASK);
      }

      @Override
      ExpectedCall expected(ZrAlarmQuery query) {
        return ofGroup(query);
      }
    };

    final String function;
    final long[] allocated;

    Returning(String function, long[] allocated) {
      this.function = function;
      this.allocated = allocated;
    }

    abstract int query(ZrAlarmQuery query);

    abstract ExpectedCall expected(ZrAlarmQuery query);
  }

  @ParameterizedTest
  @EnumSource
  void returnsTheLowHalfOfTheHandleOrMinusOne(Returning method) {
    ZrAlarmQuery query = Fields.filled(ZrAlarmQuery.class, 1);
    answer(method.function, out("pIterator", HANDLE));
    assertEquals(0x89ab_cdef, method.query(query));
    answer(method.function, out("pIterator", 5L));
    assertEquals(5, method.query(query));
    assertCalls(method.expected(query), method.expected(query));
    AllocationProbe.reset();
    answer(method.function, FAILURE, out("pIterator", 5L));
    assertEquals(-1, method.query(query));
    assertCalls(method.expected(query));
    assertAllocated(method.allocated);
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
