package com.talvoro.zrjni.bridge;

import java.lang.annotation.ElementType;
import java.lang.annotation.Retention;
import java.lang.annotation.RetentionPolicy;
import java.lang.annotation.Target;
import java.util.Set;
import org.junit.jupiter.api.Tag;

/**
 * A test of a native method that must read a field with the accessor of another type. The checker
 * of {@code -Xcheck:jni} ends the virtual machine over it, so these tests are left out there.
 */
@Tag("mismatched-accessor")
@Retention(RetentionPolicy.RUNTIME)
@Target({ElementType.METHOD, ElementType.TYPE})
@interface MismatchedAccessor {
  /** All methods that do so. */
  Set<String> METHODS =
      Set.of(
          // The kind of an instrument address is a byte field that is read as an int.
          "addTag",
          "addTagWithNodeName",
          "modifyTag",
          // Tag and field identifiers are int fields that are read as bytes.
          "unregister_rest");
}
