package com.talvoro.zrjni.bridge;

import java.util.Map;

/**
 * A call that reached the client library: its arguments in order, each null (a null pointer), a
 * Long (a scalar), a String (a text) or a byte[] (a record or array).
 */
record RecordedCall(String function, Map<String, Object> arguments) {}
