#pragma once

#include <QLoggingCategory>

// The batch run's console lines ("save image at path %@", "Memory Capacity of ...", ...).
// The command line turns them off; the window leaves them on for diagnosis.
Q_DECLARE_LOGGING_CATEGORY(lcProcessing)
