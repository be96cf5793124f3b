#include "kernel/main/castclass.h"

#include <QCoreApplication>
#include <QImage>
#include <QImageReader>
#include <QLocale>
#include <cmath>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace nubo::main {

namespace {

/// A cast class for a type with plain `new` and `delete`.
template <class T>
class ValueCast : public CastClass {
 public:
  void* fromString(const QString& text) override { return new T(parse(text)); }
  void* copy(const void* value) override { return new T(*static_cast<const T*>(value)); }
  QString toString(const void* value) override { return print(*static_cast<const T*>(value)); }
  void deleteValue(void* value) override { delete static_cast<T*>(value); }

 private:
  static T parse(const QString& text);
  static QString print(const T& value);
};

template <>
int ValueCast<int>::parse(const QString& text) {
  bool isWhole = false;
  const int value = text.toInt(&isWhole);
  if (!isWhole) throw CastError(QCoreApplication::translate("CastClass", "\"%1\" is not a whole number").arg(text));
  return value;
}

template <>
QString ValueCast<int>::print(const int& value) {
  return QString::number(value);
}

template <>
double ValueCast<double>::parse(const QString& text) {
  bool isNumber = false;
  const double value = text.toDouble(&isNumber);
  if (!isNumber || !std::isfinite(value))
    throw CastError(QCoreApplication::translate("CastClass", "\"%1\" is not a number").arg(text));
  return value;
}

template <>
QString ValueCast<double>::print(const double& value) {
  // Whole numbers without an exponent, so that they convert to int.
  const bool isPlain = std::abs(value) < 1e15 && value == std::trunc(value);
  return isPlain ? QString::number(value, 'f', 0) : QString::number(value, 'g', QLocale::FloatingPointShortest);
}

template <>
bool ValueCast<bool>::parse(const QString& text) {
  static const QStringList yes{"1", "true", "yes", "on"};
  static const QStringList no{"0", "false", "no", "off"};
  const QString word = text.trimmed().toLower();
  if (yes.contains(word)) return true;
  if (no.contains(word)) return false;
  throw CastError(QCoreApplication::translate("CastClass", "\"%1\" is neither yes nor no").arg(text));
}

template <>
QString ValueCast<bool>::print(const bool& value) {
  return value ? QStringLiteral("1") : QStringLiteral("0");
}

/// The image remembers the file it came from among its texts.
const QString& fileNameKey() {
  static const QString key = QStringLiteral("FileName");
  return key;
}

template <>
QImage ValueCast<QImage>::parse(const QString& text) {
  QImageReader reader(text);
  QImage image = reader.read();
  if (image.isNull())
    throw CastError(
        QCoreApplication::translate("CastClass", "\"%1\" is not a picture: %2").arg(text, reader.errorString()));
  image.setText(fileNameKey(), text);
  return image;
}

template <>
QString ValueCast<QImage>::print(const QImage& value) {
  return value.text(fileNameKey());
}

}  // namespace

CastError::~CastError() = default;

CastClass::~CastClass() = default;

struct CastClassManager::Private {
  template <class T>
  void add() {
    factories[typeid(T).name()] = [] { return new ValueCast<T>; };
  }

  mutable std::mutex mutex;
  // By name, since a type's information object may be another in each library.
  std::map<std::string, Factory> factories;
};

CastClassManager::CastClassManager() : d(new Private) {
  d->add<int>();
  d->add<double>();
  d->add<bool>();
  d->add<QImage>();
}

CastClassManager* CastClassManager::getInstance() {
  static auto* manager = new CastClassManager;
  return manager;
}

CastClass* CastClassManager::createCastClassForType(const std::type_info* type) const {
  const std::lock_guard<std::mutex> lock(d->mutex);
  const auto found = d->factories.find(type->name());
  return found == d->factories.end() ? nullptr : found->second();
}

void CastClassManager::registerCastClass(const std::type_info& type, Factory factory) {
  const std::lock_guard<std::mutex> lock(d->mutex);
  d->factories[type.name()] = std::move(factory);
}

}  // namespace nubo::main
