#include "ui/PresetsPanel.h"

#include "app/AppDelegate.h"
#include "rename/BatchRenameSetting.h"
#include "rename/OutputOptionSettings.h"
#include "rename/Presets.h"
#include "ui/Theme.h"

#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

PresetsPanel::PresetsPanel(AppDelegate *delegate, QWidget *parent)
    : QWidget(parent), delegate_(delegate) {
  setObjectName(QStringLiteral("presetsPanel"));
  askName = [this](const QString &title, const QString &label, const QString &text) {
    return QInputDialog::getText(this, title, label, QLineEdit::Normal, text);
  };
  chooseFile = [this](bool save, const QString &suggested) {
    const QString filter = tr("Presets (*.plist)");
    return save ? QFileDialog::getSaveFileName(this, tr("Export Preset"), suggested, filter)
                : QFileDialog::getOpenFileName(this, tr("Import Preset"), QDir::homePath(), filter);
  };
  confirm = [this](const QString &text) {
    return QMessageBox::question(this, tr("Presets"), text) == QMessageBox::Yes;
  };

  auto *column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(Theme::spacing / 2);
  auto *row = new QHBoxLayout;
  row->setContentsMargins(0, 0, 0, 0);
  list_ = new QComboBox;
  list_->setObjectName(QStringLiteral("presetList"));
  list_->setAccessibleName(tr("Presets"));
  list_->setMinimumWidth(160);
  row->addWidget(new QLabel(tr("Preset:")));
  row->addWidget(list_, 1);
  auto *apply = new QPushButton(tr("Apply"));
  apply->setObjectName(QStringLiteral("presetApply"));
  apply->setToolTip(tr("Use the chosen preset's settings"));
  apply->setAccessibleName(tr("Apply preset"));
  connect(apply, &QPushButton::clicked, this, [this] { applySelected(); });
  row->addWidget(apply);
  needsSelection_.append(apply);
  // The other actions in a menu, so the row fits the settings column.
  auto *more = new QToolButton;
  more->setObjectName(QStringLiteral("presetActions"));
  more->setText(tr("Presets…"));
  more->setToolTip(tr("Save, update, rename, delete, import or export presets"));
  more->setAccessibleName(tr("Preset actions"));
  more->setPopupMode(QToolButton::InstantPopup);
  auto *menu = new QMenu(more);
  const auto action = [&](const QString &text, const QString &name, bool (PresetsPanel::*slot)(),
                          bool needsSelection) {
    QAction *a = menu->addAction(text);
    a->setObjectName(name);
    connect(a, &QAction::triggered, this, [this, slot] { (this->*slot)(); });
    if (needsSelection)
      selectionActions_.append(a);
  };
  action(tr("Save as New Preset…"), QStringLiteral("presetSaveNew"), &PresetsPanel::saveAsNew,
         false);
  action(tr("Update Preset"), QStringLiteral("presetUpdate"), &PresetsPanel::updateSelected, true);
  action(tr("Rename Preset…"), QStringLiteral("presetRename"), &PresetsPanel::renameSelected, true);
  action(tr("Delete Preset"), QStringLiteral("presetDelete"), &PresetsPanel::deleteSelected, true);
  menu->addSeparator();
  action(tr("Import Preset…"), QStringLiteral("presetImport"), &PresetsPanel::importFile, false);
  action(tr("Export Preset…"), QStringLiteral("presetExport"), &PresetsPanel::exportSelected, true);
  more->setMenu(menu);
  row->addWidget(more);
  column->addLayout(row);
  status_ = new QLabel;
  status_->setObjectName(QStringLiteral("presetStatus"));
  status_->setWordWrap(true);
  status_->setVisible(false);
  column->addWidget(status_);
  connect(list_, &QComboBox::currentIndexChanged, this, [this] { updateButtons(); });
  reload();
}

void PresetsPanel::reload() {
  const QString kept = selectedName();
  QStringList problems;
  const QList<Presets::Preset> presets = Presets::list(&problems);
  const QSignalBlocker block(list_);
  list_->clear();
  for (const Presets::Preset &preset : presets)
    list_->addItem(preset.name);
  select(kept);
  if (!problems.isEmpty())
    report(problems.join(QLatin1Char('\n')), true);
  updateButtons();
}

QString PresetsPanel::selectedName() const {
  return list_->currentText();
}

void PresetsPanel::select(const QString &name) {
  const int row = list_->findText(name);
  list_->setCurrentIndex(row >= 0 ? row : (list_->count() > 0 ? 0 : -1));
  updateButtons();
}

