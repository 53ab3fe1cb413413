#include "intake/AddPhotosConsole.h"

QString AddPhotosConsole::lineForMessage(const AddPhotosMessage &message) {
  if (message.title.isEmpty() && message.text.isEmpty())
    return {};
  return message.title + QStringLiteral(": ") + message.text;
}

void AddPhotosConsole::addPhotosMessage(const AddPhotosMessage &message) {
  const QString line = lineForMessage(message);
  if (!line.isEmpty())
    writeLine_(line);
}

void AddPhotosConsole::addPhotosUnreadableName(const QString &folder) {
  writeLine_(QStringLiteral("quillmere: %1: a file name is not valid UTF-8; that file is not added")
                 .arg(folder));
}
