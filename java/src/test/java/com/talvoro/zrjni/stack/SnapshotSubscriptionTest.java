package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertNull;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.TagInfoWithField;
import com.talvoro.zrjni.ZRJniRecord;
import java.util.ArrayList;
import java.util.List;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.EnumSource;

@DisplayName("Following current values")
class SnapshotSubscriptionTest {
  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  private int tag;
  private int other;

  @BeforeEach
  void addTags() {
    tag = Tags.add("tag", ValueType.FLOAT64);
    other = Tags.add("other", ValueType.FLOAT64);
  }

  @Test
  void tellsWhatIsAcceptedAfterRegisteringOnceAndInOrder() {
    write(tag, 1, 0);
    assertEquals(Codes.OK, Jni_Zervane.registerSnCallback(3, new int[] {tag, other, tag}));
    write(tag, 2, 1.5);
    write(other, 1, 2.5);
    write(tag, 3, 3.5);
    assertEquals(
        List.of(tag + "@2=1.5", other + "@1=2.5", tag + "@3=3.5"), Batch.poll().describe());
    assertEquals(List.of(), Batch.poll().describe());
  }

  @Test
  void registersTheFirstIdentifiersAlone() {
    assertEquals(Codes.OK, Jni_Zervane.registerSnCallback(1, new int[] {tag, other}));
    write(other, 1, 1);
    write(tag, 1, 1);
    assertEquals(List.of(tag + "@1=1.0"), Batch.poll().describe());
  }

  @Test
  void endsForTheTagsThatAreTakenBackHoweverOftenTheyWereRegistered() {
    assertEquals(Codes.OK, Jni_Zervane.registerSnCallback(2, new int[] {tag, other}));
    assertEquals(Codes.OK, Jni_Zervane.registerSnCallback(1, new int[] {tag}));
    assertEquals(Codes.OK, Jni_Zervane.unregisterSnCallback(1, new int[] {tag}));
    assertEquals(Codes.OK, Jni_Zervane.unregisterSnCallback(1, new int[] {tag}));
    write(tag, 1, 1);
    write(other, 1, 1);
    assertEquals(List.of(other + "@1=1.0"), Batch.poll().describe());
  }

  @Test
  void registersNoneOfACallThatNamesAnUnknownTag() {
    int[] tags = {tag, Tags.UNKNOWN};
    assertEquals(Codes.TAG_NOT_FOUND, Jni_Zervane.registerSnCallback(2, tags));
    assertEquals(
        Codes.TAG_NOT_FOUND,
        Jni_Zervane.register_rest(2, fields(pair(tag, 0), pair(Tags.UNKNOWN, 0))));
    write(tag, 1, 1);
    assertEquals(List.of(), Batch.poll().describe());
  }

  @Test
  void tellsOfAPairOnlyChangesInItsField() {
    assertEquals(
        Codes.OK, Jni_Zervane.register_rest(2, fields(pair(tag, 1), pair(other, 2))));
    for (int id : new int[] {tag, other}) {
      write(id, 1, 5);
      write(id, 2, 5);
      write(id, 3, 6);
      ZRJniRecord bad = Records.float64(4, 6);
      bad.nQuality = 0;
      assertEquals(Codes.OK, Records.save(id, bad));
    }
    assertEquals(
        List.of(tag + "@1=5.0", tag + "@3=6.0", other + "@1=5.0", other + "@4=6.0"),
        Batch.poll().describe());
  }

  @Test
  void refusesAFieldThatIsNone() {
    TagInfoWithField[] pairs = fields(pair(tag, 0), pair(other, 3));
    assertEquals(Codes.INVALID_ARGUMENT, Jni_Zervane.register_rest(2, pairs));
    write(tag, 1, 1);
    assertEquals(List.of(), Batch.poll().describe());
  }

  /** kept: only the low byte of an identifier is taken back, sign-extended. */
  @Test
  void takesPairsBackByTheLowByteOfTheirTag() {
    int far = tag;
    while (far < 300) {
      far = Tags.add("tag " + far, ValueType.FLOAT64);
    }
    int low = far & 0x7F;
    TagInfoWithField[] pairs = fields(pair(far, 0), pair(low, 0));
    assertEquals(300, far);
    assertEquals(Codes.OK, Jni_Zervane.register_rest(2, pairs));
    assertEquals(Codes.OK, Jni_Zervane.unregister_rest(1, pairs));
    write(low, 1, 1);
    write(far, 1, 1);
    assertEquals(List.of(far + "@1=1.0"), Batch.poll().describe(), "44 was taken back, not 300");
    assertEquals(Codes.OK, Jni_Zervane.unregister_rest(1, fields(pair(200, 0))));
  }

