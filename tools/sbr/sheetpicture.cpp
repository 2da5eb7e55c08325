#include "sheetpicture.h"

#include <zlib.h>

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "triangulate.h"

namespace sbrtool {
namespace {

using Eigen::Vector3d;
using Colour = std::array<unsigned char, 3>;

// ---- PNG -----------------------------------------------------------------------------------------------------------

void put_word(std::string &bytes, std::uint32_t word) {
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(word >> shift & 0xFFU);
}

void put_chunk(std::string &bytes, const std::string &type, const std::string &data) {
  put_word(bytes, static_cast<std::uint32_t>(data.size()));
  const std::string body = type + data;
  bytes += body;
  put_word(bytes, static_cast<std::uint32_t>(crc32(crc32(0, nullptr, 0), reinterpret_cast<const Bytef *>(body.data()),
                                                   static_cast<uInt>(body.size()))));
}

// Portable Network Graphics (ISO/IEC 15948): header, packed lines with a filter byte each, end.
std::string png(const std::vector<Colour> &pixels, int width, int height) {
  std::string lines;
  for (int y = 0; y < height; ++y) {
    lines += '\0';
    for (int x = 0; x < width; ++x)
      for (const unsigned char part : pixels[static_cast<std::size_t>(y * width + x)]) lines += static_cast<char>(part);
  }
  uLongf size = compressBound(static_cast<uLong>(lines.size()));
  std::string packed(size, '\0');
  if (compress2(reinterpret_cast<Bytef *>(packed.data()), &size, reinterpret_cast<const Bytef *>(lines.data()),
                static_cast<uLong>(lines.size()), Z_BEST_COMPRESSION) != Z_OK)
    throw Failure(kFailed, "a picture cannot be packed");
  packed.resize(size);
  std::string bytes("\x89PNG\r\n\x1a\n", 8);
  std::string header;
  put_word(header, static_cast<std::uint32_t>(width));
  put_word(header, static_cast<std::uint32_t>(height));
  header += std::string("\x08\x02\x00\x00\x00", 5);
  put_chunk(bytes, "IHDR", header);
  put_chunk(bytes, "IDAT", packed);
  put_chunk(bytes, "IEND", "");
  return bytes;
}

// ---- drawing -------------------------------------------------------------------------------------------------------

// Pixels with the depth of what is seen there.
class Canvas {
 public:
  Canvas(int width, int height)
      : width_(width),
        height_(height),
        pixels_(static_cast<std::size_t>(width * height), Colour{255, 255, 255}),
        depths_(pixels_.size(), -std::numeric_limits<double>::infinity()) {}

  // Corners are x, y in pixels and a depth that grows towards the viewer; weights give the colour of a place.
  template <class Paint>
  void triangle(const Vector3d &a, const Vector3d &b, const Vector3d &c, Paint paint) {
    const double area = (b.x() - a.x()) * (c.y() - a.y()) - (b.y() - a.y()) * (c.x() - a.x());
    if (std::abs(area) < 1e-12) return;
    const int left = std::max(0, static_cast<int>(std::floor(std::min({a.x(), b.x(), c.x()}))));
    const int right = std::min(width_ - 1, static_cast<int>(std::ceil(std::max({a.x(), b.x(), c.x()}))));
    const int top = std::max(0, static_cast<int>(std::floor(std::min({a.y(), b.y(), c.y()}))));
    const int bottom = std::min(height_ - 1, static_cast<int>(std::ceil(std::max({a.y(), b.y(), c.y()}))));
    for (int y = top; y <= bottom; ++y)
      for (int x = left; x <= right; ++x) {
        const double px = x + 0.5;
        const double py = y + 0.5;
        const double v = ((px - a.x()) * (c.y() - a.y()) - (py - a.y()) * (c.x() - a.x())) / area;
        const double w = ((b.x() - a.x()) * (py - a.y()) - (b.y() - a.y()) * (px - a.x())) / area;
        if (v < 0.0 || w < 0.0 || v + w > 1.0) continue;
        put(x, y, a.z() + v * (b.z() - a.z()) + w * (c.z() - a.z()), paint(v, w));
      }
  }
  void dot(const Vector3d &place, const Colour &colour) {
    const int x = static_cast<int>(place.x());
    const int y = static_cast<int>(place.y());
    for (int dx = -1; dx <= 1; ++dx)
      for (int dy = -1; dy <= 1; ++dy)
        if (x + dx >= 0 && x + dx < width_ && y + dy >= 0 && y + dy < height_) put(x + dx, y + dy, place.z(), colour);
  }
  // What is drawn from now on stands before what is there.
  void to_the_back() { std::fill(depths_.begin(), depths_.end(), -std::numeric_limits<double>::infinity()); }
  [[nodiscard]] std::string png() const { return sbrtool::png(pixels_, width_, height_); }

