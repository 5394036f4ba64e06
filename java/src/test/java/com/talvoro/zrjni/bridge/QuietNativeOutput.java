package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertEquals;

import org.junit.jupiter.api.extension.AfterAllCallback;
import org.junit.jupiter.api.extension.AfterEachCallback;
import org.junit.jupiter.api.extension.BeforeAllCallback;
import org.junit.jupiter.api.extension.ExtensionContext;

/**
 * Fails a test during which native code printed anything that the test did not take. The warnings
 * of {@code -Xcheck:jni} are printed by native code, too. Found by JUnit itself, for every test of
 * a run.
 */
public final class QuietNativeOutput
    implements BeforeAllCallback, AfterEachCallback, AfterAllCallback {
  @Override
  public void beforeAll(ExtensionContext context) {
    NativeOutput.start();
  }

  @Override
  public void afterEach(ExtensionContext context) {
    assertEquals("", NativeOutput.take(), "printed by native code");
  }

  @Override
  public void afterAll(ExtensionContext context) {
    afterEach(context);
  }
}
