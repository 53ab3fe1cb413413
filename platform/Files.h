#pragma once

#include <QDateTime>
#include <QString>

// File-manager operations. None throws; failures come back as values.
namespace platform::Files {

struct Result {
  bool ok = true;
  int code = 0;    // errno-like code where one is known
  QString message; // for the console line
  static Result success() { return {}; }
  static Result failure(int code, QString message) { return {false, code, std::move(message)}; }
};

struct Attributes {
  bool exists = false;
  bool isDirectory = false;
  qint64 size = 0;
  // Birth time where the file system has one, but never later than the modification
  // time (a copy is born at the copy); else the modification time. Never ctime.
  QDateTime creationDate;
  QDateTime modificationDate;
  QDateTime accessDate;
  uint permissions = 0; // POSIX mode bits
};

bool fileExists(const QString &path);
bool fileExists(const QString &path, bool *isDirectory);
Attributes attributesOfItem(const QString &path);

// What tells one version of a file's contents from another, cheaply: its size and its
// modification time in nanoseconds. exists is false when the file cannot be looked at.
struct Stamp {
  bool exists = false;
  qint64 size = 0;
  qint64 modifiedNs = 0;
  bool operator==(const Stamp &) const = default;
};
Stamp stampOfFile(const QString &path);

// Existence tests of many names in one folder: the folder is looked up once and each name
// relative to it, so a batch of thousands of photos from one card folder costs one walk of
// the folder's path instead of one per photo. The answers are those of fileExists.
class FolderProbe {
public:
  explicit FolderProbe(const QString &folder);
  ~FolderProbe();
  FolderProbe(const FolderProbe &) = delete;
  FolderProbe &operator=(const FolderProbe &) = delete;

  const QString &folder() const { return folder_; }
  // Whether folder + "/" + name exists; name is one path component.
  bool exists(const QString &name) const;

private:
  QString folder_;
  int fd_ = -1;
  bool nothingThere_ = false; // the folder is missing, not a folder, or not searchable
};

// Sets modification and access times (and permissions when given); creation time cannot
// be set on Linux file systems and is left alone.
Result setDates(const QString &path, const QDateTime &modification, const QDateTime &access);
Result setPermissions(const QString &path, uint mode);

// Moves to the XDG trash (files/ and info/); the trash's data folder is made first.
Result moveToTrash(const QString &path, QString *pathInTrash = nullptr);

// Space the user may write (f_bavail) and the volume's total, in bytes; -1 on failure.
qint64 freeSpaceForPath(const QString &path);
qint64 totalSpaceForPath(const QString &path);

Result createDirectory(const QString &path); // with intermediate folders

} // namespace platform::Files
