#pragma once

#include <QString>
#include <cstdint>
#include <optional>
#include <utility>

#include "core/weak_delegates.h"
#include "platform/ports/defaults_store.h"

namespace halvard {

class PreferenceItemBase;

/// Told about one or many items. Main thread.
class PreferenceItemListener : public WeakTarget {
 public:
  virtual ~PreferenceItemListener() = default;
  /// The value was changed and stored.
  virtual void preferenceItemDidChangeValue(PreferenceItemBase& item) = 0;
  /// A change was asked for and the delegate refused it; the value is unchanged.
  virtual void preferenceItemDidRejectValue(PreferenceItemBase& item) = 0;
};

/// May refuse a change. It is not told the new value: it decides by the item's key.
class PreferenceItemDelegate : public WeakTarget {
 public:
  virtual ~PreferenceItemDelegate() = default;
  /// False refuses the pending change.
  virtual bool preferenceItemShouldChangeValue(PreferenceItemBase& item) = 0;
};

/// What an item is whatever the type of its value: one key of the settings store, its listeners and its delegate.
class PreferenceItemBase {
 public:
  PreferenceItemBase(const PreferenceItemBase&) = delete;
  PreferenceItemBase& operator=(const PreferenceItemBase&) = delete;

  const QString& key() const { return m_key; }

  /// Held weakly, called newest first, once each a change.
  WeakDelegates<PreferenceItemListener> listeners;
  /// Held weakly; none at first.
  WeakRef<PreferenceItemDelegate> delegate;

 protected:
  PreferenceItemBase(DefaultsStore& store, QString key) : m_store(store), m_key(std::move(key)) {}
  ~PreferenceItemBase() = default;

  /// Asks the delegate; a refusal is told to the listeners.
  bool mayChange();
  /// Writes `stored` out at once.
  void store(StoredValue stored);
  void notifyChange();

  DefaultsStore& m_store;

 private:
  const QString m_key;
};

/// The number stored as another kind of number counts when it fits; anything else is nothing.
template <class T>
std::optional<T> preferenceValue(const StoredValue& stored);
template <>
std::optional<bool> preferenceValue(const StoredValue& stored);
template <>
std::optional<std::int64_t> preferenceValue(const StoredValue& stored);
template <>
std::optional<double> preferenceValue(const StoredValue& stored);

/// A typed value bound to one key of the settings store. Main thread. Once read or written, the value is kept: what
/// others store later is not seen for the life of the item.
/// `T` is bool, std::int64_t or double.
template <class T>
class PreferenceItem : public PreferenceItemBase {
 public:
  /// Reads nothing yet. `store` must outlive the item.
  PreferenceItem(DefaultsStore& store, T defaultValue, QString key)
      : PreferenceItemBase(store, std::move(key)), m_defaultValue(defaultValue) {}

  /// What value() is while nothing is stored.
  T defaultValue() const { return m_defaultValue; }

  /// The stored value; the default when there is none or it is of another kind.
  T value() {
    if (!m_cachedValue) {
      const std::optional<StoredValue> stored = m_store.objectForKey(key());
      m_cachedValue = stored ? preferenceValue<T>(*stored).value_or(m_defaultValue) : m_defaultValue;
    }
    return *m_cachedValue;
  }

  /// Stores `value`, writes it out and tells the listeners; an equal value does nothing at all.
  void setValue(T newValue) {
    if (newValue == value() || !mayChange()) return;
    store(StoredValue{newValue});
    m_cachedValue = newValue;
    notifyChange();
  }

 private:
  const T m_defaultValue;
  std::optional<T> m_cachedValue;
};

/// Shows an item as a single property `value`, by which it is read and written under all the rules of the item.
template <class T>
class ObjCPreferenceItem {
 public:
  /// `source` must outlive this object.
  explicit ObjCPreferenceItem(PreferenceItem<T>& source) : m_source(source) {}
  T value() const { return m_source.value(); }
  void setValue(T value) { m_source.setValue(value); }

 private:
  PreferenceItem<T>& m_source;
};

using BoolObjCPreferenceItem = ObjCPreferenceItem<bool>;
using IntObjCPreferenceItem = ObjCPreferenceItem<std::int64_t>;
using DoubleObjCPreferenceItem = ObjCPreferenceItem<double>;

}  // namespace halvard
