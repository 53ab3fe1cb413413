#include "processing/RunJournal.h"

#include "platform/Files.h"
#include "platform/RunFiles.h"
#include "platform/StandardFolders.h"
#include "processing/RunSettings.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace {

QString modeOf(const RunSettings &s) {
  if (s.useSourceFolder)
    return QStringLiteral("beside");
  return s.moveAndRenameToDestinationFolder ? QStringLiteral("move") : QStringLiteral("copy");
}

QByteArray line(const QJsonObject &object) {
  return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

} // namespace

QString RunJournal::folder() {
  return platform::applicationDataDirectory() + QStringLiteral("/runs");
}

std::shared_ptr<RunJournal> RunJournal::begin(const RunSettings &settings, QString *error) {
  const platform::Files::Result made = platform::Files::createDirectory(folder());
  if (!made.ok) {
    if (error)
      *error = made.message;
    return nullptr;
  }
  auto journal = std::make_shared<RunJournal>();
  const QDateTime now = QDateTime::currentDateTime();
  // Sorted by time as text; the process id keeps two runs of one millisecond apart.
  journal->id_ = now.toString(QStringLiteral("yyyyMMdd-HHmmss-zzz")) + QLatin1Char('-') +
                 QString::number(QCoreApplication::applicationPid());
  journal->path_ = folder() + QLatin1Char('/') + journal->id_ + QStringLiteral(".journal");
  journal->mode_ = modeOf(settings);
  const QJsonObject header{
      {"run", journal->id_},
      {"started", now.toString(Qt::ISODateWithMs)},
      {"mode", journal->mode_},
      {"output", settings.useSourceFolder ? QString() : settings.outputFolderPath},
      {"overwrite", settings.owerwriteExistingFiles}};
  const platform::Files::Result written =
      platform::RunFiles::appendLine(journal->path_, line(header));
  if (!written.ok) {
    if (error)
      *error = written.message;
    return nullptr;
  }
  return journal;
}

void RunJournal::recordWritten(const QString &source, const QString &output,
                               const QString &sourceInTrash, const QString &replacedInTrash) {
  const platform::Files::Stamp stamp = platform::Files::stampOfFile(output);
  QJsonObject record{{"source", source},
                     {"output", output},
                     {"size", stamp.size},
                     {"mtimeNs", QString::number(stamp.modifiedNs)},
                     {"mode", mode_}};
  if (!sourceInTrash.isEmpty())
    record.insert("sourceInTrash", sourceInTrash);
  if (!replacedInTrash.isEmpty())
    record.insert("replacedInTrash", replacedInTrash);
  platform::RunFiles::appendLine(path_, line(record));
}

bool RunJournal::read(const QString &file, RunInfo *out) {
  QFile f(file);
  if (!f.open(QIODevice::ReadOnly))
    return false;
  RunInfo info;
  info.file = file;
  bool headerSeen = false;
  while (!f.atEnd()) {
    const QByteArray text = f.readLine().trimmed();
    if (text.isEmpty())
      continue;
    const QJsonObject o = QJsonDocument::fromJson(text).object();
    if (o.isEmpty())
      continue;
    if (o.contains("run")) {
      headerSeen = true;
      info.id = o.value("run").toString();
      info.started = QDateTime::fromString(o.value("started").toString(), Qt::ISODateWithMs);
      info.mode = o.value("mode").toString();
      info.outputFolder = o.value("output").toString();
      info.overwrite = o.value("overwrite").toBool();
    } else if (o.contains("undone")) {
      info.undone.insert(o.value("undone").toInt());
    } else if (o.contains("output")) {
      JournalRecord r;
      r.source = o.value("source").toString();
      r.output = o.value("output").toString();
      r.size = qint64(o.value("size").toDouble(-1));
      r.modifiedNs = o.value("mtimeNs").toString().toLongLong();
      r.mode = o.value("mode").toString();
      r.sourceInTrash = o.value("sourceInTrash").toString();
      r.replacedInTrash = o.value("replacedInTrash").toString();
      info.records.append(r);
    }
  }
  if (!headerSeen)
    return false;
  *out = info;
  return true;
}

QList<RunInfo> RunJournal::runs() {
  QList<RunInfo> all;
  const QStringList files =
      QDir(folder()).entryList({QStringLiteral("*.journal")}, QDir::Files, QDir::Name);
  for (const QString &name : files) {
    RunInfo info;
    if (read(folder() + QLatin1Char('/') + name, &info))
      all.append(info);
  }
  std::reverse(all.begin(), all.end());
  return all;
}

bool RunJournal::markUndone(const QString &file, int index, QString *error) {
  const platform::Files::Result r =
      platform::RunFiles::appendLine(file, line(QJsonObject{{"undone", index}}));
  if (!r.ok && error)
    *error = r.message;
  return r.ok;
}

UndoReport undoRun(const RunInfo &run, const std::function<void(int, int)> &progress,
                   const std::function<bool()> &stopRequested) {
  UndoReport report;
  report.total = int(run.records.size());
  report.alreadyDone = int(run.undone.size());
  int done = report.alreadyDone;
  // Last written first: a later photo may have replaced an earlier one's output.
  for (int i = int(run.records.size()) - 1; i >= 0; --i) {
    if (run.undone.contains(i))
      continue;
    if (stopRequested && stopRequested()) {
      report.stopped = true;
      break;
    }
    const JournalRecord &r = run.records.at(i);
    bool left = false;
    const platform::Files::Stamp now = platform::Files::stampOfFile(r.output);
    const bool outputIsOurs = now.exists && now.size == r.size && now.modifiedNs == r.modifiedNs;
    // Beside the source under its own name the output took the source's place: the source
    // comes back from the trash once the output is gone.
    if (now.exists && !outputIsOurs) {
      report.leftAlone.append(
          QStringLiteral("changed since the run, left alone: %1").arg(r.output));
      left = true;
    } else if (now.exists) {
      const platform::Files::Result moved = platform::Files::moveToTrash(r.output);
      if (!moved.ok) {
        report.leftAlone.append(
            QStringLiteral("could not move to the trash: %1 (%2)").arg(r.output, moved.message));
        left = true;
      }
    }
    const auto putBack = [&](const QString &inTrash, const QString &destination) {
      if (inTrash.isEmpty())
        return;
      if (!QFileInfo::exists(inTrash)) {
        report.leftAlone.append(
            QStringLiteral("no longer in the trash, not put back: %1").arg(destination));
        left = true;
        return;
      }
      if (QFileInfo::exists(destination) || QFileInfo(destination).isSymLink()) {
        report.leftAlone.append(
            QStringLiteral("path taken, %1 left in the trash: %2").arg(inTrash, destination));
        left = true;
        return;
      }
      const platform::Files::Result back =
          platform::RunFiles::restoreFromTrash(inTrash, destination);
      if (!back.ok) {
        report.leftAlone.append(back.message);
        left = true;
      }
    };
    if (!left || !now.exists || outputIsOurs) {
      putBack(r.replacedInTrash, r.output);
      putBack(r.sourceInTrash, r.source);
    }
    if (!left) {
      RunJournal::markUndone(run.file, i);
      ++report.undone;
    }
    ++done;
    if (progress)
      progress(done, report.total);
  }
  return report;
}
