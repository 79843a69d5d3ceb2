#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <optional>

namespace halvard {

/// What matters of a desktop entry for starting a program at login.
struct DesktopEntry {
  /// Not localized; may be empty.
  QString name;
  /// Program and arguments, unquoted, without field codes. Empty when the entry has none or is badly quoted.
  QStringList arguments;
  /// Start only where this program is installed; may be empty.
  QString tryExec;
  /// As good as deleted; in a user's folder, masks the system's entry of the same name.
  bool hidden = false;
  /// False where the user has switched it off in the session settings of the desktop.
  bool autostartEnabled = true;
  /// Desktops it is for, and not for; empty: every one.
  QStringList onlyShowIn;
  QStringList notShowIn;

  /// True when a session of these desktops (XDG_CURRENT_DESKTOP) starts it, provided the program exists.
  bool startsIn(const QStringList& currentDesktops) const;
};

/// Nothing when the bytes are no desktop entry of an application.
std::optional<DesktopEntry> parseDesktopEntry(const QByteArray& bytes);

/// An autostart entry that menus do not list.
QByteArray autostartEntry(const QString& name, const QStringList& arguments);

/// The content with "Hidden=true" added, everything else as it was. What is no desktop entry is replaced.
QByteArray maskedEntry(const QByteArray& bytes);

/// The content with another command, everything else as it was. What is no desktop entry is replaced.
QByteArray entryWithCommand(const QByteArray& bytes, const QStringList& arguments);

/// The Exec value of `arguments`, before the escapes every string of the file gets: arguments with reserved characters
/// in double quotes, percent signs doubled.
QString execValue(const QStringList& arguments);

/// The reverse: unquoted, with the field codes (%f, %U, …) taken out. Empty when the quoting is wrong.
QStringList execArguments(const QString& exec);

}  // namespace halvard
