#include "ui/UndoBatchPanel.h"

#include "processing/BatchRun.h"
#include "ui/Theme.h"

#include <QAbstractTableModel>
#include <QDialog>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

namespace {

// "s" for two or more, as every count text of the application.
QString pluralS(qsizetype count) {
  return count >= 2 ? QStringLiteral("s") : QString();
}

QString stateOf(const RunInfo &run) {
  return run.isUndone()          ? QObject::tr("Undone")
         : !run.undone.isEmpty() ? QObject::tr("Partly undone")
         : run.records.isEmpty() ? QObject::tr("Nothing written")
                                 : QObject::tr("Can be undone");
}

// The past runs, newest first, as the list shows them.
class RunsModel : public QAbstractTableModel {
public:
  explicit RunsModel(QList<RunInfo> runs, QObject *parent)
      : QAbstractTableModel(parent), runs_(std::move(runs)) {}
  int rowCount(const QModelIndex &parent = {}) const override {
    return parent.isValid() ? 0 : int(runs_.size());
  }
  int columnCount(const QModelIndex &parent = {}) const override {
    return parent.isValid() ? 0 : 5;
  }
  QVariant data(const QModelIndex &index, int role) const override {
    if (!index.isValid() || role != Qt::DisplayRole)
      return {};
    const RunInfo &run = runs_.at(index.row());
    switch (index.column()) {
    case 0:
      return QLocale().toString(run.started, QLocale::ShortFormat);
    case 1:
      return QString::number(run.records.size());
    case 2:
      return run.mode;
    case 3:
      return run.mode == QLatin1String("beside") ? QObject::tr("Beside the photos")
                                                 : run.outputFolder;
    default:
      return stateOf(run);
    }
  }
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
      return {};
    const QString titles[] = {QObject::tr("Date"), QObject::tr("Photos"), QObject::tr("Mode"),
                              QObject::tr("Output Folder"), QObject::tr("State")};
    return section >= 0 && section < 5 ? titles[section] : QString();
  }
  const RunInfo &runAt(int row) const { return runs_.at(row); }

private:
  QList<RunInfo> runs_;
};

} // namespace

UndoBatchPanel::UndoBatchPanel(BatchRun *run, QWidget *parent) : QWidget(parent), run_(run) {
  setObjectName(QStringLiteral("undoBatchPanel"));
  confirm = [this](const QString &text) {
    return QMessageBox::question(this, tr("Undo Batch"), text) == QMessageBox::Yes;
  };
  chooseRun = [this](const QList<RunInfo> &runs) {
    QDialog dialog(this);
    dialog.setWindowTitle(tr("Recent Batches"));
    auto *layout = new QVBoxLayout(&dialog);
    auto *table = new QTableView;
    table->setObjectName(QStringLiteral("recentBatchesTable"));
    table->setAccessibleName(tr("Recent batches"));
    auto *model = new RunsModel(runs, table);
    table->setModel(model);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->verticalHeader()->hide();
    table->horizontalHeader()->setStretchLastSection(true);
    if (!runs.isEmpty())
      table->selectRow(0);
    layout->addWidget(table);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
    QPushButton *undo = buttons->addButton(tr("Undo Batch…"), QDialogButtonBox::AcceptRole);
    undo->setToolTip(tr("Undo the chosen batch"));
    connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    layout->addWidget(buttons);
    dialog.resize(760, 360);
    if (dialog.exec() != QDialog::Accepted || !table->currentIndex().isValid())
      return QString();
    return model->runAt(table->currentIndex().row()).file;
  };

  auto *column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  auto *row = new QHBoxLayout;
  undoButton_ = new QPushButton(tr("Undo This Batch"));
  undoButton_->setObjectName(QStringLiteral("undoBatchButton"));
  undoButton_->setToolTip(tr("Put every photo of this batch back as it was before the run"));
  recentButton_ = new QPushButton(tr("Recent Batches…"));
  recentButton_->setObjectName(QStringLiteral("recentBatchesButton"));
  recentButton_->setToolTip(tr("Past batches, any of which can be undone"));
  row->addWidget(undoButton_);
  row->addWidget(recentButton_);
  row->addStretch(1);
  column->addLayout(row);
  status_ = new QLabel;
  status_->setObjectName(QStringLiteral("undoStatus"));
  status_->setWordWrap(true);
  status_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  status_->setStyleSheet(QStringLiteral("color: %1;").arg(Theme::css(Theme::secondaryText())));
  status_->setVisible(false);
  column->addWidget(status_);

  connect(undoButton_, &QPushButton::clicked, this, &UndoBatchPanel::undoThisBatch);
  connect(recentButton_, &QPushButton::clicked, this, &UndoBatchPanel::showRecentBatches);
  connect(run_, &BatchRun::runEnded, this, [this] { reset(); });
}

