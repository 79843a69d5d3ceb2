#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QHash>
#include <functional>
#include <utility>

#include "support/texts.h"

namespace halvard {

/// A program of the desktop with one object on the bus: it keeps what it is asked, and answers as told.
class FakeService : public QDBusVirtualObject {
 public:
  /// An answer that is no message is not sent: the service hangs.
  using Answer = std::function<QDBusMessage(const QDBusMessage& question)>;

  FakeService(const QDBusConnection& connection, const char* name, const char* path, const char* interface,
              Answer answer)
      : m_connection(connection),
        m_name(text(name)),
        m_path(text(path)),
        m_interface(text(interface)),
        m_answer(std::move(answer)) {}
  ~FakeService() override { stop(); }

  void start() {
    m_connection.registerVirtualObject(m_path, this);
    m_connection.registerService(m_name);
  }
  /// The next start is that of a new program, which was asked nothing so far.
  void stop() {
    m_connection.unregisterService(m_name);
    m_connection.unregisterObject(m_path);
    m_asked.clear();
  }
  void emitSignal(const char* name, const QVariantList& arguments = {}) {
    QDBusMessage message = QDBusMessage::createSignal(m_path, m_interface, text(name));
    message.setArguments(arguments);
    m_connection.send(message);
  }
  /// The arguments of each call of a method, in order.
  QList<QVariantList> asked(const char* method) const { return m_asked.value(text(method)); }

  QString introspect(const QString&) const override { return {}; }
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
    m_asked[message.member()].append(message.arguments());
    const QDBusMessage answer = m_answer(message);
    return answer.type() == QDBusMessage::InvalidMessage || connection.send(answer);
  }

 private:
  QDBusConnection m_connection;
  const QString m_name;
  const QString m_path;
  const QString m_interface;
  const Answer m_answer;
  QHash<QString, QList<QVariantList>> m_asked;
};

}  // namespace halvard
