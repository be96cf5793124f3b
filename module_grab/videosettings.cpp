#include "module_grab/videosettings.h"

#include <QSettings>
#include <limits>

#include "kernel/main/overseer.h"

namespace nubo::grab {

/// Settings from before that was recorded tell by the bit rate itself.
bool isBitrateChosen() {
  const QSettings* settings = main::nuboSettings();
  const bool differs = settings->value("settings/grabvideokbps", "1200").toInt() != 1200;
  return settings->value(BitrateChosenKey, differs).toBool();
}

VideoSettings readVideoSettings() {
  const QSettings* settings = main::nuboSettings();
  constexpr int Most = std::numeric_limits<int>::max() / 1000;
  const int kilobits = settings->value("settings/grabvideokbps", "1200").toInt();
  return {qBound(1, settings->value("settings/grabvideotempfilesize", "50").toInt(), 1000),
          settings->value("settings/grabvideofps", "25").toInt(),
          kilobits > Most ? std::numeric_limits<int>::max() : qMax(kilobits, -Most) * 1000, isBitrateChosen(),
          settings->value("settings/grabvideousememoryasbuffer", "1").toBool()};
}

}  // namespace nubo::grab
