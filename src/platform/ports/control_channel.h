#pragma once

#include <QJsonObject>
#include <QMap>
#include <QObject>
#include <QString>

#include "core/result.h"

namespace halvard {

/// What the running program does for the command line. Main thread.
class ControlHandler {
 public:
  virtual ~ControlHandler() = default;
  /// The status record.
  virtual QJsonObject status() = 0;
  /// Starts a purge; false when one runs already.
  virtual bool startCleaning() = 0;
  /// Brings the panel forward.
  virtual void showPanel() = 0;
  /// The value of each preference by its name, as setPreference() takes it.
  virtual QMap<QString, QString> preferences() = 0;
  /// Changes a preference now. The error is one line, and nothing has changed then.
  virtual Result<void> setPreference(const QString& name, const QString& value) = 0;
};

/// The program's side. Main thread. No session bus: nobody asks.
class ControlServer {
 public:
  virtual ~ControlServer() = default;
  /// Answers from now on. False when another process answers already, and then this one does as soon as that one ends,
  /// or when nobody can be reached.
  virtual bool start(ControlHandler& handler) = 0;
  /// 0 to 1.
  virtual void publishProgress(double progress) = 0;
  /// The purge record.
  virtual void publishFinished(const QJsonObject& record) = 0;
  /// The same record a minute later, with its second look.
  virtual void publishRechecked(const QJsonObject& record) = 0;
};

/// The command line's side. Main thread.
class ControlClient : public QObject {
  Q_OBJECT

 public:
  using QObject::QObject;
  /// Whether a program answers now.
  virtual bool isProgramRunning() const = 0;
  virtual Result<QJsonObject> status() = 0;
  /// False when a purge runs already. Its course follows as signals.
  virtual Result<bool> startCleaning() = 0;
  virtual Result<void> showPanel() = 0;
  virtual Result<QMap<QString, QString>> preferences() = 0;
  /// A refusal by the program is its own words.
  virtual Result<void> setPreference(const QString& name, const QString& value) = 0;

 Q_SIGNALS:
  void progressed(double progress);
  void finished(const QJsonObject& record);
  void rechecked(const QJsonObject& record);
  /// The program quit or died.
  void programGone();
};

}  // namespace halvard
