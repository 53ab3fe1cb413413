#include "ui/ConvertFormatOrRenameView.h"

#include "app/AppDelegate.h"
#include "app/NotificationCenter.h"
#include "app/Notifications.h"
#include "platform/EncoderSupport.h"
#include "platform/Workspace.h"
#include "rename/BatchRenameSetting.h"
#include "rename/DateShift.h"
#include "rename/OutputOptionSettings.h"
#include "ui/PresetsPanel.h"
#include "ui/PreviewFilterButton.h"
#include "ui/PreviewPathDelegate.h"
#include "ui/PreviewTableModel.h"
#include "ui/Theme.h"

#include <QAction>
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QSlider>
#include <QSplitter>
#include <QStandardItemModel>
#include <QTableView>
#include <QTimer>
#include <QVBoxLayout>
#include <QValidator>

namespace {

// The number fields' input rule, as a validator: a keystroke the rule refuses never reaches
// the field.
class IntegerFieldValidator : public QValidator {
public:
  explicit IntegerFieldValidator(QObject *parent) : QValidator(parent) {}
  State validate(QString &input, int &) const override {
    return formatter_.isPartialStringValid(input) ? Acceptable : Invalid;
  }

private:
  OnlyIntegerValueFormatterWithZero formatter_;
};

// A panel title in the settings column.
QLabel *sectionTitle(const QString &text) {
  auto *label = new QLabel(text);
  label->setFont(Theme::headingFont());
  label->setStyleSheet(QStringLiteral("color: %1;").arg(Theme::css(Theme::secondaryText())));
  return label;
}

QLabel *captionLabel(const QString &text) {
  auto *label = new QLabel(text);
  label->setFont(Theme::captionFont());
  label->setWordWrap(true);
  label->setStyleSheet(QStringLiteral("color: %1;").arg(Theme::css(Theme::secondaryText())));
  return label;
}

// Sets a field's text only when it differs, so a pass that ends while the user types does
// not move the cursor.
void setTextKeepingCursor(QLineEdit *field, const QString &text) {
  if (field->text() == text)
    return;
  const QSignalBlocker block(field);
  const int cursor = field->cursorPosition();
  field->setText(text);
  field->setCursorPosition(std::min<int>(cursor, int(text.size())));
}

const QString kRawNote = QStringLiteral("If you choose to \"Keep Original format\", then RAW and "
                                        "other additional image formats will be saved as .png by "
                                        "default.");

} // namespace

ConvertFormatOrRenameView::ConvertFormatOrRenameView(AppDelegate *delegate, QWidget *parent)
    : QWidget(parent), delegate_(delegate), controller_(delegate),
      editor_(nullptr, delegate->arrFileFormatsSupported, [this] { requestPreview(); }) {
  setObjectName(QStringLiteral("ConvertFormatOrRenameView"));
  controller_.postNotification = [](const QString &name) {
    NotificationCenter::defaultCenter().post(name);
  };
  connect(&controller_, &RenamePreviewController::previewUpdated, this,
          &ConvertFormatOrRenameView::previewUpdated);
  connect(&controller_, &RenamePreviewController::processPhotosRequested, this,
          &ConvertFormatOrRenameView::startRequested);

  revealPath = [](const QString &path) { platform::Workspace::revealInFileManager(path); };
  openPath = [](const QString &path) { platform::Workspace::openPath(path); };
  showInfoForPath = [](const QString &path) { platform::Workspace::showProperties(path); };
  chooseFolder = [](QWidget *parent, const QString &current) {
    return QFileDialog::getExistingDirectory(parent, tr("Choose Destination Folder"), current);
  };

  // --- The settings column ---
  auto *settings = new QWidget;
  settings->setObjectName(QStringLiteral("settingsColumn"));
  auto *settingsLayout = new QVBoxLayout(settings);
  settingsLayout->setContentsMargins(Theme::spacing * 2, Theme::spacing * 2, Theme::spacing * 2,
                                     Theme::spacing * 2);
  settingsLayout->setSpacing(Theme::spacing * 2);
  buildRenamePanel(settings);
  buildFormatPanel(settings);
  buildDestinationPanel(settings);
  settingsLayout->addStretch(1);

  auto *scroll = new QScrollArea;
  scroll->setWidget(settings);
  scroll->setWidgetResizable(true);
  scroll->setFrameShape(QFrame::NoFrame);
  scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  scroll->setMinimumWidth(500);
  scroll->setAccessibleName(QStringLiteral("Rename and format settings"));

  auto *splitter = new QSplitter(Qt::Horizontal);
  splitter->addWidget(scroll);
  splitter->addWidget(buildPreviewSide());
  splitter->setStretchFactor(0, 0);
  splitter->setStretchFactor(1, 1);
  splitter->setChildrenCollapsible(false);
  splitter->setSizes({520, 860});

  auto *layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(splitter);

  NotificationCenter &center = NotificationCenter::defaultCenter();
  center.addObserver(this, Notifications::NextFromBtchEffects,
                     [this](const QVariantMap &) { setupViewNotification(); });
  center.addObserver(this, Notifications::SetupConvertAndRename,
                     [this](const QVariantMap &) { setupViewNotification(); });
  center.addObserver(this, Notifications::StartAsNewBatch,
                     [this](const QVariantMap &) { resetAllSettings(); });
  center.addObserver(this, Notifications::DisbalePrevBtn,
                     [this](const QVariantMap &) { disablePrevBtn(); });
  center.addObserver(this, Notifications::EnbalePrevBtn,
                     [this](const QVariantMap &) { enablePrevBtn(); });
  center.addObserver(this, Notifications::ResizeTableHeader,
                     [this](const QVariantMap &) { resizeTableHeader(); });
  center.addObserver(this, Notifications::WindowResized,
                     [this](const QVariantMap &) { windowisResizing(); });
  center.addObserver(this, Notifications::WindowEndResizing,
                     [this](const QVariantMap &) { windowEndResizing(); });
  center.addObserver(this, Notifications::AppearInBatchEffectsView,
                     [this](const QVariantMap &) { appearInBatchEffectsView(); });
}

