#pragma once

#include "thread/ZThread.h"

namespace tlk {

/// The record of the main thread: of the thread that makes it, which runs already. Making it makes
/// the slot in which every thread finds its own object, too.
///
/// It never fails for want of a slot or a handle, because it is made while a module is loaded:
/// without a slot no thread knows its object, without a handle there is nothing to wait with.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the name that it is known by.
class MainThread__ final : public ZThread {
 public:
  MainThread__();

  void Run() override {}
};

}  // namespace tlk
