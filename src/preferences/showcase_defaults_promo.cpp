#include "preferences/number_conversion.h"
#include "preferences/showcase_defaults.h"
#include "preferences/stored_keys.h"

// The accessors of the showcase dialog, the promotion notifications and the warnings.

namespace halvard {

using namespace std::chrono_literals;

bool ShowcaseDefaults::isTimeToShowShowcaseDialogIsNow() const {
  return isDue(stored_keys::showcaseNextShowDate);
}

bool ShowcaseDefaults::isNeedShowShowcaseWithVersion(std::int64_t version) const {
  const std::optional<std::int64_t> showed = integerForKey(stored_keys::showcaseShowedVersion);
  return !showed || *showed < version;
}

bool ShowcaseDefaults::isShowcaseShowedBefore() const {
  return dateForKey(stored_keys::showcaseNextShowDate).has_value();
}

bool ShowcaseDefaults::isCanShowShowcaseDialogAutomatically() const {
  return true;
}

void ShowcaseDefaults::notifyAboutShowcaseTryToShowAutomatically() {
  if (!isCanShowShowcaseDialogAutomatically()) saveBoolValue(true, stored_keys::showcaseIsCanShowDialog);
}

bool ShowcaseDefaults::isNeedShowShowcaseDialogAutomaticallyWithVersion(std::int64_t version) const {
  return isCanShowShowcaseDialogAutomatically() && isTimeToShowShowcaseDialogIsNow() &&
         isNeedShowShowcaseWithVersion(version);
}

void ShowcaseDefaults::notifyShowcaseDialogDataThatShowedAutomaticallyVersion(std::int64_t version) {
  m_store.setObject(stored_keys::showcaseNextShowDate, dateFromNow(604800s));
  save(stored_keys::showcaseShowedVersion, {version});
}

Clock::Instant ShowcaseDefaults::getNotificationsNextUpdateDate() const {
  return dateForKey(stored_keys::notificationsNextUpdateDate).value_or(Clock::Instant());
}

bool ShowcaseDefaults::isNeedLoadFromServerDataAboutNotifications() const {
  return getNotificationsNextUpdateDate() <= m_clock.now();
}

void ShowcaseDefaults::notifyPromoManagerDataThatNotificationsWasUpdated(std::chrono::seconds timeToNextUpdate) {
  save(stored_keys::notificationsNextUpdateDate, dateFromNow(timeToNextUpdate));
}

std::int64_t ShowcaseDefaults::getShowedNotificationID() const {
  return integerForKey(stored_keys::showedNotificationId).value_or(0);
}

bool ShowcaseDefaults::isNeedShowNotificationWithID(std::int64_t id) const {
  return getShowedNotificationID() < id;
}

void ShowcaseDefaults::notifyPromoManagerDataThatShowedNotificationWithID(std::int64_t id) {
  save(stored_keys::showedNotificationId, {id});
}

bool ShowcaseDefaults::isHasFreshNewsBaseOnCurrenVersion(std::int64_t version) const {
  const std::optional<std::int64_t> read = integerForKey(stored_keys::newsLastReadedVersion);
  return !read || *read < version;
}

void ShowcaseDefaults::setReadedNewsVersion(std::int64_t version) {
  save(stored_keys::newsLastReadedVersion, {version});
}

std::optional<Clock::Instant> ShowcaseDefaults::getLastLackOfSpaceWarningDate() const {
  return dateForKey(stored_keys::lackOfSpaceWarningDate);
}

void ShowcaseDefaults::setNowAsLastLackOfSpaceWarningDate() {
  save(stored_keys::lackOfSpaceWarningDate, dateFromNow(0s));
}

std::uint64_t ShowcaseDefaults::getShowNumberOfAdForProduct(const std::optional<QString>& product) {
  if (!product) return 0;
  StoredValue::Dictionary counts;
  if (const auto stored = m_store.objectForKey(stored_keys::showNumberDictionary)) {
    if (const auto* known = stored->as<StoredValue::Dictionary>()) counts = *known;
  }
  StoredValue& count = counts[*product];
  const std::uint64_t newCount = convertedUnsigned(count).value_or(0) + 1;
  count = {newCount};
  save(stored_keys::showNumberDictionary, {std::move(counts)});
  return newCount;
}

std::int64_t ShowcaseDefaults::getLackOfDiskMemoryMessageIDwithTotalCount(std::int64_t totalCount) {
  const std::optional<StoredValue> stored = m_store.objectForKey(stored_keys::lackOfDiskMemoryMessageId);
  const std::optional<std::int64_t> last = stored ? stored->toInteger() : std::nullopt;
  // A negative number cannot be the index of a message: the rotation restarts.
  const bool hasNext = last && *last >= 0 && *last < totalCount - 1;
  const std::int64_t next = hasNext ? *last + 1 : 0;
  save(stored_keys::lackOfDiskMemoryMessageId, {next});
  return next;
}

}  // namespace halvard