ConvertFormatOrRenameView::~ConvertFormatOrRenameView() {
  NotificationCenter::defaultCenter().removeObserver(this);
}

// --- Building ---

QGroupBox *ConvertFormatOrRenameView::addRuleGroup(QWidget *panel, RenameRule rule,
                                                   const QString &title,
                                                   const QString &objectName) {
  // A checkable group: its box switches the rule, and Qt enables the group's controls with it.
  auto *group = new QGroupBox(title);
  group->setObjectName(objectName);
  group->setCheckable(true);
  group->setChecked(false);
  group->setAccessibleName(title);
  auto *form = new QFormLayout(group);
  form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
  form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
  form->setHorizontalSpacing(Theme::spacing * 1.5);
  form->setVerticalSpacing(Theme::spacing);
  panel->layout()->addWidget(group);
  ruleGroups_.insert(rule, group);
  connect(group, &QGroupBox::toggled, this, [this, rule](bool on) {
    if (bound_)
      editor_.setRuleState(rule, on);
  });
  return group;
}

QLineEdit *ConvertFormatOrRenameView::addTextField(QWidget *group, RenameTextField field,
                                                   const QString &label,
                                                   const QString &objectName) {
  auto *edit = new QLineEdit;
  edit->setObjectName(objectName);
  edit->setAccessibleName(label);
  edit->setClearButtonEnabled(true);
  edit->setPlaceholderText(field == RenameTextField::Chars || field == RenameTextField::Words
                               ? tr("e.g. _ or IMG")
                               : QString());
  static_cast<QFormLayout *>(group->layout())->addRow(label + QLatin1Char(':'), edit);
  textFields_.insert(field, edit);
  connect(edit, &QLineEdit::textChanged, this, [this, edit, field](const QString &text) {
    if (!bound_)
      return;
    const QString kept = editor_.textDidChange(field, text);
    if (kept != text) {
      // Cut to the limit, "/" dropped: the field shows what the setting stores.
      const QSignalBlocker block(edit);
      const int cursor = edit->cursorPosition() - int(text.size() - kept.size());
      edit->setText(kept);
      edit->setCursorPosition(std::clamp(cursor, 0, int(kept.size())));
    }
  });
  return edit;
}

QLineEdit *ConvertFormatOrRenameView::addIntegerField(QWidget *group, RenameIntegerField field,
                                                      const QString &label,
                                                      const QString &objectName) {
  auto *edit = new QLineEdit;
  edit->setObjectName(objectName);
  edit->setAccessibleName(label);
  edit->setValidator(new IntegerFieldValidator(edit));
  edit->setMaximumWidth(90);
  edit->setAlignment(Qt::AlignRight);
  static_cast<QFormLayout *>(group->layout())->addRow(label + QLatin1Char(':'), edit);
  integerFields_.insert(field, edit);
  connect(edit, &QLineEdit::textChanged, this, [this, field](const QString &text) {
    if (bound_)
      editor_.integerFieldDidChange(field, text);
  });
  return edit;
}

QComboBox *ConvertFormatOrRenameView::addOptionList(QWidget *group, int kind, const QString &label,
                                                    const QString &objectName) {
  auto *list = new QComboBox;
  list->setObjectName(objectName);
  list->setAccessibleName(label);
  list->addItems(RenameSettingsEditor::optionsForKind(kind, delegate_->arrFileFormatsSupported));
  if (kind == OptionOutputFormat)
    disableFormatsWithoutEncoder(list);
  if (group)
    static_cast<QFormLayout *>(group->layout())->addRow(label + QLatin1Char(':'), list);
  optionLists_.insert(kind, list);
  connect(list, &QComboBox::activated, this, [this, kind, list](int row) {
    if (!bound_)
      return;
    const QString shown = editor_.chooseOption(kind, row);
    if (!shown.isEmpty() && list->currentText() != shown)
      list->setCurrentText(shown);
    if (kind == OptionOutputFormat)
      setupUIForUpdatedRenameSettingDictionary();
  });
  return list;
}

void ConvertFormatOrRenameView::disableFormatsWithoutEncoder(QComboBox *list) {
  // The entries keep their rows (a row is the saved index); one this system cannot write is
  // shown greyed with the reason as its tool tip, and cannot be chosen.
  auto *rows = qobject_cast<QStandardItemModel *>(list->model());
  if (!rows)
    return;
  for (int row = 0; row < list->count(); ++row) {
    const QString name = list->itemText(row);
    if (platform::EncoderSupport::canEncode(name))
      continue;
    if (QStandardItem *item = rows->item(row)) {
      item->setEnabled(false);
      item->setToolTip(platform::EncoderSupport::unavailableMessage(name));
    }
  }
}

