package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Iterators")
class IteratorTest extends BridgeTest {
  private static final long HANDLE = 0x7123_4567_89ab_cdefL;

  private static IntWrapper holding(int value) {
    IntWrapper holder = new IntWrapper();
    holder.Value = value;
    return holder;
  }

  @ParameterizedTest(name = "{0} arrives as {1}")
  @CsvSource({"7, 7", "0, 0", "2147483648, -2147483648", "4294967295, -1"})
  void anIdentifierArrivesAsTheSameBits(long identifier, int value) {
    answer("ut3_get_item_step", out("pItem", (int) identifier));
    IntWrapper holder = holding(99);
    assertEquals(0, Jni_Zervane.getIDItemStep(HANDLE, holder));
    assertEquals(value, holder.Value);
    assertCalls(call("ut3_get_item_step").with("hIterator", HANDLE));
  }

  @Test
  void theIdentifierIsZeroBeforeTheLibraryFillsIt() {
    answer("ut3_get_item_step");
    IntWrapper holder = holding(99);
    assertEquals(0, Jni_Zervane.getIDItemStep(0, holder));
    assertEquals(0, holder.Value);
    assertCalls(call("ut3_get_item_step").with("hIterator", 0));
  }

  @Test
  void pastTheLastItemTheHolderStaysAsItWas() {
    answer("ut3_get_item_step", 110192, out("pItem", 5));
    IntWrapper holder = holding(99);
    assertEquals(110192, Jni_Zervane.getIDItemStep(HANDLE, holder));
    assertEquals(99, holder.Value);
    assertCalls(call("ut3_get_item_step").with("hIterator", HANDLE));
  }

  @ParameterizedTest
  @ValueSource(longs = {0, 5, -1, HANDLE})
  void aReleaseReportsSuccessEvenWhenItFails(long handle) {
    assertEquals(0, Jni_Zervane.freeIterator(handle));
    answer("ut3_free_handle", FAILURE);
    assertEquals(0, Jni_Zervane.freeIterator(handle));
    assertCalls(
        call("ut3_free_handle").with("hIterator", handle),
        call("ut3_free_handle").with("hIterator", handle));
  }
}
