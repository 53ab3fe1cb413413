#include "platform/LibraryLog.h"

#include <QLoggingCategory>

#include <glib.h>

#include <cstdio>
#include <mutex>

namespace platform::LibraryLog {

namespace {

Q_LOGGING_CATEGORY(lcLibrary, "quillmere.library", QtInfoMsg)

const char *levelName(GLogLevelFlags level) {
  if (level & G_LOG_LEVEL_CRITICAL)
    return "critical";
  if (level & G_LOG_LEVEL_WARNING)
    return "warning";
  if (level & G_LOG_LEVEL_MESSAGE)
    return "message";
  if (level & G_LOG_LEVEL_INFO)
    return "info";
  return "debug";
}

void handler(const gchar *domain, GLogLevelFlags level, const gchar *message, gpointer) {
  if (level & G_LOG_FLAG_FATAL || level & G_LOG_LEVEL_ERROR) {
    g_log_default_handler(domain, level, message, nullptr);
    return;
  }
  static const bool forced = qEnvironmentVariableIsSet("QUILLMERE_DEBUG");
  const char *from = domain ? domain : "GLib";
  if (forced) {
    std::fprintf(stderr, "quillmere.library: %s %s: %s\n", from, levelName(level),
                 message ? message : "");
    return;
  }
  qCDebug(lcLibrary, "%s %s: %s", from, levelName(level), message ? message : "");
}

} // namespace

void routeLibraryWarnings() {
  static std::once_flag once;
  std::call_once(once, [] { g_log_set_default_handler(handler, nullptr); });
}

} // namespace platform::LibraryLog
