#pragma once

// The setup screen over a small batch of photos, shown offscreen: the common ground of the
// window tests that drive its controls and read its preview.

#include "app/AppDelegate.h"
#include "intake/PhotoFile.h"
#include "rename/OutputOptionSettings.h"
#include "ui/ConvertFormatOrRenameView.h"
#include "ui/PreviewTableModel.h"
#include "ui/ScreenFlowDelegate.h"
#include "ui/SetupVC.h"

#include <QComboBox>
#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

#include <memory>

// A flow that goes nowhere: these tests stay on the setup screen.
struct QuietFlow : ScreenFlowDelegate {
  void btnNextFromAddPhotosVcTapped() override {}
  void btnBackFromSetupVCTapped() override {}
  void btnStartNewBatchFromSetupVCTapped() override {}
  void btnProcessSkippedFromSetupVCTapped(const QList<std::shared_ptr<PhotoFile>> &) override {}
  void checkForDeletedPhotosInSourceFolder(bool) override {}
};

struct SetupScreenFixture : ::testing::Test {
  QTemporaryDir dir;
  AppDelegate delegate;
  QuietFlow flow;
  QString out = dir.filePath("Out");
  std::unique_ptr<SetupVC> screen;

  // The flow the screen reports to; a test that records it gives its own.
  virtual ScreenFlowDelegate *screenFlow() { return &flow; }
  // The files become the batch; outputs go to `out`, and no folder is opened after a run.
  void useBatch(const QStringList &files) {
    QDir().mkpath(out);
    delegate.loadSupportedImageFormats();
    for (const QString &file : files)
      delegate.arraySelectedImagesToProcess.append(PhotoFile::initWithFileUrl(file, false));
    delegate.selectedOuputSettingObj = OutputOptionSettings::initWithDefaults();
    delegate.selectedOuputSettingObj->outputFolderPath = out;
    delegate.selectedOuputSettingObj->openOutputFolderAfterProcessing = false;
  }
  // Shows the screen and waits for its first preview.
  void showScreen() {
    screen = std::make_unique<SetupVC>(&delegate, screenFlow());
    screen->resize(1300, 820);
    screen->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(screen.get()));
    view()->setupViewNotification();
    settle();
  }
  ConvertFormatOrRenameView *view() { return screen->settingsView(); }
  template <class T> T *find(const char *name) {
    T *widget = screen->findChild<T *>(QLatin1String(name));
    EXPECT_NE(widget, nullptr) << name;
    return widget;
  }
  // Waits until no preview pass runs or waits to run.
  void settle() {
    QSignalSpy shown(view(), &ConvertFormatOrRenameView::previewShown);
    while (view()->isPreviewBusy())
      ASSERT_TRUE(shown.wait(10000));
  }
  QString newPath(int row = 0) {
    return view()->previewModel()->index(row, PreviewTableModel::NewPathColumn).data().toString();
  }
  void chooseInList(const char *name, const QString &entry) {
    auto *list = find<QComboBox>(name);
    const int target = list->findText(entry);
    ASSERT_GE(target, 0) << qPrintable(entry);
    list->setFocus();
    while (list->currentIndex() != target)
      QTest::keyClick(list, list->currentIndex() < target ? Qt::Key_Down : Qt::Key_Up);
  }
};
