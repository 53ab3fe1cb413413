#pragma once

// What libvips and GLib say about a photo (a warning per damaged strip, say) is for
// developers, not for the user: the photo's own message says what went wrong in one line.
// Their log messages go to the debug category "quillmere.library", which is off unless
// asked for with QT_LOGGING_RULES="quillmere.library.debug=true", or with QUILLMERE_DEBUG
// set (then they are printed to standard error whatever the logging rules say).
namespace platform::LibraryLog {

// Installs the route once for the process; later calls do nothing. Fatal errors still go
// to GLib's own handler.
void routeLibraryWarnings();

} // namespace platform::LibraryLog
