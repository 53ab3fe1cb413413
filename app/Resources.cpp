#include "app/Resources.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QStringList>

namespace Resources {

QString pathForResource(const QString &name, const QString &type) {
  const QString file = type.isEmpty() ? name : name + QLatin1Char('.') + type;
  QStringList folders;
  if (QCoreApplication::instance()) {
    const QString bin = QCoreApplication::applicationDirPath();
    folders << bin + QStringLiteral("/../share/quillmere/resources")
            << bin + QStringLiteral("/../resources");
  }
  folders << QStringLiteral(QUILLMERE_RESOURCES_DIR);
  for (const QString &folder : folders) {
    const QFileInfo info(folder + QLatin1Char('/') + file);
    if (info.isFile())
      return info.canonicalFilePath();
  }
  return {};
}

} // namespace Resources
