package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("An iterator handle that is not valid")
class IteratorTest {
  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  @ParameterizedTest(name = "{0}")
  @ValueSource(longs = {0, 1, -1, 123_456_789, Long.MIN_VALUE, Long.MAX_VALUE})
  void isReleasedWithoutASignAndDeliversNothing(long handle) {
    IntWrapper id = new IntWrapper();
    id.Value = 7;

    assertEquals(Codes.INVALID_HANDLE, Jni_Zervane.getIDItemStep(handle, id));
    assertEquals(7, id.Value);
    assertEquals(0, Jni_Zervane.freeIterator(handle));
  }

  @ParameterizedTest(name = "{0}")
  @ValueSource(longs = {0, 1})
  void isReleasedWithoutASignWhenNotConnected(long handle) {
    database.close();

    assertEquals(0, Jni_Zervane.freeIterator(handle));
  }
}
