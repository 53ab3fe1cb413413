#include "ui/ScreenshotTour.h"

// The setup screen's pictures for the screenshot tour.
void setupScreenshotSteps(ScreenshotTour &tour) {
  (void)tour;
}
