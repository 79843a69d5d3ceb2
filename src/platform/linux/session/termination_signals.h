#pragma once

#include <QObject>
#include <memory>

class QSocketNotifier;

namespace halvard {

/// Turns SIGTERM, SIGINT and SIGHUP into one Qt signal, so that the program leaves as if the user had quit it.
/// One instance a process, on the main thread.
class TerminationSignals : public QObject {
  Q_OBJECT

 public:
  explicit TerminationSignals(QObject* parent = nullptr);
  ~TerminationSignals() override;

 Q_SIGNALS:
  void terminationRequested();

 private:
  std::unique_ptr<QSocketNotifier> m_notifier;
};

}  // namespace halvard
