#include "engine/security/security.h"

namespace zervane {

Status Security::Load() { return {}; }

int Security::LevelOf(const Caller&, AuthorityItem) const { return kMaxLevel; }

}  // namespace zervane
