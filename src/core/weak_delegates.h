#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "core/weak_ref.h"

namespace halvard {

/// One weakly held listener.
template <class Listener>
struct WeakDelegateWrapper {
  WeakRef<Listener> listener;
};

/// Listeners in order of addition, none of them kept alive. `Listener` derives from WeakTarget. One thread.
template <class Listener>
class WeakDelegates {
 public:
  /// A listener added twice is called twice.
  void add(Listener& listener) { m_entries.push_back({&listener}); }

  /// Removes every entry of this very object; entries whose target has gone stay until the next invoke().
  void remove(const Listener& listener) {
    std::erase_if(m_entries, [&](const auto& entry) { return entry.listener.get() == &listener; });
  }

  /// Calls `action(listener)` for each live listener, the most recently added first, and drops the dead ones.
  /// Works on a snapshot: a listener added meanwhile waits for the next invoke().
  template <class Action>
  void invoke(Action action) {
    const auto snapshot = m_entries;
    for (std::size_t position = snapshot.size(); position-- > 0;) {
      if (Listener* listener = snapshot[position].listener.get()) action(*listener);
    }
    std::erase_if(m_entries, [](const auto& entry) { return !entry.listener; });
  }

  /// Entries held, dead ones included.
  std::size_t count() const { return m_entries.size(); }

 private:
  std::vector<WeakDelegateWrapper<Listener>> m_entries;
};

}  // namespace halvard
