#include <QStringList>
#include <algorithm>
#include <limits>

#include "preferences/showcase_defaults.h"
#include "preferences/stored_keys.h"

// The accessors of the rate dialog.

namespace halvard {
namespace {

using namespace std::chrono_literals;

constexpr ByteCount minimumCleanedSize = 524288000;
constexpr std::int64_t maximumAutomaticShowings = 3;

}  // namespace

void ShowcaseDefaults::notifyRateDialogDataThatAppStarted() {
  const QString running = buildAppVersionWith2Numbers();
  if (textForKey(stored_keys::rateCurrentAppVersion) != running) onFirstStartOrVersionChangedTo(running);
}

void ShowcaseDefaults::onFirstStartOrVersionChangedTo(const QString& version) {
  m_store.setObject(stored_keys::rateNextShowDate, dateFromNow(1209600s));
  m_store.setObject(stored_keys::rateIsUserSelectStar, {false});
  m_store.setObject(stored_keys::rateCurrentAppVersion, {version});
  save(stored_keys::rateCountOfAutoShow, {std::int64_t{0}});
}

void ShowcaseDefaults::notifyRateDialogDataThatRateDialogShowedAutomatically(bool automatically) {
  if (automatically) {
    const std::int64_t showings = getCountOfRateDialogAutoShowed();
    m_store.setObject(stored_keys::rateCountOfAutoShow,
                      {std::min(showings, std::numeric_limits<std::int64_t>::max() - 1) + 1});
  }
  save(stored_keys::rateNextShowDate, dateFromNow(2592000s));
}

void ShowcaseDefaults::notifyRateDialogDataThatUserClickOnStar() {
  saveBoolValue(true, stored_keys::rateIsUserSelectStar);
}

bool ShowcaseDefaults::isUserAlreadyСlickedOnStar() const {
  return getBoolValueForKey(stored_keys::rateIsUserSelectStar, false);
}

std::int64_t ShowcaseDefaults::getCountOfRateDialogAutoShowed() const {
  return integerForKey(stored_keys::rateCountOfAutoShow).value_or(0);
}

bool ShowcaseDefaults::isTimeToShowRateDialogIsNow() const {
  return isDue(stored_keys::rateNextShowDate);
}

bool ShowcaseDefaults::isNeedShowRateDialogAutomatically() const {
  if (isUserAlreadyСlickedOnStar() || cleanedSize() < minimumCleanedSize ||
      getCountOfRateDialogAutoShowed() >= maximumAutomaticShowings) {
    return false;
  }
  return isTimeToShowRateDialogIsNow();
}

QString ShowcaseDefaults::buildAppVersionWith2Numbers() const {
  return m_applicationVersion.split(QLatin1Char('.')).mid(0, 2).join(QLatin1Char('.'));
}

}  // namespace halvard