void ConvertFormatOrRenameView::buildRenamePanel(QWidget *panel) {
  // A preset applied fills the delegate's records: the screen reads them as on opening.
  auto *presets = new PresetsPanel(delegate_, panel);
  connect(presets, &PresetsPanel::applied, this, &ConvertFormatOrRenameView::setupViewNotification);
  panel->layout()->addWidget(presets);
  panel->layout()->addWidget(sectionTitle(tr("RENAME")));

  auto *modes = new QWidget;
  auto *modesLayout = new QHBoxLayout(modes);
  modesLayout->setContentsMargins(0, 0, 0, 0);
  keepNamesRadio_ = new QRadioButton(tr("Keep original names"));
  keepNamesRadio_->setObjectName(QStringLiteral("keepNamesRadio"));
  modifyNamesRadio_ = new QRadioButton(tr("Modify names"));
  modifyNamesRadio_->setObjectName(QStringLiteral("modifyNamesRadio"));
  auto *modeGroup = new QButtonGroup(this);
  modeGroup->addButton(keepNamesRadio_, 0);
  modeGroup->addButton(modifyNamesRadio_, 1);
  modesLayout->addWidget(keepNamesRadio_);
  modesLayout->addWidget(modifyNamesRadio_);
  modesLayout->addStretch(1);
  resetButton_ = new QPushButton(tr("Reset"));
  resetButton_->setObjectName(QStringLiteral("resetButton"));
  resetButton_->setToolTip(RenameSettingsEditor::kResetToolTip);
  resetButton_->setAccessibleName(tr("Reset"));
  Theme::setRole(resetButton_, "flat");
  modesLayout->addWidget(resetButton_);
  panel->layout()->addWidget(modes);
  connect(modeGroup, &QButtonGroup::idClicked, this, [this](int tag) {
    if (!bound_)
      return;
    editor_.btnRenameModeTapped(tag);
    rulePanel_->setVisible(editor_.isRulePanelVisible());
  });
  connect(resetButton_, &QPushButton::clicked, this, &ConvertFormatOrRenameView::resetAllSettings);

  rulePanel_ = new QWidget;
  rulePanel_->setObjectName(QStringLiteral("rulePanel"));
  auto *rules = new QVBoxLayout(rulePanel_);
  rules->setContentsMargins(0, 0, 0, 0);
  rules->setSpacing(Theme::spacing);
  panel->layout()->addWidget(rulePanel_);

  QGroupBox *replace = addRuleGroup(rulePanel_, RenameRule::ReplaceFilename, tr("Replace filename"),
                                    QStringLiteral("ruleReplaceFilename"));
  addTextField(replace, RenameTextField::NewName, tr("New name"), QStringLiteral("newNameField"));

  QGroupBox *date = addRuleGroup(rulePanel_, RenameRule::DateTimeStamp, tr("Date/time stamp"),
                                 QStringLiteral("ruleDateTimeStamp"));
  addOptionList(date, OptionDateAs, tr("As"), QStringLiteral("dateAsList"));
  addOptionList(date, OptionDateType, tr("Date"), QStringLiteral("dateTypeList"));
  addOptionList(date, OptionDateFormat, tr("Format"), QStringLiteral("dateFormatList"));
  addTextField(date, RenameTextField::CustomDate, tr("Custom text"),
               QStringLiteral("customDateField"));
  // The camera's clock corrected: the preview follows each whole shift as it is typed.
  dateShiftField_ = new QLineEdit;
  dateShiftField_->setObjectName(QStringLiteral("dateShiftField"));
  dateShiftField_->setAccessibleName(tr("Shift"));
  dateShiftField_->setPlaceholderText(tr("+1:00"));
  dateShiftField_->setToolTip(tr("Added to the taken date before naming: [+-][D:]HH:MM[:SS], "
                                 "e.g. +1:00 or -2:00:00"));
  dateShiftField_->setMaximumWidth(120);
  // The shift in words beside it: "+1:00:00" is a day, "+1:00" an hour.
  dateShiftMeaning_ = new QLabel;
  dateShiftMeaning_->setObjectName(QStringLiteral("dateShiftMeaning"));
  dateShiftMeaning_->setForegroundRole(QPalette::PlaceholderText);
  auto *shiftRow = new QWidget;
  auto *shiftLayout = new QHBoxLayout(shiftRow);
  shiftLayout->setContentsMargins(0, 0, 0, 0);
  shiftLayout->addWidget(dateShiftField_);
  shiftLayout->addWidget(dateShiftMeaning_, 1);
  static_cast<QFormLayout *>(date->layout())->addRow(tr("Shift") + QLatin1Char(':'), shiftRow);
  connect(dateShiftField_, &QLineEdit::textChanged, this, [this](const QString &text) {
    showDateShiftMeaning();
    if (!bound_)
      return;
    const bool whole = editor_.dateShiftDidChange(text);
    // A shift still being typed is marked, and the preview keeps the last whole one.
    dateShiftField_->setProperty("invalid", !whole);
    dateShiftField_->setStyleSheet(whole ? QString()
                                         : QStringLiteral("QLineEdit { color: palette(link); }"));
  });
  // The correction written back into the outputs' EXIF, so other tools agree with the names.
  writeDateShiftBox_ = new QCheckBox(tr("Write corrected date into photos"));
  writeDateShiftBox_->setObjectName(QStringLiteral("writeDateShiftBox"));
  writeDateShiftBox_->setAccessibleName(writeDateShiftBox_->text());
  writeDateShiftBox_->setToolTip(tr("The converted photos get the shifted taken date as their "
                                    "EXIF DateTimeOriginal and CreateDate; the originals are "
                                    "never changed"));
  static_cast<QFormLayout *>(date->layout())->addRow(QString(), writeDateShiftBox_);
  connect(writeDateShiftBox_, &QCheckBox::toggled, this, [this](bool on) {
    if (bound_)
      editor_.setWriteDateShift(on);
  });

  QGroupBox *folder =
      addRuleGroup(rulePanel_, RenameRule::AppendFolderName, tr("Append folder name"),
                   QStringLiteral("ruleAppendFolderName"));
  addOptionList(folder, OptionFolderAs, tr("As"), QStringLiteral("folderAsList"));

  QGroupBox *addString = addRuleGroup(rulePanel_, RenameRule::AddString, tr("Add text"),
                                      QStringLiteral("ruleAddString"));
  addTextField(addString, RenameTextField::Prefix, tr("Prefix"), QStringLiteral("prefixField"));
  addTextField(addString, RenameTextField::Suffix, tr("Suffix"), QStringLiteral("suffixField"));
  addTextField(addString, RenameTextField::InsertText, tr("Insert"),
               QStringLiteral("insertTextField"));
  addIntegerField(addString, RenameIntegerField::InsertPosition, tr("At position"),
                  QStringLiteral("insertPositionField"));

  QGroupBox *digit = addRuleGroup(rulePanel_, RenameRule::AddDigit, tr("Add number"),
                                  QStringLiteral("ruleAddDigit"));
  addOptionList(digit, OptionDigitAs, tr("As"), QStringLiteral("digitAsList"));
  addIntegerField(digit, RenameIntegerField::DigitPosition, tr("At position"),
                  QStringLiteral("digitPositionField"));
  addIntegerField(digit, RenameIntegerField::StartingIndex, tr("Start at"),
                  QStringLiteral("startingIndexField"));
  // The minimum width of the number, zero-padded: one figure, 0 for none.
  addIntegerField(digit, RenameIntegerField::Digits, tr("Digits"), QStringLiteral("digitsField"))
      ->setMaxLength(1);
  addIntegerField(digit, RenameIntegerField::Increment, tr("Step"),
                  QStringLiteral("incrementField"));

  QGroupBox *remove =
      addRuleGroup(rulePanel_, RenameRule::Remove, tr("Remove"), QStringLiteral("ruleRemove"));
  addIntegerField(remove, RenameIntegerField::FirstN, tr("First characters"),
                  QStringLiteral("firstNField"));
  addIntegerField(remove, RenameIntegerField::LastN, tr("Last characters"),
                  QStringLiteral("lastNField"));
  addIntegerField(remove, RenameIntegerField::From, tr("From position"),
                  QStringLiteral("fromField"));
  addIntegerField(remove, RenameIntegerField::To, tr("To position"), QStringLiteral("toField"));
  addTextField(remove, RenameTextField::Chars, tr("Characters"), QStringLiteral("charsField"));
  addTextField(remove, RenameTextField::Words, tr("Words"), QStringLiteral("wordsField"));

  QGroupBox *changeCase = addRuleGroup(rulePanel_, RenameRule::ChangeCase, tr("Change case"),
                                       QStringLiteral("ruleChangeCase"));
  addOptionList(changeCase, OptionCaseMode, tr("Case"), QStringLiteral("caseModeList"));

  lowerCaseExtensionBox_ = new QCheckBox(tr("Lower-case file extension"));
  lowerCaseExtensionBox_->setObjectName(QStringLiteral("ruleLowerCaseExtension"));
  rules->addWidget(lowerCaseExtensionBox_);
  connect(lowerCaseExtensionBox_, &QCheckBox::toggled, this, [this](bool on) {
    if (bound_)
      editor_.setRuleState(RenameRule::LowerCaseExtension, on);
  });
}

