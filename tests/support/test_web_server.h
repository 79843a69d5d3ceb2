#pragma once

#include <QByteArray>
#include <QObject>
#include <QStringList>
#include <QThread>
#include <QUrl>
#include <map>
#include <mutex>

class QTcpSocket;

namespace halvard {

/// A web server on the loopback interface, on a thread of its own, that answers every path as told. Thread safe.
class TestWebServer : public QObject {
  Q_OBJECT

 public:
  struct Answer {
    enum class Kind {
      Whole,
      /// Announces the body's length, sends half of it and hangs up.
      Truncated,
      /// Sends the body again and again until the client hangs up.
      Endless,
      /// Takes the request and says nothing.
      Silent,
      /// One byte of the body every 50 ms.
      Trickle,
    };
    QByteArray body;
    Kind kind = Kind::Whole;
    QByteArray status = "200 OK";
    /// Whole lines, each with its line end.
    QByteArray headers = {};
  };

  TestWebServer();
  ~TestWebServer() override;

  QUrl url(const QString& path) const;
  void answer(const QString& path, Answer answer);
  void redirect(const QString& path, const QByteArray& target);
  /// The paths asked for so far, in order.
  QStringList requests() const;
  /// The last request as it arrived.
  QByteArray lastRequest() const;

 private:
  void serve(QTcpSocket* socket);
  static void send(QTcpSocket* socket, const Answer& answer);

  QThread m_thread;
  quint16 m_port = 0;
  mutable std::mutex m_mutex;
  std::map<QString, Answer> m_answers;
  QStringList m_requests;
  QByteArray m_lastRequest;
};

}  // namespace halvard
