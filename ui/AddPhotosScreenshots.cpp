#include "ui/ScreenshotTour.h"

// The add-photos screen's pictures for the screenshot tour.
void addPhotosScreenshotSteps(ScreenshotTour &tour) {
  (void)tour;
}
