#include "platform/ImageFilterOps.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <vector>

namespace platform::filterops {

namespace {

constexpr double kPi = 3.14159265358979323846;

// Full intensity of one band, for blends that work on 0..1 fractions.
double maxValue(const VImage &image) {
  switch (image.format()) {
  case VIPS_FORMAT_UCHAR:
    return 255;
  case VIPS_FORMAT_CHAR:
    return 127;
  case VIPS_FORMAT_USHORT:
    return 65535;
  case VIPS_FORMAT_SHORT:
    return 32767;
  case VIPS_FORMAT_UINT:
    return 4294967295.0;
  case VIPS_FORMAT_INT:
    return 2147483647.0;
  default:
    return image.interpretation() == VIPS_INTERPRETATION_scRGB ? 1.0 : 255.0;
  }
}

// Arithmetic runs in float; the caller gets back the band format it gave, rounded (not
// truncated) and clipped, and the same interpretation.
VImage fitFormat(const VImage &result, const VImage &like) {
  VImage out = result;
  if (vips_band_format_isfloat(out.format()) && vips_band_format_isint(like.format()))
    out = out.rint();
  if (out.format() != like.format())
    out = out.cast(like.format());
  return out.copy(VImage::option()->set("interpretation", like.interpretation()));
}

struct Bands {
  VImage colour;
  VImage alpha;
  bool hasAlpha = false;
};

// Colour filters leave transparency alone.
Bands splitAlpha(const VImage &image) {
  Bands bands;
  if (image.bands() > 1 && image.has_alpha()) {
    bands.colour = image.extract_band(0, VImage::option()->set("n", image.bands() - 1));
    bands.alpha = image[image.bands() - 1];
    bands.hasAlpha = true;
  } else {
    bands.colour = image;
  }
  return bands;
}

VImage joinAlpha(const VImage &colour, const Bands &bands) {
  return bands.hasAlpha ? colour.bandjoin(bands.alpha) : colour;
}

VImage toFloat(const VImage &image) {
  return image.format() == VIPS_FORMAT_FLOAT ? image : image.cast(VIPS_FORMAT_FLOAT);
}

// Float precision: libvips' fixed-point blur of 8-bit images drifts by a level or two,
// enough to brighten a flat picture.
VImage blurFloat(const VImage &image, double sigma) {
  return image.gaussblur(sigma, VImage::option()->set("precision", VIPS_PRECISION_FLOAT));
}

// Pixel coordinates: band 0 is x, band 1 is y.
VImage coordinates(const VImage &image) {
  return VImage::xyz(image.width(), image.height()).cast(VIPS_FORMAT_FLOAT);
}

// Samples image at the coordinates; points outside take the nearest edge pixel (libvips'
// own extend mode covers only the interpolator's margin, so the points are clamped first).
VImage remap(const VImage &image, const VImage &coords, const char *interpolator = "bilinear") {
  const std::vector<double> last = {double(image.width() - 1), double(image.height() - 1)};
  const VImage low = (coords < 0.0).ifthenelse(0.0, coords);
  const VImage clamped = (low > last).ifthenelse(last, low);
  return image.mapim(clamped,
                     VImage::option()
                         ->set("interpolate", vips::VInterpolate::new_from_name(interpolator))
                         ->set("extend", VIPS_EXTEND_COPY));
}

VImage convolveFloat(const VImage &image, std::vector<double> &coefficients, int width,
                     int height) {
  const VImage mask =
      VImage::new_matrix(width, height, coefficients.data(), int(coefficients.size()));
  return toFloat(image).conv(mask, VImage::option()->set("precision", VIPS_PRECISION_FLOAT));
}

// A mask normalised so that it keeps the mean.
VImage convolveNormalised(const VImage &image, std::vector<double> coefficients, int width,
                          int height) {
  double sum = 0;
  for (double c : coefficients)
    sum += c;
  if (sum == 0)
    return image;
  for (double &c : coefficients)
    c /= sum;
  return fitFormat(convolveFloat(image, coefficients, width, height), image);
}

// Warps the disc of radius around center: the output pixel at offset d from the centre
// shows the source at center + warp(d, t), t being |d| / radius (below 1). Outside the disc
// the coordinates are the pixel's own, so those pixels are copied exactly.
using RadialWarp = std::function<VImage(const VImage &delta, const VImage &t)>;

VImage radialWarp(const VImage &image, QPointF center, double radius, const RadialWarp &warp) {
  if (!(radius > 0))
    return image;
  const VImage xy = coordinates(image);
  const VImage delta = xy.linear({1, 1}, {-center.x(), -center.y()});
  const VImage squares = delta * delta;
  const VImage t = (squares[0] + squares[1]).pow(0.5) / radius;
  const VImage inside = t < 1.0;
  const VImage warped =
      warp(delta, inside.ifthenelse(t, 1.0)).linear({1, 1}, {center.x(), center.y()});
  return remap(image, inside.ifthenelse(warped, xy));
}

// Turns each offset by an angle (radians) that depends on t.
VImage rotateOffsets(const VImage &delta, const VImage &angle) {
  const VImage degrees = angle * (180.0 / kPi);
  const VImage c = degrees.cos();
  const VImage s = degrees.sin();
  const VImage dx = delta[0];
  const VImage dy = delta[1];
  // y grows downwards, so a counter-clockwise turn on screen negates the sine.
  return (dx * c + dy * s).bandjoin(dy * c - dx * s);
}

double positiveModulo(double value, double modulus) {
  const double m = std::fmod(value, modulus);
  return m < 0 ? m + modulus : m;
}

// A fixed pseudo-random number in [0, 1) for a grid cell, so a filter gives the same
// picture every time.
double cellNoise(int i, int j, uint32_t salt) {
  uint32_t h = uint32_t(i) * 73856093u ^ uint32_t(j) * 19349663u ^ salt * 83492791u;
  h ^= h >> 13;
  h *= 0x5bd1e995u;
  h ^= h >> 15;
  return double(h & 0xffffffu) / double(0x1000000);
}

// Cells around the seeds of a jittered grid (one seed per spacing x spacing cell, at a
// random point between low and high of the cell, the grid anchored at origin): every pixel
// takes the source pixel under its nearest seed. With a dot radius, pixels farther than it
// from their seed are paper (full intensity) instead. Whole pixels are copied, so this
// works on any band format.
VImage pickSeedPixels(const VImage &image, QPointF origin, double spacing, double low, double high,
                      double dotRadius = 0) {
  const int width = image.width();
  const int height = image.height();
  const double ox = positiveModulo(origin.x(), spacing);
  const double oy = positiveModulo(origin.y(), spacing);
  // Cells run from -2 (a neighbour of the partial first cell) to one past the last.
  constexpr int kFirst = -2;
  const int columns = int(std::floor((width - 1 - ox) / spacing)) + 4;
  const int rows = int(std::floor((height - 1 - oy) / spacing)) + 4;
  std::vector<double> seedX(size_t(columns) * rows);
  std::vector<double> seedY(seedX.size());
  for (int r = 0; r < rows; ++r) {
    for (int c = 0; c < columns; ++c) {
      const size_t k = size_t(r) * columns + c;
      seedX[k] =
          ox + (c + kFirst + low + (high - low) * cellNoise(c + kFirst, r + kFirst, 1)) * spacing;
      seedY[k] =
          oy + (r + kFirst + low + (high - low) * cellNoise(c + kFirst, r + kFirst, 2)) * spacing;
    }
  }

  size_t size = 0;
  const std::unique_ptr<void, void (*)(gpointer)> source(image.write_to_memory(&size), g_free);
  const size_t pixelBytes = size / (size_t(width) * height);
  auto *out = static_cast<unsigned char *>(g_malloc(size));
  const auto *in = static_cast<const unsigned char *>(source.get());

  std::vector<unsigned char> paper(pixelBytes);
  if (dotRadius > 0) {
    const VImage white =
        (VImage::black(1, 1, VImage::option()->set("bands", image.bands())) + maxValue(image))
            .cast(image.format());
    size_t paperSize = 0;
    const std::unique_ptr<void, void (*)(gpointer)> bytes(white.write_to_memory(&paperSize),
                                                          g_free);
    std::memcpy(paper.data(), bytes.get(), std::min(paperSize, pixelBytes));
  }
  const double dotLimit = dotRadius * dotRadius;

  for (int y = 0; y < height; ++y) {
    const int cellY = int(std::floor((y - oy) / spacing)) - kFirst;
    for (int x = 0; x < width; ++x) {
      const int cellX = int(std::floor((x - ox) / spacing)) - kFirst;
      double best = std::numeric_limits<double>::max();
      size_t bestCell = 0;
      for (int r = cellY - 1; r <= cellY + 1; ++r) {
        for (int c = cellX - 1; c <= cellX + 1; ++c) {
          const size_t k = size_t(r) * columns + c;
          const double dx = seedX[k] - x, dy = seedY[k] - y;
          const double d = dx * dx + dy * dy;
          if (d < best) {
            best = d;
            bestCell = k;
          }
        }
      }
      unsigned char *target = out + (size_t(y) * width + x) * pixelBytes;
      if (dotRadius > 0 && best >= dotLimit) {
        std::memcpy(target, paper.data(), pixelBytes);
        continue;
      }
      const long px = std::clamp(std::lround(seedX[bestCell]), 0L, long(width - 1));
      const long py = std::clamp(std::lround(seedY[bestCell]), 0L, long(height - 1));
      std::memcpy(target, in + (size_t(py) * width + size_t(px)) * pixelBytes, pixelBytes);
    }
  }
  return VImage::new_from_memory_steal(out, size, width, height, image.bands(), image.format())
      .copy(VImage::option()->set("interpretation", image.interpretation()));
}

// The picture seen through a zoom towards center: output pixel p shows the source at
// center + (p - center) * factor.
VImage zoomTowards(const VImage &image, QPointF center, double factor) {
  const double a = 1.0 / factor;
  return image.affine({a, 0, 0, a},
                      VImage::option()
                          ->set("interpolate", vips::VInterpolate::new_from_name("bilinear"))
                          ->set("oarea", std::vector<int>{0, 0, image.width(), image.height()})
                          ->set("odx", center.x() * (1 - a))
                          ->set("ody", center.y() * (1 - a))
                          ->set("extend", VIPS_EXTEND_COPY));
}

VImage asRgb(const VImage &image) {
  return image.colourspace(VIPS_INTERPRETATION_sRGB);
}

} // namespace

VImage gaussianBlur(const VImage &image, double radius) {
  if (!(radius > 0))
    return image;
  return fitFormat(blurFloat(image, radius), image);
}

VImage boxBlur(const VImage &image, double radius) {
  const int side = 2 * int(std::lround(std::max(0.0, radius))) + 1;
  if (side <= 1)
    return image;
  std::vector<double> line(size_t(side), 1.0 / side);
  const VImage mask = VImage::new_matrix(side, 1, line.data(), side);
  return fitFormat(
      toFloat(image).convsep(mask, VImage::option()->set("precision", VIPS_PRECISION_FLOAT)),
      image);
}

VImage discBlur(const VImage &image, double radius) {
  const int r = int(std::lround(std::max(0.0, radius)));
  if (r < 1)
    return image;
  const int side = 2 * r + 1;
  std::vector<double> disc(size_t(side) * side, 0.0);
  for (int y = -r; y <= r; ++y)
    for (int x = -r; x <= r; ++x)
      if (x * x + y * y <= radius * radius)
        disc[size_t(y + r) * side + (x + r)] = 1.0;
  return convolveNormalised(image, std::move(disc), side, side);
}

VImage medianFilter(const VImage &image) {
  return image.median(3);
}

VImage motionBlur(const VImage &image, double radius, double angle) {
  const int r = int(std::ceil(std::max(0.0, radius)));
  if (r < 1)
    return image;
  const int side = 2 * r + 1;
  std::vector<double> line(size_t(side) * side, 0.0);
  const int steps = 4 * r + 1;
  for (int i = 0; i < steps; ++i) {
    const double t = -radius + 2 * radius * i / (steps - 1);
    const int x = int(std::lround(r + t * std::cos(angle)));
    const int y = int(std::lround(r - t * std::sin(angle)));
    line[size_t(std::clamp(y, 0, side - 1)) * side + std::clamp(x, 0, side - 1)] = 1.0;
  }
  return convolveNormalised(image, std::move(line), side, side);
}

VImage zoomBlur(const VImage &image, QPointF center, double amount) {
  const double span = std::clamp(amount / 200.0, 0.0, 0.9);
  if (span <= 0)
    return image;
  const double farthest = std::max(
      {std::hypot(center.x(), center.y()), std::hypot(image.width() - center.x(), center.y()),
       std::hypot(center.x(), image.height() - center.y()),
       std::hypot(image.width() - center.x(), image.height() - center.y())});
  // About one sample per pixel of the longest streak, within reason. Each stage averages
  // the picture with a copy of itself zoomed by the next power of the step, doubling the
  // samples: after n stages the zoom factors are step^k for k = 0 .. 2^n - 1, the last being
  // 1 - span. Stages are kept in memory, else every stage would compute the previous twice.
  const int stages = std::clamp(int(std::ceil(std::log2(span * farthest))), 1, 6);
  double factor = std::pow(1.0 - span, 1.0 / ((1 << stages) - 1));
  VImage blurred = image;
  for (int stage = 0; stage < stages; ++stage) {
    const VImage sum = toFloat(blurred) + zoomTowards(blurred, center, factor);
    blurred = fitFormat(sum * 0.5, image).copy_memory();
    factor *= factor;
  }
  return blurred;
}

VImage pixellate(const VImage &image, QPointF center, double scale) {
  const int side = std::max(1, int(std::lround(scale)));
  if (side == 1)
    return image;
  // Pad so that block edges fall on multiples of side, with one block centred on center.
  const int firstEdgeX = int(positiveModulo(std::lround(center.x() - side / 2.0), side));
  const int firstEdgeY = int(positiveModulo(std::lround(center.y() - side / 2.0), side));
  const int left = (side - firstEdgeX) % side;
  const int top = (side - firstEdgeY) % side;
  const int paddedWidth = (image.width() + left + side - 1) / side * side;
  const int paddedHeight = (image.height() + top + side - 1) / side * side;
  const VImage padded = image.embed(left, top, paddedWidth, paddedHeight,
                                    VImage::option()->set("extend", VIPS_EXTEND_COPY));
  const VImage blocks = padded.shrink(side, side).zoom(side, side);
  return blocks.crop(left, top, image.width(), image.height());
}

VImage crystallize(const VImage &image, QPointF center, double radius) {
  return pickSeedPixels(image, center, std::max(1.0, radius), 0.0, 1.0);
}

VImage pointillize(const VImage &image, QPointF center, double radius) {
  const double r = std::max(1.0, radius);
  return pickSeedPixels(image, center, 2 * r, 0.2, 0.8, r);
}

VImage edges(const VImage &image, double intensity) {
  const Bands bands = splitAlpha(image);
  std::vector<double> sobelX = {-1, 0, 1, -2, 0, 2, -1, 0, 1};
  std::vector<double> sobelY = {-1, -2, -1, 0, 0, 0, 1, 2, 1};
  const VImage gx = convolveFloat(bands.colour, sobelX, 3, 3);
  const VImage gy = convolveFloat(bands.colour, sobelY, 3, 3);
  // A full-range step gives 4 * max through the Sobel kernel: intensity 1 maps it to max.
  const VImage magnitude = (gx * gx + gy * gy).pow(0.5) * (std::max(0.0, intensity) / 4.0);
  return fitFormat(joinAlpha(magnitude, bands), image);
}

VImage bloom(const VImage &image, double radius, double intensity) {
  const Bands bands = splitAlpha(image);
  const double top = maxValue(image);
  const VImage a = toFloat(bands.colour);
  const VImage b = radius > 0 ? blurFloat(bands.colour, radius) : a;
  // Screen blend a + b - ab, mixed in by intensity.
  const VImage screened = a + b * a.linear(-1.0 / top, 1.0) * std::clamp(intensity, 0.0, 1.0);
  return fitFormat(joinAlpha(screened, bands), image);
}

VImage gloom(const VImage &image, double radius, double intensity) {
  const Bands bands = splitAlpha(image);
  const double top = maxValue(image);
  const double k = std::clamp(intensity, 0.0, 1.0);
  const VImage a = toFloat(bands.colour);
  const VImage b = radius > 0 ? blurFloat(bands.colour, radius) : a;
  // Multiply blend ab, mixed in by intensity: a (1 - k + k b).
  const VImage multiplied = a * b.linear(k / top, 1.0 - k);
  return fitFormat(joinAlpha(multiplied, bands), image);
}

VImage bumpDistortion(const VImage &image, QPointF center, double radius, double scale) {
  // Sampling closer to the centre magnifies it (scale > 0) or shrinks it (scale < 0).
  return radialWarp(image, center, radius, [scale](const VImage &delta, const VImage &t) {
    const VImage rim = (t * t).linear(-1.0, 1.0); // 1 - t^2, 0 at the edge of the disc
    return delta * (rim * rim).linear(-scale, 1.0);
  });
}

VImage pinchDistortion(const VImage &image, QPointF center, double radius, double scale) {
  // Sampling farther out draws the surroundings in towards the centre.
  return radialWarp(image, center, radius, [scale](const VImage &delta, const VImage &t) {
    const VImage rim = t.linear(-1.0, 1.0);
    return delta * (rim * rim).linear(scale, 1.0);
  });
}

VImage twirlDistortion(const VImage &image, QPointF center, double radius, double angle) {
  return radialWarp(image, center, radius, [angle](const VImage &delta, const VImage &t) {
    return rotateOffsets(delta, t.linear(-angle, angle));
  });
}

VImage vortexDistortion(const VImage &image, QPointF center, double radius, double angle) {
  // Many turns at the centre that die away quickly: a whirlpool rather than a twist.
  return radialWarp(image, center, radius, [angle](const VImage &delta, const VImage &t) {
    const VImage rim = t.linear(-1.0, 1.0);
    return rotateOffsets(delta, rim * rim * rim * angle);
  });
}

VImage circleSplashDistortion(const VImage &image, QPointF center, double radius) {
  if (!(radius > 0))
    return image;
  const VImage xy = coordinates(image);
  const VImage delta = xy.linear({1, 1}, {-center.x(), -center.y()});
  const VImage squares = delta * delta;
  const VImage distance = (squares[0] + squares[1]).pow(0.5);
  const VImage outside = distance > radius;
  // Outside the circle each pixel repeats the rim's pixel on its ray.
  const VImage onRim = (delta * (radius / outside.ifthenelse(distance, radius)))
                           .linear({1, 1}, {center.x(), center.y()});
  return remap(image, outside.ifthenelse(onRim, xy));
}

VImage colorControls(const VImage &image, double brightness, double contrast, double saturation) {
  const VImage rgb = asRgb(image);
  if (brightness == 0 && contrast == 1 && saturation == 1)
    return rgb;
  const Bands bands = splitAlpha(rgb);
  const double top = maxValue(rgb);
  VImage c = toFloat(bands.colour);
  if (saturation != 1) {
    // Rec. 709 luma: the grey every channel moves towards.
    const VImage luma = c.recomb(VImage::new_matrixv(3, 1, 0.2125, 0.7154, 0.0721));
    const VImage grey = luma.bandjoin(luma).bandjoin(luma);
    c = saturation == 0 ? grey : grey + (c - grey) * saturation;
  }
  if (brightness != 0)
    c = c + brightness * top;
  if (contrast != 1)
    c = c.linear(contrast, top / 2 * (1 - contrast));
  return fitFormat(joinAlpha(c, bands), rgb);
}

VImage sepiaTone(const VImage &image, double intensity) {
  const VImage rgb = asRgb(image);
  const Bands bands = splitAlpha(rgb);
  const VImage c = toFloat(bands.colour);
  const VImage sepia = c.recomb(
      VImage::new_matrixv(3, 3, 0.393, 0.769, 0.189, 0.349, 0.686, 0.168, 0.272, 0.534, 0.131));
  const double k = std::clamp(intensity, 0.0, 1.0);
  return fitFormat(joinAlpha(c + (sepia - c) * k, bands), rgb);
}

VImage colorInvert(const VImage &image) {
  const Bands bands = splitAlpha(image);
  return fitFormat(joinAlpha(toFloat(bands.colour).linear(-1.0, maxValue(image)), bands), image);
}

VImage unsharpMask(const VImage &image, double radius, double intensity) {
  if (!(radius > 0))
    return image;
  const Bands bands = splitAlpha(image);
  const VImage a = toFloat(bands.colour);
  const VImage sharpened = a + (a - blurFloat(bands.colour, radius)) * intensity;
  return fitFormat(joinAlpha(sharpened, bands), image);
}

} // namespace platform::filterops
