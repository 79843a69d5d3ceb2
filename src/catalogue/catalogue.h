#pragma once

class QCoreApplication;

namespace halvard {

/// Installs the English catalogue, which says for Linux what the texts of the source say for another system. Call it
/// before the first text is made; the translator belongs to `application`.
void installCatalogue(QCoreApplication& application);

}  // namespace halvard
