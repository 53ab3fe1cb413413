#pragma once

#include <QString>

// The places the application reads and writes, from the XDG locations of the
// current environment (HOME and XDG_* are read at each call, so tests can move them).
namespace platform {

QString homeDirectory();
QString loginName();
QString picturesDirectory();
QString desktopDirectory();
QString documentsDirectory();
// The XDG data folder joined with the application identifier.
QString applicationDataDirectory();
// The XDG config folder joined with the application identifier.
QString applicationConfigDirectory();
QString temporaryDirectory();
// $XDG_DATA_HOME/Trash (files/ and info/ below it).
QString trashDirectory();

// True when path, lower-cased, lies in the home trash folder or in a per-volume trash
// folder ($topdir/.Trash-$uid or $topdir/.Trash/$uid), all compared lower-cased.
// With trailingSlash the trash folder must be followed by "/" (the path is inside it);
// without, any path beginning with the trash folder's text matches, itself included.
bool isInTrash(const QString &path, bool trailingSlash);

} // namespace platform
