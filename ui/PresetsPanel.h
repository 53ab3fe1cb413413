#pragma once

#include <QWidget>

#include <functional>

class AppDelegate;
class QAction;
class QComboBox;
class QLabel;
class QPushButton;

// The setup screen's presets: a list of the saved presets and the actions on them (apply,
// save the current settings as a new one, update, rename, delete, import, export). Presets
// are the engine's (rename/Presets); this only asks for names and files and reports.
class PresetsPanel : public QWidget {
  Q_OBJECT
public:
  explicit PresetsPanel(AppDelegate *delegate, QWidget *parent = nullptr);

  // Reads the folder again (the list keeps the chosen name where it can).
  void reload();
  QString selectedName() const;
  void select(const QString &name);

  bool applySelected();
  bool saveAsNew();
  bool updateSelected();
  bool renameSelected();
  bool deleteSelected();
  bool importFile();
  bool exportSelected();

  // Questions to the user (dialogs by default; tests answer them). Empty text: cancelled.
  std::function<QString(const QString &title, const QString &label, const QString &text)> askName;
  std::function<QString(bool save, const QString &suggested)> chooseFile;
  std::function<bool(const QString &text)> confirm;
  // The last message shown (an error or what was done).
  QString message() const;

Q_SIGNALS:
  // A preset was applied: the delegate's setting and options hold its values.
  void applied();

private:
  void report(const QString &text, bool error);
  void updateButtons();

  AppDelegate *delegate_;
  QComboBox *list_;
  QLabel *status_;
  QList<QPushButton *> needsSelection_;
  QList<QAction *> selectionActions_;
};
