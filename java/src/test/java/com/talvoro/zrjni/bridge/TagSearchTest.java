package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.CommonTagProperties;
import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniCommTagProp;
import com.talvoro.zrjni.ZRJniTagProp;
import com.talvoro.zrsdk.common.ZRQueryTagCondition;
import java.util.Arrays;
import java.util.List;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Nested;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.EnumSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Tag search")
class TagSearchTest extends BridgeTest {
  private static final long HANDLE = 0x7123_4567_89ab_cdefL;
  private static final long WIDE_MASK = 0x8000_0001_0000_0002L;

  @Nested
  @DisplayName("by patterns of name and description")
  class ByPatterns {
    private static final int LIKE = 6;
    private static final String NAME = "FIC*" + Fields.BEYOND_ASCII;
    private static final String DESCRIPTION = "?low";

    private static Struct pattern(int column, String text) {
      return Struct.uncleared(Layouts.FILTER_ITEM)
          .set("nItemID", column)
          .set("nRelation", LIKE)
          .set("szValue", text);
    }

    private static ExpectedCall search(String name, String description) {
      return call("pt3_query_tags_cond")
          .with("pItemSet.nSize", 2)
          .with("pItemSet.pItem", List.of(pattern(0, name), pattern(12, description)))
          .with("pMask", Layouts.mask(WIDE_MASK, -4));
    }

    @ParameterizedTest(name = "{0} is returned as {1}")
    @CsvSource({
      "5, 5",
      "4294967295, -1",
      "0x7123456789abcdef, -1985229329",
      "2147483648, -2147483648"
    })
    void returnsTheLowHalfOfTheHandle(long handle, int returned) {
      answer("pt3_query_tags_cond", out("pIterator", handle));
      assertEquals(returned, Jni_Zervane.queryTagsCond(NAME, DESCRIPTION, WIDE_MASK, -4));
      assertCalls(search(NAME, DESCRIPTION));
      assertAllocated(textBuffer(NAME), textBuffer(DESCRIPTION));
    }

    @Test
    void returnsMinusOneForAFailure() {
      answer("pt3_query_tags_cond", FAILURE, out("pIterator", HANDLE));
      assertEquals(-1, Jni_Zervane.queryTagsCond(NAME, DESCRIPTION, WIDE_MASK, -4));
      assertCalls(search(NAME, DESCRIPTION));
    }

    @ParameterizedTest
    @ValueSource(ints = {0, FAILURE, -1})
    void writesTheHandleWhateverTheStatus(int status) {
      answer("pt3_query_tags_cond", status, out("pIterator", HANDLE));
      LongWrapper holder = Holders.ofLong();
      assertEquals(status, Jni_Zervane.queryTagsCondEx(NAME, DESCRIPTION, WIDE_MASK, -4, holder));
      assertEquals(HANDLE, holder.Value);
      assertCalls(search(NAME, DESCRIPTION));
      assertAllocated(textBuffer(NAME), textBuffer(DESCRIPTION));
    }

    @Test
    void sendsEmptyAndNullPatternsEmpty() {
      Jni_Zervane.queryTagsCond("", "", WIDE_MASK, -4);
      Jni_Zervane.queryTagsCondEx(null, null, WIDE_MASK, -4, Holders.ofLong());
      assertCalls(search("", ""), search("", ""));
      assertAllocated(1, 1, 1, 1);
    }

    @Test
    void sendsPatternsThatFillTheirArraysWhole() {
      String longest = "x".repeat(255);
      Jni_Zervane.queryTagsCond(longest, longest, WIDE_MASK, -4);
      assertCalls(search(longest, longest));
    }
  }

  private static ZRQueryTagCondition condition(int property, int relation, String value) {
    ZRQueryTagCondition condition = new ZRQueryTagCondition();
    condition.tagPropID = (byte) property;
    condition.queryRelation = (byte) relation;
    condition.queryValue = value;
    return condition;
  }

  private static final ZRQueryTagCondition[] CONDITIONS = {
    condition(12, 6, "*" + Fields.BEYOND_ASCII), condition(-1, -2, ""), condition(127, 0, null),
  };

  private static List<Struct> items(int count) {
    return Arrays.stream(CONDITIONS)
        .limit(count)
        .map(
            condition ->
                Struct.cleared(Layouts.FILTER_ITEM)
                    .set("nItemID", condition.tagPropID & 0xff)
                    .set("nRelation", condition.queryRelation & 0xff)
                    .set("szValue", condition.queryValue))
        .toList();
  }

  /** The four methods that take conditions. */
  enum Method {
    POINT_TAGS("pt3_query_tags_cond", "pIterator", HANDLE) {
      @Override
      int search(int count, LongWrapper handle, IntWrapper number) {
        return Jni_Zervane.queryBasicTagsByConds(CONDITIONS, count, WIDE_MASK, -4, handle);
      }

      @Override
      ExpectedCall expected(int count) {
        return withItems(call(function), "pItemSet", count)
            .with("pMask", Layouts.mask(WIDE_MASK, -4));
      }
    },
    ALL_CLASSES("tag3_query_tags_cond", "pIterator", HANDLE) {
      @Override
      int search(int count, LongWrapper handle, IntWrapper number) {
        return Jni_Zervane.queryTagsByConds(CONDITIONS, count, -64, WIDE_MASK, handle);
      }

      @Override
      ExpectedCall expected(int count) {
        return withItems(call(function).with("nTagClassMask", -64), "pItemSet", count)
            .with("nPropMask", WIDE_MASK);
      }
    },
    ONE_PAGE("tag3_query_specify_page_tags_cond", "pIterator", HANDLE) {
      @Override
      int search(int count, LongWrapper handle, IntWrapper number) {
        return Jni_Zervane.querySpecifyPageTagsCond(
            -64, CONDITIONS, count, WIDE_MASK, -4, -5, -6, handle);
      }

      @Override
      ExpectedCall expected(int count) {
        return withItems(call(function).with("nTagClassMask", -64), "pParam", count)
            .with("pParam.mask", Layouts.mask(WIDE_MASK, -4))
            .with("pParam.nStartID", 0xffff_fffbL)
            .with("pParam.nCapacity", -6);
      }
    },
    NUMBER("tag3_query_tag_num_cond", "pNum", -7) {
      @Override
      int search(int count, LongWrapper handle, IntWrapper number) {
        return Jni_Zervane.queryTagNumCond(-3, CONDITIONS, count, number);
      }

      @Override
      ExpectedCall expected(int count) {
        return withItems(call(function).with("nTagClass", -3), "pItemSet", count);
      }
    };

