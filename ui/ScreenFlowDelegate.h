#pragma once

#include <QList>

#include <memory>

class PhotoFile;

// What a screen asks of the window when the user goes on or back; the main window
// controller implements it and switches screens.
class ScreenFlowDelegate {
public:
  virtual ~ScreenFlowDelegate() = default;

  // The add-photos screen's go-on button: to the setup screen, whose settings view is told
  // the user came from the batch.
  virtual void btnNextFromAddPhotosVcTapped() = 0;
  // The setup screen's back button: to the add-photos screen.
  virtual void btnBackFromSetupVCTapped() = 0;
  // The summary's "new batch": settings reset, the batch emptied, back to adding photos.
  virtual void btnStartNewBatchFromSetupVCTapped() = 0;
  // The summary's "process skipped": photos becomes the batch, back to adding photos.
  virtual void
  btnProcessSkippedFromSetupVCTapped(const QList<std::shared_ptr<PhotoFile>> &photos) = 0;
  // Checks the batch against the disk (dropping the missing photos when remove is true) and
  // shows the deleted-photos alert when none is left.
  virtual void checkForDeletedPhotosInSourceFolder(bool remove) = 0;
};