QString PresetsPanel::message() const {
  return status_->text();
}

void PresetsPanel::report(const QString &text, bool error) {
  status_->setText(text);
  status_->setStyleSheet(QStringLiteral("color: %1;")
                             .arg(Theme::css(error ? Theme::error() : Theme::secondaryText())));
  status_->setVisible(!text.isEmpty());
}

void PresetsPanel::updateButtons() {
  const bool any = list_->currentIndex() >= 0;
  for (QPushButton *b : needsSelection_)
    b->setEnabled(any);
  for (QAction *a : selectionActions_)
    a->setEnabled(any);
}

bool PresetsPanel::applySelected() {
  Presets::Preset preset;
  QString error;
  if (!Presets::find(selectedName(), &preset, &error)) {
    report(error, true);
    return false;
  }
  // Into the delegate's own records: the screen and its editor keep holding them.
  auto setting = BatchRenameSetting::readDefaultRenameSetting(delegate_);
  *setting = *BatchRenameSetting::initWithDictionary(preset.settings);
  auto options = OutputOptionSettings::readDefaultOutputOptionSetting(delegate_);
  *options = *OutputOptionSettings::initWithDictionary(preset.options);
  report(tr("Applied preset \"%1\".").arg(preset.name), false);
  Q_EMIT applied();
  return true;
}

namespace {

QVariantMap currentSettings(AppDelegate *delegate) {
  return BatchRenameSetting::readDefaultRenameSetting(delegate)->dictionaryRepresentation();
}
QVariantMap currentOptions(AppDelegate *delegate) {
  return OutputOptionSettings::readDefaultOutputOptionSetting(delegate)->dictionaryRepresentation();
}

} // namespace

bool PresetsPanel::saveAsNew() {
  const QString name =
      askName(tr("Save Preset"), tr("Name of the new preset:"), QString()).trimmed();
  if (name.isEmpty())
    return false;
  QString error;
  if (QFileInfo::exists(Presets::fileForName(name))) {
    report(tr("A preset named \"%1\" already exists: choose it and press Update to change it.")
               .arg(name),
           true);
    return false;
  }
  if (!Presets::save(name, currentSettings(delegate_), currentOptions(delegate_), &error)) {
    report(error, true);
    return false;
  }
  reload();
  select(name);
  report(tr("Saved preset \"%1\".").arg(name), false);
  return true;
}

bool PresetsPanel::updateSelected() {
  const QString name = selectedName();
  if (name.isEmpty() ||
      !confirm(tr("Replace the settings of preset \"%1\" with the current ones?").arg(name)))
    return false;
  QString error;
  if (!Presets::save(name, currentSettings(delegate_), currentOptions(delegate_), &error)) {
    report(error, true);
    return false;
  }
  report(tr("Updated preset \"%1\".").arg(name), false);
  return true;
}

bool PresetsPanel::renameSelected() {
  const QString name = selectedName();
  const QString newName = askName(tr("Rename Preset"), tr("New name:"), name).trimmed();
  if (name.isEmpty() || newName.isEmpty() || newName == name)
    return false;
  QString error;
  if (!Presets::rename(name, newName, &error)) {
    report(error, true);
    return false;
  }
  reload();
  select(newName);
  report(tr("Renamed preset \"%1\" to \"%2\".").arg(name, newName), false);
  return true;
}

bool PresetsPanel::deleteSelected() {
  const QString name = selectedName();
  if (name.isEmpty() || !confirm(tr("Move preset \"%1\" to the trash?").arg(name)))
    return false;
  QString error;
  if (!Presets::remove(name, &error)) {
    report(error, true);
    return false;
  }
  reload();
  report(tr("Moved preset \"%1\" to the trash.").arg(name), false);
  return true;
}

bool PresetsPanel::importFile() {
  const QString file = chooseFile(false, QString());
  if (file.isEmpty())
    return false;
  QString name;
  QString error;
  if (!Presets::importFrom(file, &name, &error)) {
    report(error, true);
    return false;
  }
  reload();
  select(name);
  report(tr("Imported preset \"%1\".").arg(name), false);
  return true;
}

bool PresetsPanel::exportSelected() {
  const QString name = selectedName();
  if (name.isEmpty())
    return false;
  const QString file = chooseFile(true, QDir::homePath() + QLatin1Char('/') + name + ".plist");
  if (file.isEmpty())
    return false;
  QString error;
  if (!Presets::exportTo(name, file, &error)) {
    report(error, true);
    return false;
  }
  report(tr("Exported preset \"%1\" to %2.").arg(name, file), false);
  return true;
}
