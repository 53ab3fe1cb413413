#pragma once

#include "processing/RunJournal.h"

#include <QWidget>

#include <atomic>
#include <functional>
#include <thread>

class BatchRun;
class QLabel;
class QPushButton;

// Undo in the window: "Undo This Batch" for the run the summary shows, and "Recent
// Batches…", a list of past runs any of which can be undone. Each asks first, saying what
// will happen; the undo then runs off the window's thread with its progress on the button,
// which stops it when pressed again (pressing Undo later goes on where it stopped).
class UndoBatchPanel : public QWidget {
  Q_OBJECT
public:
  explicit UndoBatchPanel(BatchRun *run, QWidget *parent = nullptr);
  ~UndoBatchPanel() override;

  // Undoes the run of this journal file, after the confirmation. False when not started.
  bool undoJournal(const QString &journalFile);
  bool isUndoing() const { return worker_.joinable() && !finished_; }
  QString statusText() const;

  // The question before an undo (a dialog by default; tests answer it).
  std::function<bool(const QString &text)> confirm;
  // The list of recent batches (a dialog by default); returns the chosen journal file.
  std::function<QString(const QList<RunInfo> &runs)> chooseRun;
  // What the confirmation says for a run.
  static QString confirmationText(const RunInfo &run);

Q_SIGNALS:
  void undoFinished(const UndoReport &report);

private:
  void undoThisBatch();
  void showRecentBatches();
  void finish(const UndoReport &report);
  void reset();

  BatchRun *run_;
  QPushButton *undoButton_;
  QPushButton *recentButton_;
  QLabel *status_;
  std::thread worker_;
  std::atomic<bool> stop_{false};
  bool finished_ = true;
};
