#include "module_trajectory/camerapath.h"

#include <QCoreApplication>
#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "module_trajectory/fields.h"

namespace nubo::trajectory {
namespace {

struct CameraPath {
  Q_DECLARE_TR_FUNCTIONS(CameraPath)
};

constexpr std::size_t Coordinates = 6;  // of the eye and of the target
using Place = std::array<double, Coordinates>;

struct Key {
  double time;
  Place place;
};

CameraPlace toCamera(const Place& place) { return {{place[0], place[1], place[2]}, {place[3], place[4], place[5]}}; }

bool looksAtItself(const Place& place) { return std::equal(place.begin(), place.begin() + 3, place.begin() + 3); }

QString whyNoKey(const std::vector<double>& values, const std::vector<Key>& before) {
  if (!before.empty() && values[0] <= before.back().time)
    return CameraPath::tr("its time is not above that of the line before");
  Place place;
  std::copy(values.begin() + 1, values.end(), place.begin());
  return looksAtItself(place) ? CameraPath::tr("the camera stands in the point that it looks at") : QString();
}

/// The slope of the parabola through three values at three times, at the middle one.
double slopeAt(double before, double here, double after, double timeBefore, double timeAfter) {
  const double first = (here - before) / timeBefore, second = (after - here) / timeAfter;
  return (first * timeAfter + second * timeBefore) / (timeBefore + timeAfter);
}

/// The slope of a coordinate at a key, in units a second.
double slopeAt(const std::vector<Key>& keys, std::size_t i, std::size_t coordinate) {
  const std::size_t last = keys.size() - 1;
  const auto value = [&](std::size_t key) { return keys[key].place[coordinate]; };
  const auto span = [&](std::size_t key) { return keys[key + 1].time - keys[key].time; };
  const bool isClosed = last > 1 && keys.front().place == keys.back().place;
  if (i > 0 && i < last) return slopeAt(value(i - 1), value(i), value(i + 1), span(i - 1), span(i));
  if (isClosed) return slopeAt(value(last - 1), value(0), value(1), span(last - 1), span(0));
  if (last == 1) return (value(1) - value(0)) / span(0);
  // An end of the parabola through it and the next two.
  const std::size_t near = i == 0 ? 0 : last - 1;
  return 2 * (value(near + 1) - value(near)) / span(near) - slopeAt(keys, i == 0 ? 1 : last - 1, coordinate);
}

Place placeAt(const std::vector<Key>& keys, double time) {
  const auto after = std::upper_bound(keys.begin() + 1, keys.end() - 1, time,
                                      [](double value, const Key& key) { return value < key.time; });
  const auto i = std::size_t(after - keys.begin()) - 1;
  const double span = keys[i + 1].time - keys[i].time;
  const double t = std::clamp((time - keys[i].time) / span, 0.0, 1.0);
  Place place;
  for (std::size_t c = 0; c < Coordinates; ++c) {
    const double from = keys[i].place[c], to = keys[i + 1].place[c];
    const double leaving = slopeAt(keys, i, c) * span, arriving = slopeAt(keys, i + 1, c) * span;
    place[c] = from + t * (leaving +
                           t * (3 * (to - from) - 2 * leaving - arriving + t * (2 * (from - to) + leaving + arriving)));
  }
  return place;
}

}  // namespace

std::deque<CameraPlace> readCameraPath(const QString& fileName, double stepsPerSecond, QString& error) {
  constexpr double MostSteps = 1e6;
  std::vector<Key> keys;
  error = readLinesOfNumbers(fileName, 1 + Coordinates, 1 + Coordinates, [&](const std::vector<double>& values) {
    const QString cause = whyNoKey(values, keys);
    if (!cause.isEmpty()) return cause;
    Key key{values[0], {}};
    std::copy(values.begin() + 1, values.end(), key.place.begin());
    keys.push_back(key);
    return cause;
  });
  if (!error.isEmpty()) return {};
  const auto fail = [&](const QString& cause) {
    error = CameraPath::tr("cannot read '%1': %2").arg(fileName, cause);
    return std::deque<CameraPlace>();
  };
  if (keys.size() < 2) return fail(CameraPath::tr("a path needs two places, and it holds %1").arg(keys.size()));
  // Times that are written with few digits must not cost the last step.
  constexpr double Inexact = 1e-6;
  const double count = std::floor((keys.back().time - keys.front().time) * stepsPerSecond + Inexact) + 1;
  if (count > MostSteps) return fail(CameraPath::tr("its times span more than %L1 steps").arg(int(MostSteps)));
  std::deque<CameraPlace> places;
  for (int step = 0; step < int(count); ++step) {
    const Place place = placeAt(keys, keys.front().time + step / stepsPerSecond);
    if (looksAtItself(place))
      return fail(CameraPath::tr("at %1 s the camera stands in the point that it looks at").arg(step / stepsPerSecond));
    places.push_back(toCamera(place));
  }
  return places;
}

}  // namespace nubo::trajectory
