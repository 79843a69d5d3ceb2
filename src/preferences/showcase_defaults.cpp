#include "preferences/showcase_defaults.h"

#include <QUuid>
#include <algorithm>
#include <utility>

#include "preferences/number_conversion.h"
#include "preferences/stored_keys.h"

namespace halvard {

ShowcaseDefaults::ShowcaseDefaults(DefaultsStore& store, const Clock& clock, QString applicationVersion)
    : m_store(store), m_clock(clock), m_applicationVersion(std::move(applicationVersion)) {}

std::uint64_t ShowcaseDefaults::getUnsignedLongLongValueForKey(const QString& key, std::uint64_t defaultValue) const {
  const std::optional<StoredValue> stored = m_store.objectForKey(key);
  return stored ? convertedUnsigned(*stored).value_or(defaultValue) : defaultValue;
}

void ShowcaseDefaults::saveUnsignedLongLongValue(std::uint64_t value, const QString& key) {
  save(key, {value});
}

bool ShowcaseDefaults::getBoolValueForKey(const QString& key, bool defaultValue) const {
  const std::optional<StoredValue> stored = m_store.objectForKey(key);
  return stored ? convertedBool(*stored).value_or(defaultValue) : defaultValue;
}

void ShowcaseDefaults::saveBoolValue(bool value, const QString& key) {
  save(key, {value});
}

StoredValue ShowcaseDefaults::getArrayValueForKey(const QString& key, const StoredValue& defaultValue) const {
  return m_store.objectForKey(key).value_or(defaultValue);
}

void ShowcaseDefaults::saveArrayValue(StoredValue value, const QString& key) {
  save(key, std::move(value));
}

ByteCount ShowcaseDefaults::cleanedSize() const {
  return getUnsignedLongLongValueForKey(stored_keys::cleanedSize, 0);
}

void ShowcaseDefaults::setCleanedSize(ByteCount size) {
  saveUnsignedLongLongValue(size, stored_keys::cleanedSize);
}

bool ShowcaseDefaults::showAutostartPopupAfterPurge() const {
  return getBoolValueForKey(stored_keys::showAutostartPopupAfterClean, true);
}

void ShowcaseDefaults::setShowAutostartPopupAfterPurge(bool show) {
  saveBoolValue(show, stored_keys::showAutostartPopupAfterClean);
}

void ShowcaseDefaults::saveWindowLockedState(bool locked) {
  saveBoolValue(locked, stored_keys::windowLocked);
}

bool ShowcaseDefaults::isWindowLocked() const {
  return getBoolValueForKey(stored_keys::windowLocked, true);
}

void ShowcaseDefaults::saveWindowDetailedState(bool detailed) {
  saveBoolValue(detailed, stored_keys::windowDetailed);
}

bool ShowcaseDefaults::isWindowDetailed() const {
  return getBoolValueForKey(stored_keys::windowDetailed, true);
}

void ShowcaseDefaults::saveWindowFramePosition(double leftEdge, double topEdge) {
  m_store.setObject(stored_keys::windowX, {static_cast<double>(static_cast<float>(leftEdge))});
  save(stored_keys::windowY, {static_cast<double>(static_cast<float>(topEdge))});
}

std::optional<WindowFramePosition> ShowcaseDefaults::restoreWindowFramePosition() const {
  const std::optional<StoredValue> left = m_store.objectForKey(stored_keys::windowX);
  const std::optional<StoredValue> top = m_store.objectForKey(stored_keys::windowY);
  if (!left || !top) return std::nullopt;
  const std::optional<double> leftEdge = convertedReal(*left);
  const std::optional<double> topEdge = convertedReal(*top);
  if (!leftEdge || !topEdge) return std::nullopt;
  return WindowFramePosition{static_cast<float>(*leftEdge), static_cast<float>(*topEdge)};
}

QString ShowcaseDefaults::analyticsUserIdentifier() {
  if (const std::optional<QString> known = textForKey(stored_keys::analyticsUserId)) return *known;
  const QString created = QUuid::createUuid().toString(QUuid::WithoutBraces);
  save(stored_keys::analyticsUserId, {created});
  return created;
}

std::optional<std::int64_t> ShowcaseDefaults::integerForKey(const QString& key) const {
  const std::optional<StoredValue> stored = m_store.objectForKey(key);
  return stored ? convertedInteger(*stored) : std::nullopt;
}

std::optional<QString> ShowcaseDefaults::textForKey(const QString& key) const {
  const std::optional<StoredValue> stored = m_store.objectForKey(key);
  const QString* text = stored ? stored->as<QString>() : nullptr;
  return text ? std::optional(*text) : std::nullopt;
}

std::optional<Clock::Instant> ShowcaseDefaults::dateForKey(const QString& key) const {
  using namespace std::chrono;
  const std::optional<StoredValue> stored = m_store.objectForKey(key);
  const QDateTime* date = stored ? stored->as<QDateTime>() : nullptr;
  if (!date || !date->isValid()) return std::nullopt;
  // A stored date may lie outside the years an instant can hold.
  const auto limit = duration_cast<milliseconds>(Clock::Instant::max().time_since_epoch());
  const milliseconds sinceEpoch(date->toMSecsSinceEpoch());
  return Clock::Instant(std::clamp(sinceEpoch, -limit, limit));
}

bool ShowcaseDefaults::isDue(const QString& key) const {
  const std::optional<Clock::Instant> date = dateForKey(key);
  return !date || *date <= m_clock.now();
}

StoredValue ShowcaseDefaults::dateFromNow(std::chrono::seconds delay) const {
  using namespace std::chrono;
  const auto sinceEpoch = floor<milliseconds>(m_clock.now().time_since_epoch());
  return {QDateTime::fromMSecsSinceEpoch((sinceEpoch + delay).count(), Qt::UTC)};
}

void ShowcaseDefaults::save(const QString& key, StoredValue value) {
  m_store.setObject(key, std::move(value));
  m_store.synchronize();
}

}  // namespace halvard
