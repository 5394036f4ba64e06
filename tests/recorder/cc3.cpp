#include "recorder.h"

using zervane::recorder::Call;

// The script gives the reply with its terminator.
int32 cc3_cmd(const char* szCommand, char** ppReply) {
  return Call("cc3_cmd").InText("szCommand", szCommand).OutLent("ppReply", ppReply).Status();
}

int32 cc3_cmd_free(char* pReply) { return Call("cc3_cmd_free").InLent("pReply", pReply).Status(); }
