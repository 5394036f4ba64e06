#pragma once

#include <memory>

#include "api/words/status.h"
#include "engine/catalogue/catalogue.h"
#include "engine/catalogue/tag_class.h"
#include "engine/clock.h"
#include "engine/storage/store.h"
#include "engine/write/stage.h"
#include "engine/write/turn.h"
#include "engine/write/write_path.h"

namespace zervane {

// Calculation tags: their rules, and who computes their values.
//
// It is put together before the database starts:
//
//   catalogue.Register(ZR3_TAG_CLASS_CALC, calculations.tag_class());
//   ... catalogue.Load() ...
//   writes.AddStage(calculations.stage());
//   calculations.Load(turn);
//   ... writes.Start() ...
//   calculations.Start();
//
// Threads: one after the other, but for the thread of its own; tag_class and stage with the turn.
class Calculations {
 public:
  // All outlive it.
  Calculations(Store& store, WritePath& writes, const Catalogue& catalogue, Clock clock);
  ~Calculations();

  TagClass& tag_class();
  Stage& stage();

  // ZR3_ERR_STORAGE_DAMAGED when what the store holds of such a tag is none of it.
  Status Load(Turn& turn);
  // Begins to work whenever there is something to do, on a thread of its own; or leaves it to those
  // who call Work.
  void Start(bool by_thread);
  void Stop() noexcept;

  // Does all that is to be done now, as the thread would. The status of the store, when it refuses.
  Status Work();

 private:
  class Impl;
  const std::unique_ptr<Impl> impl_;
};

}  // namespace zervane
