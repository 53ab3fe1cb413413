#include "platform/EpsRenderer.h"

#include <QProcess>
#include <QStandardPaths>

namespace platform::EpsRenderer {

bool isEpsExtension(const QString &extension) {
  const QString e = extension.toLower();
  return e == QLatin1String("eps") || e == QLatin1String("epsf") || e == QLatin1String("epsi");
}

std::optional<vips::VImage> render(const QString &path) {
  const QString gs = QStandardPaths::findExecutable(QStringLiteral("gs"));
  if (gs.isEmpty())
    return std::nullopt;
  QProcess process;
  // The PostScript program's own output goes to standard error, so standard output holds the
  // picture alone; -dSAFER keeps the file from touching anything else.
  process.start(gs, {QStringLiteral("-q"), QStringLiteral("-dSAFER"), QStringLiteral("-dBATCH"),
                     QStringLiteral("-dNOPAUSE"), QStringLiteral("-dEPSCrop"),
                     QStringLiteral("-dTextAlphaBits=4"), QStringLiteral("-dGraphicsAlphaBits=4"),
                     QStringLiteral("-r72"), QStringLiteral("-sDEVICE=png16m"),
                     QStringLiteral("-sstdout=%stderr"), QStringLiteral("-sOutputFile=-"),
                     QStringLiteral("--"), path});
  process.closeWriteChannel();
  if (!process.waitForFinished(60000)) {
    process.kill();
    process.waitForFinished();
    return std::nullopt;
  }
  const QByteArray png = process.readAllStandardOutput();
  if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0 || png.isEmpty())
    return std::nullopt;
  try {
    // Decoded while the bytes are still here: the image does not keep them.
    return vips::VImage::new_from_buffer(png.constData(), size_t(png.size()), "").copy_memory();
  } catch (const vips::VError &) {
    return std::nullopt;
  }
}

} // namespace platform::EpsRenderer
