package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import java.nio.ByteBuffer;
import java.util.Arrays;
import java.util.Collections;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Nested;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Tag lookups")
class TagLookupTest extends BridgeTest {
  private static final String NAME = "FIC101" + Fields.BEYOND_ASCII;

  private static IntWrapper holding(int value) {
    IntWrapper holder = new IntWrapper();
    holder.Value = value;
    return holder;
  }

  private static ExpectedCall idByName(String name) {
    return call("tag3_query_id_by_name").with("szTagName", name);
  }

  @Nested
  @DisplayName("of one tag")
  class OfOneTag {
    @ParameterizedTest
    @ValueSource(ints = {0, 6, -1, 300})
    void tellTheTypeOfAnIdentifier(int type) {
      answer("pt3_query_tag_type", out("pTagType", type));
      IntWrapper holder = holding(99);
      assertEquals(0, Jni_Zervane.getTagType(-1, holder));
      assertEquals(type, holder.Value);
      assertCalls(call("pt3_query_tag_type").with("nTagID", 0xffff_ffffL));
    }

    @Test
    void leaveTheHolderWhenTheTypeIsUnknown() {
      answer("pt3_query_tag_type", FAILURE, out("pTagType", 3));
      IntWrapper holder = holding(99);
      assertEquals(FAILURE, Jni_Zervane.getTagType(4, holder));
      assertEquals(99, holder.Value);
      assertCalls(call("pt3_query_tag_type").with("nTagID", 4));
    }

    @ParameterizedTest(name = "{0} is returned as {1}")
    @CsvSource({"6, 6", "0, 0", "255, -1", "263, 7"})
    void tellTheTypeOfANameAsItsLowByte(int type, byte returned) {
      answer("tag3_query_id_by_name", out("pTagID", -3));
      answer("pt3_query_tag_type", out("pTagType", type));
      assertEquals(returned, Jni_Zervane.queryTagType(NAME));
      assertCalls(idByName(NAME), call("pt3_query_tag_type").with("nTagID", 0xffff_fffdL));
      assertAllocated(textBuffer(NAME));
    }

    @Test
    void tellMinusOneForTheTypeOfAnUnknownName() {
      answer("tag3_query_id_by_name", FAILURE, out("pTagID", 5));
      assertEquals(-1, Jni_Zervane.queryTagType(NAME));
      assertCalls(idByName(NAME));
    }

    @Test
    void tellMinusOneForATypeThatCannotBeQueried() {
      answer("tag3_query_id_by_name", out("pTagID", 5));
      answer("pt3_query_tag_type", FAILURE, out("pTagType", 2));
      assertEquals(-1, Jni_Zervane.queryTagType(NAME));
      assertCalls(idByName(NAME), call("pt3_query_tag_type").with("nTagID", 5));
    }

    @ParameterizedTest
    @CsvSource({"1, 1", "2147483648, -2147483648", "4294967295, -1"})
    void tellTheIdentifierOfANameAsTheSameBits(long identifier, int returned) {
      answer("tag3_query_id_by_name", out("pTagID", (int) identifier));
      assertEquals(returned, Jni_Zervane.queryTagID(NAME));
      answer("tag3_query_id_by_name", out("pTagID", (int) identifier));
      IntWrapper holder = holding(99);
      assertEquals(0, Jni_Zervane.queryTagIDByName(NAME, holder));
      assertEquals(returned, holder.Value);
      assertCalls(idByName(NAME), idByName(NAME));
      assertAllocated(textBuffer(NAME), textBuffer(NAME));
    }

    @Test
    void tellMinusOneOrTheStatusForAnUnknownName() {
      answer("tag3_query_id_by_name", FAILURE, out("pTagID", 5));
      assertEquals(-1, Jni_Zervane.queryTagID(NAME));
      answer("tag3_query_id_by_name", FAILURE, out("pTagID", 5));
      IntWrapper holder = holding(99);
      assertEquals(FAILURE, Jni_Zervane.queryTagIDByName(NAME, holder));
      assertEquals(99, holder.Value);
      assertCalls(idByName(NAME), idByName(NAME));
    }

    @Test
    void sendANullNameEmpty() {
      Jni_Zervane.queryTagType(null);
      Jni_Zervane.queryTagID(null);
      Jni_Zervane.queryTagIDByName(null, holding(0));
      assertCalls(
          idByName(""), call("pt3_query_tag_type").with("nTagID", 0), idByName(""), idByName(""));
      assertAllocated(1, 1, 1);
    }
  }

  @Nested
  @DisplayName("of many names")
  class OfManyNames {
    private static final int SLOT = 256;
    private static final int SOME_FAILED = 117803;

    /** Name slots as they are sent: zero-filled up to the last byte, which is left as it was. */
    private static byte[] slots(byte[]... names) {
      ByteBuffer slots = ByteBuffer.allocate(SLOT * names.length);
      for (byte[] name : names) {
        slots.put(Arrays.copyOf(Arrays.copyOf(name, Math.min(name.length, SLOT - 1)), SLOT - 1));
        slots.put(AllocationProbe.FRESH);
      }
      return slots.array();
    }

    private static ExpectedCall idsByNames(byte[] slots, int[] ids, int count) {
      return call("tag3_query_ids_by_names")
          .with("nNum", count)
          .with("pTagNames", slots)
          .with("pTagIDs", ids)
          .with("pErrCodes", new int[count]);
    }