 private:
  void put(int x, int y, double depth, const Colour &colour) {
    const auto at = static_cast<std::size_t>(y * width_ + x);
    if (depth <= depths_[at]) return;
    depths_[at] = depth;
    pixels_[at] = colour;
  }

  int width_;
  int height_;
  std::vector<Colour> pixels_;
  std::vector<double> depths_;
};

// ---- the view ------------------------------------------------------------------------------------------------------

// Rows: across the picture, up, and towards the viewer. The axes of the body take turns until the longest side of its
// box lies across.
Eigen::Matrix3d view_of(const Geometry &geometry) {
  Vector3d low = Eigen::Map<const Vector3d>(geometry.at(0));
  Vector3d high = low;
  for (int i = 0; i < geometry.nodes(); ++i) {
    low = low.cwiseMin(Eigen::Map<const Vector3d>(geometry.at(i)));
    high = high.cwiseMax(Eigen::Map<const Vector3d>(geometry.at(i)));
  }
  Eigen::Index longest = 0;
  (high - low).maxCoeff(&longest);
  const Vector3d towards = Vector3d(0.45, -1.0, 0.6).normalized();
  const Vector3d across = Vector3d(0, 0, 1).cross(towards).normalized();
  Eigen::Matrix3d view;
  view << across.transpose(), towards.cross(across).transpose(), towards.transpose();
  Eigen::Matrix3d turn = Eigen::Matrix3d::Zero();
  for (Eigen::Index c = 0; c < 3; ++c) turn(c, (longest + c) % 3) = 1.0;
  return view * turn;
}

struct Drawing {
  std::vector<Vector3d> rest;  // in pixels and depth
  std::vector<Vector3d> moved;
  std::vector<double> parts;  // displacement over the largest; below zero where it is no number
};

// Both bodies fill the picture, apart from a margin.
void fit(Drawing &drawing, int width, int height) {
  Vector3d low = drawing.rest[0];
  Vector3d high = low;
  for (const auto *places : {&drawing.rest, &drawing.moved})
    for (const Vector3d &place : *places) {
      low = low.cwiseMin(place);
      high = high.cwiseMax(place);
    }
  constexpr double kMargin = 6.0;
  const Vector3d size = high - low;
  const double scale =
      std::min((width - 2 * kMargin) / std::max(size.x(), 1e-300), (height - 2 * kMargin) / std::max(size.y(), 1e-300));
  const double used = std::isfinite(scale) && scale < 1e200 ? scale : 0.0;
  const Vector3d middle = 0.5 * (low + high);
  for (auto *places : {&drawing.rest, &drawing.moved})
    for (Vector3d &place : *places)
      place = Vector3d(0.5 * width + used * (place.x() - middle.x()), 0.5 * height - used * (place.y() - middle.y()),
                       used * (place.z() - middle.z()));
}

Drawing drawing_of(const Geometry &geometry, const std::vector<double> &shape, int width, int height) {
  Drawing drawing;
  const Eigen::Matrix3d view = view_of(geometry);
  const double largest = largest_length(shape);
  const double extent = geometry.extent();
  const double scale = largest > 0.0 ? 0.1 * extent / largest : 0.0;
  for (int i = 0; i < geometry.nodes(); ++i) {
    // Relative to the extent, so that no square of a coordinate overflows.
    const Vector3d place = Eigen::Map<const Vector3d>(geometry.at(i)) / (extent > 0.0 ? extent : 1.0);
    Vector3d move = Vector3d::Zero();
    if (!shape.empty()) move = Eigen::Map<const Vector3d>(shape.data() + 3 * static_cast<std::size_t>(i));
    const bool known = move.allFinite();
    drawing.parts.push_back(!known ? -1.0 : largest > 0.0 ? move.norm() / largest : 0.0);
    drawing.rest.push_back(view * place);
    drawing.moved.push_back(known ? Vector3d(view * (place + scale / (extent > 0.0 ? extent : 1.0) * move))
                                  : drawing.rest.back());
  }
  fit(drawing, width, height);
  return drawing;
}

Colour shaded(const Colour &colour, double light) {
  Colour result{};
  for (std::size_t c = 0; c < 3; ++c) result[c] = static_cast<unsigned char>(std::clamp(colour[c] * light, 0.0, 255.0));
  return result;
}

Colour colour_at(double part) { return part < 0.0 ? Colour{60, 60, 60} : colour_of(part); }

// Brighter the more a triangle faces the viewer, whichever its winding.
double light_on(const Vector3d &a, const Vector3d &b, const Vector3d &c) {
  const Vector3d normal = (b - a).cross(c - a);
  const double length = normal.norm();
  return length > 0.0 ? 0.62 + 0.38 * std::abs(normal.z()) / length : 1.0;
}

}  // namespace

std::array<unsigned char, 3> colour_of(double part) {
  // Seven points of the map called viridis (van der Walt, Smith: a better default colormap, 2015).
  static constexpr double kMap[7][3] = {{68, 1, 84},    {68, 57, 131},  {49, 104, 142}, {33, 145, 140},
                                        {53, 183, 121}, {144, 215, 67}, {253, 231, 37}};
  const double place = 6.0 * std::clamp(part, 0.0, 1.0);
  const auto below = std::min<std::size_t>(static_cast<std::size_t>(place), 5);
  const double rest = place - static_cast<double>(below);
  std::array<unsigned char, 3> colour{};
  for (std::size_t c = 0; c < 3; ++c)
    colour[c] = static_cast<unsigned char>(std::lround(kMap[below][c] + rest * (kMap[below + 1][c] - kMap[below][c])));
  return colour;
}

std::string picture_of(const Geometry &geometry, const std::vector<double> &shape, int width, int height) {
  const Drawing drawing = drawing_of(geometry, shape, width, height);
  const std::vector<int> corners = triangles_of(geometry).corners;
  Canvas canvas(width, height);
  const auto at = [&](const std::vector<Vector3d> &places, std::size_t corner) {
    return places[static_cast<std::size_t>(corners[corner])];
  };
  for (std::size_t i = 0; i < corners.size(); i += 3)
    canvas.triangle(at(drawing.rest, i), at(drawing.rest, i + 1), at(drawing.rest, i + 2), [](double, double) {
      return Colour{222, 225, 229};
    });
  canvas.to_the_back();
  for (std::size_t i = 0; i < corners.size(); i += 3) {
    const Vector3d a = at(drawing.moved, i);
    const Vector3d b = at(drawing.moved, i + 1);
    const Vector3d c = at(drawing.moved, i + 2);
    const double light = light_on(a, b, c);
    double parts[3];
    for (std::size_t k = 0; k < 3; ++k) parts[k] = drawing.parts[static_cast<std::size_t>(corners[i + k])];
    const bool known = std::min({parts[0], parts[1], parts[2]}) >= 0.0;
    canvas.triangle(a, b, c, [&](double v, double w) {
      const double part = known ? parts[0] + v * (parts[1] - parts[0]) + w * (parts[2] - parts[0]) : -1.0;
      return shaded(colour_at(part), light);
    });
  }
  if (corners.empty())
    for (std::size_t i = 0; i < drawing.moved.size(); ++i) canvas.dot(drawing.moved[i], colour_at(drawing.parts[i]));
  return canvas.png();
}

}  // namespace sbrtool
