// Why a file cannot be read, on its way to the one line that the user sees.
#pragma once

#include <QCoreApplication>
#include <QString>
#include <stdexcept>

#include "module_scene/visibility.h"

namespace nubo::io {

/// Thrown and caught within this folder only. The cause goes on after "cannot read 'FILE': ", in the user's language.
class NUBO_MODULE_SCENE_EXPORT ImportError : public std::runtime_error {
  Q_DECLARE_TR_FUNCTIONS(ImportError)
 public:
  explicit ImportError(const QString& cause) : std::runtime_error(cause.toStdString()) {}
  QString cause() const { return QString::fromUtf8(what()); }
};

}  // namespace nubo::io
