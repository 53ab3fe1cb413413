#pragma once

#include <QString>

// Path text with the application's own rules rather than QFileInfo's: an extension is
// the text after the last "." of the last component, but a name whose only dot leads
// (".bashrc") or whose last component is all extension has none.
namespace platform::PathText {

QString lastPathComponent(const QString &path);
QString pathExtension(const QString &path);
QString stringByDeletingPathExtension(const QString &path);
QString stringByDeletingLastPathComponent(const QString &path);
QString stringByAppendingPathComponent(const QString &path, const QString &component);
QString stringByAppendingPathExtension(const QString &path, const QString &extension);

// Some chosen paths are lower-cased before use; on a case-sensitive file system this
// finds the existing file or folder whose path matches case-insensitively, component by
// component (an exact match wins). Returns path unchanged when nothing matches.
QString resolveCaseInsensitive(const QString &path);

} // namespace platform::PathText
