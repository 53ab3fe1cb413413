#pragma once

namespace app::window {

// Starts the desktop application: the start-up sequence, then the main window's event
// loop. Without a display it explains so on one line and returns 1.
int runWindowApplication(int argc, char **argv);

} // namespace app::window
