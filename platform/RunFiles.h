#pragma once

#include "platform/Files.h"

#include <QByteArray>
#include <QString>

// What the run journal and its undo ask of the file system.
namespace platform::RunFiles {

using Files::Result;

// Appends line (a newline is added) to path, made when missing, in one write on a file opened
// for appending, and waits until it is on the disk: a process killed at any moment leaves
// every line it appended before, whole.
Result appendLine(const QString &path, const QByteArray &line);

// Puts a file back from the trash (a path that moveToTrash gave) to destination, which must
// be free: an existing file there is never replaced. The trash's note about the file goes
// with it.
Result restoreFromTrash(const QString &pathInTrash, const QString &destination);

} // namespace platform::RunFiles
