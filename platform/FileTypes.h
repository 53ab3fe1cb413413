#pragma once

#include <QString>
#include <QStringList>

namespace platform::FileTypes {

// The type identifier's test "conforms to public.image": the MIME type found from the
// file name's extension is, or inherits, image/*.
bool conformsToImage(const QString &path);

// A directory whose extension names a bundle (app, bundle, framework, plugin,
// photolibrary, photoslibrary, migratedphotolibrary, aplibrary and the like).
bool isPackage(const QString &path);

// The platform's image file extensions for flat folder listings: every image/* glob of
// the MIME database, each once in lower case and once in upper case.
QStringList imageFileExtensions();

} // namespace platform::FileTypes
