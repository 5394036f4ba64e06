#include "api_arguments.h"

#include <cstdio>

namespace zervane::bridge_test {
namespace {

char End(bool8 closed, char if_closed, char if_open) {
  if (closed == 1) return if_closed;
  return closed == 0 ? if_open : '?';
}

}  // namespace

std::string Number(int64 value) { return std::to_string(value); }

std::string Handle(ZR3HANDLE handle) {
  return "handle " + std::to_string(reinterpret_cast<int64>(handle));
}

std::string Quoted(const char* text) {
  return text == nullptr ? "null" : "\"" + std::string(text) + "\"";
}

std::string Given(const void* output) { return output == nullptr ? "null" : "out"; }

std::string Mask(const ZR3Mask* mask) {
  return "mask " + Number(mask->nCommMask) + "/" + Number(mask->nExtMask);
}

std::string At(const ZR3Time* time) {
  char text[32];
  snprintf(text, sizeof text, "%d.%03d", time->nSec, time->nMsec);
  return text;
}

std::string In(const ZR3TimeRegion* region) {
  return End(region->bLeftClosed, '[', '(') + At(&region->left) + ", " + At(&region->right) +
         End(region->bRightClosed, ']', ')');
}

}  // namespace zervane::bridge_test
