// The text converters of zrOS, scripted: the system encoding of this suite is UTF-8 with ASCII
// letters in upper case. A text that reached the other side unconverted has the wrong case.
#ifndef ZERVANE_TESTS_BRIDGE_FAKE_TEXT_H
#define ZERVANE_TESTS_BRIDGE_FAKE_TEXT_H

namespace zervane::bridge_test {

struct FakeText {
  bool fail_to_system = false;  // every conversion to the system encoding fails
  bool fail_to_java = false;    // and every one from it
};

FakeText& Converters();

}  // namespace zervane::bridge_test

#endif