    final String function;
    final Output result;
    final Number value;

    Method(String function, String output, Number value) {
      this.function = function;
      this.result = out(output, value);
      this.value = value;
    }

    abstract int search(int count, LongWrapper handle, IntWrapper number);

    abstract ExpectedCall expected(int count);

    private static ExpectedCall withItems(ExpectedCall call, String set, int count) {
      return call.with(set + ".nSize", count).with(set + ".pItem", items(count));
    }

    /** Searches, and verifies what the method's holder holds then. */
    void search(int count, int status, Number held) {
      LongWrapper handle = Holders.ofLong();
      IntWrapper number = Holders.ofInt();
      assertEquals(status, search(count, handle, number));
      assertEquals(held.longValue(), this == NUMBER ? number.Value : handle.Value);
    }
  }

  private static long[] texts(int count) {
    return Arrays.stream(CONDITIONS)
        .limit(count)
        .mapToLong(condition -> textBuffer(condition.queryValue))
        .toArray();
  }

  @ParameterizedTest
  @EnumSource
  void byConditionsSendsThemAllAndKeepsTheirTextsAllocated(Method method) {
    answer(method.function, method.result);
    method.search(3, 0, method.value);
    assertCalls(method.expected(3));
    long[] texts = texts(3);
    assertAllocated(3 * 264, texts[0], texts[1], texts[2]);
    assertLeft(texts);
  }

  @ParameterizedTest
  @EnumSource
  void byConditionsThatFailsLeavesTheHolderAsItWas(Method method) {
    answer(method.function, FAILURE, method.result);
    method.search(1, FAILURE, Holders.BEFORE);
    assertCalls(method.expected(1));
    assertLeft(texts(1));
  }

  @ParameterizedTest
  @EnumSource
  void byNoConditionsSendsAnEmptySet(Method method) {
    answer(method.function, method.result);
    method.search(0, 0, method.value);
    assertCalls(method.expected(0));
    assertAllocated(0);
  }

  @ParameterizedTest
  @EnumSource
  void withoutMemoryForTheConditionsFailsBeforeAnyCall(Method method) {
    for (int count : new int[] {0, 3}) {
      AllocationProbe.failRequest(1);
      method.search(count, -1, Holders.BEFORE);
    }
  }

  @Nested
  @DisplayName("iterates")
  class Iterates {
    private static final ExpectedCall STEP = call("ut3_get_item_step").with("hIterator", HANDLE);

    @ParameterizedTest
    @ValueSource(ints = {1, 2})
    void overPointTagsAndLeavesTheClassAsItWas(int seed) {
      Struct record = Struct.filled(Layouts.POINT_TAG, seed);
      ZRJniTagProp tag = Fields.filled(ZRJniTagProp.class, seed + 1);
      ZRJniTagProp expected = TagRows.read(TagRows.POINT, record, Fields.copy(tag));
      answer("ut3_get_item_step", out("pItem", record));
      assertEquals(0, Jni_Zervane.getItemStep(HANDLE, tag));
      Fields.assertSameFields(expected, tag);
      assertCalls(STEP);
    }

    @ParameterizedTest
    @ValueSource(ints = {1, 2})
    void overTagsOfAnyClassAndWritesTheClass(int seed) {
      Struct record = Struct.filled(Layouts.COMMON_TAG, seed);
      ZRJniCommTagProp tag = Fields.filled(ZRJniCommTagProp.class, seed + 1);
      ZRJniCommTagProp expected = TagRows.read(TagRows.ANY, record, Fields.copy(tag));
      answer("ut3_get_item_step", out("pItem", record));
      assertEquals(0, Jni_Zervane.getCommItemStep(HANDLE, tag));
      Fields.assertSameFields(expected, tag);
      assertEquals((byte) record.integer("nTagClass"), tag.m_tagClass);
      assertCalls(STEP);
    }

    @Test
    void noFurtherThanTheLastTagAndThenLeavesTheObjectsAsTheyWere() {
      CommonTagProperties point = Fields.filled(ZRJniTagProp.class, 3);
      CommonTagProperties any = Fields.filled(ZRJniCommTagProp.class, 3);
      CommonTagProperties pointBefore = Fields.copy(point);
      CommonTagProperties anyBefore = Fields.copy(any);
      answer("ut3_get_item_step", 110192, out("pItem", Struct.filled(Layouts.POINT_TAG, 1)));
      assertEquals(110192, Jni_Zervane.getItemStep(HANDLE, (ZRJniTagProp) point));
      answer("ut3_get_item_step", 110192, out("pItem", Struct.filled(Layouts.COMMON_TAG, 1)));
      assertEquals(110192, Jni_Zervane.getCommItemStep(HANDLE, (ZRJniCommTagProp) any));
      Fields.assertSameFields(pointBefore, point);
      Fields.assertSameFields(anyBefore, any);
      assertCalls(STEP, STEP);
    }
  }
}
