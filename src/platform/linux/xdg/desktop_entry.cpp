#include "platform/linux/xdg/desktop_entry.h"

#include <algorithm>
#include <memory>

#include <glib.h>

namespace halvard {
namespace {

constexpr const char* group = G_KEY_FILE_DESKTOP_GROUP;

struct Freer {
  void operator()(GKeyFile* file) const { g_key_file_free(file); }
  void operator()(char* text) const { g_free(text); }
  void operator()(char** texts) const { g_strfreev(texts); }
};
using KeyFile = std::unique_ptr<GKeyFile, Freer>;
using Text = std::unique_ptr<char, Freer>;
using Texts = std::unique_ptr<char*, Freer>;

KeyFile emptyFile() {
  return KeyFile(g_key_file_new());
}

KeyFile parsedFile(const QByteArray& bytes) {
  KeyFile file = emptyFile();
  const auto flags = static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
  const auto size = static_cast<gsize>(bytes.size());
  if (!g_key_file_load_from_data(file.get(), bytes.constData(), size, flags, nullptr)) return nullptr;
  return g_key_file_has_group(file.get(), group) ? std::move(file) : nullptr;
}

QString textOf(GKeyFile* file, const char* key) {
  const Text text(g_key_file_get_string(file, group, key, nullptr));
  return QString::fromUtf8(text.get());
}

QStringList listOf(GKeyFile* file, const char* key) {
  const Texts texts(g_key_file_get_string_list(file, group, key, nullptr, nullptr));
  QStringList list;
  for (char** text = texts.get(); text && *text; ++text)
    list << QString::fromUtf8(*text);
  return list;
}

bool boolOf(GKeyFile* file, const char* key, bool defaultValue) {
  if (!g_key_file_has_key(file, group, key, nullptr)) return defaultValue;
  return g_key_file_get_boolean(file, group, key, nullptr);
}

void setText(GKeyFile* file, const char* key, const QString& text) {
  g_key_file_set_string(file, group, key, text.toUtf8().constData());
}

QByteArray contentOf(GKeyFile* file) {
  gsize size = 0;
  const Text data(g_key_file_to_data(file, &size, nullptr));
  return QByteArray(data.get(), static_cast<qsizetype>(size));
}

void setCommand(GKeyFile* file, const QStringList& arguments) {
  setText(file, "Exec", execValue(arguments));
  setText(file, "TryExec", arguments.value(0));
}

bool needsQuotes(const QString& argument) {
  static const QString reserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
  const auto isReserved = [](QChar character) { return reserved.contains(character); };
  return argument.isEmpty() || std::any_of(argument.begin(), argument.end(), isReserved);
}

QString quoted(const QString& argument) {
  QString result(1, QLatin1Char('"'));
  for (const QChar character : argument) {
    if (QStringLiteral("\"`$\\").contains(character)) result += QLatin1Char('\\');
    result += character;
  }
  return result + QLatin1Char('"');
}

// Nothing when nothing is left of it: an argument that is a field code and no more.
std::optional<QString> withoutFieldCodes(const QString& argument) {
  QString result;
  bool hadCode = false;
  for (qsizetype position = 0; position < argument.size(); ++position) {
    if (argument[position] != QLatin1Char('%') || position + 1 == argument.size()) {
      result += argument[position];
    } else if (argument[++position] == QLatin1Char('%')) {
      result += QLatin1Char('%');
    } else {
      hadCode = true;
    }
  }
  return hadCode && result.isEmpty() ? std::nullopt : std::optional(result);
}

}  // namespace

bool DesktopEntry::startsIn(const QStringList& currentDesktops) const {
  const auto isNamed = [&](const QStringList& list) {
    return std::any_of(currentDesktops.begin(), currentDesktops.end(),
                       [&](const QString& desktop) { return list.contains(desktop); });
  };
  if (hidden || !autostartEnabled || arguments.isEmpty() || isNamed(notShowIn)) return false;
  return onlyShowIn.isEmpty() || isNamed(onlyShowIn);
}

std::optional<DesktopEntry> parseDesktopEntry(const QByteArray& bytes) {
  const KeyFile file = parsedFile(bytes);
  if (!file) return std::nullopt;
  DesktopEntry entry;
  entry.hidden = boolOf(file.get(), "Hidden", false);
  // An entry that only masks another needs no type.
  if (!entry.hidden && textOf(file.get(), "Type") != QLatin1StringView("Application")) return std::nullopt;
  entry.name = textOf(file.get(), "Name");
  entry.arguments = execArguments(textOf(file.get(), "Exec"));
  entry.tryExec = textOf(file.get(), "TryExec");
  entry.autostartEnabled = boolOf(file.get(), "X-GNOME-Autostart-enabled", true);
  entry.onlyShowIn = listOf(file.get(), "OnlyShowIn");
  entry.notShowIn = listOf(file.get(), "NotShowIn");
  return entry;
}

QByteArray autostartEntry(const QString& name, const QStringList& arguments) {
  const KeyFile file = emptyFile();
  setText(file.get(), "Type", QStringLiteral("Application"));
  setText(file.get(), "Name", name);
  setCommand(file.get(), arguments);
  setText(file.get(), "NoDisplay", QStringLiteral("true"));
  setText(file.get(), "Terminal", QStringLiteral("false"));
  return contentOf(file.get());
}

QByteArray maskedEntry(const QByteArray& bytes) {
  KeyFile file = parsedFile(bytes);
  if (!file) file = emptyFile();
  g_key_file_set_boolean(file.get(), group, "Hidden", TRUE);
  return contentOf(file.get());
}

QByteArray entryWithCommand(const QByteArray& bytes, const QStringList& arguments) {
  KeyFile file = parsedFile(bytes);
  if (!file) file = emptyFile();
  setCommand(file.get(), arguments);
  return contentOf(file.get());
}

QString execValue(const QStringList& arguments) {
  QStringList words;
  for (QString argument : arguments) {
    argument.replace(QLatin1Char('%'), QStringLiteral("%%"));
    words << (needsQuotes(argument) ? quoted(argument) : argument);
  }
  return words.join(QLatin1Char(' '));
}

QStringList execArguments(const QString& exec) {
  char** parsed = nullptr;
  if (!g_shell_parse_argv(exec.toUtf8().constData(), nullptr, &parsed, nullptr)) return {};
  const Texts words(parsed);
  QStringList arguments;
  for (char** word = words.get(); *word; ++word) {
    if (const std::optional<QString> argument = withoutFieldCodes(QString::fromUtf8(*word))) arguments << *argument;
  }
  return arguments;
}

}  // namespace halvard
