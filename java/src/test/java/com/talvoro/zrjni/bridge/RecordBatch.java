package com.talvoro.zrjni.bridge;

import com.talvoro.zrjni.ZRJniRecord;
import java.util.Arrays;
import java.util.function.IntFunction;
import java.util.stream.IntStream;

/** What the tests of batches of value records share. */
final class RecordBatch {
  private RecordBatch() {}

  /** The first identifiers of a series, some of them beyond 31 bits. */
  static int[] identifiers(int count) {
    return IntStream.range(0, count).map(i -> i % 2 == 0 ? 1000 + i : -1000 - i).toArray();
  }

  /** Java records in which every field holds something. */
  static ZRJniRecord[] javaRecords(int count) {
    return IntStream.range(0, count)
        .mapToObj(i -> Fields.filled(ZRJniRecord.class, i + 1))
        .toArray(ZRJniRecord[]::new);
  }

  static ApiRecord[] apiRecords(int count, IntFunction<ApiRecord> record) {
    return IntStream.range(0, count).mapToObj(record).toArray(ApiRecord[]::new);
  }

  /** Answers a look-up of each of these types, in order. */
  static void answerTypes(TypedValue... types) {
    for (TypedValue type : types) {
      BridgeTest.answer("pt3_query_tag_type", Output.out("pTagType", type.type()));
    }
  }

  /** The look-ups of the types of these tags. */
  static ExpectedCall[] typeCalls(int... identifiers) {
    return Arrays.stream(identifiers)
        .mapToObj(id -> ExpectedCall.call("pt3_query_tag_type").with("nTagID", id & 0xffff_ffffL))
        .toArray(ExpectedCall[]::new);
  }

  static ExpectedCall[] inOrder(ExpectedCall[]... parts) {
    return Arrays.stream(parts).flatMap(Arrays::stream).toArray(ExpectedCall[]::new);
  }

  static ExpectedCall[] then(ExpectedCall... calls) {
    return calls;
  }
}
