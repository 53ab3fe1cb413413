#pragma once

#include <QList>
#include <QString>
#include <QVariantMap>

// Named presets: the rename settings (with the output format, quality and compression) and
// the output options under a name, one property-list file each in the config folder's
// "presets". A file holds a dictionary with "Name", "Settings" (the keys of a settings file)
// and "Options" (the keys of an options file), so a preset can be handed to someone else and
// read by --settings and --options as they stand.
namespace Presets {

struct Preset {
  QString name;
  QString file;
  QVariantMap settings; // "Rename Mode", "Output Format", "Add Digit", ...
  QVariantMap options;  // outputFolderPath, copyyToDestinationFolder, ...
};

// The folder of the preset files (not created by asking).
QString folder();
// The file a preset of this name is kept in.
QString fileForName(const QString &name);
// Empty when name can be a preset's name; else why not.
QString nameProblem(const QString &name);

// A preset file read and checked. False with a message that names the file and the key for
// a file that is not a property list or holds a value of the wrong kind or out of range.
bool readFile(const QString &file, Preset *out, QString *error);
// The values checked as readFile checks them; the message names the key.
QString valueProblem(const QVariantMap &settings, const QVariantMap &options);

// Every preset in the folder by name (natural order); a damaged file is left out and its
// message added to problems, so it never takes the others with it.
QList<Preset> list(QStringList *problems = nullptr);
// The named preset; false with a message when there is none or its file is damaged.
bool find(const QString &name, Preset *out, QString *error);

// Saves (a new one, or over the preset of that name). The file is replaced whole or not at all.
bool save(const QString &name, const QVariantMap &settings, const QVariantMap &options,
          QString *error);
bool rename(const QString &name, const QString &newName, QString *error);
// The preset's file goes to the trash, so a deletion can be taken back.
bool remove(const QString &name, QString *error);
// A copy of the preset's file at file (which must not exist yet).
bool exportTo(const QString &name, const QString &file, QString *error);
// Reads and checks file and keeps it as a preset under the name it holds (or its file name);
// refused when a preset of that name exists. *name gets the name.
bool importFrom(const QString &file, QString *name, QString *error);

} // namespace Presets
