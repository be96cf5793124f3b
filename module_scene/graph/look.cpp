#include "module_scene/graph/look.h"

namespace nubo::scene {

namespace {

struct NamedLook {
  Look look;
  const char* name;
};

constexpr NamedLook Looks[] = {
    {Look::Studio, "studio"}, {Look::Plain, "plain"}, {Look::Clay, "clay"}, {Look::Technical, "technical"}};

}  // namespace

QString nameOf(Look look) {
  for (const NamedLook& named : Looks)
    if (named.look == look) return QString::fromLatin1(named.name);
  return QString();
}

std::optional<Look> lookNamed(const QString& name) {
  for (const NamedLook& named : Looks)
    if (name.compare(QLatin1String(named.name), Qt::CaseInsensitive) == 0) return named.look;
  return std::nullopt;
}

QStringList lookNames() {
  QStringList names;
  for (const NamedLook& named : Looks) names << QString::fromLatin1(named.name);
  return names;
}

}  // namespace nubo::scene
