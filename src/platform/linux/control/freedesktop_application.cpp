#include "platform/linux/control/freedesktop_application.h"

#include <utility>

namespace halvard {

FreedesktopApplication::FreedesktopApplication(QObject* parent, Calls calls)
    : QDBusAbstractAdaptor(parent), m_calls(std::move(calls)) {}

void FreedesktopApplication::Activate(const QVariantMap&) {
  m_calls.activate();
}

void FreedesktopApplication::Open(const QStringList&, const QVariantMap&) {
  m_calls.activate();
}

void FreedesktopApplication::ActivateAction(const QString& name, const QVariantList&, const QVariantMap&) {
  m_calls.activateAction(name);
}

}  // namespace halvard
