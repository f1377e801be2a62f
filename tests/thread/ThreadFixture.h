#pragma once

#include <gmock/gmock.h>

#include <optional>

#include "tests/scripted/ScriptedSurroundings.h"
#include "tests/scripted/ScriptedSynchronisation.h"
#include "tests/thread/Waiting.h"
#include "thread/ThreadLayer.h"

namespace tlk::test {

/// The thread layer on scripted ports.
struct ThreadFixture : testing::Test {
  ScriptedSurroundings surroundings;  // Only sleeping moves its clock.
  ScriptedSynchronisation system;
  const Platform& real = SystemPlatform();
  const Platform platform{real.text, real.strings, system, surroundings, real.files};
  std::optional<ThreadLayer> layer{std::in_place, platform};
};

}  // namespace tlk::test
