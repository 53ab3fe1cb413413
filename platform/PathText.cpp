#include "platform/PathText.h"

#include <QDir>
#include <QFileInfo>
#include <QStringList>

namespace platform::PathText {

namespace {

// Runs of "/" become one and a trailing "/" goes, except for the root itself.
QString fixSlashes(const QString &path) {
  QString fixed;
  fixed.reserve(path.size());
  for (const QChar c : path) {
    if (c == QLatin1Char('/') && fixed.endsWith(QLatin1Char('/')))
      continue;
    fixed.append(c);
  }
  if (fixed.size() > 1 && fixed.endsWith(QLatin1Char('/')))
    fixed.chop(1);
  return fixed;
}

// Index where the extension starts (after the dot), or -1 when the last component has
// none: no dot, a leading dot only (".bashrc") or a dot at the very end ("a.").
qsizetype extensionStart(const QString &fixed) {
  const qsizetype componentStart = fixed.lastIndexOf(QLatin1Char('/')) + 1;
  const qsizetype dot = fixed.lastIndexOf(QLatin1Char('.'));
  if (dot <= componentStart - 1 || dot == componentStart || dot == fixed.size() - 1)
    return -1;
  return dot + 1;
}

} // namespace

QString lastPathComponent(const QString &path) {
  const QString fixed = fixSlashes(path);
  if (fixed == QLatin1String("/"))
    return fixed;
  return fixed.mid(fixed.lastIndexOf(QLatin1Char('/')) + 1);
}

QString pathExtension(const QString &path) {
  const QString fixed = fixSlashes(path);
  const qsizetype start = extensionStart(fixed);
  return start < 0 ? QString() : fixed.mid(start);
}

QString stringByDeletingPathExtension(const QString &path) {
  const QString fixed = fixSlashes(path);
  const qsizetype start = extensionStart(fixed);
  return start < 0 ? fixed : fixed.left(start - 1);
}

QString stringByDeletingLastPathComponent(const QString &path) {
  const QString fixed = fixSlashes(path);
  const qsizetype slash = fixed.lastIndexOf(QLatin1Char('/'));
  if (slash < 0)
    return QString();
  if (slash == 0)
    return QStringLiteral("/");
  return fixed.left(slash);
}

QString stringByAppendingPathComponent(const QString &path, const QString &component) {
  if (path.isEmpty())
    return fixSlashes(component);
  if (component.isEmpty())
    return fixSlashes(path);
  return fixSlashes(path + QLatin1Char('/') + component);
}

QString stringByAppendingPathExtension(const QString &path, const QString &extension) {
  const QString fixed = fixSlashes(path);
  // Neither an empty path nor the root has a name to extend.
  if (fixed.isEmpty() || fixed == QLatin1String("/"))
    return fixed;
  return fixed + QLatin1Char('.') + extension;
}

QString resolveCaseInsensitive(const QString &path) {
  if (path.isEmpty() || QFileInfo::exists(path))
    return path;
  const bool absolute = path.startsWith(QLatin1Char('/'));
  const QStringList components = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
  QString resolved = absolute ? QStringLiteral("/") : QString();
  for (const QString &component : components) {
    const QString base = resolved.isEmpty() ? QStringLiteral(".") : resolved;
    const QString exact = stringByAppendingPathComponent(resolved, component);
    QString next;
    if (component == QLatin1String(".") || component == QLatin1String("..") ||
        QFileInfo::exists(exact)) {
      next = exact;
    } else {
      // Entries in name order, so the same folder always resolves the same way.
      const QStringList entries = QDir(base).entryList(
          QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
      for (const QString &entry : entries) {
        if (entry.compare(component, Qt::CaseInsensitive) == 0) {
          next = stringByAppendingPathComponent(resolved, entry);
          break;
        }
      }
      if (next.isEmpty())
        return path;
    }
    resolved = next;
  }
  return resolved;
}

} // namespace platform::PathText
