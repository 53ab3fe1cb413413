#pragma once

#include <QLoggingCategory>

// Console lines of the rename side ("directory created successfully %@", the start checks'
// findings). The command line turns them off; the window leaves them on for diagnosis.
Q_DECLARE_LOGGING_CATEGORY(lcRename)
