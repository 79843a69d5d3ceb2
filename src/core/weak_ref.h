#pragma once

#include <memory>

namespace halvard {

/// Base of everything that others may hold weakly: delegates and listeners. One thread.
class WeakTarget {
 public:
  WeakTarget() = default;
  WeakTarget(const WeakTarget&) : WeakTarget() {}
  WeakTarget& operator=(const WeakTarget&) { return *this; }

 protected:
  ~WeakTarget() = default;

 private:
  template <class T>
  friend class WeakRef;
  std::shared_ptr<char> m_alive = std::make_shared<char>();
};

/// A reference that becomes null when its target is destroyed. `T` derives from WeakTarget.
template <class T>
class WeakRef {
 public:
  WeakRef() = default;
  WeakRef(T* target) : m_target(target) {
    if (target) m_alive = static_cast<const WeakTarget*>(target)->m_alive;
  }

  /// Null when nothing was set or the target has gone.
  T* get() const { return m_alive.expired() ? nullptr : m_target; }
  explicit operator bool() const { return get() != nullptr; }
  T* operator->() const { return get(); }

 private:
  T* m_target = nullptr;
  std::weak_ptr<char> m_alive;
};

}  // namespace halvard
