#include "tests/support/TestEnv.h"

#include <gtest/gtest.h>

TEST(CommandLine, VersionHelpAndUnknownCommand) {
  auto version = testenv::runQuillmere({"--version"});
  EXPECT_EQ(version.exitCode, 0);
  EXPECT_EQ(version.out.trimmed(), QStringLiteral("quillmere " QUILLMERE_VERSION));

  auto help = testenv::runQuillmere({"--help"});
  EXPECT_EQ(help.exitCode, 0);
  EXPECT_TRUE(help.out.contains("quillmere preview [OPTIONS] PATH..."));

  auto unknown = testenv::runQuillmere({"frobnicate"});
  EXPECT_EQ(unknown.exitCode, 64);
  EXPECT_TRUE(unknown.err.contains("unknown command: frobnicate"));
  EXPECT_TRUE(unknown.out.isEmpty());
}

TEST(CommandLine, WindowWithoutDisplayExplainsInOneLine) {
  qunsetenv("DISPLAY");
  qunsetenv("WAYLAND_DISPLAY");
  qunsetenv("QT_QPA_PLATFORM");
  auto result = testenv::runQuillmere({});
  qputenv("QT_QPA_PLATFORM", "offscreen");
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err.count('\n'), 1);
  EXPECT_TRUE(result.err.contains("no display"));
}
