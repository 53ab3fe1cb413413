#pragma once

#include <QByteArrayView>
#include <QString>

// Writing an output so that no file ever carries its final name half-written: the data goes
// to a temporary file of ours in the destination folder, which is renamed into place once
// complete. The temporary files are named ".quillmere-<pid>-<n>.part", so a later run can
// recognise and remove those left by a process that died.
namespace platform::SafeWrite {

// Creates an empty temporary file in folder with mode 0666 less the umask (what a plain new
// file gets, unlike the 0600 of mkstemp). Empty result (with *reason) on failure.
QString createTemporaryFile(const QString &folder, QString *reason = nullptr);
// The same temporary file holding bytes; empty result (with *reason, and no file left) when
// they could not all be written, as on a full disk.
QString writeTemporaryFile(const QString &folder, QByteArrayView bytes, QString *reason = nullptr);

// bytes as the whole content of path (created or truncated); false (with *reason) when they
// could not all be written.
bool writeFile(const QString &path, QByteArrayView bytes, QString *reason = nullptr);

// Moves temporary into place as finalPath, first giving it mode 0666 less the umask (a
// rewrite by a metadata library may have changed it). With replace off, an existing
// finalPath is never replaced: the call fails and *alreadyExists is set. The temporary file
// is removed on failure.
bool commit(const QString &temporary, const QString &finalPath, bool replace,
            QString *reason = nullptr, bool *alreadyExists = nullptr);

// bytes as the new file finalPath, which never exists half-written. With replace off an
// existing finalPath is never replaced (*alreadyExists is set) and the file is made without
// a name and linked in place once complete where the file system allows; otherwise it goes
// through a temporary file and commit. False (with *reason) when nothing was put in place.
bool writeInPlace(const QString &finalPath, QByteArrayView bytes, bool replace,
                  QString *reason = nullptr, bool *alreadyExists = nullptr);

// Removes the temporary files in folder whose writing process is gone; returns how many.
int removeStaleTemporaryFiles(const QString &folder);

// The mode of a new file: 0666 less the process's umask.
unsigned newFileMode();

} // namespace platform::SafeWrite
