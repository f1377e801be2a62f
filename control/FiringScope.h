#pragma once

namespace tlk {

/// Marks an event as being raised, for the length of a scope.
class FiringScope {
 public:
  explicit FiringScope(bool& firing) : m_firing(firing) { m_firing = true; }
  ~FiringScope() { m_firing = false; }

  FiringScope(const FiringScope&) = delete;
  FiringScope& operator=(const FiringScope&) = delete;

 private:
  bool& m_firing;
};

}  // namespace tlk
