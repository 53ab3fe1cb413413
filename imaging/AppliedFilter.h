#pragma once

#include <QString>
#include <QVariantMap>

#include <vips/vips8>

// One filter chosen for the batch: which filter, with which parameters, under which
// category it was picked, and the image it produced.
class AppliedFilter {
public:
  QString filterName;        // the filter library's name, e.g. "CIGaussianBlur"
  QString filterDisplayName; // e.g. "Gaussian Blur"
  QVariantMap filterParameters;
  vips::VImage appliedImage;
  QString parentCategoryName;
  // Counted by the run's summary of applied steps.
  bool isApplied = false;
};
