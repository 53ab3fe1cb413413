#pragma once

#include <QString>

// The application-wide notification names, spelt as the system has always spelt them (some
// of the misspellings are the names). Each names who posts and who observes it.
namespace Notifications {

// Posted by the add-photos drop box after a drop; observed by the add-photos screen.
// Carries PathsKey: the dropped paths (QStringList).
inline const QString FileDragDrop = QStringLiteral("FileDragDropNotification");
// The window shows the add-photos screen; observed by it.
inline const QString AddPhotosViewAppear = QStringLiteral("notificationAddPhotosViewAppear");
// The window leaves the add-photos screen for the setup screen; observed by the add-photos
// screen.
inline const QString AddPhotosViewDisAppear = QStringLiteral("notificationAddPhotosViewDisAppear");
// The window shows the setup screen; observed by it.
inline const QString SetupViewAppear = QStringLiteral("notificationsetupViewAppear");
// The window leaves the setup screen; nothing observes it.
inline const QString SetupViewDisAppear = QStringLiteral("notificationsetupViewDisAppear");
// The user went on from the add-photos screen; observed by the settings view.
inline const QString NextFromBtchEffects = QStringLiteral("notificationNextFromBtchEffects");
// The setup screen added its settings view; observed by that view.
inline const QString SetupConvertAndRename = QStringLiteral("notificationSetupConvertAndRename");
// The setup screen asks the settings view to lay out its table header again.
inline const QString ResizeTableHeader = QStringLiteral("notificationResizeTableHeader");
// The window is being resized; observed by the setup screen and the settings view.
inline const QString WindowResized = QStringLiteral("notificationWindowResized");
// A resize ended, or full screen was entered or left.
inline const QString WindowEndResizing = QStringLiteral("notificationWindowEndResizing");
// The setup screen starts a batch run; observed by itself.
inline const QString ProcessStart = QStringLiteral("notificationProcessStart");
// The window was closed during a run; the setup screen stops the run.
inline const QString ProcessStop = QStringLiteral("notificationProcessStop");
// The setup screen disables / enables the settings view's back button.
inline const QString DisbalePrevBtn = QStringLiteral("notificationDisbalePrevBtn");
inline const QString EnbalePrevBtn = QStringLiteral("notificationEnbalePrevBtn");
// The skipped photos of the last run became the batch; observed by the add-photos screen.
inline const QString ProcessSkippedFiles = QStringLiteral("notificationsProcessSkippedFiles");
// The settings view starts / ends a preview rebuild; nothing observes them.
inline const QString ShowLoading = QStringLiteral("notificationsShowLoading");
inline const QString HideLoading = QStringLiteral("notificationsHideLoading");
// The add-photos screen removed photos from the batch; nothing observes it.
inline const QString RemovePhotosFromAddPhoto =
    QStringLiteral("notificationRemovePhotosFromAddPhoto");
// Nothing posts these; their observers are in place for when something does.
inline const QString PhotosDeleted = QStringLiteral("notificationPhotosDeleted");
inline const QString StartAsNewBatch = QStringLiteral("notificationStartAsNewBatch");
inline const QString AppearInBatchEffectsView =
    QStringLiteral("notificationAppearInBatchEffectsView");
inline const QString DisbleView = QStringLiteral("notificationsDisbleView");
inline const QString Enable = QStringLiteral("notificationsEnable");
// Posted by showPromotionalWindow with ObjectKey: the main window; nothing registers for it.
inline const QString MainWindowClose = QStringLiteral("mainWindowClose");

// User-info keys.
inline const QString PathsKey = QStringLiteral("paths");
inline const QString ObjectKey = QStringLiteral("object");

} // namespace Notifications
