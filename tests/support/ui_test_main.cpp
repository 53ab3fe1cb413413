#include "tests/support/TestEnv.h"

#include <QApplication>
#include <gtest/gtest.h>

#include "platform/VipsSession.h"

int main(int argc, char **argv) {
  testenv::isolateProcess();
  qputenv("QT_QPA_PLATFORM", "offscreen");
  ::testing::InitGoogleTest(&argc, argv);
  QApplication app(argc, argv);
  QCoreApplication::setApplicationName(QStringLiteral("Quillmere"));
  platform::VipsSession vips(argv[0]);
  return RUN_ALL_TESTS();
}
