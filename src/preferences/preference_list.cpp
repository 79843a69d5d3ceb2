#include "preferences/preference_list.h"

#include <QRegularExpression>
#include <QStringList>
#include <algorithm>
#include <cmath>
#include <optional>

#include "preferences/preferences_model.h"

namespace halvard {
namespace {

const QStringList kIconTexts{QStringLiteral("nothing"), QStringLiteral("percent"), QStringLiteral("used"),
                             QStringLiteral("free")};
constexpr double kShortestInterval = 60;
constexpr double kLongestInterval = 24 * 60 * 60;

QString switchText(bool isOn) {
  return isOn ? QStringLiteral("on") : QStringLiteral("off");
}

std::optional<bool> parseSwitch(const QString& text) {
  if (QStringList{QStringLiteral("on"), QStringLiteral("true"), QStringLiteral("yes"), QStringLiteral("1")}.contains(
          text))
    return true;
  if (QStringList{QStringLiteral("off"), QStringLiteral("false"), QStringLiteral("no"), QStringLiteral("0")}.contains(
          text))
    return false;
  return std::nullopt;
}

/// The shortest text that reads back as the same fraction.
QString percentText(double fraction) {
  for (int digits = 0; digits < 12; ++digits) {
    const QString text = QString::number(fraction * 100, 'f', digits);
    if (text.toDouble() / 100 == fraction) return text + QLatin1Char('%');
  }
  return QString::number(fraction * 100, 'g', 4) + QLatin1Char('%');
}

/// "80%" or "0.8".
std::optional<double> parseFraction(QString text) {
  const bool isPercent = text.endsWith(QLatin1Char('%'));
  if (isPercent) text.chop(1);
  bool isNumber = false;
  const double number = text.toDouble(&isNumber);
  const double fraction = isPercent ? number / 100 : number;
  return isNumber && fraction >= 0 && fraction <= 1 ? std::optional(fraction) : std::nullopt;
}

QString intervalText(double seconds) {
  const bool isCountable = seconds > 0 && seconds < 1e15;
  const auto whole = static_cast<qint64>(isCountable ? seconds : 0);
  if (whole <= 0 || static_cast<double>(whole) != seconds || whole % 60 != 0)
    return QString::number(seconds) + QLatin1Char('s');
  const QString hours = whole >= 3600 ? QStringLiteral("%1h").arg(whole / 3600) : QString();
  const qint64 minutes = whole / 60 % 60;
  return hours + (minutes > 0 ? QStringLiteral("%1min").arg(minutes) : QString());
}

/// "90s", "40min", "1h30min", "2h".
std::optional<double> parseInterval(const QString& text) {
  static const QRegularExpression form(QStringLiteral("^(?:(\\d{1,4})h)?(?:(\\d{1,6})min)?(?:(\\d{1,8})s)?$"));
  const QRegularExpressionMatch match = form.match(text);
  if (!match.hasMatch() || text.isEmpty()) return std::nullopt;
  const double seconds =
      match.captured(1).toInt() * 3600.0 + match.captured(2).toInt() * 60.0 + match.captured(3).toInt();
  return seconds >= kShortestInterval && seconds <= kLongestInterval ? std::optional(seconds) : std::nullopt;
}

QString iconText(std::int64_t index) {
  return kIconTexts.value(static_cast<qsizetype>(index), QString::number(index));
}

std::optional<std::int64_t> parseIconText(const QString& text) {
  const qsizetype index = kIconTexts.indexOf(text);
  return index < 0 ? std::nullopt : std::optional<std::int64_t>(index);
}

template <class T, class Text, class Parse>
NamedPreference named(const char* name, const char* meaning, const char* values, PreferenceItem<T>& item, Text text,
                      Parse parse) {
  const QString title = QString::fromLatin1(name);
  const QString range = QString::fromLatin1(values);
  return {title,
          QString::fromLatin1(meaning),
          range,
          text(item.defaultValue()),
          [&item, text] { return text(item.value()); },
          [&item, parse, title, range](const QString& given) -> Result<void> {
            const std::optional<T> value = parse(given.trimmed().toLower());
            if (!value) return Error{QStringLiteral("%1 takes %2, not '%3'").arg(title, range, given.simplified())};
            item.setValue(*value);
            if (item.value() != *value) return Error{QStringLiteral("%1 may not be changed now").arg(title)};
            return {};
          }};
}

NamedPreference namedSwitch(const char* name, const char* meaning, PreferenceItem<bool>& item) {
  return named(name, meaning, "on or off", item, switchText, parseSwitch);
}

NamedPreference namedFraction(const char* name, const char* meaning, PreferenceItem<double>& item) {
  return named(name, meaning, "0% to 100%", item, percentText, parseFraction);
}

}  // namespace

std::vector<NamedPreference> preferenceList(PreferencesModel& model) {
  return {
      namedSwitch("scan-disk", "scan the disk usage at start", model.scanDiskUsageAtAppStartUp()),
      namedSwitch("notify", "show a notification after memory is freed", model.showNotificationAfreFreeUp()),
      named("icon-text", "what stands beside the icon", "nothing, percent, used or free", model.visionIndex(), iconText,
            parseIconText),
      namedSwitch("free-after-large-app", "free memory when a large application quits",
                  model.shouldCleanupMemoryIfLargeAppQuits()),
      namedSwitch("auto-free", "free memory automatically", model.autoFreeUpMemory()),
      namedFraction("memory-limit", "automatically only above this memory usage", model.memoryUsageLimitToAutofree()),
      named("interval", "automatically not more often than every", "1min to 24h, like 40min or 1h30min",
            model.frequencyForToAutofree(), intervalText, parseInterval),
      namedFraction("cpu-limit", "automatically only below this CPU usage", model.cpuUsageLimitToAutofree()),
  };
}

QMap<QString, QString> preferenceValues(const std::vector<NamedPreference>& preferences) {
  QMap<QString, QString> values;
  for (const NamedPreference& preference : preferences)
    values[preference.name] = preference.value();
  return values;
}

Result<void> setNamedPreference(const std::vector<NamedPreference>& preferences, const QString& name,
                                const QString& text) {
  QStringList names;
  for (const NamedPreference& preference : preferences) {
    if (preference.name == name) return preference.set(text);
    names << preference.name;
  }
  return Error{QStringLiteral("unknown preference '%1': %2").arg(name.simplified(), names.join(QStringLiteral(", ")))};
}

}  // namespace halvard
