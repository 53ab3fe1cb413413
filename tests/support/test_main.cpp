#include "tests/support/TestEnv.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

#include "platform/VipsSession.h"

int main(int argc, char **argv) {
  testenv::isolateProcess();
  ::testing::InitGoogleTest(&argc, argv);
  QCoreApplication app(argc, argv);
  QCoreApplication::setApplicationName(QStringLiteral("Quillmere"));
  platform::VipsSession vips(argv[0]);
  return RUN_ALL_TESTS();
}
