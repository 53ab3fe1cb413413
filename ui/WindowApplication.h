#pragma once

#include <QStringList>

namespace ui {

// Starts the desktop application: the start-up sequence, then the main window's event
// loop. paths (from `quillmere open`) are added to the batch once the window is up. Without
// a display it explains so on one line and returns 1.
int runWindowApplication(int argc, char **argv, const QStringList &paths = {});

} // namespace ui
