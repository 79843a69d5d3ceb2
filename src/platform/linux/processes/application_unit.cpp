#include "platform/linux/processes/application_unit.h"

#include <algorithm>
#include <charconv>

namespace halvard {

namespace {

QString decoded(std::string_view escaped) {
  return QString::fromUtf8(unescapeUnitName(escaped));
}

bool takePrefix(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

bool takeSuffix(std::string_view& text, std::string_view suffix) {
  if (!text.ends_with(suffix)) return false;
  text.remove_suffix(suffix.size());
  return true;
}

// The number or random text behind the last dash.
bool takeLastPart(std::string_view& text) {
  const std::size_t dash = text.rfind('-');
  if (dash == text.npos || dash == 0) return false;
  text = text.substr(0, dash);
  return true;
}

bool isNumber(std::string_view text) {
  return !text.empty() && std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

// "LAUNCHER-ID" or "ID". Dashes of an id are escaped, but not by every launcher.
QStringList idsOf(std::string_view text) {
  QStringList ids;
  const std::size_t first = text.find('-');
  const std::size_t last = text.rfind('-');
  if (first == text.npos) return {decoded(text)};
  ids << decoded(text.substr(first + 1)) << decoded(text) << decoded(text.substr(last + 1));
  ids.removeDuplicates();
  ids.removeAll(QString());
  return ids;
}

QStringList idsOfApplicationUnit(std::string_view name) {
  if (takeSuffix(name, ".scope")) {
    takeLastPart(name);
  } else if (takeSuffix(name, ".service")) {
    const std::size_t instance = name.find('@');
    if (instance != name.npos)
      name = name.substr(0, instance);
    else if (isNumber(name.substr(name.rfind('-') + 1)))
      takeLastPart(name);
  } else {
    return {};
  }
  return name.empty() ? QStringList() : idsOf(name);
}

// "SNAP.APP-UUID" or "SNAP.APP.UUID" is the entry "SNAP_APP".
QStringList idsOfSnap(std::string_view name) {
  constexpr std::size_t uuidLength = 36;
  if (!takeSuffix(name, ".scope") || name.size() < uuidLength + 2) return {};
  name.remove_suffix(uuidLength + 1);
  const std::size_t dot = name.find('.');
  if (dot == name.npos || dot + 1 == name.size()) return {};
  return {decoded(name.substr(0, dot)) + QLatin1Char('_') + decoded(name.substr(dot + 1))};
}

QStringList idsOfFlatpak(std::string_view name) {
  return takeSuffix(name, ".scope") && takeLastPart(name) ? QStringList{decoded(name)} : QStringList();
}

QStringList idsOfUnit(std::string_view name, bool belowApplications) {
  if (takePrefix(name, "snap.")) return idsOfSnap(name);
  if (takePrefix(name, "flatpak-")) return idsOfFlatpak(name);
  return belowApplications && takePrefix(name, "app-") ? idsOfApplicationUnit(name) : QStringList();
}

std::optional<std::uint32_t> userOf(std::string_view folder) {
  if (!takePrefix(folder, "user-") || !takeSuffix(folder, ".slice")) return std::nullopt;
  std::uint32_t user = 0;
  const auto [end, error] = std::from_chars(folder.data(), folder.data() + folder.size(), user);
  if (error != std::errc() || end != folder.data() + folder.size()) return std::nullopt;
  return user;
}

std::optional<ApplicationUnit> unitOfPath(std::string_view path) {
  ApplicationUnit unit;
  bool belowApplications = false;
  std::size_t begin = 0;
  while (begin < path.size()) {
    const std::size_t end = std::min(path.find('/', begin), path.size());
    const std::string_view folder = path.substr(begin, end - begin);
    if (const auto user = userOf(folder)) unit.user = user;
    if (const QStringList ids = idsOfUnit(folder, belowApplications); !ids.isEmpty()) {
      unit.desktopIds = ids;
      unit.path = QByteArray(path.data(), static_cast<qsizetype>(end));
    }
    belowApplications = belowApplications || folder == "app.slice";
    begin = end + 1;
  }
  if (unit.desktopIds.isEmpty()) return std::nullopt;
  return unit;
}

}  // namespace

QByteArray unescapeUnitName(std::string_view name) {
  QByteArray result;
  for (std::size_t position = 0; position < name.size(); ++position) {
    unsigned char byte = 0;
    if (name.substr(position, 2) == "\\x" && position + 4 <= name.size()) {
      const char* digits = name.data() + position + 2;
      const auto [end, error] = std::from_chars(digits, digits + 2, byte, 16);
      if (error == std::errc() && end == digits + 2) {
        result += static_cast<char>(byte);
        position += 3;
        continue;
      }
    }
    result += name[position];
  }
  return result;
}

std::optional<ApplicationUnit> applicationUnit(std::string_view controlGroups) {
  while (!controlGroups.empty()) {
    const std::size_t length = std::min(controlGroups.find('\n'), controlGroups.size());
    std::string_view line = controlGroups.substr(0, length);
    controlGroups.remove_prefix(std::min(length + 1, controlGroups.size()));
    const std::size_t number = line.find(':');
    const std::size_t names = number == line.npos ? line.npos : line.find(':', number + 1);
    if (names == line.npos) continue;
    const std::string_view controllers = line.substr(number + 1, names - number - 1);
    if (!controllers.empty() && controllers != "name=systemd") continue;
    if (auto unit = unitOfPath(line.substr(names + 1))) return unit;
  }
  return std::nullopt;
}

}  // namespace halvard
