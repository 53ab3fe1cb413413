#pragma once

#include <QDateTime>
#include <QList>
#include <QSet>
#include <QString>

#include <functional>
#include <memory>

struct RunSettings;

// The journal of one batch run, kept in the data folder's "runs" so that any run can be
// undone later, after a restart too. It is a file of JSON lines appended (and flushed to the
// disk) as the run goes: a header line, then one line per photo written, and later one line
// per photo an undo has taken back. A run killed at any moment leaves a journal that covers
// every photo it finished.
struct JournalRecord {
  QString source;
  QString output;
  qint64 size = -1; // the output as the run left it
  qint64 modifiedNs = 0;
  QString mode;            // "copy", "move" or "beside"
  QString sourceInTrash;   // move mode: where the source went
  QString replacedInTrash; // overwrite: where the file that was replaced went
};

struct RunInfo {
  QString id;
  QString file;
  QDateTime started;
  QString mode;
  QString outputFolder;
  bool overwrite = false;
  QList<JournalRecord> records;
  QSet<int> undone; // indexes of records taken back
  bool isUndone() const { return !records.isEmpty() && undone.size() == records.size(); }
};

class RunJournal {
public:
  // A new journal for a run with these settings; null (with *error) when it cannot be made,
  // and the run then goes on without one.
  static std::shared_ptr<RunJournal> begin(const RunSettings &settings, QString *error = nullptr);

  // One photo written. Called on the run's thread, in batch order.
  void recordWritten(const QString &source, const QString &output, const QString &sourceInTrash,
                     const QString &replacedInTrash);

  const QString &id() const { return id_; }
  const QString &path() const { return path_; }

  static QString folder();
  // Every journal, newest first; unreadable lines are skipped (a torn last line of a killed
  // process cannot happen, but a damaged file must not hide the others).
  static QList<RunInfo> runs();
  static bool read(const QString &file, RunInfo *out);
  // Marks record index of the run as taken back.
  static bool markUndone(const QString &file, int index, QString *error = nullptr);

private:
  QString id_;
  QString path_;
  QString mode_;
};

// Undoing a run: each output still as the run left it goes to the trash, each source and each
// replaced file comes back from the trash to its old path. Nothing is deleted and no file
// that is there now is written over: a changed output or a taken path is reported, one line
// each, and left alone. Each record taken back is marked in the journal at once, so an undo
// that is stopped (or killed) goes on where it left off when run again.
struct UndoReport {
  int total = 0;       // records of the run
  int undone = 0;      // taken back by this undo
  int alreadyDone = 0; // taken back before
  QStringList leftAlone;
  bool stopped = false;
  bool complete() const { return !stopped && leftAlone.isEmpty(); }
};

UndoReport undoRun(const RunInfo &run, const std::function<void(int done, int total)> &progress,
                   const std::function<bool()> &stopRequested);
