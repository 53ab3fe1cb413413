#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <memory>

class PhotoFile;

// The orders a batch can be put in. The running number, the preview and the run follow the
// batch's order, so sorting the batch is all it takes. Every order is stable: photos that
// compare equal keep the order in which they were added.
namespace BatchOrder {

enum class Key { Added, Name, Taken, Modified, Size };

// "added", "name", "taken", "modified", "size": the command line's names, by Key.
QStringList keyNames();
QString keyName(Key key);
// False when text names no order (case ignored).
bool keyFromName(const QString &text, Key *key);

// The batch in the order of key, ascending or descending. Names compare in natural order
// (IMG_2 before IMG_10, case ignored); photos without a capture date come after those with
// one in both directions. Taken dates are read from the files (on several threads), so a
// large batch sorted by them is best sorted off the window's thread.
QList<std::shared_ptr<PhotoFile>> sorted(const QList<std::shared_ptr<PhotoFile>> &batch, Key key,
                                         bool descending);

// Natural comparison of two file names: <0, 0, >0.
int compareNames(const QString &a, const QString &b);

} // namespace BatchOrder
