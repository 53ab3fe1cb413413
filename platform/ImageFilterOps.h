#pragma once

#include <QPointF>

#include <vips/vips8>

// The pixel work behind the named filters of ImageFilterRegistry. Every operation keeps the
// image's size and band format; positions are in pixels from the top-left corner, angles in
// radians (counter-clockwise, as on screen with y up). They may throw vips::VError.
namespace platform::filterops {

using vips::VImage;

// Blurs.
VImage gaussianBlur(const VImage &image, double radius);
VImage boxBlur(const VImage &image, double radius);
VImage discBlur(const VImage &image, double radius);
VImage medianFilter(const VImage &image);
VImage motionBlur(const VImage &image, double radius, double angle);
// Streaks every pixel towards center over amount/200 of its distance from it.
VImage zoomBlur(const VImage &image, QPointF center, double amount);

// Stylize.
// Square blocks of side scale, one of them centred on center, each filled with its mean.
VImage pixellate(const VImage &image, QPointF center, double scale);
// Cells around seeds of a jittered grid of spacing radius, each in its seed's colour.
VImage crystallize(const VImage &image, QPointF center, double radius);
// Dots of radius on white paper, each in the colour under its centre.
VImage pointillize(const VImage &image, QPointF center, double radius);
// Gradient magnitude: flat areas go black, edges light up.
VImage edges(const VImage &image, double intensity);
// Screens a blurred copy over the image (brightens, never darkens).
VImage bloom(const VImage &image, double radius, double intensity);
// Multiplies a blurred copy into the image (darkens, never brightens).
VImage gloom(const VImage &image, double radius, double intensity);

// Distortions: pixels farther than radius from center are left as they are, except by the
// circle splash, which changes only those.
VImage bumpDistortion(const VImage &image, QPointF center, double radius, double scale);
VImage pinchDistortion(const VImage &image, QPointF center, double radius, double scale);
VImage twirlDistortion(const VImage &image, QPointF center, double radius, double angle);
VImage vortexDistortion(const VImage &image, QPointF center, double radius, double angle);
VImage circleSplashDistortion(const VImage &image, QPointF center, double radius);

// Colour. These give an RGB image: a grey one is converted first.
// With brightness 0, contrast 1 and saturation 1 the result is exactly the image converted
// to sRGB; saturation 0 gives three equal channels.
VImage colorControls(const VImage &image, double brightness, double contrast, double saturation);
VImage sepiaTone(const VImage &image, double intensity);
// Keeps the image's bands.
VImage colorInvert(const VImage &image);

// Sharpen.
VImage unsharpMask(const VImage &image, double radius, double intensity);

} // namespace platform::filterops
