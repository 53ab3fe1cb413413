#pragma once

#include <QLoggingCategory>

// The intake's console lines ("is adding photos count = %d" and the like). The command line
// turns them off; the window leaves them on for diagnosis.
Q_DECLARE_LOGGING_CATEGORY(lcIntake)