void ConvertFormatOrRenameView::buildFormatPanel(QWidget *panel) {
  panel->layout()->addWidget(sectionTitle(tr("FORMAT")));
  auto *box = new QWidget;
  auto *form = new QFormLayout(box);
  form->setContentsMargins(0, 0, 0, 0);
  form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
  form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
  formatList_ = addOptionList(nullptr, OptionOutputFormat, tr("Output format"),
                              QStringLiteral("outputFormatList"));
  form->addRow(tr("Output format:"), formatList_);

  const auto sliderRow = [this](QCheckBox *boxControl, QSlider *slider, QLabel *label,
                                const QString &name) {
    auto *row = new QWidget;
    row->setObjectName(name);
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(boxControl);
    layout->addWidget(slider, 1);
    label->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("100")) + 6);
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    layout->addWidget(label);
    return row;
  };

  qualityBox_ = new QCheckBox(tr("Quality"));
  qualityBox_->setObjectName(QStringLiteral("qualityBox"));
  qualitySlider_ = new QSlider(Qt::Horizontal);
  qualitySlider_->setObjectName(QStringLiteral("qualitySlider"));
  qualitySlider_->setAccessibleName(tr("Quality"));
  qualitySlider_->setRange(int(RenameSettingsEditor::kQualityMinimum * 100),
                           int(RenameSettingsEditor::kQualityMaximum * 100));
  qualitySlider_->setPageStep(10);
  qualityLabel_ = new QLabel;
  qualityLabel_->setObjectName(QStringLiteral("qualityLabel"));
  qualityPanel_ =
      sliderRow(qualityBox_, qualitySlider_, qualityLabel_, QStringLiteral("qualityPanel"));
  form->addRow(QString(), qualityPanel_);

  compressionBox_ = new QCheckBox(tr("Compression"));
  compressionBox_->setObjectName(QStringLiteral("compressionBox"));
  compressionSlider_ = new QSlider(Qt::Horizontal);
  compressionSlider_->setObjectName(QStringLiteral("compressionSlider"));
  compressionSlider_->setAccessibleName(tr("Compression"));
  compressionSlider_->setRange(int(RenameSettingsEditor::kCompressionMinimum),
                               int(RenameSettingsEditor::kCompressionMaximum));
  compressionSlider_->setPageStep(1);
  compressionLabel_ = new QLabel;
  compressionLabel_->setObjectName(QStringLiteral("compressionLabel"));
  compressionPanel_ = sliderRow(compressionBox_, compressionSlider_, compressionLabel_,
                                QStringLiteral("compressionPanel"));
  form->addRow(QString(), compressionPanel_);

  rawNote_ = captionLabel(kRawNote);
  rawNote_->setObjectName(QStringLiteral("rawNote"));
  form->addRow(QString(), rawNote_);
  panel->layout()->addWidget(box);

  connect(qualitySlider_, &QSlider::valueChanged, this, [this](int value) {
    if (bound_)
      qualityLabel_->setText(editor_.qualitySliderChanged(value / 100.0));
  });
  connect(compressionSlider_, &QSlider::valueChanged, this, [this](int value) {
    if (bound_)
      compressionLabel_->setText(editor_.compressionSliderChanged(value));
  });
  connect(qualityBox_, &QCheckBox::toggled, this, [this](bool on) {
    qualitySlider_->setEnabled(on);
    if (bound_)
      editor_.setQualityBox(on);
  });
  connect(compressionBox_, &QCheckBox::toggled, this, [this](bool on) {
    compressionSlider_->setEnabled(on);
    if (bound_)
      editor_.setCompressionBox(on);
  });
}

