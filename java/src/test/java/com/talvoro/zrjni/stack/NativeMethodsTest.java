package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.AlarmGroup;
import com.talvoro.zrjni.DoubleWrapper;
import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.RedisInfo;
import com.talvoro.zrjni.TagInfoWithField;
import com.talvoro.zrjni.ZRJniAlarmRecord;
import com.talvoro.zrjni.ZRJniAlarmTag;
import com.talvoro.zrjni.ZRJniCalcTag;
import com.talvoro.zrjni.ZRJniCommTagProp;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniStatsTag;
import com.talvoro.zrjni.ZRJniTagProp;
import com.talvoro.zrjni.ZRJniTime;
import com.talvoro.zrjni.ZrAlarmQuery;
import com.talvoro.zrsdk.base.ZRAuthItem;
import com.talvoro.zrsdk.base.ZRGroup;
import com.talvoro.zrsdk.base.ZRUser;
import com.talvoro.zrsdk.common.ZRQueryTagCondition;
import java.lang.reflect.Field;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.util.Arrays;
import java.util.List;
import java.util.Set;
import java.util.stream.Collectors;
import java.util.stream.Stream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.Arguments;
import org.junit.jupiter.params.provider.MethodSource;

@DisplayName("The Java half of the contract")
class NativeMethodsTest {
  private static List<Method> nativeMethods() {
    return Arrays.stream(Jni_Zervane.class.getDeclaredMethods())
        .filter(method -> Modifier.isNative(method.getModifiers()))
        .toList();
  }

  @Test
  void has125NativeMethodsThatArePublicAndStatic() {
    assertEquals(125, nativeMethods().size());
    assertAll(
        nativeMethods().stream()
            .map(
                method ->
                    () ->
                        assertEquals(
                            Modifier.PUBLIC | Modifier.STATIC | Modifier.NATIVE,
                            method.getModifiers(),
                            method.getName())));
  }

  @Test
  void doesNotOverloadAnyBecauseTheNativeNamesLeaveTheArgumentsOut() {
    Set<String> names =
        nativeMethods().stream().map(Method::getName).collect(Collectors.toUnmodifiableSet());

    assertEquals(nativeMethods().size(), names.size());
  }

  @Test
  void hasNothingElseThatACallerSees() {
    assertEquals(0, Jni_Zervane.class.getConstructors().length);
    assertEquals(0, Jni_Zervane.class.getFields().length);
    assertEquals(
        nativeMethods().size(),
        Arrays.stream(Jni_Zervane.class.getDeclaredMethods())
            .filter(method -> Modifier.isPublic(method.getModifiers()))
            .count());
  }

  static Stream<Arguments> contractClasses() {
    return Stream.of(
        Arguments.of(IntWrapper.class, 1),
        Arguments.of(LongWrapper.class, 1),
        Arguments.of(DoubleWrapper.class, 1),
        Arguments.of(ZRJniTime.class, 2),
        Arguments.of(ZRJniRecord.class, 12),
        Arguments.of(ZRJniTagProp.class, 39),
        Arguments.of(ZRJniCommTagProp.class, 31),
        Arguments.of(ZRQueryTagCondition.class, 3),
        Arguments.of(ZRJniAlarmTag.class, 39),
        Arguments.of(ZRJniAlarmRecord.class, 21),
        Arguments.of(ZrAlarmQuery.class, 9),
        Arguments.of(AlarmGroup.class, 4),
        Arguments.of(TagInfoWithField.class, 2),
        Arguments.of(ZRJniCalcTag.class, 34),
        Arguments.of(ZRJniStatsTag.class, 52),
        Arguments.of(ZRUser.class, 3),
        Arguments.of(ZRGroup.class, 2),
        Arguments.of(ZRAuthItem.class, 2),
        Arguments.of(RedisInfo.class, 11));
  }

  @ParameterizedTest(name = "{0} has {1} fields")
  @MethodSource("contractClasses")
  void recordsArePlainPublicFields(Class<?> type, int fields) throws ReflectiveOperationException {
    assertEquals(fields, type.getFields().length);
    for (Field field : type.getFields()) {
      assertEquals(Modifier.PUBLIC, field.getModifiers(), field.getName());
    }
    assertTrue(Modifier.isPublic(type.getConstructor().getModifiers()));
    assertEquals(0, type.getDeclaredMethods().length);
  }
}
