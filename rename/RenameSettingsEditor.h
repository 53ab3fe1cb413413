#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

class BatchRenameSetting;
class PhotoFile;

// The integer-only input of the number fields: empty is accepted; otherwise the whole text
// must read as one integer (leading blanks and a sign allowed) of at most maximumLength
// characters. A lone sign is let through so that "-1" can be typed key by key.
class OnlyIntegerValueFormatterWithZero {
public:
  int maximumLength = 4;
  bool isPartialStringValid(const QString &partial) const;
};

enum class RenameRule {
  ReplaceFilename,
  DateTimeStamp,
  AppendFolderName,
  AddString,
  AddDigit,
  Remove,
  ChangeCase,
  LowerCaseExtension,
};

enum class RenameTextField { NewName, CustomDate, Prefix, Suffix, InsertText, Chars, Words };

enum class RenameIntegerField {
  InsertPosition,
  DigitPosition,
  StartingIndex,
  Increment,
  FirstN,
  LastN,
  From,
  To,
  Digits, // the running number's minimum width
};

// The option lists the pop-up shows, by the kind of button that opened it.
enum OptionListKind {
  OptionOutputFormat = 0,
  OptionDateAs = 1,
  OptionDateType = 2,
  OptionDateFormat = 3,
  OptionFolderAs = 4,
  OptionDigitAs = 5,
  OptionCaseMode = 6,
};

// Which slider panel an output format offers.
enum class SliderPanel { None, Quality, Compression };

// The rules of the rename-and-format screen's controls, without widgets: what each control
// writes into the setting, the limits on typed input, and when the preview is rebuilt
// (rebuildPreview is called exactly where a control asks for a new pass).
class RenameSettingsEditor {
public:
  RenameSettingsEditor(std::shared_ptr<BatchRenameSetting> setting, QStringList formats,
                       std::function<void()> rebuildPreview = {});

  const std::shared_ptr<BatchRenameSetting> &setting() const { return setting_; }
  void setSetting(std::shared_ptr<BatchRenameSetting> setting) { setting_ = std::move(setting); }

  // --- Rename mode and rule boxes ---
  // Radio tag 1 modifies names (the rule panel shows), tag 0 keeps them.
  void btnRenameModeTapped(int tag);
  bool isRulePanelVisible() const;
  void setRuleState(RenameRule rule, bool on);
  bool ruleState(RenameRule rule) const;

  // --- Text and number fields ---
  // A text field changed: returns the text the field keeps (cut to its limit, "/" removed
  // where the field removes it), which is also what the setting stores.
  QString textDidChange(RenameTextField field, const QString &text);
  // A number field changed (its formatter already let the text through): stores the text's
  // integer value, 0 for an empty text.
  void integerFieldDidChange(RenameIntegerField field, const QString &text);
  QString textValue(RenameTextField field) const;
  // The date/time stamp's clock correction as typed ("+1:00", "-2:00:00"; empty: none).
  // False, with the setting unchanged, while the text is not a whole shift.
  bool dateShiftDidChange(const QString &text);
  // The shift the setting holds in its shortest form; empty when none.
  QString dateShiftText() const;
  // Whether runs write the shifted taken date into the outputs' EXIF (the stamp's "Write Shift").
  void setWriteDateShift(bool on);
  bool writeDateShift() const;
  qint32 integerValue(RenameIntegerField field) const;

  // --- Option lists ---
  static QStringList optionsForKind(int kind, const QStringList &formats);
  // A row chosen in the list of kind: stores the row, returns the entry shown on the button.
  // Choosing an output format also sets the sliders from the setting.
  QString chooseOption(int kind, int row);
  // The entry a button shows for the setting's current value.
  QString selectedOptionText(int kind) const;

  // --- Sliders ---
  static SliderPanel panelForOutputFormat(int outputFormat);
  SliderPanel visibleSliderPanel() const;
  // Returns the label text.
  QString compressionSliderChanged(double value);
  QString qualitySliderChanged(double value);
  QString compressionLabel() const;
  QString qualityLabel() const;
  void setCompressionBox(bool on);
  void setQualityBox(bool on);
  static constexpr double kCompressionMinimum = 0;
  static constexpr double kCompressionMaximum = 9; // the encoders' levels 0-9
  static constexpr double kQualityMinimum = 0.0;
  static constexpr double kQualityMaximum = 1.0;

  // --- Field rules everywhere ---
  static int textLimit(RenameTextField field);
  static bool removesSlash(RenameTextField field);
  static QString cleanText(RenameTextField field, const QString &text);
  // Applies every text field's rules to the setting's texts, as typing would have: settings
  // from files and the command line obey them too, so no name can hold a "/".
  static void sanitizeSetting(BatchRenameSetting &setting);

  // "Total Images: %@  |  Total Size: %@" of the batch.
  static QString batchLineText(const QList<std::shared_ptr<PhotoFile>> &batch);
  static QString batchLineText(qsizetype count, double totalBytes);

  static const QString kResetToolTip;

private:
  void changed();

  std::shared_ptr<BatchRenameSetting> setting_;
  QStringList formats_;
  std::function<void()> rebuildPreview_;
};