void ConvertFormatOrRenameView::buildDestinationPanel(QWidget *panel) {
  panel->layout()->addWidget(sectionTitle(tr("DESTINATION")));
  auto *modes = new QWidget;
  auto *modesLayout = new QHBoxLayout(modes);
  modesLayout->setContentsMargins(0, 0, 0, 0);
  destinationModes_ = new QButtonGroup(this);
  const struct {
    QString title;
    QString toolTip;
    const char *name;
  } buttons[] = {
      {tr("Move"), OutputOptionSettings::kMoveToolTip, "moveModeButton"},
      {tr("Copy"), OutputOptionSettings::kCopyToolTip, "copyModeButton"},
      {tr("Source folder"), OutputOptionSettings::kSourceFolderToolTip, "sourceFolderModeButton"},
  };
  for (int tag = 0; tag < 3; ++tag) {
    auto *button = new QRadioButton(buttons[tag].title);
    button->setObjectName(QLatin1String(buttons[tag].name));
    button->setToolTip(buttons[tag].toolTip);
    destinationModes_->addButton(button, tag);
    modesLayout->addWidget(button);
  }
  modesLayout->addStretch(1);
  panel->layout()->addWidget(modes);
  connect(destinationModes_, &QButtonGroup::idClicked, this,
          &ConvertFormatOrRenameView::btnDestinationModeTapped);

  destinationInfo_ = captionLabel(QString());
  destinationInfo_->setObjectName(QStringLiteral("destinationInfo"));
  panel->layout()->addWidget(destinationInfo_);

  auto *folderRow = new QWidget;
  auto *folderLayout = new QHBoxLayout(folderRow);
  folderLayout->setContentsMargins(0, 0, 0, 0);
  folderField_ = new QLineEdit;
  folderField_->setObjectName(QStringLiteral("outputFolderField"));
  folderField_->setReadOnly(true);
  folderField_->setAccessibleName(tr("Destination folder"));
  chooseFolderButton_ = new QPushButton(tr("Choose…"));
  chooseFolderButton_->setObjectName(QStringLiteral("chooseFolderButton"));
  chooseFolderButton_->setToolTip(tr("Choose the folder the photos are written to"));
  folderLayout->addWidget(folderField_, 1);
  folderLayout->addWidget(chooseFolderButton_);
  panel->layout()->addWidget(folderRow);
  connect(chooseFolderButton_, &QPushButton::clicked, this,
          &ConvertFormatOrRenameView::btnChooseFolderTapped);

  openFolderBox_ = new QCheckBox(tr("Open the destination folder when done"));
  openFolderBox_->setObjectName(QStringLiteral("openFolderBox"));
  overwriteBox_ = new QCheckBox(tr("Overwrite existing files"));
  overwriteBox_->setObjectName(QStringLiteral("overwriteBox"));
  keepDatesBox_ = new QCheckBox(tr("Keep the photos' original dates and times"));
  keepDatesBox_->setObjectName(QStringLiteral("keepDatesBox"));
  panel->layout()->addWidget(openFolderBox_);
  panel->layout()->addWidget(overwriteBox_);
  panel->layout()->addWidget(keepDatesBox_);
  connect(openFolderBox_, &QCheckBox::toggled, this, [this](bool on) {
    if (bound_ && controller_.options)
      controller_.options->openOutputFolderAfterProcessing = on;
  });
  connect(overwriteBox_, &QCheckBox::toggled, this, [this](bool on) {
    if (!bound_ || !controller_.options)
      return;
    // Warnings depend on it.
    controller_.options->owerwriteExistingFiles = on;
    requestPreview();
  });
  connect(keepDatesBox_, &QCheckBox::toggled, this, [this](bool on) {
    if (bound_ && controller_.options)
      controller_.options->setOutputDateTimeAsOriginal = on;
  });
}

