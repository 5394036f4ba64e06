package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Client settings and the server's time")
class SettingsTest {
  private static final int DEFAULT_CACHE_CAPACITY = 100_000;

  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  @Test
  void theServersTimeIsTheClocksInMilliseconds() {
    LongWrapper time = new LongWrapper();
    long before = System.currentTimeMillis();
    assertEquals(Codes.OK, Jni_Zervane.getServerMsTime(time));
    long after = System.currentTimeMillis();

    assertTrue(
        before <= time.Value && time.Value <= after, before + " " + time.Value + " " + after);
    assertTrue(time.Value > Integer.MAX_VALUE, "a time of more than 32 bits arrives whole");
  }

  @Test
  void theServersTimeIsLeftAloneWithoutAConnection() {
    database.close();
    LongWrapper time = new LongWrapper();
    time.Value = 7;

    assertEquals(Codes.NOT_CONNECTED, Jni_Zervane.getServerMsTime(time));
    assertEquals(7, time.Value);
  }

  @ParameterizedTest(name = "capacity {0}")
  @ValueSource(ints = {0, 1, -1, Integer.MAX_VALUE, Integer.MIN_VALUE})
  void theRequestCacheNeverChangesAnAnswer(int capacity) {
    Jni_Zervane.setRequestCacheCapacity(capacity);
    try {
      int a = Tags.add("A", ValueType.INT32);
      int b = Tags.add("B", ValueType.STRING);
      for (int i = 0; i < 3; i++) {
        assertEquals(a, Jni_Zervane.queryTagID("A"));
        assertEquals(b, Jni_Zervane.queryTagID("B"));
        assertEquals(ValueType.STRING.number(), Jni_Zervane.queryTagType("B"));
      }
      assertEquals(Codes.OK, Jni_Zervane.deleteTag(a));
      assertEquals(-1, Jni_Zervane.queryTagID("A"));
    } finally {
      Jni_Zervane.setRequestCacheCapacity(DEFAULT_CACHE_CAPACITY);
    }
  }

  @ParameterizedTest(name = "value {0}")
  @ValueSource(ints = {0, -1, 1, Integer.MIN_VALUE})
  void valuesThatAreNotValidAreDroppedWithoutASign(int value) {
    Jni_Zervane.setRequestTimeout(value);
    Jni_Zervane.setAPIOption(value);

    int id = Tags.add("A", ValueType.FLOAT64);
    assertAll(
        () -> assertEquals(Codes.OK, Records.save(id, Records.float64(1, 2.5))),
        () -> assertEquals(2.5, Records.current(id).fFloat64));
  }
}
