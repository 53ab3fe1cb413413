#include "app/CommandLine.h"
#include "app/Commands.h"
#include "imaging/ImageProcessing.h"
#include "metadata/ExifInfo.h"
#include "metadata/InformationTable.h"

#include <QDir>
#include <QFileInfo>
#include <QTextStream>

#include <cstdio>

namespace app::Commands {

// `quillmere info [--date-source] FILE...`: the information table of each file,
// "title<TAB>value" per row, a blank line between files. Missing files and non-images still
// get their rows. --date-source adds a last row, "Date Source": which date the capture date
// came from.
int info(const QStringList &arguments) {
  QTextStream out(stdout);
  QTextStream err(stderr);
  QStringList args = arguments;
  if (args.contains(QStringLiteral("--help")) || args.contains(QStringLiteral("-h"))) {
    out << "usage: quillmere info [--date-source] FILE...\n"
           "  the 35 rows of the photo information table of each FILE, title<TAB>value\n"
           "  --date-source   one more row, \"Date Source\": where the capture date came from\n";
    return CommandLine::ExitOk;
  }
  const bool dateSource = args.removeAll(QStringLiteral("--date-source")) > 0;
  if (args.isEmpty()) {
    err << "quillmere: info needs at least one FILE\n" << CommandLine::usageText();
    return CommandLine::ExitUsage;
  }
  bool allRead = true;
  bool first = true;
  for (const QString &typed : args) {
    // The table shows where the file is, as the window does, whatever the working folder.
    const QString path = QDir::cleanPath(QFileInfo(typed).absoluteFilePath());
    const InformationTable::FileFacts facts = InformationTable::FileFacts::forPath(path);
    const std::optional<QVariantMap> properties = ImageProcessing::exifForFile(path);
    const std::shared_ptr<ExifInfo> exif = ExifInfo::initWithDict(properties);
    if (!properties) {
      allRead = false;
      if (!QFileInfo::exists(path))
        err << "quillmere: no such file: " << typed << "\n";
      else
        err << "quillmere: not an image: " << typed << "\n";
    }
    if (!first)
      out << "\n";
    first = false;
    for (const QVariantMap &row :
         InformationTable::createArrayToUpdateMetaDataWithNode(facts, exif.get()))
      out << row.value(QStringLiteral("title")).toString() << '\t'
          << row.value(QStringLiteral("value")).toString() << '\n';
    if (dateSource)
      out << "Date Source\t" << exif->dateSourceText() << '\n';
    out.flush();
    err.flush();
  }
  return allRead ? CommandLine::ExitOk : 1;
}

} // namespace app::Commands