UndoBatchPanel::~UndoBatchPanel() {
  stop_ = true;
  if (worker_.joinable())
    worker_.join();
}

QString UndoBatchPanel::statusText() const {
  return status_->text();
}

void UndoBatchPanel::reset() {
  if (isUndoing())
    return;
  undoButton_->setText(tr("Undo This Batch"));
  undoButton_->setEnabled(run_->journal != nullptr);
  status_->clear();
  status_->setVisible(false);
}

QString UndoBatchPanel::confirmationText(const RunInfo &run) {
  int moved = 0;
  int replaced = 0;
  for (const JournalRecord &r : run.records) {
    moved += r.sourceInTrash.isEmpty() ? 0 : 1;
    replaced += r.replacedInTrash.isEmpty() ? 0 : 1;
  }
  const int left = int(run.records.size() - run.undone.size());
  QString text = tr("%1 output%2 of this batch will go to the trash.").arg(left).arg(pluralS(left));
  if (moved > 0)
    text +=
        QLatin1Char(' ') + tr("%1 moved photo%2 will come back from the trash to their folders.")
                               .arg(moved)
                               .arg(pluralS(moved));
  if (replaced > 0)
    text += QLatin1Char(' ') + tr("%1 replaced file%2 will come back from the trash.")
                                   .arg(replaced)
                                   .arg(pluralS(replaced));
  text += QLatin1Char(' ') + tr("Nothing is deleted: outputs changed since the run and places "
                                "taken by other files are left alone and listed.");
  return text;
}

void UndoBatchPanel::undoThisBatch() {
  if (isUndoing()) {
    stop_ = true; // the button stops an undo under way
    return;
  }
  if (run_->journal)
    undoJournal(run_->journal->path());
}

void UndoBatchPanel::showRecentBatches() {
  if (isUndoing())
    return;
  const QString file = chooseRun(RunJournal::runs());
  if (!file.isEmpty())
    undoJournal(file);
}

bool UndoBatchPanel::undoJournal(const QString &journalFile) {
  RunInfo run;
  if (isUndoing() || !RunJournal::read(journalFile, &run))
    return false;
  if (run.isUndone() || run.records.isEmpty()) {
    status_->setText(tr("This batch has nothing left to undo."));
    status_->setVisible(true);
    return false;
  }
  if (!confirm(confirmationText(run)))
    return false;
  if (worker_.joinable())
    worker_.join();
  stop_ = false;
  finished_ = false;
  recentButton_->setEnabled(false);
  undoButton_->setEnabled(true);
  undoButton_->setText(tr("Stop Undo"));
  status_->setText(tr("Undoing…"));
  status_->setVisible(true);
  // The destructor joins the thread, so this outlives it.
  worker_ = std::thread([this, run] {
    const UndoReport report = undoRun(
        run,
        [this](int done, int total) {
          QMetaObject::invokeMethod(
              this,
              [this, done, total] {
                status_->setText(tr("Undoing %1 of %2…").arg(done).arg(total));
              },
              Qt::QueuedConnection);
        },
        [this] { return stop_.load(); });
    QMetaObject::invokeMethod(
        this, [this, report] { finish(report); }, Qt::QueuedConnection);
  });
  return true;
}

void UndoBatchPanel::finish(const UndoReport &report) {
  finished_ = true;
  recentButton_->setEnabled(true);
  QString text;
  if (report.stopped)
    text = tr("Undo stopped after %1 photo%2; press Undo again to go on.")
               .arg(report.undone)
               .arg(pluralS(report.undone));
  else if (report.leftAlone.isEmpty())
    text = tr("Batch undone: %1 photo%2 put back as they were.")
               .arg(report.undone)
               .arg(pluralS(report.undone));
  else
    text = tr("%1 photo%2 undone; left alone:").arg(report.undone).arg(pluralS(report.undone)) +
           QLatin1Char('\n') + report.leftAlone.join(QLatin1Char('\n'));
  status_->setText(text);
  status_->setVisible(true);
  undoButton_->setText(report.complete() ? tr("Batch Undone") : tr("Undo This Batch"));
  undoButton_->setEnabled(!report.complete() && run_->journal);
  Q_EMIT undoFinished(report);
}
