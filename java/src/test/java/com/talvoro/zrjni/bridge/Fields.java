package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;

import java.lang.reflect.Field;
import java.util.Arrays;
import java.util.Comparator;
import java.util.List;

/** The public fields of the contract classes, taken by name. */
final class Fields {
  /** Characters of two, three and four bytes in UTF-8. */
  static final String BEYOND_ASCII = " \u00e9\u6f22\ud83d\ude00";

  private Fields() {}

  static Object get(Object object, String field) {
    try {
      return object.getClass().getField(field).get(object);
    } catch (ReflectiveOperationException e) {
      throw new IllegalArgumentException(field, e);
    }
  }

  static void set(Object object, String field, Object value) {
    try {
      object.getClass().getField(field).set(object, value);
    } catch (ReflectiveOperationException e) {
      throw new IllegalArgumentException(field, e);
    }
  }

  /** Sets a field from the member of an API record that it stands for. */
  static void setFrom(Struct struct, String member, Object object, String field) {
    Class<?> type = type(object, field);
    if (type == String.class) {
      set(object, field, struct.text(member));
    } else if (type == float.class) {
      set(object, field, (float) struct.floating(member));
    } else if (type == double.class) {
      set(object, field, struct.floating(member));
    } else {
      set(object, field, narrowed(struct.integer(member), type));
    }
  }

  /** A new object whose fields all have values of their own, other ones for another seed. */
  static <T> T filled(Class<T> type, int seed) {
    T object = create(type);
    List<Field> fields = sorted(type);
    for (int i = 0; i < fields.size(); ++i) {
      set(
          object,
          fields.get(i).getName(),
          distinct(fields.get(i), (i + 3) * (seed % 2 == 0 ? -seed : seed)));
    }
    return object;
  }

  @SuppressWarnings("unchecked")
  static <T> T copy(T object) {
    T copy = (T) create(object.getClass());
    sorted(object.getClass())
        .forEach(field -> set(copy, field.getName(), get(object, field.getName())));
    return copy;
  }

  /** Verifies every field. */
  static void assertSameFields(Object expected, Object actual) {
    assertEquals(expected.getClass(), actual.getClass());
    for (Field field : sorted(expected.getClass())) {
      Object expectedValue = get(expected, field.getName());
      Object actualValue = get(actual, field.getName());
      if (expectedValue instanceof byte[] bytes) {
        assertArrayEquals(bytes, (byte[]) actualValue, field.getName());
      } else {
        assertEquals(expectedValue, actualValue, field.getName());
      }
    }
  }

  private static Class<?> type(Object object, String field) {
    try {
      return object.getClass().getField(field).getType();
    } catch (NoSuchFieldException e) {
      throw new IllegalArgumentException(field, e);
    }
  }

  private static <T> T create(Class<T> type) {
    try {
      return type.getConstructor().newInstance();
    } catch (ReflectiveOperationException e) {
      throw new IllegalArgumentException(type.getName(), e);
    }
  }

  private static List<Field> sorted(Class<?> type) {
    return Arrays.stream(type.getFields()).sorted(Comparator.comparing(Field::getName)).toList();
  }

  private static Object distinct(Field field, int number) {
    Class<?> type = field.getType();
    if (type == String.class) {
      return field.getName() + number + BEYOND_ASCII;
    } else if (type == byte[].class) {
      return new byte[] {0, (byte) number, -1, (byte) 200};
    } else if (type == float.class) {
      return number + 0.25f;
    } else if (type == double.class) {
      return number + 0.125;
    }
    return narrowed(type == boolean.class ? number & 1 : number * 0x01010101L, type);
  }

  private static Object narrowed(long value, Class<?> type) {
    if (type == byte.class) {
      return (byte) value;
    } else if (type == short.class) {
      return (short) value;
    } else if (type == int.class) {
      return (int) value;
    } else if (type == long.class) {
      return value;
    } else if (type == boolean.class) {
      return value != 0;
    }
    throw new IllegalArgumentException(type.getName());
  }
}
