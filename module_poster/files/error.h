// Why a poster cannot be made.
#pragma once

#include <QString>
#include <stdexcept>

namespace nubo::poster {

/// With a reason in one line.
class Error : public std::runtime_error {
 public:
  explicit Error(const QString& reason) : std::runtime_error(reason.toUtf8().constData()) {}
  QString text() const { return QString::fromUtf8(what()); }
};

}  // namespace nubo::poster
