#include "catalogue/catalogue.h"

#include <QCoreApplication>
#include <QTranslator>

namespace halvard {

void installCatalogue(QCoreApplication& application) {
  auto* translator = new QTranslator(&application);
  if (translator->load(QStringLiteral(":/halvard/translations/halvard_en.qm"))) {
    QCoreApplication::installTranslator(translator);
  }
}

}  // namespace halvard
