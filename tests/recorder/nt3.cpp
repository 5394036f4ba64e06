#include "recorder.h"

using zervane::recorder::Call;

int32 nt3_connect(const ZR3Connection* pConnection) {
  return Call("nt3_connect").InRecord("pConnection", pConnection).Status();
}

int32 nt3_disconnect() { return Call("nt3_disconnect").Status(); }