    @ParameterizedTest
    @ValueSource(ints = {0, SOME_FAILED})
    void deliverIdentifiersAndCodesOnSuccessAndOnPartialSuccess(int status) {
      String[] names = {"one", NAME, null};
      int[] ids = {11, -12, 13, 14};
      int[] codes = {1, 2, 3, 4};
      answer(
          "tag3_query_ids_by_names",
          status,
          out("pTagIDs", new int[] {21, -22, 23}),
          out("pErrCodes", new int[] {0, 5, -6}));
      assertEquals(status, Jni_Zervane.queryTagIDsByNames(names, 3, ids, codes));
      assertArrayEquals(new int[] {21, -22, 23, 14}, ids);
      assertArrayEquals(new int[] {0, 5, -6, 4}, codes);
      byte[] sent = slots("one".getBytes(), withoutTerminator(NAME), new byte[0]);
      assertCalls(idsByNames(sent, new int[] {11, -12, 13}, 3));
      assertAllocated(3 * SLOT, 3 * 4, 3 * 4, textBuffer("one"), textBuffer(NAME), 1);
    }

    @Test
    void leaveTheArraysAloneOnAnyOtherStatus() {
      int[] ids = {11};
      int[] codes = {1};
      answer(
          "tag3_query_ids_by_names",
          FAILURE,
          out("pTagIDs", new int[] {21}),
          out("pErrCodes", new int[] {9}));
      assertEquals(FAILURE, Jni_Zervane.queryTagIDsByNames(new String[] {"a"}, 1, ids, codes));
      assertArrayEquals(new int[] {11}, ids);
      assertArrayEquals(new int[] {1}, codes);
      assertCalls(idsByNames(slots("a".getBytes()), new int[] {11}, 1));
    }

    @ParameterizedTest
    @ValueSource(ints = {254, 255, 256, 300})
    void carryAtMost255BytesAndLeaveTheLastByteOfASlotAsItWas(int length) {
      byte[] name = "x".repeat(length).getBytes();
      Jni_Zervane.queryTagIDsByNames(new String[] {"x".repeat(length)}, 1, new int[1], new int[1]);
      assertCalls(idsByNames(slots(name), new int[1], 1));
    }

    @Test
    void ofNoNamesAskForNone() {
      answer("tag3_query_ids_by_names", FAILURE);
      assertEquals(
          FAILURE, Jni_Zervane.queryTagIDsByNames(new String[0], 0, new int[0], new int[0]));
      assertCalls(idsByNames(new byte[0], new int[0], 0));
      assertAllocated(0, 0, 0);
    }

    @ParameterizedTest(name = "allocation {0}")
    @ValueSource(ints = {2, 3})
    void failWithMinusOneWhenIdentifiersOrCodesCannotBeAllocated(int request) {
      int[] ids = {11};
      int[] codes = {1};
      AllocationProbe.failRequest(request);
      assertEquals(-1, Jni_Zervane.queryTagIDsByNames(new String[] {"a"}, 1, ids, codes));
      assertArrayEquals(new int[] {11}, ids);
      assertArrayEquals(new int[] {1}, codes);
    }

    private static byte[] withoutTerminator(String text) {
      byte[] terminated = Output.terminated(text);
      return Arrays.copyOf(terminated, terminated.length - 1);
    }
  }

  @Nested
  @DisplayName("of the catalogue's version")
  class OfTheVersion {
    private static final ExpectedCall COMMAND =
        call("cc3_cmd").with("szCommand", "cmdtype=read_version;");

    @ParameterizedTest
    @CsvSource({
      "tag_version=1234;, 1234, 17",
      "tag_version=0;, 0, 14",
      "tag_version=-5;, -5, 15",
      "tag_version=12x9;, 12, 17",
      "tag_version=2147483647;, 2147483647, 23",
      "tag_version=;, 0, 13",
      "anyTwelve...77!, 77, 15",
    })
    void takeTheNumberBetweenPrefixAndLastCharacter(String reply, long version, int length) {
      answer("cc3_cmd", out("ppReply", reply));
      LongWrapper holder = new LongWrapper();
      holder.Value = 99;
      assertEquals(0, Jni_Zervane.getNewlyTagVersion(holder));
      assertEquals(version, holder.Value);
      assertEquals(
          "#" + length + ", " + reply.substring(12, length - 1) + "\n", NativeOutput.take());
      assertCalls(COMMAND, call("cc3_cmd_free").with("pReply", 1));
    }

    @Test
    void copyAsMuchTextAsTheReplyHas() {
      String digits = String.join("", Collections.nCopies(99, "0"));
      answer("cc3_cmd", out("ppReply", "tag_version=" + digits + ";"));
      LongWrapper holder = new LongWrapper();
      assertEquals(0, Jni_Zervane.getNewlyTagVersion(holder));
      assertEquals("#112, " + digits + "\n", NativeOutput.take());
      assertCalls(COMMAND, call("cc3_cmd_free").with("pReply", 1));
    }

    @Test
    void printAFailureAndReturnIt() {
      answer("cc3_cmd", FAILURE);
      LongWrapper holder = new LongWrapper();
      holder.Value = 99;
      assertEquals(FAILURE, Jni_Zervane.getNewlyTagVersion(holder));
      assertEquals(99, holder.Value);
      assertEquals(
          "err Java_com_talvoro_zrjni_Jni_1Zervane_getNewlyTagVersion!!!\n", NativeOutput.take());
      assertCalls(COMMAND);
    }
  }
}
