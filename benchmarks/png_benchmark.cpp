// The PNG writer beside Qt's own on the same pictures: time, and the size of the file.
#include <benchmark/benchmark.h>

#include <QBuffer>
#include <QImage>
#include <QImageIOHandler>
#include <QImageIOPlugin>
#include <QImageWriter>
#include <QPluginLoader>
#include <cmath>
#include <memory>

namespace {

// A bumpy sphere of `rings` rings of facets on an empty ground, lit from the front, as tall as the picture.
class Sphere {
 public:
  explicit Sphere(int rings) : m_step(M_PI / rings) {}

  // At (x, y) in the unit disc.
  QRgb shade(double x, double y) const {
    const double z = std::sqrt(1 - x * x - y * y);
    const double theta = std::acos(y) / m_step, phi = std::atan2(x, z) / m_step;
    const double ring = std::floor(theta), sector = std::floor(phi);
    const double inside = theta - ring + phi - sector < 1 ? 1.0 / 3 : 2.0 / 3;  // which triangle of the facet
    const double t = (ring + inside) * m_step, p = (sector + inside) * m_step;
    const double nt = t + 0.15 * std::sin(20 * t) * std::sin(20 * p),
                 np = p + 0.15 * std::cos(20 * t) * std::cos(20 * p);
    const double light = 0.3 * std::sin(nt) * std::sin(np) - 0.4 * std::cos(nt) + 0.85 * std::sin(nt) * std::cos(np);
    const double diffuse = std::max(0.0, light), gloss = 60 * std::pow(diffuse, 20);
    const auto channel = [&](double scale, double ambient) {
      return int(std::min(255.0, scale * diffuse + ambient + gloss));
    };
    return qRgba(channel(200, 20), channel(180, 15), channel(150, 10), 255);
  }

 private:
  double m_step;
};

// `width` pixels wide, 16:9; smoothed at the edges of the facets if `samples` (in each direction) is more than one.
QImage rendered(int width, int rings, int samples) {
  QImage image(width * samples, width * samples * 9 / 16, QImage::Format_ARGB32);
  image.fill(qRgba(255, 255, 255, 0));
  const Sphere sphere(rings);
  const double radius = image.height() / 2.0;
  for (int row = 0; row < image.height(); ++row) {
    auto* line = reinterpret_cast<QRgb*>(image.scanLine(row));
    for (int column = 0; column < image.width(); ++column) {
      const double x = (column + 0.5 - image.width() / 2.0) / radius, y = (row + 0.5) / radius - 1;
      if (x * x + y * y < 1) line[column] = sphere.shade(x, y);
    }
  }
  if (samples == 1) return image;
  return image.scaledToWidth(width, Qt::SmoothTransformation).convertToFormat(QImage::Format_ARGB32);
}

struct Picture {
  const char* name;
  int width;
  int rings;
  int samples;
};
const Picture Pictures[] = {{"10000 px, 100 thousand triangles", 10000, 220, 1},
                            {"10000 px, 4 million triangles", 10000, 1400, 1},
                            {"2000 px, 100 thousand triangles", 2000, 220, 1},
                            {"2000 px, smooth edges", 2000, 220, 4}};

// Made once; the benchmarks go through the pictures one by one.
const QImage& imageOf(const Picture& picture) {
  static const Picture* made = nullptr;
  static QImage image;
  if (made != &picture) image = rendered(picture.width, picture.rings, picture.samples);
  made = &picture;
  return image;
}

template <typename Write>
void measure(benchmark::State& state, const Picture& picture, Write write) {
  const QImage& image = imageOf(picture);
  qint64 size = 0;
  for (auto _ : state) {
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    if (!write(buffer, image)) state.SkipWithError("not written");
    size = buffer.size();
  }
  state.counters["MB"] = double(size) / 1e6;
}

// This program's folder has no plug-ins, so that "png" means Qt's own writer to Qt.
bool writeByQt(QIODevice& device, const QImage& image) { return QImageWriter(&device, "png").write(image); }

bool writeByPlugin(QIODevice& device, const QImage& image) {
  static QPluginLoader loader(QStringLiteral(NUBO_PNG_WRITER));
  const auto* plugin = qobject_cast<QImageIOPlugin*>(loader.instance());
  if (!plugin) return false;
  return std::unique_ptr<QImageIOHandler>(plugin->create(&device, "png"))->write(image);
}

}  // namespace

int main(int argc, char** argv) {
  for (const Picture& picture : Pictures) {
    const std::string name = picture.name;
    for (const auto& [who, write] : {std::pair("Qt", &writeByQt), std::pair("nubo", &writeByPlugin)})
      benchmark::RegisterBenchmark(
          (name + "/" + who).c_str(),
          [&picture, write = write](benchmark::State& state) { measure(state, picture, write); })
          ->Unit(benchmark::kMillisecond)
          ->UseRealTime()
          ->MeasureProcessCPUTime();
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
