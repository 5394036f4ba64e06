// The three functions that every class of tags has: create, change, read.
#ifndef ZERVANE_TESTS_RECORDER_TAG_PROPERTY_CALLS_H
#define ZERVANE_TESTS_RECORDER_TAG_PROPERTY_CALLS_H

#include "recorder.h"

namespace zervane::recorder {

// "pTagID" is logged as its place within the record: some callers hand in the record's own member.
template <typename Prop>
int32 AddTag(const char* function, const Prop* prop, const ZR3Mask* mask, const char* node,
             uint32* tag_id) {
  return Call(function)
      .InRecord("pProp", prop)
      .InRecord("pMask", mask)
      .InText("szNode", node)
      .InPlace("pTagID", tag_id, prop)
      .Out("pTagID", tag_id)
      .Status();
}

template <typename Prop>
int32 ModifyTag(const char* function, uint32 tag_id, const Prop* prop, const ZR3Mask* mask) {
  return Call(function)
      .In("nTagID", tag_id)
      .InRecord("pProp", prop)
      .InRecord("pMask", mask)
      .Status();
}

template <typename Prop>
int32 QueryTag(const char* function, uint32 tag_id, Prop* prop) {
  return Call(function).In("nTagID", tag_id).Out("pProp", prop).Status();
}

}  // namespace zervane::recorder

#endif
