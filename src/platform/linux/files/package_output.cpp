// The part of PackageSizes that reads what others wrote; touches nothing.
#include <glib.h>

#include "platform/linux/files/package_sizes.h"

namespace halvard::package_output {

std::map<QByteArray, QByteArray> dpkgOwners(const QByteArray& output) {
  std::map<QByteArray, QByteArray> owners;
  for (const QByteArray& line : output.split('\n')) {
    // A diverted file has lines of its own that name no owner.
    if (line.startsWith("diversion by ")) continue;
    const qsizetype separator = line.indexOf(": /");
    if (separator <= 0) continue;
    const qsizetype comma = line.indexOf(", ");
    const qsizetype end = comma > 0 && comma < separator ? comma : separator;
    owners.emplace(line.mid(separator + 2), line.left(end));
  }
  return owners;
}

std::map<QByteArray, ByteCount> dpkgSizes(const QByteArray& output) {
  std::map<QByteArray, ByteCount> sizes;
  for (const QByteArray& line : output.split('\n')) {
    const QList<QByteArray> fields = line.split('\t');
    bool isNumber = false;
    const ByteCount kilobytes = fields.size() == 2 ? fields[1].toULongLong(&isNumber) : 0;
    if (isNumber) sizes.emplace(fields[0], kilobytes * 1024);
  }
  return sizes;
}

std::optional<OwningPackage> rpmOwner(const QByteArray& output) {
  const QList<QByteArray> fields = output.left(output.indexOf('\n')).split('\t');
  bool isNumber = false;
  const ByteCount bytes = fields.size() == 2 ? fields[1].toULongLong(&isNumber) : 0;
  return isNumber ? std::optional(OwningPackage{"rpm:" + fields[0], bytes}) : std::nullopt;
}

std::optional<ByteCount> flatpakInstalledSize(const QByteArray& deployFile) {
  GBytes* const bytes = g_bytes_new(deployFile.constData(), static_cast<gsize>(deployFile.size()));
  GVariant* const deploy = g_variant_ref_sink(g_variant_new_from_bytes(G_VARIANT_TYPE("(ssasta{sv})"), bytes, FALSE));
  guint64 size = 0;
  g_variant_get_child(deploy, 3, "t", &size);
  const bool isWhole = g_variant_is_normal_form(deploy) != FALSE;
  g_variant_unref(deploy);
  g_bytes_unref(bytes);
  if (!isWhole) return {};
  return GUINT64_FROM_BE(size);
}

}  // namespace halvard::package_output
