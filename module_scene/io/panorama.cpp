#include "module_scene/io/panorama.h"

#include <QFile>
#include <QImage>
#include <QImageReader>
#include <algorithm>
#include <cmath>

namespace nubo::io {

namespace {

using scene::Light;

constexpr int LargestSide = 32768;
constexpr int Width = 1024, Height = 512;  // as fine as an environment can show

/// Reads Radiance's pictures: lines of text, the size, and rows of four bytes for each pixel, red, green, blue and a
/// common exponent, mostly run-length encoded by channel.
class RgbeReader {
 public:
  explicit RgbeReader(const QByteArray& bytes) : m_Bytes(bytes) {}

  Panorama read(QString& error) {
    Panorama result;
    if (!readSize(result)) {
      error = QStringLiteral("its size cannot be read");
      return {};
    }
    std::vector<uchar> row(std::size_t(result.width) * 4);
    for (int y = 0; y < result.height; ++y) {
      if (!readRow(row)) {
        error = QStringLiteral("it ends too early");
        return {};
      }
      for (std::size_t x = 0; x < row.size(); x += 4) result.light.push_back(lightOf(&row[x]));
    }
    return result;
  }

 private:
  bool readSize(Panorama& panorama) {
    const int end = m_Bytes.indexOf("\n\n");
    if (end < 0) return false;
    m_Next = m_Bytes.indexOf('\n', end + 2) + 1;
    const QList<QByteArray> words = m_Bytes.mid(end + 2, m_Next - end - 3).split(' ');
    if (m_Next <= 0 || words.size() != 4 || words[0] != "-Y" || words[2] != "+X") return false;
    panorama.height = words[1].toInt();
    panorama.width = words[3].toInt();
    return std::min(panorama.width, panorama.height) > 0 && std::max(panorama.width, panorama.height) <= LargestSide;
  }

  int next() { return m_Next < m_Bytes.size() ? uchar(m_Bytes[m_Next++]) : -1; }

  bool readRow(std::vector<uchar>& row) {
    const int width = int(row.size() / 4);
    const bool isEncoded = m_Next + 4 <= m_Bytes.size() && m_Bytes[m_Next] == 2 && m_Bytes[m_Next + 1] == 2 &&
                           uchar(m_Bytes[m_Next + 2]) < 128;
    if (!isEncoded) {
      if (m_Bytes.size() - m_Next < int(row.size())) return false;
      std::copy_n(m_Bytes.constData() + m_Next, row.size(), row.begin());
      m_Next += int(row.size());
      return true;
    }
    m_Next += 4;
    for (std::size_t channel = 0; channel < 4; ++channel)
      for (int x = 0; x < width;)
        if (!readRun(row, channel, x)) return false;
    return true;
  }

  /// Values of one channel from x on: a number of them, or one many times.
  bool readRun(std::vector<uchar>& row, std::size_t channel, int& x) {
    constexpr int Repeated = 128;
    const int count = next();
    const int length = count > Repeated ? count - Repeated : count;
    if (length <= 0 || x + length > int(row.size() / 4)) return false;
    int value = -1;
    for (int i = 0; i < length; ++i) {
      if (i == 0 || count <= Repeated) value = next();
      if (value < 0) return false;
      row[4 * std::size_t(x++) + channel] = uchar(value);
    }
    return true;
  }

  static Light lightOf(const uchar* pixel) {
    if (pixel[3] == 0) return {};
    const float unit = std::ldexp(1.0f, int(pixel[3]) - 128 - 8);
    return {unit * pixel[0], unit * pixel[1], unit * pixel[2]};
  }

  const QByteArray& m_Bytes;
  int m_Next = 0;
};

Panorama fromImage(const QImage& image) {
  std::array<float, 256> linear{};
  for (std::size_t i = 0; i < linear.size(); ++i) {
    const float shown = float(i) / 255;
    linear[i] = shown <= 0.04045f ? shown / 12.92f : std::pow((shown + 0.055f) / 1.055f, 2.4f);
  }
  const QImage pixels = image.convertToFormat(QImage::Format_RGB32);
  Panorama result{pixels.width(), pixels.height(), {}};
  for (int y = 0; y < pixels.height(); ++y) {
    const auto* row = reinterpret_cast<const QRgb*>(pixels.constScanLine(y));
    for (int x = 0; x < pixels.width(); ++x)
      result.light.push_back(
          {linear[std::size_t(qRed(row[x]))], linear[std::size_t(qGreen(row[x]))], linear[std::size_t(qBlue(row[x]))]});
  }
  return result;
}

/// So many columns and rows at most, each of the mean of those that it stands for: a small sun stays as bright.
Panorama reduced(const Panorama& panorama) {
  Panorama result{std::min(panorama.width, Width), std::min(panorama.height, Height), {}};
  for (int y = 0; y < result.height; ++y) {
    const int top = y * panorama.height / result.height, bottom = (y + 1) * panorama.height / result.height;
    for (int x = 0; x < result.width; ++x) {
      const int left = x * panorama.width / result.width, right = (x + 1) * panorama.width / result.width;
      Light sum{};
      for (int row = top; row < bottom; ++row)
        for (int column = left; column < right; ++column)
          for (std::size_t c = 0; c < 3; ++c)
            sum[c] += panorama.light[std::size_t(row) * std::size_t(panorama.width) + std::size_t(column)][c];
      for (float& value : sum) value /= float((bottom - top) * (right - left));
      result.light.push_back(sum);
    }
  }
  return result;
}

}  // namespace

Panorama readPanorama(const QString& fileName, QString& error) {
  QFile file(fileName);
  if (!file.open(QIODevice::ReadOnly)) {
    error = file.errorString();
    return {};
  }
  constexpr char Radiance[] = "#?";
  if (file.peek(2) == Radiance) {
    const QByteArray bytes = file.readAll();
    return RgbeReader(bytes).read(error);
  }
  QImageReader reader(&file);
  reader.setDecideFormatFromContent(true);
  const QImage image = reader.read();
  if (!image.isNull()) return fromImage(image);
  error = reader.errorString();
  return {};
}

util::YPointer<scene::Environment> toEnvironment(const Panorama& panorama) {
  const Panorama source = reduced(panorama);
  const auto at = [&source](int column, int row) {
    const int x = (column % source.width + source.width) % source.width;
    const int y = std::clamp(row, 0, source.height - 1);
    return source.light[std::size_t(y) * std::size_t(source.width) + std::size_t(x)];
  };
  return new scene::Environment([&](const scene::Direction& d) {
    constexpr float Pi = 3.14159265f;
    const float x = (0.5f + std::atan2(d[0], d[1]) / (2 * Pi)) * float(source.width) - 0.5f;
    const float y = std::acos(std::clamp(d[2], -1.0f, 1.0f)) / Pi * float(source.height) - 0.5f;
    const float left = std::floor(x), top = std::floor(y), across = x - left, down = y - top;
    const Light corners[]{at(int(left), int(top)), at(int(left) + 1, int(top)), at(int(left), int(top) + 1),
                          at(int(left) + 1, int(top) + 1)};
    Light result{};
    for (std::size_t c = 0; c < 3; ++c)
      result[c] = (corners[0][c] * (1 - across) + corners[1][c] * across) * (1 - down) +
                  (corners[2][c] * (1 - across) + corners[3][c] * across) * down;
    return result;
  });
}

}  // namespace nubo::io