  @ParameterizedTest
  @EnumSource(ValueType.class)
  void tellsValuesOfEveryType(ValueType type) {
    int id = Tags.add("typed", type);
    assertEquals(Codes.OK, Jni_Zervane.registerSnCallback(1, new int[] {id}));
    int second = 0;
    for (Object value : type.edges()) {
      assertEquals(Codes.OK, Records.save(id, Records.of(type, ++second, value)));
    }
    Batch batch = Batch.poll();
    assertEquals(type.edges().size(), batch.records.length);
    for (int i = 0; i < second; i++) {
      ZRJniRecord record = batch.records[i];
      assertEquals(id, batch.tags[i]);
      assertEquals(i + 1, record.nSec);
      assertEquals(Records.GOOD, record.nQuality);
      assertEquals(type.number(), record.nTagType);
      assertArrayEquals(
          new Object[] {type.edges().get(i)}, new Object[] {type.load(record)}, "value " + i);
    }
  }

  @Test
  void handsOutABatchThatIsReadAsOftenAsOneLikes() {
    assertEquals(Codes.OK, Jni_Zervane.registerSnCallback(1, new int[] {tag}));
    write(tag, 1, 1);
    long handle = handle();
    for (int i = 0; i < 2; i++) {
      assertEquals(1, Jni_Zervane.getRegisterTagSnNum(handle));
      ZRJniRecord[] records = new ZRJniRecord[2];
      int[] tags = {0, 77};
      Jni_Zervane.getRegisterTagSn(handle, tags, records);
      assertArrayEquals(new int[] {tag, 77}, tags);
      assertEquals(1.0, records[0].fFloat64);
      assertNull(records[1]);
    }
    Jni_Zervane.freeRegisterTagSnHandle(handle);
  }

  @Test
  void handsOutABatchOfNothing() {
    long handle = handle();
    assertNotEquals(0, handle);
    assertEquals(0, Jni_Zervane.getRegisterTagSnNum(handle));
    int[] tags = {77};
    ZRJniRecord[] records = new ZRJniRecord[1];
    Jni_Zervane.getRegisterTagSn(handle, tags, records);
    assertArrayEquals(new int[] {77}, tags);
    assertNull(records[0]);
    Jni_Zervane.freeRegisterTagSnHandle(handle);
  }

  @Test
  void takesZeroForNoBatch() {
    assertEquals(0, Jni_Zervane.getRegisterTagSnNum(0));
    ZRJniRecord[] records = new ZRJniRecord[1];
    Jni_Zervane.getRegisterTagSn(0, new int[1], records);
    assertNull(records[0]);
    Jni_Zervane.freeRegisterTagSnHandle(0);
  }

  @Test
  void endsWithTheSessionButItsBatchesDoNot() {
    assertEquals(Codes.OK, Jni_Zervane.registerSnCallback(1, new int[] {tag}));
    write(tag, 1, 1);
    long handle = handle();
    write(tag, 2, 2);
    database.reopen();
    write(tag, 3, 3);
    assertEquals(List.of(), Batch.poll().describe());
    assertEquals(List.of(tag + "@1=1.0"), new Batch(handle).describe());
  }

  @Test
  void needsASession() {
    database.close();
    assertEquals(Codes.NOT_CONNECTED, Jni_Zervane.registerSnCallback(1, new int[] {tag}));
    assertEquals(Codes.NOT_CONNECTED, Jni_Zervane.unregisterSnCallback(1, new int[] {tag}));
    assertEquals(Codes.NOT_CONNECTED, Jni_Zervane.register_rest(1, fields(pair(tag, 0))));
    assertEquals(Codes.NOT_CONNECTED, Jni_Zervane.unregister_rest(1, fields(pair(tag, 0))));
  }

  private static void write(int tag, int second, double value) {
    assertEquals(Codes.OK, Records.save(tag, Records.float64(second, value)));
  }

  private static TagInfoWithField pair(int tag, int field) {
    TagInfoWithField pair = new TagInfoWithField();
    pair.m_nTagID = tag;
    pair.m_nFieldID = field;
    return pair;
  }

  private static TagInfoWithField[] fields(TagInfoWithField... pairs) {
    return pairs;
  }

  private static long handle() {
    LongWrapper wrapper = new LongWrapper();
    assertEquals(Codes.OK, Jni_Zervane.getRegisterTagSnHandle(wrapper));
    return wrapper.Value;
  }

  /** The changes of one poll. */
  private static final class Batch {
    private final int[] tags;
    private final ZRJniRecord[] records;

    /** Reads the batch of a handle, and frees it. */
    Batch(long handle) {
      int count = Jni_Zervane.getRegisterTagSnNum(handle);
      tags = new int[count];
      records = new ZRJniRecord[count];
      Jni_Zervane.getRegisterTagSn(handle, tags, records);
      Jni_Zervane.freeRegisterTagSnHandle(handle);
    }

    static Batch poll() {
      return new Batch(handle());
    }

    /** Tag, second and FLOAT64 value of each. */
    List<String> describe() {
      List<String> changes = new ArrayList<>();
      for (int i = 0; i < tags.length; i++) {
        changes.add(tags[i] + "@" + records[i].nSec + "=" + records[i].fFloat64);
      }
      return changes;
    }
  }
}