QWidget *ConvertFormatOrRenameView::buildPreviewSide() {
  auto *side = new QWidget;
  side->setObjectName(QStringLiteral("previewSide"));
  auto *layout = new QVBoxLayout(side);
  layout->setContentsMargins(Theme::spacing * 2, Theme::spacing * 2, Theme::spacing * 2,
                             Theme::spacing * 2);
  layout->setSpacing(Theme::spacing);

  auto *top = new QHBoxLayout;
  auto *title = sectionTitle(tr("PREVIEW"));
  top->addWidget(title);
  top->addSpacing(Theme::spacing);
  auto *filterGroup = new QButtonGroup(this);
  const QColor words[] = {QColor(), Theme::error(), Theme::warning()};
  const char *names[] = {"filterAllButton", "filterErrorsButton", "filterWarningsButton"};
  for (int tag = 0; tag < 3; ++tag) {
    auto *button = new PreviewFilterButton;
    button->setObjectName(QLatin1String(names[tag]));
    button->setWordColour(words[tag]);
    filterGroup->addButton(button, tag);
    filterButtons_.append(button);
    top->addWidget(button);
  }
  addNoCaptureDateFilter(top, filterGroup);
  filterButtons_.first()->setChecked(true);
  connect(filterGroup, &QButtonGroup::idClicked, this,
          &ConvertFormatOrRenameView::btnPreviewFilesModeTapped);
  top->addStretch(1);

  loading_ = new QWidget;
  loading_->setObjectName(QStringLiteral("previewLoading"));
  auto *loadingLayout = new QHBoxLayout(loading_);
  loadingLayout->setContentsMargins(0, 0, 0, 0);
  auto *spinner = new QProgressBar;
  spinner->setRange(0, 0);
  spinner->setTextVisible(false);
  spinner->setFixedSize(80, 6);
  spinner->setAccessibleName(tr("Updating the preview"));
  loadingLayout->addWidget(captionLabel(tr("Updating preview…")));
  loadingLayout->addWidget(spinner);
  loading_->setVisible(false);
  top->addWidget(loading_);
  layout->addLayout(top);

  // A quick pass shows no indicator at all; one that takes a moment does.
  loadingDelay_ = new QTimer(this);
  loadingDelay_->setSingleShot(true);
  loadingDelay_->setInterval(120);
  connect(loadingDelay_, &QTimer::timeout, this,
          &ConvertFormatOrRenameView::updateLoadingIndicator);

  model_ = new PreviewTableModel(this);
  proxy_ = new PreviewFilterProxy(this);
  proxy_->setSourceModel(model_);
  table_ = new QTableView;
  table_->setObjectName(QStringLiteral("previewTable"));
  table_->setAccessibleName(tr("Preview of the new photo paths"));
  table_->setModel(proxy_);
  table_->setItemDelegate(new PreviewPathDelegate(table_));
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  table_->setShowGrid(false);
  table_->setAlternatingRowColors(true);
  table_->setWordWrap(false);
  table_->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
  table_->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
  table_->verticalHeader()->setVisible(false);
  // Every row the same height: the view never asks a row for its size.
  table_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  table_->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 12);
  table_->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
  table_->horizontalHeader()->setHighlightSections(false);
  table_->setContextMenuPolicy(Qt::CustomContextMenu);
  connect(table_, &QTableView::customContextMenuRequested, this,
          &ConvertFormatOrRenameView::showRowMenu);
  layout->addWidget(table_, 1);

  emptyNote_ = captionLabel(QString());
  emptyNote_->setObjectName(QStringLiteral("previewEmptyNote"));
  emptyNote_->setAlignment(Qt::AlignCenter);
  emptyNote_->setVisible(false);
  layout->addWidget(emptyNote_);

  auto *bottom = new QHBoxLayout;
  backButton_ = new QPushButton(tr("Back"));
  backButton_->setObjectName(QStringLiteral("backButton"));
  backButton_->setToolTip(tr("Back to the photos of the batch"));
  batchLine_ = new QLabel;
  batchLine_->setObjectName(QStringLiteral("batchLine"));
  batchLine_->setFont(Theme::captionFont());
  batchLine_->setStyleSheet(QStringLiteral("color: %1;").arg(Theme::css(Theme::secondaryText())));
  startButton_ = new QPushButton(tr("Start"));
  startButton_->setObjectName(QStringLiteral("startButton"));
  startButton_->setToolTip(tr("Rename and convert the photos of the batch"));
  startButton_->setDefault(true);
  Theme::setRole(startButton_, "primary");
  bottom->addWidget(backButton_);
  bottom->addSpacing(Theme::spacing);
  bottom->addWidget(batchLine_, 1);
  bottom->addWidget(startButton_);
  layout->addLayout(bottom);
  connect(backButton_, &QPushButton::clicked, this, &ConvertFormatOrRenameView::backRequested);
  connect(startButton_, &QPushButton::clicked, this, &ConvertFormatOrRenameView::btnStartTapped);
  updateFilterButtons();
  return side;
}

// --- Binding ---

void ConvertFormatOrRenameView::setupViewNotification() {
  batchLine_->setText(batchLineText());
  if (controller_.isPreviewRunning() && controller_.setting) {
    // Opened twice in a row (the screen shows, then hears the user came from the batch):
    // one pass after the running one covers both.
    rebuildPending_ = true;
    return;
  }
  bound_ = false;
  proxy_->setPreviewFilesMode(PreviewAll);
  filterButtons_.first()->setChecked(true);
  controller_.viewDidAppear();
  editor_.setSetting(controller_.setting);
  ++passesStarted_;
  passStarting();
  rebuildPending_ = false;
  setupUIForUpdatedRenameSettingDictionary();
  bound_ = true;
  loadingDelay_->start();
}

void ConvertFormatOrRenameView::resetAllSettings() {
  if (!controller_.options)
    return;
  if (controller_.isPreviewRunning()) {
    // The pass under way read the old setting; the fresh one is previewed after it.
    controller_.setting = BatchRenameSetting::resetAllSettings(delegate_);
    editor_.setSetting(controller_.setting);
    rebuildPending_ = true;
  } else {
    controller_.resetAllSettings();
    editor_.setSetting(controller_.setting);
    ++passesStarted_;
    passStarting();
    loadingDelay_->start();
  }
  bound_ = false;
  setupUIForUpdatedRenameSettingDictionary();
  bound_ = true;
}

void ConvertFormatOrRenameView::requestPreview() {
  if (!controller_.options)
    return;
  if (controller_.isPreviewRunning()) {
    // Folded into one pass after the running one: it reads the setting as it is then.
    rebuildPending_ = true;
    return;
  }
  ++passesStarted_;
  passStarting();
  controller_.resetPreviewForUpdatedRenameSelections(false);
  loadingDelay_->start();
}

bool ConvertFormatOrRenameView::isPreviewBusy() const {
  return controller_.isPreviewRunning() || rebuildPending_;
}

void ConvertFormatOrRenameView::previewUpdated() {
  // Passes end in the order they started; the one that ends shows, even when a newer one is
  // about to follow, so a long stream of edits still shows progress.
  model_->setPreview(controller_.arrayOutputFilePaths, controller_.errorFiles);
  updateFilterButtons();
  const bool empty = controller_.arrayOutputFilePaths.isEmpty();
  bound_ = false;
  setupUIForUpdatedRenameSettingDictionary();
  bound_ = true;
  if (rebuildPending_ && !controller_.isPreviewRunning()) {
    rebuildPending_ = false;
    ++passesStarted_;
    passStarting();
    controller_.resetPreviewForUpdatedRenameSelections(false);
  }
  emptyNote_->setText(empty ? tr("The batch is empty. Go back and add photos.") : QString());
  emptyNote_->setVisible(empty && !isPreviewBusy());
  updateLoadingIndicator();
  if (!isPreviewBusy())
    passesEnded();
  Q_EMIT previewShown();
  if (startWhenReady_ && !isPreviewBusy()) {
    startWhenReady_ = false;
    btnStartTapped();
  }
}

