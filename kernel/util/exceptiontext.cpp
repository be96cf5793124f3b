#include "kernel/util/exceptiontext.h"

#include <exception>

namespace nubo::util {

QString exceptionText() {
  try {
    throw;
  } catch (const std::exception& exception) {
    return QString::fromUtf8(exception.what());
  } catch (...) {
    return QStringLiteral("unknown exception");
  }
}

}  // namespace nubo::util
