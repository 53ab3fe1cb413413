#include "app/AppDelegate.h"
#include "ui/MainWindowController.h"

#include <QCoreApplication>
#include <QTest>
#include <gtest/gtest.h>

// Closing the main window goes through the delegate: it logs the window's class and quits
// only when the quit decision allows it.
TEST(MainWindow, ClosingAsksTheDelegateToQuit) {
  AppDelegate *delegate = AppDelegate::shared();
  int quits = 0;
  delegate->quitHandler = [&quits] { ++quits; };

  MainWindowController window(delegate);
  EXPECT_EQ(window.windowTitle(), QStringLiteral("Quillmere"));
  window.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));

  EXPECT_FALSE(window.close()); // the close is refused here and decided by the delegate
  EXPECT_EQ(quits, 0);          // forwarded without waiting
  QCoreApplication::processEvents();
  EXPECT_EQ(quits, 1);
  EXPECT_TRUE(window.isVisible());
  delegate->quitHandler = nullptr;
}