void ConvertFormatOrRenameView::updateLoadingIndicator() {
  const bool busy = isPreviewBusy();
  loading_->setVisible(busy && !loadingDelay_->isActive());
  if (!busy)
    loadingDelay_->stop();
}

void ConvertFormatOrRenameView::setupUIForUpdatedRenameSettingDictionary() {
  const std::shared_ptr<BatchRenameSetting> &setting = controller_.setting;
  if (!setting)
    return;
  const QSignalBlocker blockKeep(keepNamesRadio_);
  const QSignalBlocker blockModify(modifyNamesRadio_);
  const bool modify = editor_.isRulePanelVisible();
  (modify ? modifyNamesRadio_ : keepNamesRadio_)->setChecked(true);
  rulePanel_->setVisible(modify);
  for (auto it = ruleGroups_.cbegin(); it != ruleGroups_.cend(); ++it) {
    const QSignalBlocker block(it.value());
    it.value()->setChecked(editor_.ruleState(it.key()));
  }
  {
    const QSignalBlocker block(lowerCaseExtensionBox_);
    lowerCaseExtensionBox_->setChecked(editor_.ruleState(RenameRule::LowerCaseExtension));
  }
  for (auto it = textFields_.cbegin(); it != textFields_.cend(); ++it)
    setTextKeepingCursor(it.value(), editor_.textValue(it.key()));
  for (auto it = integerFields_.cbegin(); it != integerFields_.cend(); ++it) {
    const QString shown = it.value()->text();
    const qint32 value = editor_.integerValue(it.key());
    // "-" and "" read as 0: a field being typed keeps its text while it means the same.
    bool ok = false;
    const int typed = shown.trimmed().toInt(&ok);
    if ((ok ? typed : 0) != value)
      setTextKeepingCursor(it.value(), QString::number(value));
  }
  if (dateShiftField_) {
    // A shift being typed keeps its text while it means what the setting holds.
    qint64 typed = 0;
    const QString shown = dateShiftField_->text();
    const bool same =
        shown.trimmed().isEmpty()
            ? editor_.dateShiftText().isEmpty()
            : DateShift::parse(shown, &typed) && DateShift::text(typed) == editor_.dateShiftText();
    if (!same && !dateShiftField_->property("invalid").toBool()) {
      const QSignalBlocker block(dateShiftField_);
      dateShiftField_->setText(editor_.dateShiftText());
      showDateShiftMeaning();
    }
  }
  if (writeDateShiftBox_) {
    const QSignalBlocker block(writeDateShiftBox_);
    writeDateShiftBox_->setChecked(editor_.writeDateShift());
  }
  for (auto it = optionLists_.cbegin(); it != optionLists_.cend(); ++it) {
    const QSignalBlocker block(it.value());
    it.value()->setCurrentText(editor_.selectedOptionText(it.key()));
  }

  const SliderPanel panel = editor_.visibleSliderPanel();
  qualityPanel_->setVisible(panel == SliderPanel::Quality);
  compressionPanel_->setVisible(panel == SliderPanel::Compression);
  {
    const QSignalBlocker blockSlider(qualitySlider_);
    const QSignalBlocker blockBox(qualityBox_);
    qualitySlider_->setValue(int(std::lround(setting->quality() * 100)));
    qualityBox_->setChecked(setting->setQuality());
    qualitySlider_->setEnabled(setting->setQuality());
    qualityLabel_->setText(editor_.qualityLabel());
  }
  {
    const QSignalBlocker blockSlider(compressionSlider_);
    const QSignalBlocker blockBox(compressionBox_);
    compressionSlider_->setValue(setting->compression());
    compressionBox_->setChecked(setting->setCompression());
    compressionSlider_->setEnabled(setting->setCompression());
    compressionLabel_->setText(editor_.compressionLabel());
  }
  rawNote_->setVisible(controller_.isRawFormatExist && setting->outputFormatIndex() == 0);

  const std::shared_ptr<OutputOptionSettings> &options = controller_.options;
  if (!options)
    return;
  const int mode = options->destinationMode();
  for (QAbstractButton *button : destinationModes_->buttons()) {
    const QSignalBlocker block(button);
    button->setChecked(destinationModes_->id(button) == mode);
  }
  destinationModes_->button(OutputOptionSettings::ModeMove)
      ->setEnabled(controller_.isMoveModeEnabled);
  destinationInfo_->setText(mode == OutputOptionSettings::ModeMove ? OutputOptionSettings::kMoveInfo
                            : mode == OutputOptionSettings::ModeSourceFolder
                                ? OutputOptionSettings::kSourceFolderInfo
                                : QString());
  destinationInfo_->setVisible(!destinationInfo_->text().isEmpty());
  const bool editable = options->isOutputFolderEditable();
  folderField_->setText(options->outputFolderPath);
  folderField_->setToolTip(options->outputFolderPath);
  folderField_->setEnabled(editable);
  chooseFolderButton_->setEnabled(editable);
  openFolderBox_->setEnabled(editable);
  const QSignalBlocker blockOpen(openFolderBox_);
  const QSignalBlocker blockOverwrite(overwriteBox_);
  const QSignalBlocker blockDates(keepDatesBox_);
  openFolderBox_->setChecked(options->openOutputFolderAfterProcessing);
  overwriteBox_->setChecked(options->owerwriteExistingFiles);
  keepDatesBox_->setChecked(options->setOutputDateTimeAsOriginal);
}

void ConvertFormatOrRenameView::updateFilterButtons() {
  const QList<FilterButtonTexts> &texts = controller_.filterButtons;
  for (int tag = 0; tag < filterButtons_.size() && tag < texts.size(); ++tag) {
    filterButtons_.at(tag)->setText(texts.at(tag).title);
    filterButtons_.at(tag)->setToolTip(texts.at(tag).toolTip);
    filterButtons_.at(tag)->updateGeometry();
  }
  updateDateFromParts();
}

void ConvertFormatOrRenameView::addNoCaptureDateFilter(QHBoxLayout *row, QButtonGroup *group) {
  // Information, not a warning: the word keeps the text colour and the start gate ignores it.
  noCaptureDateButton_ = new PreviewFilterButton;
  noCaptureDateButton_->setObjectName(QStringLiteral("filterNoCaptureDateButton"));
  noCaptureDateButton_->setToolTip(
      tr("Lists the photos without a capture date: their names use the file's creation date"));
  noCaptureDateButton_->setVisible(false);
  group->addButton(noCaptureDateButton_, PreviewTableModel::NoCaptureDateFilter);
  row->addWidget(noCaptureDateButton_);
}

void ConvertFormatOrRenameView::updateDateFromParts() {
  const bool shown = model_->showsDateFrom();
  noCaptureDateButton_->setText(
      QStringLiteral("NO CAPTURE DATE: %1").arg(shown ? model_->noCaptureDateCount() : 0));
  noCaptureDateButton_->updateGeometry();
  noCaptureDateButton_->setVisible(shown);
  if (!shown && proxy_->previewFilesMode() == PreviewTableModel::NoCaptureDateFilter) {
    filterButtons_.first()->setChecked(true);
    btnPreviewFilesModeTapped(PreviewAll);
  }
  if (shown) {
    // A fixed width from the longest source text: measuring a million rows is not an option.
    QHeaderView *header = table_->horizontalHeader();
    header->setSectionResizeMode(PreviewTableModel::DateFromColumn, QHeaderView::Fixed);
    const QString longest = QStringLiteral("XMP photoshop:DateCreated +00:00");
    const int width = fontMetrics().horizontalAdvance(longest) + Theme::spacing * 3;
    header->resizeSection(PreviewTableModel::DateFromColumn, width);
  }
}

QString ConvertFormatOrRenameView::batchLineText() const {
  return RenameSettingsEditor::batchLineText(delegate_->arraySelectedImagesToProcess);
}

// --- Actions ---

void ConvertFormatOrRenameView::btnPreviewFilesModeTapped(int tag) {
  // The controller's lists know the checks' filters only; the capture-date one is the table's.
  if (tag != PreviewTableModel::NoCaptureDateFilter)
    controller_.btnPreviewFilesModeTapped(tag);
  proxy_->setPreviewFilesMode(tag);
}

void ConvertFormatOrRenameView::btnStartTapped() {
  if (!controller_.options)
    return;
  // The start check reads the preview: one still being built is waited for, not the window.
  if (isPreviewBusy()) {
    startWhenReady_ = true;
    return;
  }
  const QString message = controller_.perfromStartProcess();
  if (!message.isEmpty())
    Q_EMIT startRefused(message);
}

void ConvertFormatOrRenameView::btnDestinationModeTapped(int tag) {
  if (!bound_ || !controller_.options)
    return;
  controller_.options->setDestinationMode(tag);
  bound_ = false;
  setupUIForUpdatedRenameSettingDictionary();
  bound_ = true;
  requestPreview();
}

void ConvertFormatOrRenameView::btnChooseFolderTapped() {
  if (!controller_.options || !chooseFolder)
    return;
  const QString chosen = chooseFolder(this, controller_.options->resolvedOutputFolderPath());
  if (chosen.isEmpty())
    return;
  // A folder in the trash is dropped without a word.
  if (!controller_.options->chooseOutputFolder(chosen))
    return;
  folderField_->setText(controller_.options->outputFolderPath);
  folderField_->setToolTip(controller_.options->outputFolderPath);
  requestPreview();
}

void ConvertFormatOrRenameView::showRowMenu(const QPoint &position) {
  const QModelIndex index = table_->indexAt(position);
  if (!index.isValid())
    return;
  const QString source = index.data(PreviewTableModel::SourcePathRole).toString();
  QMenu menu(this);
  menu.setObjectName(QStringLiteral("previewRowMenu"));
  menu.addAction(tr("Show in Folder"), this, [this, source] { revealPath(source); });
  menu.addAction(tr("Open"), this, [this, source] { openPath(source); });
  menu.addAction(tr("Show Info"), this, [this, source] { showInfoForPath(source); });
  menu.exec(table_->viewport()->mapToGlobal(position));
}

void ConvertFormatOrRenameView::disablePrevBtn() {
  backButton_->setEnabled(false);
}

void ConvertFormatOrRenameView::enablePrevBtn() {
  backButton_->setEnabled(true);
}

void ConvertFormatOrRenameView::windowisResizing() {
  // Qt's layouts follow the window as it goes; the columns are fitted once it stops.
}

void ConvertFormatOrRenameView::windowEndResizing() {
  resizeTableHeader();
}

void ConvertFormatOrRenameView::resizeTableHeader() {
  table_->horizontalHeader()->resizeSections(QHeaderView::Stretch);
}

void ConvertFormatOrRenameView::appearInBatchEffectsView() {
  setupViewNotification();
}

void ConvertFormatOrRenameView::passStarting() {
  NotificationCenter &center = NotificationCenter::defaultCenter();
  center.post(Notifications::HideLoading);
  center.post(Notifications::ShowLoading);
}

void ConvertFormatOrRenameView::passesEnded() {
  NotificationCenter::defaultCenter().post(Notifications::HideLoading);
}

void ConvertFormatOrRenameView::showDateShiftMeaning() {
  const QString typed = dateShiftField_->text().trimmed();
  qint64 seconds = 0;
  if (typed.isEmpty())
    dateShiftMeaning_->clear();
  else if (DateShift::parse(typed, &seconds))
    dateShiftMeaning_->setText(DateShift::describe(seconds));
  else
    dateShiftMeaning_->setText(tr("HH:MM, D:HH:MM or D:HH:MM:SS"));
}
